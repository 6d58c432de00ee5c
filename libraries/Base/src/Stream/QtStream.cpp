#include "Stream/QtStream.h"

#include <ostream>

std::ostream& operator<<(std::ostream& stream, const QString& text) {
    return stream << text.toStdString();
}

std::ostream& operator<<(std::ostream& stream, const QDate& date) {
    return stream << date.toString(Qt::ISODate);
}
