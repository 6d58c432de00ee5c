#include "CoreTest.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDateTime>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>

#include <fstream>
#include <iomanip>
#include <limits>
#include <locale>
#include <thread>

using namespace vlrTest;
using vlr::Log;

namespace {

// Sends a level to a stream of its own for the time of a test.
class Routed {
public:
    Routed(LogLevel level, std::ostream& stream, int prefix) : m_level(level) {
        Log::setOStream(level, &stream);
        Log::setPrefix(level, prefix);
    }
    ~Routed() {
        Log::setOStream(m_level, nullptr);
        Log::setPrefix(m_level, 1);
    }
    Routed(const Routed&) = delete;
    Routed& operator=(const Routed&) = delete;

private:
    LogLevel m_level;
};

std::string logFile() {
    Log::flush();
    return readFile(QString::fromStdString(Log::filePath())).toStdString();
}

// How often standard error says that the log file cannot be written while three records are.
int complaintsOfThreeRecords() {
    expectLog(LogLevel::Error, "record");
    testing::internal::CaptureStderr();
    for (int i = 0; i < 3; ++i)
        VLR_LOG(Error) << "record";
    Log::flush();
    const QString output = QString::fromStdString(testing::internal::GetCapturedStderr());
    return output.count(QStringLiteral("log file cannot be written"));
}

} // namespace

TEST(Log, LevelsAreFoundByName) {
    const std::pair<const char*, LogLevel> cases[] = {
        {"CaERROR", LogLevel::CaError},
        {"UWARNING", LogLevel::UserWarning},
        {"error", LogLevel::Error},
        {nullptr, LogLevel::Error},
    };
    for (const auto& each : cases) {
        expectLog(each.second, "by name");
        Log::getInstance(each.first, nullptr, 1) << "by name";
        EXPECT_EQ(logRecords().back().level, each.second);
        EXPECT_STREQ(logRecords().back().file, "");
    }
}

