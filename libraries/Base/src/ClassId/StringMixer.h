#pragma once

#include "vlrBaseExport.h"

#include <QtCore/QString>

#include <cstddef>
#include <iosfwd>
#include <string>

namespace _vlr {

/// The id of a class of data: its name as a value that is cheap to compare.
///
///     if (data->getClassId() == Patient::classId()) ...
///     registry.find(data->getClassId().toStdString());
///
/// The hash of the text is kept beside it, so that ids which differ are told apart by one
/// integer compare. The text is UTF-8; an empty id names no class.
class VLR_BASE_EXPORT StringMixer {
public:
    StringMixer() = default;
    StringMixer(const char* text); ///< A null pointer gives the empty id.
    StringMixer(std::string text);
    explicit StringMixer(const QString& text);

    const std::string& toStdString() const noexcept { return m_text; }
    QString toQString() const;
    bool isEmpty() const noexcept { return m_text.empty(); }
    std::size_t hash() const noexcept { return m_hash; }

private:
    std::string m_text;
    std::size_t m_hash = std::hash<std::string>{}(std::string());
};

VLR_BASE_EXPORT bool operator==(const StringMixer& a, const StringMixer& b) noexcept;
VLR_BASE_EXPORT bool operator!=(const StringMixer& a, const StringMixer& b) noexcept;
VLR_BASE_EXPORT bool operator<(const StringMixer& a, const StringMixer& b) noexcept;
VLR_BASE_EXPORT bool operator==(const std::string& a, const StringMixer& b) noexcept;
VLR_BASE_EXPORT std::ostream& operator<<(std::ostream& stream, const StringMixer& id);

} // namespace _vlr
