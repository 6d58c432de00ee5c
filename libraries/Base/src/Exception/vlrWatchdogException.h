#pragma once

#include "Exception/vlrException.h"

namespace vlr {

/// Thrown when something that must hold for the program to work at all does not, for example
/// a required signal-slot connection.
class VLR_BASE_EXPORT WatchdogException : public Exception {
public:
    using Exception::Exception;
    ~WatchdogException() override;
};

} // namespace vlr
