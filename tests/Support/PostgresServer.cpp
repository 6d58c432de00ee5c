#include "Support/PostgresServer.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>
#include <QtCore/QThread>
#include <QtSql/QSqlQuery>

#include <arpa/inet.h>
#include <csignal>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace vlrTest {

namespace {

// PostgreSQL refuses to run as root.
constexpr uid_t nobody = 65534;

bool isRoot() {
    return geteuid() == 0;
}

// Debian keeps the programs of each version apart from those that everybody runs.
QString folderOfPrograms() {
    const QDir versions(QStringLiteral("/usr/lib/postgresql"));
    for (const QString& version : versions.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        if (QFile::exists(versions.filePath(version + QStringLiteral("/bin/postgres"))))
            return versions.filePath(version + QStringLiteral("/bin/"));
    return {};
}

int freePort() {
    const int socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* const where = reinterpret_cast<sockaddr*>(&address);
    const bool isBound = bind(socket, where, size) == 0 && getsockname(socket, where, &size) == 0;
    close(socket);
    return isBound ? ntohs(address.sin_port) : 0;
}

} // namespace

PostgresServer::PostgresServer() : m_programs(folderOfPrograms()) {}

PostgresServer::~PostgresServer() {
    kill();
}

bool PostgresServer::isInstalled() const {
    return !m_programs.isEmpty() && QSqlDatabase::isDriverAvailable(QStringLiteral("QPSQL"));
}

QStringList PostgresServer::asServerUser(const QString& program,
                                         const QStringList& arguments) const {
    QStringList line{QStringLiteral("--pdeathsig"), QStringLiteral("QUIT")};
    if (isRoot())
        line << QStringLiteral("--reuid=%1").arg(nobody) << QStringLiteral("--regid=%1").arg(nobody)
             << QStringLiteral("--clear-groups");
    return line << program << arguments;
}

int PostgresServer::run(const QString& program, const QStringList& arguments) const {
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(QStringLiteral("setpriv"), asServerUser(program, arguments));
    process.waitForFinished(120000);
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

void PostgresServer::makeFolder() {
    if (isRoot() && chown(qPrintable(m_folder.path()), nobody, nobody) != 0)
        throw std::runtime_error("The folder of the PostgreSQL server cannot be given away.");
}

QString PostgresServer::rootCertificate() const {
    return m_folder.filePath(QStringLiteral("server.crt"));
}

// Signed by itself.
void PostgresServer::certify(const QString& host) {
    makeFolder();
    const bool isAddress = host.contains(QRegularExpression(QStringLiteral("^[0-9.]+$")));
    const QStringList arguments{
        QStringLiteral("req"),
        QStringLiteral("-x509"),
        QStringLiteral("-newkey"),
        QStringLiteral("ec"),
        QStringLiteral("-pkeyopt"),
        QStringLiteral("ec_paramgen_curve:prime256v1"),
        QStringLiteral("-nodes"),
        QStringLiteral("-days"),
        QStringLiteral("2"),
        QStringLiteral("-subj"),
        QStringLiteral("/CN=") + host,
        QStringLiteral("-addext"),
        QStringLiteral("subjectAltName=%1:%2")
            .arg(isAddress ? QStringLiteral("IP") : QStringLiteral("DNS"), host),
        QStringLiteral("-keyout"),
        m_folder.filePath(QStringLiteral("server.key")),
        QStringLiteral("-out"),
        rootCertificate()};
    if (run(QStandardPaths::findExecutable(QStringLiteral("openssl")), arguments) != 0)
        throw std::runtime_error("No certificate for the PostgreSQL server; is openssl there?");
    m_hasTls = true;
}

void PostgresServer::addUser(const QString& name, const QString& password) {
    {
        QSqlDatabase database = connection(name);
        QFile access(m_folder.filePath(QStringLiteral("data/pg_hba.conf")));
        if (!database.open() ||
            !QSqlQuery(database).exec(
                QStringLiteral("CREATE USER %1 SUPERUSER PASSWORD '%2'").arg(name, password)) ||
            !access.open(QIODevice::ReadWrite))
            throw std::runtime_error("No user for the PostgreSQL server.");
        const QByteArray others = access.readAll();
        access.seek(0);
        access.write("host all " + name.toUtf8() + " 127.0.0.1/32 password\n" + others);
    }
    QSqlDatabase::removeDatabase(name);
}

QStringList PostgresServer::options() const {
    QStringList all{QStringLiteral("-F"),
                    QStringLiteral("-D"),
                    m_folder.filePath(QStringLiteral("data")),
                    QStringLiteral("-h"),
                    QStringLiteral("127.0.0.1"),
                    QStringLiteral("-k"),
                    QString(),
                    QStringLiteral("-p"),
                    QString::number(m_port)};
    if (m_hasTls)
        all << QStringLiteral("-c") << QStringLiteral("ssl=on") << QStringLiteral("-c")
            << QStringLiteral("ssl_cert_file=") + rootCertificate() << QStringLiteral("-c")
            << QStringLiteral("ssl_key_file=") + m_folder.filePath(QStringLiteral("server.key"));
    return all;
}

void PostgresServer::start() {
    if (!m_hasStarted) {
        makeFolder();
        if (run(m_programs + QStringLiteral("initdb"),
                {QStringLiteral("--no-sync"), QStringLiteral("--username=vlr"),
                 QStringLiteral("--encoding=UTF8"), QStringLiteral("--locale=C"),
                 m_folder.filePath(QStringLiteral("data"))}) != 0)
            throw std::runtime_error("The PostgreSQL server cannot be set up.");
    }
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.setStandardErrorFile(m_folder.filePath(QStringLiteral("log")));
    QElapsedTimer timer;
    for (timer.start(); timer.elapsed() < 120000 && !isReady(); QThread::msleep(20))
        if (m_process.waitForFinished(0) || m_process.state() == QProcess::NotRunning) {
            // Another program took the port; nobody knows this one's yet.
            if (!m_hasStarted)
                m_port = freePort();
            m_process.start(QStringLiteral("setpriv"),
                            asServerUser(m_programs + QStringLiteral("postgres"), options()));
        }
    m_hasStarted = isReady();
    if (!m_hasStarted)
        throw std::runtime_error("The PostgreSQL server does not answer.");
}

// What answers at the port may be another test's server, which was faster.
bool PostgresServer::isReady() const {
    QFile state(m_folder.filePath(QStringLiteral("data/postmaster.pid")));
    if (!state.open(QIODevice::ReadOnly))
        return false;
    const QList<QByteArray> lines = state.readAll().split('\n');
    return lines.front().toLongLong() == m_process.processId() &&
           lines.value(7).trimmed() == "ready";
}

void PostgresServer::kill() {
    if (m_process.state() == QProcess::NotRunning)
        return;
    // PostgreSQL takes SIGQUIT for an immediate shutdown; SIGKILL would leave its children.
    ::kill(static_cast<pid_t>(m_process.processId()), SIGQUIT);
    m_process.waitForFinished();
}

QString PostgresServer::url(const QString& user, const QString& host) const {
    return QStringLiteral("postgresql://%1@%2:%3/postgres").arg(user, host).arg(m_port);
}

QSqlDatabase PostgresServer::connection(const QString& name) const {
    auto database = QSqlDatabase::addDatabase(QStringLiteral("QPSQL"), name);
    database.setHostName(QStringLiteral("127.0.0.1"));
    database.setPort(m_port);
    database.setUserName(QStringLiteral("vlr"));
    database.setDatabaseName(QStringLiteral("postgres"));
    return database;
}

} // namespace vlrTest
