#include "Log/LogRecord.h"

#include <cstddef>

namespace vlr {

const char* toText(LogLevel level) noexcept {
    static constexpr const char* names[] = {"DEBUG",   "INFO",  "WARNING",  "ERROR",
                                            "CaERROR", "UINFO", "UWARNING", "UERROR"};
    return names[static_cast<std::size_t>(level)];
}

} // namespace vlr
