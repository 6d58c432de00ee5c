#include "Support/TestEnvironment.h"

#include <QtCore/QDir>
#include <QtCore/QMap>
#include <QtCore/QProcess>
#include <QtCore/QRegularExpression>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>

#include <csignal>
#include <gmock/gmock.h>
#include <sys/resource.h>

using namespace vlrTest;
using testing::HasSubstr;

namespace {

constexpr int patience = 60000;
const QString runOption = QStringLiteral("--print-first-frame");

QString configurationFolder() {
    return qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Navigator/configurations");
}

QString appBaseFile() {
    return configurationFolder() + QStringLiteral("/AppBase.xml");
}

QMap<QString, QByteArray> configurationFiles() {
    QMap<QString, QByteArray> files;
    for (const QString& name : QDir(configurationFolder()).entryList(QDir::Files))
        files[name] = readFile(configurationFolder() + QLatin1Char('/') + name);
    return files;
}

// The program itself, as a user starts it.
class NavigatorProcess : public QProcess {
public:
    explicit NavigatorProcess(const QStringList& arguments, bool isDiskFull = false)
        : m_isDiskFull(isDiskFull) {
        start(QStringLiteral(NAVIGATOR_EXECUTABLE), arguments);
    }

    /// Asks a running program to end.
    int end(int signal = SIGTERM) {
        while (!m_output.contains("first frame\n")) {
            if (!waitForReadyRead(patience)) {
                ADD_FAILURE() << "No first frame. " << readAllStandardError().constData();
                kill();
                break;
            }
            m_output += readAllStandardOutput();
        }
        ::kill(static_cast<pid_t>(processId()), signal);
        return exit();
    }
    /// Waits for the end; the exit code, or -1 when there is none.
    int exit(int milliseconds = patience) {
        const bool ended = state() == NotRunning || waitForFinished(milliseconds);
        m_output += readAllStandardOutput();
        m_errors = readAllStandardError();
        return ended && exitStatus() == NormalExit ? exitCode() : -1;
    }
    std::string output() const { return m_output.toStdString(); }
    std::string errors() const { return m_errors.toStdString(); }
    /// The log records of the level on standard error that say something; the column of layout
    /// buttons writes an empty line whenever it grows.
    QStringList records(const char* level) const {
        return QString::fromUtf8(m_errors)
            .split(QLatin1Char('\n'))
            .filter(QRegularExpression(
                QStringLiteral("^[-0-9]+ [:.0-9]+ %1 \\S+ +\\S").arg(QString::fromLatin1(level))));
    }

protected:
    void setupChildProcess() override {
        if (!m_isDiskFull)
            return;
        const rlimit none{0, 0};
        setrlimit(RLIMIT_FSIZE, &none);
        std::signal(SIGXFSZ, SIG_IGN);
    }

private:
    bool m_isDiskFull;
    QByteArray m_output;
    QByteArray m_errors;
};

int runTourStage(const char* stage) {
    const QString pictures = testFolder() + QStringLiteral("/pictures");
    QDir().mkpath(pictures);
    NavigatorProcess process({QStringLiteral("--tour"), pictures, QStringLiteral("--tour-stage"),
                              QString::fromLatin1(stage)});
    const int code = process.exit(4 * patience);
    EXPECT_EQ(code, 0) << process.output() << process.errors();
    return QDir(pictures).entryList(QDir::Files).size();
}

} // namespace

TEST(NavigatorProcess, TourLeavesWhatItsUserEntered) {
    EXPECT_EQ(runTourStage("1"), 46);
    {
        QSqlDatabase database = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"));
        database.setDatabaseName(qEnvironmentVariable("XDG_DATA_HOME") +
                                 QStringLiteral("/Navigator/patients.sqlite"));
        ASSERT_TRUE(database.open());
        QSqlQuery query(database);
        ASSERT_TRUE(query.exec(QStringLiteral(
            "SELECT name, sex, birth_date FROM patient WHERE patient_id = '0000000'")));
        ASSERT_TRUE(query.next());
        EXPECT_EQ(query.value(0).toString(), QLatin1String("Vermeer, Johanna"));
        EXPECT_EQ(query.value(1).toInt(), 1);
        EXPECT_EQ(query.value(2).toString(), QLatin1String("1968-03-05"));
    }
    QSqlDatabase::removeDatabase(QLatin1String(QSqlDatabase::defaultConnection));
    EXPECT_EQ(runTourStage("2"), 48);

    auto files = configurationFiles();
    EXPECT_THAT(files[QStringLiteral("ImagesModuleConfiguration.xml")].toStdString(),
                HasSubstr("tour series"));
    EXPECT_THAT(files[QStringLiteral("PatientsModuleConfiguration.xml")].toStdString(),
                HasSubstr("0000000"));
    NavigatorProcess again({runOption});
    EXPECT_EQ(again.end(), 0);
    EXPECT_EQ(configurationFiles(), files) << "A run that changes nothing";
}

