#include "IO/DataIOManager.h"
#include "Navigator/NavigatorTest.h"

#include <QtCore/QProcess>

#include <set>
#include <sstream>

using namespace vlrTest;
using testing::ContainsRegex;
using testing::Pair;

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

// The last line, the lines before it, and the status agree.
void expectVerdict(const Outcome& check, bool isGood) {
    EXPECT_EQ(check.code, isGood ? 0 : 1);
    EXPECT_EQ(check.output.contains("FAULT"), !isGood);
    EXPECT_THAT(check.output.toStdString(),
                EndsWith(isGood ? "Everything works.\n" : "There are faults.\n"));
}

QString pictureFolder() {
    return testFolder() + QStringLiteral("/pictures");
}

// The pictures that it announced, each of which has to be there.
std::set<std::string> runTourStage(const char* stage) {
    QDir().mkpath(pictureFolder());
    const Outcome tour = run({QStringLiteral("--tour"), pictureFolder(),
                              QStringLiteral("--tour-stage"), QString::fromLatin1(stage)});
    EXPECT_EQ(tour.code, 0) << tour.output.constData() << tour.errors.constData();
    std::set<std::string> names;
    for (const QByteArray& line : tour.output.split('\n'))
        if (line.endsWith(".png")) {
            EXPECT_TRUE(names.insert(line.toStdString()).second) << line.constData();
            EXPECT_FALSE(
                QImage(pictureFolder() + QLatin1Char('/') + QString::fromUtf8(line)).isNull())
                << line.constData();
        }
    return names;
}

// Of every station, and of no other.
std::set<std::string> tourPictures() {
    std::istringstream words(
        "01-start 02-new-patient 03-name-missing 04-form-filled-in 05-patient-stored "
        "06-current-patient 06a-new-study 06b-study-stored 06c-edit-patient "
        "07-example-images 08-slice-by-wheel 08a-two-planes-compared "
        "08b-one-plane-enlarged 08c-touch-mode 08c-tracking 08d-one-view-large "
        "08d-tracking-configuration 08e-tips-in-the-slices 08e-two-views-side-by-side "
        "08f-two-views-one-above-the-other 09-open-folder 09a-not-a-volume "
        "10-broken-image 11-id-taken 12-long-name 13-small-window "
        "14-images-in-a-small-window 15-search 15a-screenshot 15b-delete-screenshot "
        "15c-no-screenshots 15d-screenshots 15e-screenshot-opened 15f-broken-screenshot "
        "16-progress 17-message 18-selector-buttons 18-selector-radio "
        "18-selector-stepper 18-selector-tabs 19-settings-editor "
        "19a-application-configuration 19b-module-general-options "
        "19c-module-configuration 19d-about 20-exit-question 21-second-start "
        "22-same-slice");
    std::set<std::string> names;
    for (std::string name; words >> name;)
        names.insert(name + ".png");
    return names;
}

} // namespace

// The tour itself looks whether all is there, and at the second start whether it still is.
TEST(NavigatorProcess, TourLeavesWhatItsUserEntered) {
    std::set<std::string> pictures;
    for (const char* stage : {"1", "2"})
        pictures.merge(runTourStage(stage));
    EXPECT_EQ(pictures, tourPictures());
    const auto files = configurationFiles();
    EXPECT_THAT(files.at("ImagesModuleConfiguration.xml"), HasSubstr("tour series"));
    EXPECT_THAT(files.at("PatientsModuleConfiguration.xml"), HasSubstr("0000000"));
    EXPECT_EQ(run({runOption}).code, 0);
    EXPECT_EQ(configurationFiles(), files) << "A run that changes nothing";
}

