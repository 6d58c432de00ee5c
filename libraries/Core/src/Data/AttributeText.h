#pragma once

#include "vlrCoreExport.h"

#include <QtCore/QDate>
#include <QtCore/QString>
#include <QtCore/QTime>

#include <locale>
#include <sstream>
#include <string>
#include <type_traits>

namespace vlr {

/// Attribute values as text and back. Numbers and bools are written and read by a standard
/// stream in the "C" locale (a bool as "1" or "0"), enumerations as their integers, dates and
/// times as ISO 8601, texts as they are. Reading returns false and leaves the value alone when
/// the text is not one of its type.
template <class T>
QString toAttributeText(const T& value) {
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
    if constexpr (std::is_enum_v<T>) {
        int number = static_cast<int>(value);
        if (!(stream >> number))
            return false;
        value = static_cast<T>(number);
    } else {
        T read = value;
        if (!(stream >> read))
            return false;
        value = read;
    }
    return true;
}
VLR_CORE_EXPORT bool fromAttributeText(const QString& text, QString& value);
VLR_CORE_EXPORT bool fromAttributeText(const QString& text, std::string& value);
VLR_CORE_EXPORT bool fromAttributeText(const QString& text, QDate& value);
VLR_CORE_EXPORT bool fromAttributeText(const QString& text, QTime& value);

} // namespace vlr
