#include "Data/AttributeText.h"

namespace vlr {

namespace {

template <class T>
bool assignIfValid(const T& read, T& value) {
    if (!read.isValid())
        return false;
    value = read;
    return true;
}

} // namespace

QString toAttributeText(const QString& value) {
    return value;
}

QString toAttributeText(const std::string& value) {
    return QString::fromStdString(value);
}

QString toAttributeText(const QDate& value) {
    return value.toString(Qt::ISODate);
}

QString toAttributeText(const QTime& value) {
    return value.toString(Qt::ISODateWithMs);
}

bool fromAttributeText(const QString& text, QString& value) {
    value = text;
    return true;
}

bool fromAttributeText(const QString& text, std::string& value) {
    value = text.toStdString();
    return true;
}

bool fromAttributeText(const QString& text, QDate& value) {
    return assignIfValid(QDate::fromString(text, Qt::ISODate), value);
}

bool fromAttributeText(const QString& text, QTime& value) {
    return assignIfValid(QTime::fromString(text, Qt::ISODateWithMs), value);
}

} // namespace vlr