TEST(NavigatorProcess, SignalsEndItAsTheUserDoes) {
    for (const int signal : {SIGTERM, SIGINT}) {
        QDir(configurationFolder()).removeRecursively();
        NavigatorProcess process({runOption});
        EXPECT_EQ(process.end(signal), 0);
        EXPECT_EQ(configurationFiles().keys(),
                  QStringList({QStringLiteral("AppBase.xml"),
                               QStringLiteral("ImagesModuleConfiguration.xml"),
                               QStringLiteral("PatientsModuleConfiguration.xml"),
                               QStringLiteral("TrackingModuleConfiguration.xml")}));
    }
}

TEST(NavigatorProcess, DamagedConfigurationIsKeptAside) {
    NavigatorProcess first({runOption});
    ASSERT_EQ(first.end(), 0);
    const QByteArray good = readFile(appBaseFile());
    const QByteArray nested = QByteArray("<vlr version=\"1\">") +
                              QByteArray("<data class=\"Configuration\" id=\"\">").repeated(100000);
    const QByteArray documents[] = {{},
                                    good.left(1),
                                    good.left(good.size() / 3),
                                    good.left(good.size() / 2),
                                    good.left(good.size() - 8),
                                    "These are not the bytes you look for.",
                                    QByteArray(2000, '\0'),
                                    nested};
    for (const QByteArray& document : documents) {
        QDir(configurationFolder()).removeRecursively();
        writeFile(appBaseFile(), document);
        NavigatorProcess process({runOption});
        ASSERT_EQ(process.end(), 0) << process.errors();
        const QStringList warnings = process.records("WARNING");
        EXPECT_EQ(warnings.size(), 1) << process.errors();
        EXPECT_TRUE(warnings.value(0).contains(appBaseFile()));
        EXPECT_EQ(readFile(appBaseFile()), good);
        const auto files = configurationFiles();
        ASSERT_EQ(files.size(), 5);
        EXPECT_THAT(files.keys().at(1).toStdString(), HasSubstr("AppBase.xml.damaged-"));
        EXPECT_EQ(files.values().at(1), document);
    }
}

TEST(NavigatorProcess, FullDiskAtExitKeepsTheOldFile) {
    NavigatorProcess first({runOption});
    ASSERT_EQ(first.end(), 0);
    const QByteArray old = readFile(appBaseFile()).replace("value=\"2000\"", "value=\" 1500\"");
    writeFile(appBaseFile(), old);
    NavigatorProcess process({runOption}, true);
    EXPECT_EQ(process.end(), 0);
    const QStringList errors = process.records("ERROR");
    ASSERT_EQ(errors.size(), 1) << process.errors();
    EXPECT_TRUE(errors.first().contains(
        QLatin1String("AppBaseImpl::run(): Could not store configuration. Reason: ")));
    EXPECT_EQ(readFile(appBaseFile()), old);
}

TEST(NavigatorProcess, ImagesOnTheCommandLineAreShown) {
    const QString file = testFolder() + QStringLiteral("/slice one.png");
    writeFile(file,
              QByteArray::fromBase64("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAAAAAA6fptVAAAACklEQVR4"
                                     "nGNoAAAAggCBd81ytgAAAABJRU5ErkJggg=="));
    NavigatorProcess process({runOption, file});
    EXPECT_EQ(process.end(), 0);
    EXPECT_THAT(configurationFiles()[QStringLiteral("ImagesModuleConfiguration.xml")].toStdString(),
                HasSubstr(file.toStdString()))
        << process.errors();
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
        NavigatorProcess process(each.arguments);
        EXPECT_EQ(process.exit(), each.code);
        EXPECT_THAT(each.code == 0 ? process.output() : process.errors(), HasSubstr(each.text));
    }
}

// What a service engineer runs. The user's files are read and stay as they are.
TEST(NavigatorProcess, SelfCheckFindsWhatIsWrong) {
    const QString settings =
        qEnvironmentVariable("XDG_CONFIG_HOME") + QStringLiteral("/Navigator/settings.ini");
    struct {
        const char* what;
        QString file;
        QByteArray content;
        int code;
        const char* line;
    } const cases[] = {
        {"nothing", {}, {}, 0, "ok     module        Patients\n"},
        {"a setting of the wrong kind", settings, "[Velora]\nApplication\\MaxPatientID=many\n", 1,
         "FAULT  setting       Velora/Application/MaxPatientID: \"many\" is not"},
        {"damaged settings", settings, "damaged", 1, "FAULT  settings      "},
        {"a damaged configuration", configurationFolder() + QStringLiteral("/Images.xml"), "<vlr",
         1, "FAULT  configuration Images.xml: line 1"},
    };
    const QDir data(qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Navigator"));
    for (const auto& one : cases) {
        if (!one.file.isEmpty())
            writeFile(one.file, one.content);
        NavigatorProcess process({QStringLiteral("--self-check")});
        EXPECT_EQ(process.exit(4 * patience), one.code) << one.what << process.output();
        EXPECT_THAT(process.output(), HasSubstr(one.line)) << one.what;
        EXPECT_EQ(process.output().find("FAULT") == std::string::npos, one.code == 0) << one.what;
        if (!one.file.isEmpty()) {
            EXPECT_EQ(readFile(one.file), one.content) << one.what;
            QFile::remove(one.file);
        }
        EXPECT_EQ(data.entryList(QDir::Files), QStringList()) << one.what;
    }
}
