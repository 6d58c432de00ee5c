// Runs the suites that are named, or all of them, and prints what they measured as shares of what
// one would do without the library. A miss is reported and is no failure.

#include "Runner.h"
#include "Suites.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>
#include <QtCore/QTemporaryDir>
#include <QtWidgets/QApplication>

#include <cstdio>
#include <stdexcept>

namespace {

constexpr int fewestRepetitions = 15;

struct Entry {
    const char* name;
    const char* what;
    void (*add)(Suite&);
};

constexpr Entry entries[] = {
    {"startup", "Navigator to its first frame / a bare Qt window; 200 modules / 4", &addStartup},
    {"memory", "resident size of Navigator at rest / a bare Qt window", &addMemory},
    {"layout", "the geometry of a drag step of the four views / nested QSplitters", &addLayout},
    {"drag", "a drag step with painting / repainting the same panes", &addDrag},
    {"image", "repainting a scaled image / memcpy of its pixels", &addImage},
    {"overlay", "a change of a small overlay / a full repaint", &addOverlay},
    {"frame", "a new frame of a camera / QPainter::drawImage()", &addFrame},
    {"poll", "a poll of a tool that did not move / one that repaints", &addPoll},
    {"stall", "the longest stall of the GUI with 1,000 poses a second", &addStall},
    {"log", "a flushed record, and an unheard one / spdlog; growth of the view", &addLog},
    {"settings", "Settings::get() / QSettings::value()", &addSettings},
    {"save", "a durable store of 1,000 nodes / QXmlStreamWriter + QSaveFile; growth", &addSave},
    {"load", "loading them / a pass of QXmlStreamReader; growth", &addLoad},
    {"patients", "listing 10,000 patients / one bare SQL query; a free id / listing", &addPatients},
    {"modules", "activating a module, painted / QStackedWidget; growth, also of controls",
     &addModules},
    {"tick", "a tick of the progress monitor / QProgressDialog::setValue()", &addTick},
};

QString listOfSuites() {
    QString text;
    for (const Entry& entry : entries)
        text += QStringLiteral("\n  %1  %2")
                    .arg(QLatin1String(entry.name), -9)
                    .arg(QLatin1String(entry.what));
    return text;
}

// Google Benchmark takes its settings from a command line.
void initialize() {
    static char name[] = "vlrBenchmarks";
    static char interleaving[] = "--benchmark_enable_random_interleaving=true";
    static char minimum[] = "--benchmark_min_time=0.03";
    char* arguments[] = {name, interleaving, minimum, nullptr};
    int count = 3;
    benchmark::Initialize(&count, arguments);
}

int run(const QApplication& application) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Suites:") + listOfSuites());
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("suite"), QStringLiteral("What to measure."),
                                 QStringLiteral("[suite...]"));
    const QCommandLineOption repetitions(
        QStringLiteral("repetitions"),
        QStringLiteral("How often, at least %1.").arg(fewestRepetitions), QStringLiteral("N"),
        QString::number(fewestRepetitions));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Writes the numbers to the file as well."),
                                  QStringLiteral("FILE"));
    const QCommandLineOption plots(QStringLiteral("plots"),
                                   QStringLiteral("Draws each growth into the folder, as PNG."),
                                   QStringLiteral("FOLDER"));
    // Qt takes it before it gets here.
    const QCommandLineOption platform(
        QStringLiteral("platform"),
        QStringLiteral("The Qt platform: \"offscreen\" needs no display, \"xcb\" an X server."),
        QStringLiteral("NAME"), QStringLiteral("offscreen"));
    parser.addOptions({repetitions, json, plots, platform});
    parser.process(application);
    const int count = parser.value(repetitions).toInt();
    if (count < fewestRepetitions)
        throw std::runtime_error("That is too few repetitions; see --help.");
    const QStringList wanted = parser.positionalArguments();
    for (const QString& name : wanted)
        if (std::none_of(std::begin(entries), std::end(entries),
                         [&name](const Entry& entry) { return name == QLatin1String(entry.name); }))
            throw std::runtime_error(("There is no suite \"" + name.toStdString() +
                                      "\". These are there:" + listOfSuites().toStdString()));

    initialize();
    QJsonArray results;
    for (const Entry& entry : entries) {
        if (!wanted.isEmpty() && !wanted.contains(QLatin1String(entry.name)))
            continue;
        Suite suite;
        entry.add(suite);
        Runner runner(entry.name, suite, count);
        runner.run();
        results.append(runner.json());
        if (parser.isSet(plots) && QDir().mkpath(parser.value(plots)))
            runner.plot(parser.value(plots));
    }
    if (parser.isSet(json))
        writeJson(parser.value(json),
                  {{QStringLiteral("platform"), QGuiApplication::platformName()},
                   {QStringLiteral("repetitions"), count},
                   {QStringLiteral("suites"), results}});
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    // The files of the person who runs this are not to be touched.
    const QTemporaryDir home;
    const QByteArray folder = QFile::encodeName(home.path());
    if (!qEnvironmentVariableIsSet("XAUTHORITY"))
        qputenv("XAUTHORITY",
                QFile::encodeName(QDir::home().filePath(QStringLiteral(".Xauthority"))));
    qputenv("HOME", folder);
    for (const char* place : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(place, folder + '/' + place);
    qputenv("XDG_RUNTIME_DIR", folder);
    // Beaten by the option of that name.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    try {
        return run(application);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
