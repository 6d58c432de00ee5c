#pragma once

#include "vlrNavigationExport.h"

#include <cstddef>
#include <string>

namespace vlr {

/// Longest name of a tool, in bytes of UTF-8.
constexpr std::size_t longestToolName = 64;

/// The text as it may be shown and logged: of at most so many characters, with a question mark in
/// place of everything that is not printable, line breaks among them, or not UTF-8.
VLR_NAVIGATION_EXPORT std::string cleanText(const std::string& text, int longest);

/// Whether the name can be that of a tool: not empty, not over-long, and clean.
VLR_NAVIGATION_EXPORT bool isToolName(const std::string& name);

} // namespace vlr
