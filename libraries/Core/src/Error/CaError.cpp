#include "Error/CaError.h"

#include <ostream>
#include <utility>

const CaError CaError::nullError;

CaError::CaError() = default;

CaError::CaError(std::string id, std::string description, std::string location, int line, int code)
    : m_id(std::move(id)), m_description(std::move(description)), m_location(std::move(location)),
      m_line(line), m_code(code) {}

const std::string& CaError::text() const noexcept {
    return m_description.empty() ? m_id : m_description;
}

bool operator==(const CaError& a, const CaError& b) noexcept {
    return a.id() == b.id() && a.description() == b.description();
}

bool operator!=(const CaError& a, const CaError& b) noexcept {
    return !(a == b);
}

std::ostream& operator<<(std::ostream& stream, const CaError& error) {
    if (error.isNull())
        return stream << "no error";
    stream << error.text();
    if (!error.location().empty())
        stream << " (" << error.location() << ':' << error.line() << ')';
    return stream;
}
