#include "Base/VerifiedConnection.h"

#include "Exception/vlrWatchdogException.h"

#include <iostream>
#include <string>

namespace vlr {

void verify(bool holds, const char* expression, const char* source, int line) {
    if (holds)
        return;
    const std::string text = std::string("Assertion ") + expression + " failed in " + source +
                             " at line " + std::to_string(line) + "\n";
    std::cout << text << std::flush;
    throw WatchdogException(text);
}

} // namespace vlr
