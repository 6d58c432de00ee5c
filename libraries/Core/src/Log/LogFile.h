#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <chrono>
#include <memory>
#include <spdlog/sinks/rotating_file_sink.h>
#include <string>

namespace vlr {

/// All that the place of the log file follows from. It is asked for with every record, the path
/// only when it has changed.
struct LogPlace {
    bool hasApplication = false;
    bool isTest = false; ///< QStandardPaths::setTestModeEnabled()
    QString organization;
    QString application;
    bool hasDataHome = false;
    QByteArray home; ///< The folder of the user's data or, without one, the user's home.

    static LogPlace now();
    bool operator!=(const LogPlace& other) const;
};

/// Where the log file belongs now, or nothing as long as the application has no name or is gone.
std::string logFilePath();

/// The rotating file. After a failure it is closed, since spdlog may hold no open file any more,
/// and tried again now and then; only the first failure of a path is told, on standard error.
/// Not to be shared between threads.
class LogFile {
public:
    /// Appends the line as it is. An empty path stands for the file in use, if there is one.
    void write(const std::string& line, const std::string& path, bool flushNow);
    void flush();
    std::string path() const; ///< Of the file in use, or empty.

private:
    using Clock = std::chrono::steady_clock;

    void open(const std::string& path);
    template <class Action>
    void guarded(Action action);

    std::unique_ptr<spdlog::sinks::rotating_file_sink_st> m_sink;
    std::string m_path;
    bool m_failureTold = false;
    Clock::time_point m_nextTry;
};

} // namespace vlr
