#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QDateTime>
#include <QtCore/QLocale>
#include <QtCore/QString>

namespace vlr {

/// What somebody typed, or why it cannot be taken as a date.
struct ReadDate {
    QDateTime value; ///< In UTC, which has every hour of a day; invalid where there is a problem.
    QString problem; ///< For the person who typed; empty where the text was understood.
};

/// Reads a date that was typed as a whole:
///
///     vlr::readDate(QStringLiteral("5 March 1968"), locale)     // in any order, also with "Mar"
///     vlr::readDate(QStringLiteral("1968-03-05"), locale)
///     vlr::readDate(QStringLiteral("05.03.1968"), locale)       // with ".", "/", "-" or blanks
///
/// The months are named in the language of the locale or in English. Of two numbers before the
/// year the locale's short format says which is the day. Where it does not (dots in a country that
/// writes the month first; anything but dots where numbers are not customary), only a text that
/// can be read in one way is taken. Nothing is guessed: a year has four digits. What follows the
/// date, as a time, makes it no date. A date before `earliest` is a problem as well.
VLR_GUI_EXPORT ReadDate readDate(const QString& text, const QLocale& locale,
                                 const QDate& earliest = {});

/// The same with a time behind the date, as "14:30" or "14:30:15".
VLR_GUI_EXPORT ReadDate readDateTime(const QString& text, const QLocale& locale,
                                     const QDate& earliest = {});

} // namespace vlr
