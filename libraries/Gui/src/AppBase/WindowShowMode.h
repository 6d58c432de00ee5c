#pragma once

#include "Settings/SettingKey.h"

namespace vlr {

/// How the main window appears, which AppBaseImpl reads and the configuration dialog also writes.
extern const SettingKey<QString> windowShowMode;

} // namespace vlr
