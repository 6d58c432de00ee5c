#pragma once

#include "vlrCoreExport.h"

#include <QtCore/QDate>
#include <QtCore/QLocale>
#include <QtCore/QString>
#include <QtCore/QTime>

#include <locale>
#include <sstream>
#include <string>
#include <type_traits>

namespace vlr {

/// Attribute values as text and back. Numbers and bools are written and read as by a standard
/// stream in the "C" locale (a bool as "1" or "0"), enumerations as their integers, dates and
/// times as ISO 8601, texts as they are. Fractions get as many digits as it takes to read the
/// same number again. Reading returns false and leaves the value alone when the text, blanks
/// around it aside, is not one of its type.
template <class T>
QString toAttributeText(const T& value) {
    if constexpr (std::is_floating_point_v<T>)
        return QString::number(static_cast<double>(value), 'g', QLocale::FloatingPointShortest);
    std::ostringstream stream;
    stream.imbue(std::locale::classic());
    if constexpr (std::is_enum_v<T>)
        stream << static_cast<int>(value);
    else
        stream << value;
    return QString::fromStdString(stream.str());
}
VLR_CORE_EXPORT QString toAttributeText(const QString& value);
VLR_CORE_EXPORT QString toAttributeText(const std::string& value);
VLR_CORE_EXPORT QString toAttributeText(const QDate& value);
VLR_CORE_EXPORT QString toAttributeText(const QTime& value);

template <class T>
bool fromAttributeText(const QString& text, T& value) {
    std::istringstream stream(text.toStdString());
    stream.imbue(std::locale::classic());
    auto read = static_cast<std::conditional_t<std::is_enum_v<T>, int, T>>(value);
    if (!(stream >> read))
        return false;
    // "12 or more" is not 12. What else a type of the caller's own leaves unread is its matter.
    constexpr bool isNumber = std::is_arithmetic_v<T> || std::is_enum_v<T>;
    if (isNumber && !(stream >> std::ws).eof())
        return false;
    value = static_cast<T>(read);
    return true;
}
VLR_CORE_EXPORT bool fromAttributeText(const QString& text, QString& value);
VLR_CORE_EXPORT bool fromAttributeText(const QString& text, std::string& value);
VLR_CORE_EXPORT bool fromAttributeText(const QString& text, QDate& value);
VLR_CORE_EXPORT bool fromAttributeText(const QString& text, QTime& value);

} // namespace vlr
