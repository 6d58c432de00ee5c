#include "Navigator/NavigatorTest.h"

#include <QtCore/QDir>
#include <QtCore/QProcess>

#include <gmock/gmock.h>

using namespace vlrTest;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Key;
using testing::Pair;
using testing::StartsWith;

namespace {

const QString runOption = QStringLiteral("--print-first-frame");

QString configurationFolder() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Navigator/configurations");
}

std::map<std::string, std::string> configurationFiles() {
    std::map<std::string, std::string> files;
    for (const QFileInfo& file : QDir(configurationFolder()).entryInfoList(QDir::Files))
        files[file.fileName().toStdString()] = readFile(file.filePath()).toStdString();
    return files;
}

struct Outcome {
    int code; // -1 for a crash or a program that does not end
    QByteArray output, errors;
};

// The program itself, as a user starts it. With the option it is asked to end by a signal as soon
// as its window is seen.
Outcome run(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral(NAVIGATOR_EXECUTABLE), arguments);
    QByteArray output;
    if (arguments.contains(runOption)) {
        while (!output.contains("first frame\n") && process.waitForReadyRead(patience))
            output += process.readAllStandardOutput();
        EXPECT_THAT(output.toStdString(), HasSubstr("first frame\n"));
        process.terminate();
    }
    const bool ended =
        process.state() == QProcess::NotRunning || process.waitForFinished(4 * patience);
    const bool isGood = ended && process.exitStatus() == QProcess::NormalExit;
    return {isGood ? process.exitCode() : -1, output + process.readAllStandardOutput(),
            process.readAllStandardError()};
}

int runTourStage(const char* stage) {
    const QString pictures = testFolder() + QStringLiteral("/pictures");
    QDir().mkpath(pictures);
    const Outcome tour = run({QStringLiteral("--tour"), pictures, QStringLiteral("--tour-stage"),
                              QString::fromLatin1(stage)});
    EXPECT_EQ(tour.code, 0) << tour.output.constData() << tour.errors.constData();
    return QDir(pictures).entryList(QDir::Files).size();
}

} // namespace

// The tour itself looks whether all is there, and at the second start whether it still is.
TEST(NavigatorProcess, TourLeavesWhatItsUserEntered) {
    EXPECT_EQ(runTourStage("1"), 46);
    EXPECT_EQ(runTourStage("2"), 48);
    const auto files = configurationFiles();
    EXPECT_THAT(files.at("ImagesModuleConfiguration.xml"), HasSubstr("tour series"));
    EXPECT_THAT(files.at("PatientsModuleConfiguration.xml"), HasSubstr("0000000"));
    EXPECT_EQ(run({runOption}).code, 0);
    EXPECT_EQ(configurationFiles(), files) << "A run that changes nothing";
}

TEST(NavigatorProcess, DamagedConfigurationIsKeptAside) {
    ASSERT_EQ(run({runOption}).code, 0);
    const auto good = configurationFiles();
    EXPECT_THAT(good, ElementsAre(Key("AppBase.xml"), Key("ImagesModuleConfiguration.xml"),
                                  Key("PatientsModuleConfiguration.xml"),
                                  Key("TrackingModuleConfiguration.xml")));
    const std::string whole = good.at("AppBase.xml");
    const QString file = configurationFolder() + QStringLiteral("/AppBase.xml");
    const QByteArray documents[] = {
        QByteArray::fromStdString(whole.substr(0, whole.size() / 2)),
        "<vlr version=\"1\">" +
            QByteArray("<data class=\"Configuration\" id=\"\">").repeated(100000)};
    for (const QByteArray& document : documents) {
        QDir(configurationFolder()).removeRecursively();
        writeFile(file, document);
        const Outcome started = run({runOption});
        ASSERT_EQ(started.code, 0) << started.errors.constData();
        EXPECT_EQ(started.errors.count(" WARNING "), 1) << started.errors.constData();
        EXPECT_THAT(started.errors.toStdString(), HasSubstr(file.toStdString()));
        const auto files = configurationFiles();
        EXPECT_EQ(files.size(), good.size() + 1);
        EXPECT_EQ(files.at("AppBase.xml"), whole);
        EXPECT_THAT(files,
                    Contains(Pair(StartsWith("AppBase.xml.damaged-"), document.toStdString())));
    }
}

TEST(NavigatorProcess, ImagesOnTheCommandLineAreShown) {
    const QString file = testFolder() + QStringLiteral("/slice one.png");
    writeFile(file, png(1, 1));
    EXPECT_EQ(run({runOption, file}).code, 0);
    EXPECT_THAT(configurationFiles().at("ImagesModuleConfiguration.xml"),
                HasSubstr(file.toStdString()));
}

TEST(NavigatorProcess, CommandLineIsAnsweredWithoutADisplay) {
    const struct {
        QStringList arguments;
        int code;
        const char* text;
    } cases[] = {
        {{QStringLiteral("--help")}, 0, "--tour"},
        {{QStringLiteral("--version")}, 0, "Navigator "},
        {{QStringLiteral("--turbo")}, 2, "turbo"},
        {{QStringLiteral("--tour")}, 2, "tour"},
    };
    qputenv("QT_QPA_PLATFORM", "none such");
    for (const auto& each : cases) {
        const Outcome answer = run(each.arguments);
        EXPECT_EQ(answer.code, each.code);
        const QByteArray& said = each.code == 0 ? answer.output : answer.errors;
        EXPECT_THAT(said.toStdString(), HasSubstr(each.text));
    }
}

// What a service engineer runs. The user's files are read and stay as they are.
TEST(NavigatorProcess, SelfCheckFindsWhatIsWrong) {
    const QString settings =
        qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Navigator/settings.ini");
    const struct {
        QString file;
        QByteArray content;
        const char* line;
    } cases[] = {
        {testFolder() + QStringLiteral("/none"), "no fault", "ok     module        Patients\n"},
        {settings, "[Velora]\nApplication\\MaxPatientID=many\n",
         "FAULT  setting       Velora/Application/MaxPatientID: \"many\" is not"},
        {settings, "damaged", "FAULT  settings      "},
        {configurationFolder() + QStringLiteral("/Images.xml"), "<vlr",
         "FAULT  configuration Images.xml: line 1"},
    };
    const QDir data(qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Navigator"));
    for (const auto& one : cases) {
        SCOPED_TRACE(one.content.constData());
        writeFile(one.file, one.content);
        const Outcome check = run({QStringLiteral("--self-check")});
        EXPECT_THAT(check.output.toStdString(), HasSubstr(one.line));
        const bool isGood = QByteArray(one.line).startsWith("ok");
        EXPECT_EQ(check.code, isGood ? 0 : 1);
        EXPECT_EQ(check.output.contains("FAULT"), !isGood);
        EXPECT_EQ(readFile(one.file), one.content);
        QFile::remove(one.file);
        EXPECT_EQ(data.entryList(QDir::Files), QStringList());
    }
}