TEST(Log, RecordsStandInTheFileAndOnStandardError) {
    const QDateTime before = QDateTime::currentDateTime();
    testing::internal::CaptureStderr();
    VLR_LOG(Info) << "number " << 1234567 << ' ' << 0.5;
    const std::string place = std::string(__FILE__) + ':' + std::to_string(__LINE__ - 1);
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_THAT(line, EndsWith(" INFO " + place + ": number 1234567 0.5\n"));
    EXPECT_THAT(logFile(), EndsWith(line));
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    EXPECT_EQ(Log::filePath(),
              QStringLiteral("%1/log/%2.log").arg(folder, qAppName()).toStdString());
    const QDateTime time = QDateTime::fromString(QString::fromStdString(line.substr(0, 23)),
                                                 QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz"));
    EXPECT_TRUE(before <= time && time <= QDateTime::currentDateTime()) << line;
}

// Whatever is streamed, and in whatever order, reads as in any other stream.
TEST(Log, RecordsTakeWhatStreamsTake) {
    const auto expectSame = [](auto write) {
        std::ostringstream expected;
        write(expected);
        {
            vlr::LogStream record = Log::getInstance(LogLevel::Info, "a.cpp", 1);
            write(record);
        }
        EXPECT_EQ(logRecords().back().text, expected.str());
    };
    char characters[] = "in an array\0cut";
    const std::string around(255, 'a');
    expectSame([&](auto& stream) {
        stream << characters << ' ' << std::string("a\0b", 3) << std::string_view("view")
               << QString::fromUtf8(" Größe ");
    });
    expectSame([](auto& stream) {
        stream << -7 << ' ' << 7U << ' ' << std::numeric_limits<long long>::min() << ' '
               << std::numeric_limits<unsigned long>::max() << ' ' << short(-3) << true << 'c'
               << static_cast<unsigned char>('u');
    });
    expectSame([](auto& stream) {
        stream << 10 << ' ' << std::hex << 10 << ' ' << std::setw(5) << "x" << std::showbase << 255U
               << std::setfill('.') << std::left << std::setw(6) << QString::fromUtf8("q") << '|';
    });
    expectSame([&](auto& stream) { // across the end of a buffer, with and without a stream
        stream << around << "bc" << around << QString(600, u'd') << 0.25 << around << around << 'e';
    });
    expectSame(
        [](auto& stream) { stream << "before" << static_cast<const char*>(nullptr) << "after"; });
}

TEST(Log, AStreamGetsEachRecordAtOnceWithNumbersAsInTheSourceAndInTheFormatChosen) {
    struct Foreign : std::numpunct<char> {
        char do_decimal_point() const override { return ','; }
        std::string do_grouping() const override { return "\3"; }
    };
    const std::locale before =
        std::locale::global(std::locale(std::locale::classic(), new Foreign));
    std::ofstream file(qPrintable(inFolder("log")));
    const Routed routed(LogLevel::Info, file, 0);
    {
        vlr::LogStream first = Log::getInstance(LogLevel::Info, "file", 1);
        first << 1234567 << ' ' << 0.5 << ' ' << std::hex;
        vlr::LogStream moved(std::move(first));
        moved << 65535;
    }
    std::locale::global(before);
    EXPECT_EQ(readFile(inFolder("log")), "1234567 0.5 ffff");
    EXPECT_EQ(Log::addListener({}), 0);
}

TEST(Log, NoTextPosesAsAnotherRecord) {
    VLR_LOG(Info) << "one\n2024-01-01 00:00:00.000 ERROR x:1: two\r\nthree\tx\x1b[2J\x7f\r\n\n";
    EXPECT_THAT(logFile(), HasSubstr(": one\n    2024-01-01 00:00:00.000 ERROR x:1: two\n"
                                     "    three\tx\\x1b[2J\\x7f\n"));
    EXPECT_THAT(logRecords().back().text, EndsWith("\x7f"));
    const auto expectShown = [](const std::string& text, const std::string& shown) {
        VLR_LOG(Info) << "a" << text << "b";
        EXPECT_THAT(logFile(), EndsWith(": a" + shown + "b\n"));
    };
    for (const char* plain : {"\t", "\u00a0", "\u2070", "\xc2"})
        expectShown(plain, plain);
    for (const char* text :
         {"\r", "\x1b", "\x7f", "\u0085", "\u009b", "\u2028", "\u202e", "\u2066", "\u2069"}) {
        std::string bytes;
        for (const char* byte = text; *byte; ++byte)
            bytes += "\\x" + QByteArray(1, *byte).toHex().toStdString();
        expectShown(text, bytes);
    }
}

TEST(Log, UrgentRecordsAreInTheFileAtOnce) {
    expectLog(LogLevel::UserError, "urgent");
    VLR_LOG(UserError) << "urgent";
    const QString path = QString::fromStdString(Log::filePath());
    EXPECT_THAT(readFile(path).toStdString(), HasSubstr("urgent"));
    const auto others = QFile::ReadGroup | QFile::ReadOther;
    EXPECT_EQ(QFile::permissions(path) & others, QFile::Permissions());
}

TEST(Log, DisabledLevelsCostNothing) {
    int evaluated = 0;
    const auto count = [&] { return ++evaluated; };
    VLR_LOG(Debug) << count();
    Log::setEnabled(LogLevel::Debug, true);
    VLR_LOG(Debug) << count();
    Log::setEnabled(LogLevel::Debug, false);
    Log::getInstance("DEBUG", "a.cpp", 1) << "off";
    EXPECT_EQ(evaluated, 1);
    EXPECT_EQ(logRecords().size(), 1U);
}

TEST(Log, OwnStreamReplacesStandardError) {
    testing::internal::CaptureStderr();
    std::ostringstream plain;
    std::ostringstream prefixed;
    {
        const Routed info(LogLevel::Info, plain, 0);
        VLR_LOG(Info) << "first\nline\n";
    }
    {
        const Routed info(LogLevel::Info, prefixed, 1);
        Log::getInstance(LogLevel::Info, "a.cpp", 7) << "second\nline\n";
    }
    VLR_LOG(Info) << "third";
    const std::string error = testing::internal::GetCapturedStderr();
    EXPECT_EQ(plain.str(), "first\nline");
    EXPECT_EQ(prefixed.str(), "INFO a.cpp:7: second\n    line\n");
    EXPECT_THAT(error, Not(testing::AnyOf(HasSubstr("first"), HasSubstr("second"))));
    EXPECT_THAT(error, HasSubstr("third"));
    EXPECT_THAT(logFile(), HasSubstr("first\n    line\n"));
}

TEST(Log, OtherThreadsHandTheirRecordsOverToAStreamThatIsStillThere) {
    std::ostringstream stream;
    testing::internal::CaptureStderr();
    {
        const Routed info(LogLevel::Info, stream, 0);
        std::thread([] { VLR_LOG(Info) << "from elsewhere"; }).join();
        EXPECT_EQ(stream.str(), "");
        EXPECT_THAT(logFile(), HasSubstr("from elsewhere"));
        QCoreApplication::processEvents();
        EXPECT_EQ(stream.str(), "from elsewhere");
        std::thread([] { VLR_LOG(Info) << "too late"; }).join();
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(stream.str(), "from elsewhere");
    EXPECT_THAT(testing::internal::GetCapturedStderr(), EndsWith("too late\n"));
}

TEST(Log, ThreadsDoNotMixTheirRecords) {
    constexpr int threadCount = 4;
    constexpr int recordCount = 1000;
    const std::string text(300, 'x');
    std::vector<std::thread> threads;
    for (int thread = 0; thread < threadCount; ++thread)
        threads.emplace_back([&] {
            for (int i = 0; i < recordCount; ++i) {
                const int passing = Log::addListener([](const vlr::LogRecord&) {});
                Log::getInstance(LogLevel::Info, "a.cpp", 1) << text << i;
                Log::removeListener(passing);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    const QStringList lines = QString::fromStdString(logFile()).split(QLatin1Char('\n'));
    const QRegularExpression whole(QStringLiteral("^[-:. \\d]{23} INFO a.cpp:1: x{300}\\d{1,3}$"));
    EXPECT_EQ(lines.filter(whole).size(), threadCount * recordCount);
}

TEST(Log, GoesOnWithoutAFile) {
    writeFile(inFolder("file"), {});
    QDir().mkdir(inFolder("closed"));
    const ReadOnlyFolder closed(inFolder("closed"));
    for (const char* place : {"file", "closed"}) {
        qputenv("XDG_DATA_HOME", inFolder(place).toUtf8());
        EXPECT_EQ(complaintsOfThreeRecords(), 1) << place;
        EXPECT_EQ(Log::filePath(), "");
    }
}

// The limit holds for every file of the process, also for the one that catches standard error.
TEST(Log, GoesOnWithAFullDisk) {
    constexpr int size = 1 << 16;
    VLR_LOG(Info) << "before";
    writeFile(QString::fromStdString(Log::filePath()), QByteArray(size, '\n'));
    const FullDisk disk(size);
    EXPECT_EQ(complaintsOfThreeRecords(), 1);
    EXPECT_EQ(logCount(LogLevel::Error, "record"), 3);
}

TEST(Log, RotatesFiveFiles) {
    std::ostringstream stream;
    const Routed info(LogLevel::Info, stream, 0);
    for (int i = 0; i < 16; ++i)
        VLR_LOG(Info) << std::string(1000000, 'x');
    const QFileInfo file(QString::fromStdString(Log::filePath()));
    const QFileInfoList files = file.dir().entryInfoList(QDir::Files);
    EXPECT_EQ(files.size(), 5);
    for (const QFileInfo& each : files)
        EXPECT_LE(each.size(), 2 << 20);
}
