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
    /// Returns when it answers; a test failure where it does not within two minutes.
    void start();
    /// At once, as when it crashes: its clients lose their connections.
    void kill();
    /// "postgresql://vlr@127.0.0.1:<port>/postgres"
    QString url() const;
    /// A connection of that name beside the library's, not yet open.
    QSqlDatabase connection(const QString& name) const;

private:
    int run(const QString& program, const QStringList& arguments) const;
    bool isReady() const;
    QStringList asServerUser(const QString& program, const QStringList& arguments) const;

    QString m_programs;
    QTemporaryDir m_folder;
    QProcess m_process;
    int m_port = 0;
    bool m_hasStarted = false;
};

} // namespace vlrTest
