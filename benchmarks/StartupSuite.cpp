// How long Navigator takes from its start as a process to its first frame, and how much memory it
// holds at rest, compared with a bare Qt window.

#include "Suites.h"

#include "Suite.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>
#include <QtGui/QGuiApplication>

#include <memory>
#include <stdexcept>
#include <unistd.h>

namespace {

constexpr double startAim = 1.35;
constexpr double memoryAim = 1.2;
constexpr double modulesAim = 1.05;
constexpr int patience = 60000;   // milliseconds
constexpr int lookInterval = 100; // milliseconds
constexpr int restingLooks = 5;

class Program {
public:
    Program(const QString& name, const QStringList& arguments, const QString& platform)
        : m_path(QCoreApplication::applicationDirPath() + QLatin1Char('/') + name),
          m_arguments(arguments), m_platform(platform) {}

    /// Milliseconds from the start of the process to the line that it prints.
    double start() const {
        QProcess process;
        const double elapsed = startUntilFirstFrame(process);
        if (!process.waitForFinished(patience) || process.exitStatus() != QProcess::NormalExit ||
            process.exitCode() != 0)
            fail(process, "did not end well");
        return elapsed;
    }

    /// Resident megabytes of the process once they have been the same for a while.
    double residentAtRest() const {
        QProcess process;
        startUntilFirstFrame(process);
        long pages = 0;
        for (int same = 0; same < restingLooks; QThread::msleep(lookInterval)) {
            const long now = residentPages(process);
            same = now == pages ? same + 1 : 0;
            pages = now;
        }
        process.kill();
        process.waitForFinished();
        return static_cast<double>(pages * ::sysconf(_SC_PAGESIZE)) / 1e6;
    }

private:
    double startUntilFirstFrame(QProcess& process) const {
        process.setProcessEnvironment(environment());
        QByteArray line;
        QElapsedTimer timer;
        timer.start();
        process.start(m_path, m_arguments, QIODevice::ReadOnly);
        while (line != "first frame\n") {
            while (!process.canReadLine())
                if (!process.waitForReadyRead(patience))
                    fail(process, "showed no first frame");
            line = process.readLine();
        }
        return static_cast<double>(timer.nsecsElapsed()) / 1e6;
    }

    long residentPages(QProcess& process) const {
        QFile file(QStringLiteral("/proc/%1/statm").arg(process.processId()));
        if (!file.open(QIODevice::ReadOnly))
            fail(process, "cannot be looked at");
        const QList<QByteArray> numbers = file.readAll().split(' ');
        return numbers.value(1).toLong();
    }

    // Folders of its own: no start shall depend on what somebody's settings are.
    QProcessEnvironment environment() const {
        QProcessEnvironment result = QProcessEnvironment::systemEnvironment();
        result.insert(QStringLiteral("QT_QPA_PLATFORM"), m_platform);
        // The key of the display stays where it is.
        if (!result.contains(QStringLiteral("XAUTHORITY")))
            result.insert(QStringLiteral("XAUTHORITY"),
                          QDir::home().filePath(QStringLiteral(".Xauthority")));
        result.insert(QStringLiteral("HOME"), m_home.path());
        for (const char* const name : {"CONFIG", "DATA", "CACHE"})
            result.insert(QStringLiteral("XDG_%1_HOME").arg(QLatin1String(name)),
                          m_home.filePath(QLatin1String(name)));
        result.insert(QStringLiteral("XDG_RUNTIME_DIR"), m_home.path());
        return result;
    }

    [[noreturn]] void fail(QProcess& process, const char* what) const {
        const QString reason =
            process.state() == QProcess::NotRunning
                ? QStringLiteral("it ended with status %1").arg(process.exitCode())
                : process.errorString();
        process.kill();
        process.waitForFinished();
        throw std::runtime_error(QStringLiteral("%1 %2: %3\n%4")
                                     .arg(m_path, QLatin1String(what), reason,
                                          QString::fromLocal8Bit(process.readAllStandardError()))
                                     .toStdString());
    }

    QString m_path;
    QStringList m_arguments;
    QString m_platform;
    QTemporaryDir m_home;
};

Suite::Function startOf(const std::shared_ptr<Program>& program) {
    return [program](benchmark::State& state) {
        for (auto _ : state)
            state.SetIterationTime(program->start() / 1e3);
    };
}

Suite::Function memoryOf(const std::shared_ptr<Program>& program) {
    return [program](benchmark::State& state) {
        for (auto _ : state) {
            state.counters["MB"] = program->residentAtRest();
            state.SetIterationTime(1);
        }
    };
}

// The first start fills caches, and that of Navigator creates its files.
std::shared_ptr<Program> started(const char* name, const QStringList& arguments) {
    auto program =
        std::make_shared<Program>(QLatin1String(name), arguments, QGuiApplication::platformName());
    program->start();
    return program;
}

} // namespace

void addStartup(Suite& suite) {
    suite.compare({"first-frame",
                   "Navigator to its first frame / bare QMainWindow",
                   startAim,
                   startOf(started("Navigator", {QStringLiteral("--exit-after-first-frame")})),
                   startOf(started("BareWindow", {})),
                   {},
                   true});
    suite.compare({"modules",
                   "an application of 200 modules to its first frame / one of 4",
                   modulesAim,
                   startOf(started("ManyModules", {QStringLiteral("200")})),
                   startOf(started("ManyModules", {QStringLiteral("4")})),
                   {},
                   true});
}

void addMemory(Suite& suite) {
    const auto program = [](const char* name, const QString& option) {
        return memoryOf(std::make_shared<Program>(QLatin1String(name), QStringList{option},
                                                  QGuiApplication::platformName()));
    };
    Suite::Comparison comparison{"resident",
                                 "resident size of Navigator at rest / bare QMainWindow",
                                 memoryAim,
                                 program("Navigator", QStringLiteral("--print-first-frame")),
                                 program("BareWindow", QStringLiteral("--stay")),
                                 {},
                                 true};
    comparison.counter = "MB";
    suite.compare(comparison);
}
