// Measures how long Navigator takes from its start as a process to its first frame, and how much
// longer that is than for a bare Qt window. The two take turns, so that whatever else slows the
// machine down meets both, and so does the order within a pair.

#include "Statistics.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QProcess>
#include <QtCore/QTemporaryDir>

#include <cstdio>
#include <stdexcept>

namespace {

constexpr double aim = 1.35;
constexpr int fewestPairs = 15;
constexpr int patience = 60000; // milliseconds

class Program {
public:
    Program(const QString& name, const QStringList& arguments, const QString& platform)
        : m_path(QCoreApplication::applicationDirPath() + QLatin1Char('/') + name),
          m_arguments(arguments), m_platform(platform) {}

    /// Milliseconds from the start of the process to the line that it prints.
    double start() const {
        QProcess process;
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
        const auto elapsed = static_cast<double>(timer.nsecsElapsed()) / 1e6;
        if (!process.waitForFinished(patience) || process.exitStatus() != QProcess::NormalExit ||
            process.exitCode() != 0)
            fail(process, "did not end well");
        return elapsed;
    }

private:
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

struct Result {
    QString platform;
    Summary navigator;
    Summary bareWindow;
    Summary ratio;
};

Result measure(int pairs, const QString& platform) {
    const Program navigator(QStringLiteral("Navigator"),
                            {QStringLiteral("--exit-after-first-frame")}, platform);
    const Program bareWindow(QStringLiteral("BareWindow"), {}, platform);
    // The first start fills caches, and that of Navigator creates its files.
    navigator.start();
    bareWindow.start();

    std::vector<double> ours;
    std::vector<double> bare;
    std::vector<double> ratios;
    for (int pair = 0; pair < pairs; ++pair) {
        const bool bareFirst = pair % 2 != 0;
        if (bareFirst)
            bare.push_back(bareWindow.start());
        ours.push_back(navigator.start());
        if (!bareFirst)
            bare.push_back(bareWindow.start());
        ratios.push_back(ours.back() / bare.back());
    }
    return {platform, Summary(ours), Summary(bare), Summary(ratios)};
}

void print(const Result& result) {
    std::printf("Process start to first frame, %d pairs of warm starts, platform %s\n",
                static_cast<int>(result.ratio.samples.size()),
                result.platform.toUtf8().constData());
    printHead();
    print("Navigator, ms", result.navigator, 1);
    print("Bare window, ms", result.bareWindow, 1);
    print("Ratio of a pair", result.ratio, 2);
    std::printf("The aim is a ratio of at most %.2f: %s\n", aim,
                result.ratio.median <= aim ? "reached" : "missed");
}

QJsonObject toJson(const Result& result) {
    return {
        {QStringLiteral("benchmark"), QStringLiteral("startup")},
        {QStringLiteral("platform"), result.platform},
        {QStringLiteral("pairs"), static_cast<int>(result.ratio.samples.size())},
        {QStringLiteral("navigatorMilliseconds"), result.navigator.toJson()},
        {QStringLiteral("bareWindowMilliseconds"), result.bareWindow.toJson()},
        {QStringLiteral("ratio"), result.ratio.toJson()},
        {QStringLiteral("aim"), aim},
    };
}

int run(const QCoreApplication& application) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Compares the start of Navigator with that of a bare Qt window."));
    parser.addHelpOption();
    const QCommandLineOption pairs(
        QStringLiteral("pairs"),
        QStringLiteral("How many pairs of starts, at least %1.").arg(fewestPairs),
        QStringLiteral("N"), QStringLiteral("21"));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Writes the numbers to the file as well."),
                                  QStringLiteral("FILE"));
    const QCommandLineOption platform(
        QStringLiteral("platform"),
        QStringLiteral("The Qt platform: \"offscreen\" needs no display, \"xcb\" an X server."),
        QStringLiteral("NAME"), QStringLiteral("offscreen"));
    parser.addOptions({pairs, json, platform});
    parser.process(application);
    const int count = parser.value(pairs).toInt();
    if (count < fewestPairs)
        throw std::runtime_error("That is too few pairs; see --help.");

    const Result result = measure(count, parser.value(platform));
    print(result);
    if (parser.isSet(json))
        writeJson(parser.value(json), toJson(result));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv);
    try {
        return run(application);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
