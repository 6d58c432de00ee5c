#include "ClassId/StringMixer.h"

#include <ostream>
#include <utility>

namespace _vlr {

StringMixer::StringMixer(const char* text) : StringMixer(std::string(text ? text : "")) {}

StringMixer::StringMixer(std::string text)
    : m_text(std::move(text)), m_hash(std::hash<std::string>{}(m_text)) {}

StringMixer::StringMixer(const QString& text) : StringMixer(text.toStdString()) {}

QString StringMixer::toQString() const {
    return QString::fromStdString(m_text);
}

bool operator==(const StringMixer& a, const StringMixer& b) noexcept {
    return a.hash() == b.hash() && a.toStdString() == b.toStdString();
}

bool operator!=(const StringMixer& a, const StringMixer& b) noexcept {
    return !(a == b);
}

bool operator<(const StringMixer& a, const StringMixer& b) noexcept {
    return a.toStdString() < b.toStdString();
}

bool operator==(const std::string& a, const StringMixer& b) noexcept {
    return a == b.toStdString();
}

std::ostream& operator<<(std::ostream& stream, const StringMixer& id) {
    return stream << id.toStdString();
}

} // namespace _vlr
