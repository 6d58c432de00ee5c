#include "BenchmarkMain.h"

#include "Statistics.h"

#include <QtCore/QCommandLineParser>
#include <QtWidgets/QApplication>

#include <cstdio>
#include <stdexcept>

namespace {

constexpr int fewestRounds = 9;

int run(const QApplication& application, const char* description,
        const std::function<QJsonObject(int rounds)>& measure) {
    QCommandLineParser parser;
    parser.setApplicationDescription(QString::fromLatin1(description));
    parser.addHelpOption();
    const QCommandLineOption rounds(
        QStringLiteral("rounds"), QStringLiteral("How many rounds, at least %1.").arg(fewestRounds),
        QStringLiteral("N"), QStringLiteral("15"));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Writes the numbers to the file as well."),
                                  QStringLiteral("FILE"));
    // Qt takes it before it gets here.
    const QCommandLineOption platform(
        QStringLiteral("platform"),
        QStringLiteral("The Qt platform: \"offscreen\" needs no display, \"xcb\" an X server."),
        QStringLiteral("NAME"), QStringLiteral("offscreen"));
    parser.addOptions({rounds, json, platform});
    parser.process(application);
    const int count = parser.value(rounds).toInt();
    if (count < fewestRounds)
        throw std::runtime_error("That is too few rounds; see --help.");
    const QJsonObject result = measure(count);
    if (parser.isSet(json))
        writeJson(parser.value(json), result);
    return 0;
}

} // namespace

int benchmarkMain(int argc, char** argv, const char* description,
                  const std::function<QJsonObject(int rounds)>& measure) {
    // Beaten by the option of that name.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    try {
        return run(application, description, measure);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
