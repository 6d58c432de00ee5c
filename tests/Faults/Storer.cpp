#include "Storer.h"

#include "Faults.h"

#include <QtCore/QCoreApplication>

#include <csignal>
#include <cstdio>
#include <dlfcn.h>
#include <grp.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

template <class Function>
Function* shimFunction(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_DEFAULT, name));
}

void limitFiles(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = bytes;
    setrlimit(RLIMIT_FSIZE, &limit);
}

void begin(const QByteArray& fault) {
    const QList<QByteArray> words = fault.split(' ');
    if (words.front() == "limit")
        limitFiles(words.at(1).toULong());
    if (words.front() != "call")
        return;
    auto* const arm = shimFunction<void(long, int, int)>("vlrShimArm");
    if (!arm)
        throw std::runtime_error("The shim is not loaded.");
    arm(words.at(1).toLong(), words.at(2).toInt(), words.contains("lasting") ? 1 : 0);
}

// What failed, as far as that is known.
QByteArray end() {
    limitFiles(RLIM_INFINITY);
    auto* const disarm = shimFunction<const char*()>("vlrShimDisarm");
    return disarm ? disarm() : "";
}

// SQLite makes up for a failed synchronisation of its main file: the changes stay beside it.
bool isDatabase(const Victim& victim) {
    return victim.file().endsWith(QLatin1String(".sqlite"));
}

// The sanitizer's library insists on being the first.
QByteArray addressSanitizer() {
    QFile maps(QStringLiteral("/proc/self/maps"));
    if (maps.open(QIODevice::ReadOnly))
        for (const QByteArray& line : maps.readAll().split('\n'))
            if (line.contains("/libasan"))
                return line.mid(line.indexOf('/')) + ' ';
    return {};
}

} // namespace

QStringList shimEnvironment(Report& report) {
    const QString shim =
        QCoreApplication::applicationDirPath() + QStringLiteral("/vlrFaultShim.so");
    if (QFile::exists(shim))
        return {QStringLiteral("LD_PRELOAD=") + QFile::decodeName(addressSanitizer()) + shim};
    report.notRun("failing calls: needs the library to be preloaded");
    return {};
}

void becomeOrdinary() {
    if (geteuid() != 0)
        return;
    if (setgroups(0, nullptr) != 0 || setresgid(nobody, nobody, nobody) != 0 ||
        setresuid(nobody, nobody, nobody) != 0)
        throw std::runtime_error("Root cannot become an ordinary user.");
}

Storer::Storer(const Victim& victim, Report& report, const QStringList& environment,
               bool isOrdinary)
    : m_victim(victim), m_report(report), m_environment(environment), m_isOrdinary(isOrdinary) {
    start();
    (void)store({});
    if (m_version != m_next)
        throw std::runtime_error(std::string(victim.name) + " cannot be stored at all.");
}

QStringList Storer::arguments(const Victim& victim, bool isOrdinary) {
    return {QLatin1String(victim.name),
            isOrdinary ? QStringLiteral("ordinary") : QStringLiteral("same")};
}

void Storer::start() {
    m_child = std::make_unique<Child>(QStringLiteral("store"), arguments(m_victim, m_isOrdinary),
                                      m_environment);
}

bool Storer::store(const QByteArray& fault) {
    ++m_next;
    m_child->process().write(QByteArray::number(m_next) + ' ' + fault + '\n');
    const QByteArray answer = m_child->readLine().trimmed();
    const bool isAlive = !answer.isEmpty();
    std::string cause = std::string(m_victim.name) + ", " + (fault + ": " + answer).toStdString();
    if (!isAlive) {
        const int status = m_child->wait();
        cause += " ended with status " + std::to_string(status);
        m_report.never("crashes", status != -SIGKILL,
                       cause + ", " + m_child->standardError().toStdString());
        start();
    }
    const int found = load();
    cause += ", found " + std::to_string(found) + ", before " + std::to_string(m_version);
    const bool isAcknowledged = answer.startsWith("acknowledged");
    const bool isUnsynchronised =
        isAcknowledged && !isDatabase(m_victim) && answer.contains("sync\t");
    const bool isWrong = found != m_next && (isAcknowledged || found != m_version);
    m_report.count("saves");
    m_report.count("saves refused", isAlive && !isAcknowledged ? 1 : 0);
    m_report.never("silent failures", isWrong || isUnsynchronised, cause);
    m_report.never("refused and stored", isAlive && !isAcknowledged && found == m_next, cause);
    m_isRefused = !isAcknowledged;
    m_refused += isAlive && !isAcknowledged ? 1 : 0;
    m_version = found;
    return !isAlive || !answer.split('\t').value(1).isEmpty();
}

int Storer::load() {
    if (m_isOrdinary) {
        Child reader(QStringLiteral("store"), arguments(m_victim, true));
        reader.process().write("0 \n");
        return reader.readLine().trimmed().toInt();
    }
    int version = -1;
    const CaError error = m_victim.load(version);
    if (error == CaError::nullError)
        return version;
    m_report.problem(std::string(m_victim.name) + ": " + error.text());
    return -1;
}

long Storer::sweepCalls(const QByteArray& rest, long step) {
    constexpr long mostCalls = 2000;
    for (long call = 1; call <= mostCalls; call += step) {
        const QByteArray fault = "call " + QByteArray::number(qlonglong(call)) + rest;
        if (!store(fault))
            return call - 1;
        if (rest == killed) {
            (void)store(fault);
            (void)store({});
        }
        // What a lock that can be neither filled nor removed costs is its two seconds each time.
        if (rest.contains("lasting"))
            QFile::remove(m_victim.file() + QStringLiteral(".lock"));
    }
    throw std::runtime_error(std::string(m_victim.name) + ": the calls have no end");
}

// Reads lines "VERSION FAULT" and stores; for the version 0 it answers with the one that is there.
int actStore(const QStringList& arguments) {
    if (arguments.value(1) == QLatin1String("ordinary"))
        becomeOrdinary();
    const Victim& stored = victim(arguments.value(0));
    char line[256];
    while (std::fgets(line, sizeof line, stdin)) {
        const QByteArray command = QByteArray(line).trimmed();
        const int version = command.split(' ').front().toInt();
        const QByteArray fault = command.mid(command.indexOf(' ') + 1);
        int found = -1;
        if (fault != "next" && stored.load(found) != CaError::nullError) // no rest of the last one
            found = -1;
        if (version == 0) {
            std::printf("%d\n", found);
        } else {
            if (fault.endsWith(" closed"))
                DataIOManager::closeRepository();
            begin(fault);
            const CaError error = stored.store(version);
            const QByteArray failed = end();
            std::printf("%s\t%s\t%s\n", error == CaError::nullError ? "acknowledged" : "refused",
                        failed.constData(),
                        QByteArray::fromStdString(error.text()).simplified().constData());
        }
        std::fflush(stdout);
    }
    return 0;
}
