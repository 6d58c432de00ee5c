#pragma once

#include "Settings/SettingKey.h"

/// The settings of the four-view layout, its splitters and its frames.
namespace vlr::quadView {

extern const SettingKey<int> expandButtonTimeout; ///< Milliseconds.
extern const SettingKey<QSize> initialSize;
extern const SettingKey<int> splitterWidth;
extern const SettingKey<Vector3d> buttonColor;
extern const SettingKey<Vector3d> backgroundColor;
extern const SettingKey<Vector3d> selectedColor;

} // namespace vlr::quadView
