#include "Log/vlrLog.h"

#include "Log/LogFile.h"
#include "Log/LogText.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <locale>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

namespace vlr {

namespace {

constexpr auto levelCount = static_cast<std::size_t>(LogLevel::UserError) + 1;
constexpr unsigned allLevels = (1U << levelCount) - 1U;

std::size_t indexOf(LogLevel level) {
    return static_cast<std::size_t>(level);
}

bool isUrgent(LogLevel level) {
    return level != LogLevel::Debug && level != LogLevel::Info && level != LogLevel::UserInfo;
}

struct Route {
    std::ostream* stream = nullptr;
    bool prefix = true;
};

using Listener = std::function<void(const LogRecord&)>;

// Replaced as a whole when it changes, so that a record can keep the one it found.
using Listeners = std::vector<std::pair<int, std::shared_ptr<Listener>>>;

struct State {
    // Guards what follows. It is not held while a stream or a listener runs: both may log.
    std::mutex mutex;
    LogPlace place;
    std::string path; // for the place
    bool hasFile = true;
    LogFile file;
    LogClock clock;
    std::array<Route, levelCount> routes;
    std::shared_ptr<const Listeners> listeners = std::make_shared<const Listeners>();
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

void writeToStandardError(const std::string& line) {
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
}

void writeTo(const Route& route, const LogRecord& record, const std::string& line) {
    if (route.prefix)
        *route.stream << std::string_view(line).substr(stampLength);
    else
        *route.stream << record.text;
    route.stream->flush();
}

// The stream may have changed since the record was queued, so it is looked up here.
void showQueued(const LogRecord& record, const std::string& line) {
    try {
        const Route route = routeOf(record.level);
        if (route.stream)
            writeTo(route, record, line);
        else
            writeToStandardError(line);
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "A log record was lost: %s\n", exception.what());
    }
}

// The state, locked, with the path of the log file as it is now.
std::unique_lock<std::mutex> lockAtPlace() {
    LogPlace place = LogPlace::now();
    std::unique_lock<std::mutex> lock(state().mutex);
    if (state().place != place) {
        lock.unlock(); // Qt may have something to tell, which may become a record.
        std::string path = logFilePath();
        lock.lock();
        state().place = std::move(place);
        state().path = std::move(path);
    }
    return lock;
}

} // namespace

LogStream::Buffer::Buffer() {
    setp(std::begin(m_area), std::end(m_area));
}

std::string LogStream::Buffer::take() {
    spill();
    return std::move(m_spilt);
}

LogStream::Buffer::int_type LogStream::Buffer::overflow(int_type character) {
    spill();
    return traits_type::eq_int_type(character, traits_type::eof())
               ? traits_type::not_eof(character)
               : sputc(traits_type::to_char_type(character));
}

void LogStream::Buffer::spill() {
    m_spilt.append(pbase(), pptr());
    setp(std::begin(m_area), std::end(m_area));
}

LogStream::LogStream(LogLevel level, const char* file, int line) noexcept
    : m_level(level), m_file(file ? file : ""), m_line(line), m_isActive(Log::isEnabled(level)) {}

LogStream::LogStream(LogStream&& other) noexcept
    : m_level(other.m_level), m_file(other.m_file), m_line(other.m_line),
      m_isActive(std::exchange(other.m_isActive, false)) {
    append(std::string_view(other.m_text.take()));
    if (other.m_stream)
        stream().copyfmt(*other.m_stream);
}

LogStream::~LogStream() {
    if (!m_isActive)
        return;
    try {
        Log::write({m_level, m_file, m_line, m_text.take()});
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "A log record was lost: %s\n", exception.what());
    }
}

bool LogStream::append(const char* text) {
    return text && append(std::string_view(text));
}

bool LogStream::append(std::string_view text) {
    m_text.sputn(text.data(), static_cast<std::streamsize>(text.size()));
    return true;
}

bool LogStream::append(const QString& text) {
    return append(std::string_view(text.toStdString()));
}

std::ostream& LogStream::stream() {
    if (!m_stream) {
        m_stream.emplace(&m_text);
        // Whatever locale the application has chosen, a number shall read as in the source.
        m_stream->imbue(std::locale::classic());
    }
    return *m_stream;
}

// Initialised before any code runs, since constructors of static objects may log.
std::atomic<unsigned> Log::s_enabled{allLevels & ~1U};

LogStream Log::getInstance(LogLevel level, const char* file, int line) {
    return {level, file, line};
}

LogStream Log::getInstance(const char* level, const char* file, int line) {
    for (std::size_t i = 0; level && i < levelCount; ++i)
        if (std::strcmp(level, toText(static_cast<LogLevel>(i))) == 0)
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
    auto shared = std::make_shared<Listener>(std::move(listener));
    const std::lock_guard<std::mutex> lock(state().mutex);
    const int handle = ++state().lastHandle;
    auto listeners = std::make_shared<Listeners>(*state().listeners);
    listeners->emplace_back(handle, std::move(shared));
    state().listeners = std::move(listeners);
    return handle;
}

void Log::removeListener(int handle) {
    // Outlives the lock: what goes with the listener may log.
    std::shared_ptr<const Listeners> before;
    const std::lock_guard<std::mutex> lock(state().mutex);
    before = state().listeners;
    auto listeners = std::make_shared<Listeners>(*before);
    listeners->erase(std::remove_if(listeners->begin(), listeners->end(),
                                    [=](const auto& each) { return each.first == handle; }),
                     listeners->end());
    state().listeners = std::move(listeners);
}

void Log::setFileEnabled(bool enabled) {
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().hasFile = enabled;
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

    std::string line = lineOf(record);
    std::shared_ptr<const Listeners> listeners;
    Route route;
    {
        const auto lock = lockAtPlace();
        state().clock.stamp(line);
        if (state().hasFile)
            state().file.write(line, state().path, isUrgent(record.level));
        listeners = state().listeners;
        route = state().routes[indexOf(record.level)];
    }
    for (const auto& listener : *listeners)
        (*listener.second)(record);
    QCoreApplication* const application = QCoreApplication::instance();
    if (!route.stream)
        writeToStandardError(line);
    else if (!application || application->thread() == QThread::currentThread())
        writeTo(route, record, line);
    else
        QMetaObject::invokeMethod(
            application,
            [record = std::move(record), line = std::move(line)] { showQueued(record, line); },
            Qt::QueuedConnection);
}

} // namespace vlr
