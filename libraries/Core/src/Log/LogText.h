#pragma once

#include "Log/LogRecord.h"

#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>

namespace vlr {

// How a record reads in the log file and on standard error.

/// The length of what LogClock writes.
constexpr std::size_t stampLength = sizeof("2024-02-29 23:59:59.999 ") - 1;

/// Appends the text with its line breaks indented and control characters spelt out, so that it can
/// neither pose as a record of its own nor steer the terminal it is shown on.
void appendPrintable(std::string& line, std::string_view text);

/// stampLength blanks for the time, "LEVEL file:line: text" and a line break.
std::string lineOf(const LogRecord& record);

/// Tells the local time. The calendar is asked once a second. Not to be shared between threads.
class LogClock {
public:
    /// Overwrites the first stampLength characters of the line.
    void stamp(std::string& line);

private:
    std::time_t m_second = -1;
    char m_text[stampLength + 1] = {};
};

} // namespace vlr
