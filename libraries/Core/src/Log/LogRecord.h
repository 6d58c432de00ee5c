#pragma once

#include "vlrCoreExport.h"

#include <string>

namespace vlr {

/// The kinds of log record. The three user levels are meant for the person at the screen.
enum class LogLevel { Debug, Info, Warning, Error, CaError, UserInfo, UserWarning, UserError };

/// The name as it appears in records: "DEBUG", "INFO", "WARNING", "ERROR", "CaERROR", "UINFO",
/// "UWARNING", "UERROR".
VLR_CORE_EXPORT const char* toText(LogLevel level) noexcept;

/// One record as it is handed to a listener.
///
/// File and line are where the record was written in the source. Some texts have a file and a line
/// that are stated, and are the same in every version: sites search their logs for them.
/// Log::getInstance() takes such a place as it is given.
struct LogRecord {
    LogLevel level;
    const char* file; ///< Source file; never null.
    int line;
    std::string text; ///< Without prefix and without trailing line breaks.
};

} // namespace vlr
