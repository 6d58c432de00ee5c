#pragma once

#include "vlrBaseExport.h"

#include <QtCore/QDate>
#include <QtCore/QString>

#include <iosfwd>

/// Writes the text as UTF-8.
VLR_BASE_EXPORT std::ostream& operator<<(std::ostream& stream, const QString& text);

/// Writes the date as ISO 8601 ("2024-02-29"); an invalid date writes nothing.
VLR_BASE_EXPORT std::ostream& operator<<(std::ostream& stream, const QDate& date);
