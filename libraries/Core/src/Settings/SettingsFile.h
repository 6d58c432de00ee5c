#pragma once

#include "Error/CaError.h"

#include <QtCore/QHash>
#include <QtCore/QString>
#include <QtCore/QVariant>

#include <functional>

namespace vlr {

// The file behind Settings: all values of it at a time.

using SettingsValues = QHash<QString, QVariant>;

CaError settingsError(const char* id, const QString& text);

/// QSettings would store any other key under another name or not at all.
bool isSettingsKey(const QString& key);

/// Reads the file; one that does not exist has no values. A damaged one is kept aside, with a
/// "WARNING", and then counts as missing; one that cannot be read at present stays.
CaError readSettings(const QString& path, SettingsValues& values);

/// Reads the file and leaves everything as it is, also where the file is damaged. It may be called
/// while other processes write. `values` are set on success only.
CaError lookIntoSettings(const QString& path, SettingsValues& values);

/// Edits the values; answers whether that made a difference.
using SettingsEdit = std::function<bool(SettingsValues&)>;

/// Applies the edit to what the file holds now, under a lock, and writes the result in one go
/// where it differs. `values`, which holds what is known of the file, then holds what is in it. It
/// takes the place of a damaged file's content.
CaError changeSettings(const QString& path, const SettingsEdit& edit, SettingsValues& values);

} // namespace vlr
