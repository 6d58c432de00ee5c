#pragma once

#include "AppBase/SettingsValue.h"

#include <vector>

namespace vlr {

/// A setting that the library reads, for the settings editor.
struct KnownSetting {
    QString key;
    SettingsType type;
    QString defaultText; ///< as the editor shows it
    QString meaning;
};

/// All of them, in the user's language.
VLR_GUI_EXPORT std::vector<KnownSetting> knownSettings();

} // namespace vlr
