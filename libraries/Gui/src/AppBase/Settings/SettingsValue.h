#pragma once

#include "Settings/SettingsType.h"
#include "vlrGuiExport.h"

#include <QtCore/QString>
#include <QtCore/QVariant>

namespace vlr {

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
