#include "Exception/vlrException.h"

#include <utility>

namespace vlr {

Exception::Exception(std::string text) : m_text(std::move(text)) {}

Exception::~Exception() = default;

} // namespace vlr
