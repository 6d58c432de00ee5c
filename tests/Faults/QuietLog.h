#pragma once

#include "Log/vlrLog.h"

#include <ostream>

/// Keeps the records of an act that makes many on purpose from standard error. The log file still
/// gets them.
class QuietLog {
public:
    QuietLog() : m_nowhere(nullptr) { route(&m_nowhere); }
    ~QuietLog() { route(nullptr); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;

private:
    static void route(std::ostream* stream) {
        using vlr::LogLevel;
        for (const LogLevel level :
             {LogLevel::Debug, LogLevel::Info, LogLevel::Warning, LogLevel::Error,
              LogLevel::CaError, LogLevel::UserInfo, LogLevel::UserWarning, LogLevel::UserError})
            vlr::Log::setOStream(level, stream);
    }

    std::ostream m_nowhere;
};