TEST(NavigatorProcess, ATourThatFailsSaysSo) {
    const QString picture = pictureFolder() + QStringLiteral("/01-start.png");
    ASSERT_TRUE(QDir().mkpath(picture)); // No picture can be written there.
    const Outcome tour = run({QStringLiteral("--tour"), pictureFolder()});
    EXPECT_EQ(tour.code, 1);
    EXPECT_THAT(tour.errors.toStdString(),
                AllOf(HasSubstr("Tour: cannot write " + picture.toStdString()),
                      HasSubstr("Tour: stage 1 failed")));
    EXPECT_THAT(tour.output.toStdString(), Not(HasSubstr("pictures in")));
    const QString file = testFolder() + QStringLiteral("/file");
    writeFile(file, "not a folder");
    const Outcome nowhere = run({QStringLiteral("--tour"), file});
    EXPECT_EQ(nowhere.code, 1);
    EXPECT_THAT(nowhere.errors.toStdString(), HasSubstr(file.toStdString()));
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
    const QString copy = testFolder() + QStringLiteral("/copy");
    const std::tuple<QStringList, int, const char*> cases[] = {
        {{QStringLiteral("--help")}, 0, "--tour"},
        {{QStringLiteral("--version")}, 0, "Navigator "},
        {{QStringLiteral("--turbo")}, 2, "turbo"},
        {{QStringLiteral("--tour")}, 2, "tour"},
        {{QStringLiteral("--backup")}, 2, "backup"},
        {{QStringLiteral("--backup"), copy, QStringLiteral("--restore"), copy}, 2, "exclude"},
        {{QStringLiteral("--restore"), copy}, 1, "There is no file"},
        {{QStringLiteral("--backup"), copy}, 0, "Backed up: 1 patient in"},
        {{QStringLiteral("--backup"), copy}, 1, "exists already"},
        {{QStringLiteral("--restore"), copy}, 0, "Restored: 1 patient, as of"},
    };
    QCoreApplication::setApplicationName(QStringLiteral("Navigator"));
    (void)storePatient("1");
    DataIOManager::closeRepository();
    qputenv("QT_QPA_PLATFORM", "none such");
    for (const auto& [arguments, code, text] : cases) {
        const Outcome answer = run(arguments);
        EXPECT_EQ(answer.code, code);
        const QByteArray& said = code == 0 ? answer.output : answer.errors;
        EXPECT_THAT(said.toStdString(), HasSubstr(text));
    }
}

// What a service engineer runs. The user's files are read and stay as they are.
TEST(NavigatorProcess, SelfCheckFindsWhatIsWrong) {
    const QString settings =
        qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Navigator/settings.ini");
    const std::tuple<QString, QByteArray, const char*> cases[] = {
        {testFolder() + QStringLiteral("/none"), "no fault", "ok     module        Patients\n"},
        {settings, "[Velora]\nApplication\\MaxPatientID=many\n",
         "FAULT  setting       Velora/Application/MaxPatientID: \"many\" is not"},
        {settings, "damaged", "FAULT  settings      "},
        {configurationFolder() + QStringLiteral("/Images.xml"), "<vlr",
         "FAULT  configuration Images.xml: line 1"},
    };
    const QDir data(qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Navigator"));
    const QDir temporary(testFolder() + QStringLiteral("/temporary"));
    ASSERT_TRUE(QDir().mkpath(temporary.path()));
    qputenv("TMPDIR", temporary.path().toLocal8Bit());
    for (const auto& [file, content, line] : cases) {
        SCOPED_TRACE(content.constData());
        writeFile(file, content);
        const Outcome check = run({QStringLiteral("--self-check")});
        EXPECT_THAT(check.output.toStdString(), HasSubstr(line));
        expectVerdict(check, QByteArray(line).startsWith("ok"));
        EXPECT_EQ(readFile(file), content);
        QFile::remove(file);
        for (const QDir& folder : {data, QFileInfo(settings).dir(), temporary})
            EXPECT_EQ(folder.entryList(QDir::Files | QDir::Hidden), QStringList());
        EXPECT_TRUE(temporary.isEmpty());
    }
}

TEST(NavigatorProcess, SelfCheckTellsIdsThatLookAlike) {
    CommandLine line;
    const QCoreApplication application(line.count, line.words);
    QCoreApplication::setApplicationName(QStringLiteral("Navigator"));
    for (const char* id : {"0001", "OOO1", "2"})
        storePatient(id);
    DataIOManager::closeRepository();
    const Outcome check = run({QStringLiteral("--self-check")});
    expectVerdict(check, true);
    EXPECT_THAT(check.output.toStdString(),
                HasSubstr("note   patient ids   \"0001\", \"OOO1\": They are easily taken"));
    EXPECT_EQ(check.output.count("\nnote "), 1);
}

// It is larger than anything of the first half, which is done before. What would be shown in a box,
// which nobody could answer, is told.
TEST(NavigatorProcess, SelfCheckTellsFaultsOfParts) {
    const FullDisk disk(3000);
    const Outcome parts = run({QStringLiteral("--self-check-parts")});
    EXPECT_EQ(parts.code, 1);
    const Outcome check = run({QStringLiteral("--self-check")});
    expectVerdict(check, false);
    for (const Outcome& each : {parts, check})
        EXPECT_THAT(each.output.toStdString(),
                    ContainsRegex("FAULT  editor        Patient: Could not read.* disk I/O error"));
    EXPECT_THAT(check.output.toStdString(), HasSubstr("FAULT  parts         all of the above: "
                                                      "There were faults.\n"));
}
