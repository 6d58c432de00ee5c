#include "Support/TestEnvironment.h"

#include "Settings/vlrSettings.h"

#include <QtCore/QDir>
#include <QtCore/QStandardPaths>

#include <csignal>
#include <memory>
#include <mutex>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vlrTest {

namespace {

struct Expectation {
    vlr::LogLevel level;
    std::string text;
    bool seen = false;
};

// What belongs to the running test.
struct State {
    std::vector<Expectation> expectations;
    std::vector<vlr::LogRecord> records;
    QTemporaryDir home;
    QTemporaryDir folder;
    int listener = 0;
};

std::unique_ptr<State> state;

bool matches(const vlr::LogRecord& record, vlr::LogLevel level, const std::string& text) {
    return record.level == level && record.text.find(text) != std::string::npos;
}

// In whatever thread the record is written.
void listen(const vlr::LogRecord& record) {
    static std::mutex mutex;
    const std::lock_guard<std::mutex> lock(mutex);
    state->records.push_back(record);
    // The column of layout buttons writes an empty "ERROR" line whenever it grows.
    bool expected =
        record.level == vlr::LogLevel::Debug || record.level == vlr::LogLevel::Info ||
        (record.level == vlr::LogLevel::Error && record.text.empty() &&
         std::string(record.file).find("QtControlAreaControlButtons") != std::string::npos);
    for (Expectation& expectation : state->expectations)
        if (matches(record, expectation.level, expectation.text))
            expected = expectation.seen = true;
    if (!expected)
        ADD_FAILURE() << "Unexpected log record: " << vlr::toText(record.level) << ' '
                      << record.file << ':' << record.line << ": " << record.text;
}

class Listener : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        state = std::make_unique<State>();
        const QByteArray root = QFile::encodeName(state->home.path());
        qputenv("HOME", root);
        qputenv("XDG_CONFIG_HOME", root + "/config");
        qputenv("XDG_DATA_HOME", root + "/data");
        qputenv("XDG_CACHE_HOME", root + "/cache");
        qputenv("XDG_RUNTIME_DIR", root);
        vlr::Settings::reload();
        state->listener = vlr::Log::addListener(&listen);
    }

    void OnTestEnd(const testing::TestInfo&) override {
        vlr::Log::removeListener(state->listener);
        for (const Expectation& expectation : state->expectations)
            if (!expectation.seen)
                ADD_FAILURE() << "Missing log record: " << vlr::toText(expectation.level)
                              << " with \"" << expectation.text << '"';
        state->home.remove();
        state->folder.remove();
    }
};

} // namespace

int runTests(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    qputenv("TZ", "UTC");
    testing::UnitTest::GetInstance()->listeners().Append(new Listener);
    return RUN_ALL_TESTS();
}

void expectLog(vlr::LogLevel level, const std::string& text) {
    state->expectations.push_back({level, text});
}

const std::vector<vlr::LogRecord>& logRecords() {
    return state->records;
}

int logCount(vlr::LogLevel level, const std::string& text) {
    int count = 0;
    for (const vlr::LogRecord& record : state->records)
        count += matches(record, level, text) ? 1 : 0;
    return count;
}

QString testFolder() {
    return state->folder.path();
}

void writeFile(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << path.toStdString();
    ASSERT_EQ(file.write(bytes), bytes.size()) << path.toStdString();
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        ADD_FAILURE() << "Cannot read " << path.toStdString();
        return {};
    }
    return file.readAll();
}

ResourceLimit::ResourceLimit(int resource, unsigned long most) : m_resource(resource) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(static_cast<__rlimit_resource>(m_resource), &limit);
    m_previous = limit.rlim_cur;
    limit.rlim_cur = most;
    EXPECT_EQ(setrlimit(static_cast<__rlimit_resource>(m_resource), &limit), 0);
}

ResourceLimit::~ResourceLimit() {
    rlimit limit{};
    getrlimit(static_cast<__rlimit_resource>(m_resource), &limit);
    limit.rlim_cur = m_previous;
    setrlimit(static_cast<__rlimit_resource>(m_resource), &limit);
}

FullDisk::FullDisk(unsigned long bytes) : ResourceLimit(RLIMIT_FSIZE, bytes) {}

ShortOfMemory::ShortOfMemory(unsigned long room)
    : ResourceLimit(RLIMIT_AS,
                    readFile(QStringLiteral("/proc/self/statm")).split(' ').at(0).toULong() *
                            static_cast<unsigned long>(sysconf(_SC_PAGESIZE)) +
                        room) {}

// Root may write anywhere, so a process of root acts as another user meanwhile.
ReadOnlyFolder::ReadOnlyFolder(const QString& path)
    : m_path(QFile::encodeName(path)), m_droppedRoot(geteuid() == 0) {
    struct stat status {};
    EXPECT_EQ(stat(m_path.constData(), &status), 0);
    m_mode = status.st_mode & 07777U;
    EXPECT_EQ(chmod(m_path.constData(), 0555), 0);
    // The temporary folders above are private to their owner; they must stay passable.
    if (m_droppedRoot)
        for (QByteArray parent = m_path; parent.size() > 1;
             parent = parent.left(parent.lastIndexOf('/')))
            if (stat(parent.constData(), &status) == 0 && (status.st_mode & 0001U) == 0)
                chmod(parent.constData(), (status.st_mode & 07777U) | 0055U);
    if (m_droppedRoot) {
        EXPECT_EQ(seteuid(65534), 0);
    }
}

ReadOnlyFolder::~ReadOnlyFolder() {
    if (m_droppedRoot) {
        EXPECT_EQ(seteuid(0), 0);
    }
    chmod(m_path.constData(), m_mode);
}

} // namespace vlrTest
