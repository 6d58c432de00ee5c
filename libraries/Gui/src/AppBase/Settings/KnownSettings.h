#pragma once

#include "AppBase/Settings/SettingsValue.h"

#include <vector>

namespace vlr {

/// A setting that somebody reads, for the settings editor.
struct KnownSetting {
    QString key;
    SettingsType type;
    QString defaultText; ///< as the editor shows it
    QString meaning;
    /// What the program does where a stored text is none of the type, in a sentence. Numbers,
    /// sizes, "true" and "false" need none: vlr::Settings gives the default there.
    QString otherwise = {};
};

/// All of them, in the user's language: the library's, and those that were added.
VLR_GUI_EXPORT std::vector<KnownSetting> knownSettings();

/// Adds a setting of the application to those that every editor opened from now on lists with
/// type, default and meaning. It takes the place of one with the same key. GUI thread only.
///
///     vlr::addKnownSetting({QStringLiteral("Velora/Application/Scanner/Port"),
///                           vlr::integerType(1, 65535), QStringLiteral("4000"),
///                           tr("Network port of the scanner.")});
///     vlr::addKnownSetting({QStringLiteral("Velora/Application/Scanner/Mode"),
///                           vlr::choiceType(scannerModes()), scannerModes().first(),
///                           tr("What the scanner does."), tr("The scanner stays off.")});
VLR_GUI_EXPORT void addKnownSetting(const KnownSetting& setting);

} // namespace vlr
