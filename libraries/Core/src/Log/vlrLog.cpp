#include "Log/vlrLog.h"

#include "IO/PrivateFile.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>
#include <QtCore/QThread>

#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <locale>
#include <mutex>
#include <system_error>
#include <utility>
#include <vector>

namespace vlr {

namespace {

constexpr std::array<const char*, 8> levelNames = {"DEBUG",   "INFO",  "WARNING",  "ERROR",
                                                   "CaERROR", "UINFO", "UWARNING", "UERROR"};
constexpr unsigned allLevels = (1U << levelNames.size()) - 1U;

constexpr const char* recordPattern = "%Y-%m-%d %H:%M:%S.%e %v";
constexpr std::size_t fileSize = std::size_t(2) << 20;
constexpr std::size_t olderFiles = 4; // beside the one that is written

std::size_t indexOf(LogLevel level) {
    return static_cast<std::size_t>(level);
}

bool isUrgent(LogLevel level) {
    return level != LogLevel::Debug && level != LogLevel::Info && level != LogLevel::UserInfo;
}

// The length of the UTF-8 sequence at this place if terminals or viewers may take it for a control
// character or line break, or write from right to left for it: U+0080 to U+009F, U+2028 to U+202E,
// U+2066 to U+2069. Otherwise 0.
std::size_t steeringSequence(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t offset) {
        return at + offset < text.size() ? static_cast<unsigned char>(text[at + offset]) : 0U;
    };
    const auto isBetween = [](unsigned value, unsigned first, unsigned last) {
        return value >= first && value <= last;
    };
    if (byte(0) == 0xc2 && isBetween(byte(1), 0x80, 0x9f))
        return 2;
    if (byte(0) == 0xe2 && ((byte(1) == 0x80 && isBetween(byte(2), 0xa8, 0xae)) ||
                            (byte(1) == 0x81 && isBetween(byte(2), 0xa6, 0xa9))))
        return 3;
    return 0;
}

// Line breaks are indented and control characters spelt out, so that a text can neither pose as
// a record of its own nor steer the terminal it is shown on.
std::string printable(const std::string& text) {
    static const char* const digits = "0123456789abcdef";
    std::string result;
    result.reserve(text.size() + 16);
    std::size_t escapedEnd = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto code = static_cast<unsigned char>(text[i]);
        if (const std::size_t length = steeringSequence(text, i))
            escapedEnd = i + length;
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n')
            continue;
        if (text[i] == '\n')
            result += "\n    ";
        else if ((code < 0x20 && text[i] != '\t') || code == 0x7f || i < escapedEnd)
            result.append("\\x").append({digits[code >> 4U], digits[code & 0xfU]});
        else
            result += text[i];
    }
    return result;
}

std::string withPrefix(const LogRecord& record) {
    return printable(std::string(toText(record.level)) + ' ' + record.file + ':' +
                     std::to_string(record.line) + ": " + record.text);
}

// Where the log file belongs now, or nothing as long as the application has no name or is gone.
std::string wantedPath() {
    if (!QCoreApplication::instance())
        return {};
    QString name = QCoreApplication::applicationName();
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::AppLocalDataLocation);
    if (name.isEmpty() || folder.isEmpty())
        return {};
    name.replace(QLatin1Char('/'), QLatin1Char('_'));
    return QFile::encodeName(folder + QStringLiteral("/log/") + name + QStringLiteral(".log"))
        .toStdString();
}

// The rotating file. After a failure it is closed, since spdlog may hold no open file any more,
// and tried again now and then; only the first failure of a path is told.
class LogFile {
public:
    void write(const spdlog::details::log_msg& message, const std::string& path, bool flushNow) {
        guarded([&] {
            if (!path.empty())
                open(path);
            if (m_sink)
                m_sink->log(message);
            if (m_sink && flushNow)
                m_sink->flush();
        });
    }

    void flush() {
        guarded([&] {
            if (m_sink)
                m_sink->flush();
        });
    }

    std::string path() const { return m_sink ? m_path : std::string(); }

private:
    using Clock = std::chrono::steady_clock;

    void open(const std::string& path) {
        if (path == m_path && (m_sink || Clock::now() < m_nextTry))
            return;
        if (path != m_path)
            m_failureTold = false;
        m_path = path;
        m_sink.reset();
        spdlog::file_event_handlers handlers;
        handlers.before_open = &prepare;
        m_sink = std::make_unique<spdlog::sinks::rotating_file_sink_st>(path, fileSize, olderFiles,
                                                                        false, handlers);
        m_sink->set_pattern(recordPattern);
    }

    // spdlog would let everybody read the file, and wait at a pipe for somebody to do so.
    static void prepare(const std::string& path) {
        const QString file = QFile::decodeName(path.c_str());
        int error = makePrivateFolder(QFileInfo(file).path());
        if (error == 0)
            error = makePrivateFile(file);
        if (error != 0)
            throw std::system_error(error, std::generic_category(), path);
    }

    template <class Action>
    void guarded(Action action) {
        try {
            action();
        } catch (const std::exception& exception) {
            m_sink.reset();
            m_nextTry = Clock::now() + std::chrono::minutes(1);
            if (!std::exchange(m_failureTold, true))
                std::fprintf(stderr, "The log file cannot be written: %s\n",
                             printable(exception.what()).c_str());
        }
    }

