#pragma once

#include "vlrCoreExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <limits>

namespace vlr {

/// What a setting may hold, as its editor, its table and its reader see it.
struct SettingsType {
    enum class Kind { Bool, Integer, Number, Size, Vector, Choice, Text, Other };

    Kind kind = Kind::Text;
    double minimum = std::numeric_limits<double>::lowest(); ///< also of a vector's components
    double maximum = std::numeric_limits<double>::max();
    QStringList choices = {};                  ///< of a Choice, as the file holds them
    bool ignoresCase = false;                  ///< of a Choice whose words are in lower case
    bool (*accepts)(const QString&) = nullptr; ///< of a Text that not everything is
    QString expected = {};                     ///< what that is, in words
};

/// A whole number in the range; without one, whatever an int holds.
VLR_CORE_EXPORT SettingsType integerType(int minimum = std::numeric_limits<int>::min(),
                                         int maximum = std::numeric_limits<int>::max());

/// One of the words and nothing else, as programs mostly compare them. With `ignoresCase`, for a
/// program that puts what it reads in lower case, they are to be in lower case.
VLR_CORE_EXPORT SettingsType choiceType(const QStringList& choices, bool ignoresCase = false);

/// A text for which the function answers true; `expected` says in words what that is.
VLR_CORE_EXPORT SettingsType acceptedType(bool (*accepts)(const QString&), const QString& expected);

/// Three numbers, each in the range.
VLR_CORE_EXPORT SettingsType vectorType(double minimum, double maximum);

} // namespace vlr
