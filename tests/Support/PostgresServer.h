#pragma once

#include <QtCore/QProcess>
#include <QtCore/QString>
#include <QtCore/QTemporaryDir>
#include <QtSql/QSqlDatabase>

namespace vlrTest {

/// A PostgreSQL server of its own with an empty database, on a free port of this machine; gone
/// with the object, and with this process if that dies.
///
///     PostgresServer server;
///     if (!server.isInstalled()) GTEST_SKIP() << PostgresServer::isMissing;
///     server.start();
///     open(server.url());
class PostgresServer {
public:
    PostgresServer();
    ~PostgresServer();
    PostgresServer(const PostgresServer&) = delete;
    PostgresServer& operator=(const PostgresServer&) = delete;

    /// What to say where it is not installed.
    static constexpr const char* isMissing = "PostgreSQL or its driver for Qt is not installed.";

    bool isInstalled() const;
    /// Before start(): it gets a new certificate for this host, an address or a name, and speaks
    /// TLS. Needs openssl.
    void certify(const QString& host);
    /// What the certificate has to be checked with.
    QString rootCertificate() const;
    /// A user with a password, which has to be given from now on, the next start at the latest.
    void addUser(const QString& name, const QString& password);
    /// Returns when it answers; throws where it does not within two minutes.
    void start();
    /// At once, as when it crashes: its clients lose their connections.
    void kill();
    /// "postgresql://vlr@127.0.0.1:<port>/postgres". The host "0.0.0.0" leads to it as well, and is
    /// none that belongs to this machine.
    QString url(const QString& user = QStringLiteral("vlr"),
                const QString& host = QStringLiteral("127.0.0.1")) const;
    /// A connection of that name beside the library's, not yet open.
    QSqlDatabase connection(const QString& name) const;

private:
    int run(const QString& program, const QStringList& arguments) const;
    void makeFolder();
    QStringList options() const;
    bool isReady() const;
    QStringList asServerUser(const QString& program, const QStringList& arguments) const;

    QString m_programs;
    QTemporaryDir m_folder;
    QProcess m_process;
    int m_port = 0;
    bool m_hasStarted = false;
    bool m_hasTls = false;
};

} // namespace vlrTest