    std::unique_ptr<spdlog::sinks::rotating_file_sink_st> m_sink;
    std::string m_path;
    bool m_failureTold = false;
    Clock::time_point m_nextTry;
};

struct Route {
    std::ostream* stream = nullptr;
    bool prefix = true;
};

using Listener = std::function<void(const LogRecord&)>;

struct State {
    State() { console.set_pattern(recordPattern); }

    spdlog::sinks::stderr_sink_mt console;
    // Guards what follows. It is not held while a stream or a listener runs: both may log.
    std::mutex mutex;
    LogFile file;
    std::array<Route, levelNames.size()> routes;
    std::vector<std::pair<int, std::shared_ptr<Listener>>> listeners;
    int lastHandle = 0;
};

// Never destroyed: other static objects may log from their destructors.
State& state() {
    static State* const instance = new State;
    return *instance;
}

Route routeOf(LogLevel level) {
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().routes[indexOf(level)];
}

void writeTo(const Route& route, const LogRecord& record) {
    if (route.prefix)
        *route.stream << withPrefix(record) << '\n';
    else
        *route.stream << record.text;
    route.stream->flush();
}

// The stream may have changed since the record was queued, so it is looked up here.
void showQueued(const LogRecord& record) {
    try {
        const Route route = routeOf(record.level);
        if (route.stream)
            writeTo(route, record);
        else
            state().console.log({{}, {}, spdlog::level::info, withPrefix(record)});
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "A log record was lost: %s\n", exception.what());
    }
}

void tellListeners(const LogRecord& record) {
    std::vector<std::pair<int, std::shared_ptr<Listener>>> listeners;
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        listeners = state().listeners;
    }
    for (const auto& listener : listeners)
        (*listener.second)(record);
}

} // namespace

const char* toText(LogLevel level) noexcept {
    return levelNames[indexOf(level)];
}

LogStream::LogStream(LogLevel level, const char* file, int line) noexcept
    : m_level(level), m_file(file ? file : ""), m_line(line), m_active(Log::isEnabled(level)) {
    // Whatever locale the application has chosen, a number shall read as in the source.
    if (m_active)
        m_text.imbue(std::locale::classic());
}

LogStream::LogStream(LogStream&& other) noexcept
    : m_level(other.m_level), m_file(other.m_file), m_line(other.m_line),
      m_active(std::exchange(other.m_active, false)), m_text(std::move(other.m_text)) {}

LogStream::~LogStream() {
    if (!m_active)
        return;
    try {
        Log::write({m_level, m_file, m_line, m_text.str()});
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "A log record was lost: %s\n", exception.what());
    }
}

// Initialised before any code runs, since constructors of static objects may log.
std::atomic<unsigned> Log::s_enabled{allLevels & ~1U};

LogStream Log::getInstance(LogLevel level, const char* file, int line) {
    return {level, file, line};
}

LogStream Log::getInstance(const char* level, const char* file, int line) {
    for (std::size_t i = 0; level && i < levelNames.size(); ++i)
        if (std::strcmp(level, levelNames[i]) == 0)
            return {static_cast<LogLevel>(i), file, line};
    return {LogLevel::Error, file, line};
}

void Log::setEnabled(LogLevel level, bool enabled) noexcept {
    const unsigned bit = 1U << static_cast<unsigned>(level);
    if (enabled)
        s_enabled.fetch_or(bit);
    else
        s_enabled.fetch_and(~bit);
}

void Log::setOStream(LogLevel level, std::ostream* stream) {
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().routes[indexOf(level)].stream = stream;
}

std::ostream* Log::oStream(LogLevel level) {
    return routeOf(level).stream;
}

void Log::setPrefix(LogLevel level, int prefix) {
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().routes[indexOf(level)].prefix = prefix != 0;
}

int Log::addListener(std::function<void(const LogRecord&)> listener) {
    if (!listener)
        return 0;
    const std::lock_guard<std::mutex> lock(state().mutex);
    const int handle = ++state().lastHandle;
    state().listeners.emplace_back(handle, std::make_shared<Listener>(std::move(listener)));
    return handle;
}

void Log::removeListener(int handle) {
    const std::lock_guard<std::mutex> lock(state().mutex);
    auto& listeners = state().listeners;
    for (auto listener = listeners.begin(); listener != listeners.end(); ++listener)
        if (listener->first == handle) {
            listeners.erase(listener);
            return;
        }
}

std::string Log::filePath() {
    const std::lock_guard<std::mutex> lock(state().mutex);
    return state().file.path();
}

void Log::flush() {
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().file.flush();
}

void Log::write(LogRecord record) {
    record.text.erase(record.text.find_last_not_of("\r\n") + 1);

    const std::string line = withPrefix(record);
    const spdlog::details::log_msg message({}, {}, spdlog::level::info, line);
    const std::string path = wantedPath();
    Route route;
    {
        const std::lock_guard<std::mutex> lock(state().mutex);
        state().file.write(message, path, isUrgent(record.level));
        route = state().routes[indexOf(record.level)];
    }
    tellListeners(record);
    QCoreApplication* const application = QCoreApplication::instance();
    if (!route.stream)
        state().console.log(message);
    else if (!application || application->thread() == QThread::currentThread())
        writeTo(route, record);
    else
        QMetaObject::invokeMethod(
            application, [record] { showQueued(record); }, Qt::QueuedConnection);
}

} // namespace vlr
