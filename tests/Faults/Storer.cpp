#include "Storer.h"

#include "Faults.h"

#include "IO/DataIOManager.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

#include <csignal>
#include <cstdio>
#include <dlfcn.h>
#include <grp.h>
#include <stdexcept>
#include <sys/resource.h>
#include <unistd.h>

namespace {

constexpr uid_t nobody = 65534;

// A fault while it lasts.
class Armed {
public:
    explicit Armed(const QByteArray& fault) {
        const QList<QByteArray> words = fault.split(' ');
        if (words.front() == "limit")
            limitFiles(words.at(1).toULong());
        else if (words.front() == "call")
            arm(words.at(1).toLong(), words.at(2).toInt(), words.contains("lasting"));
    }
    // What failed, as far as that is known.
    QByteArray end() {
        limitFiles(RLIM_INFINITY);
        const auto disarm =
            reinterpret_cast<const char* (*)()>(dlsym(RTLD_DEFAULT, "vlrShimDisarm"));
        return disarm ? disarm() : "";
    }

private:
    static void limitFiles(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit{};
        getrlimit(RLIMIT_FSIZE, &limit);
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    static void arm(long number, int error, bool isLasting) {
        const auto arm =
            reinterpret_cast<void (*)(long, int, int)>(dlsym(RTLD_DEFAULT, "vlrShimArm"));
        if (!arm)
            throw std::runtime_error("The shim is not loaded.");
        arm(number, error, isLasting ? 1 : 0);
    }
};

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

QStringList shimEnvironment() {
    const QString shim =
        QCoreApplication::applicationDirPath() + QStringLiteral("/vlrFaultShim.so");
    if (!QFile::exists(shim))
        return {};
    return {QStringLiteral("LD_PRELOAD=") + QFile::decodeName(addressSanitizer()) + shim};
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

void Storer::start() {
    m_child = std::make_unique<Child>(
        QStringLiteral("store"),
        QStringList{QLatin1String(m_victim.name),
                    m_isOrdinary ? QStringLiteral("ordinary") : QStringLiteral("same")},
        m_environment);
}

bool Storer::store(const QByteArray& fault) {
    ++m_next;
    ++m_stores;
    m_child->process().write(QByteArray::number(m_next) + ' ' + fault + '\n');
    const QByteArray answer = m_child->readLine().trimmed();
    if (answer.isEmpty()) {
        buryChild(fault);
        return true;
    }
    const QByteArray failed = answer.split('\t').value(1);
    judge(answer.startsWith("acknowledged"), fault + ": " + answer);
    return !failed.isEmpty();
}

void Storer::buryChild(const QByteArray& fault) {
    const int status = m_child->wait();
    const std::string error = m_child->standardError().toStdString();
    start();
    const int found = load();
    const bool isKilled = status == -SIGKILL;
    ++(isKilled ? m_kills : m_crashes);
    const bool isTorn = found != m_version && found != m_next;
    m_silent += isTorn ? 1 : 0;
    if (isTorn || !isKilled)
        m_report.problem(std::string(m_victim.name) + ", " + fault.toStdString() +
                         ": ended with status " + std::to_string(status) + ", found " +
                         std::to_string(found) + ". " + error);
    m_version = found;
}

void Storer::judge(bool isAcknowledged, const QByteArray& what) {
    const int found = load();
    const bool isUnsynchronised =
        isAcknowledged && !isDatabase(m_victim) && what.contains("sync\t");
    const bool isWrong = found != m_next && (isAcknowledged || found != m_version);
    if (isWrong || isUnsynchronised) {
        ++m_silent;
        m_report.problem(std::string(m_victim.name) + ", " + what.toStdString() + ": found " +
                         std::to_string(found) + ", before " + std::to_string(m_version));
    }
    m_refused += isAcknowledged ? 0 : 1;
    m_late += !isAcknowledged && found == m_next ? 1 : 0;
    m_version = found;
}

int Storer::load() {
    int version = -1;
    if (m_isOrdinary) {
        Child reader(QStringLiteral("store"),
                     {QLatin1String(m_victim.name), QStringLiteral("ordinary")});
        reader.process().write("0 \n");
        return reader.readLine().trimmed().toInt();
    }
    const CaError error = m_victim.load(version);
    if (error != CaError::nullError) {
        m_report.problem(std::string(m_victim.name) + ": " + error.text());
        return -1;
    }
    return version;
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
        int found = -1;
        const CaError readError = stored.load(found); // Nothing of the last fault is left.
        if (version == 0) {
            std::printf("%d\n", readError == CaError::nullError ? found : -1);
        } else {
            if (command.endsWith(" closed"))
                DataIOManager::closeRepository();
            Armed armed(command.mid(command.indexOf(' ') + 1));
            const CaError error = stored.store(version);
            const QByteArray failed = armed.end();
            std::printf("%s\t%s\t%s\n", error == CaError::nullError ? "acknowledged" : "refused",
                        failed.constData(),
                        QByteArray::fromStdString(error.text()).simplified().constData());
        }
        std::fflush(stdout);
    }
    return 0;
}
