#pragma once

#include "Error/CaError.h"
#include "Stream/QtStream.h"

#include <sstream>

namespace vlr {

/// An error with a text of these parts.
template <class... Parts>
CaError dataError(const char* id, const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return CaError(id, text.str());
}

} // namespace vlr
