#include "Exception/vlrWatchdogException.h"

namespace vlr {

WatchdogException::~WatchdogException() = default;

} // namespace vlr
