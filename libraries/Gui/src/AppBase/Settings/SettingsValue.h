#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVariant>

#include <limits>

namespace vlr {

/// What a setting may hold, as the settings editor sees it.
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
VLR_GUI_EXPORT SettingsType integerType(int minimum = std::numeric_limits<int>::min(),
                                        int maximum = std::numeric_limits<int>::max());

/// One of the words and nothing else, as programs mostly compare them. With `ignoresCase`, for a
/// program that puts what it reads in lower case, they are to be in lower case.
VLR_GUI_EXPORT SettingsType choiceType(const QStringList& choices, bool ignoresCase = false);

/// The type that the stored value of a key shows that nobody knows: "true" and "false" are
/// bools, "4" an integer, "0.5" a number; "007" stays the text it is.
VLR_GUI_EXPORT SettingsType typeOf(const QVariant& stored);

/// What a text means: the value as it is stored, or why it is refused.
struct ParsedSetting {
    QVariant value;  ///< invalid when refused
    QString refusal; ///< a sentence for the user
};
VLR_GUI_EXPORT ParsedSetting parseSetting(const SettingsType& type, const QString& text);

/// Whether the value, as it is stored, is one of the type.
VLR_GUI_EXPORT bool fits(const SettingsType& type, const QVariant& stored);

/// Whether Settings::get() gives the default in its place. It does not know what a text is about,
/// and makes no difference between colours and other vectors.
VLR_GUI_EXPORT bool isReadAsDefault(const SettingsType& type, const QVariant& stored);

/// The stored value as one reads and edits it: "64 x 48" for a size. A value that is none of
/// the type is shown as it stands.
VLR_GUI_EXPORT QString settingText(const SettingsType& type, const QVariant& stored);

/// The value as it stands in the file, whatever its type.
VLR_GUI_EXPORT QString rawSettingText(const QVariant& stored);

/// The text as lists, tips and boxes show it: without what may be a password in a URL. Only who
/// edits it sees all of it.
VLR_GUI_EXPORT QString withoutPassword(QString text);

/// What the type takes, in words: "a whole number from 1 to 64".
VLR_GUI_EXPORT QString describe(const SettingsType& type);

/// What a new value of the type starts with.
VLR_GUI_EXPORT QString initialText(const SettingsType& type);

} // namespace vlr
