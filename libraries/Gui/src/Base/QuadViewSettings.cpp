#include "Base/QuadViewSettings.h"

namespace vlr::quadView {

const SettingKey<int> expandButtonTimeout(
    "Velora/Application/QtQuadView/ExpandButtonTimeoutInMS", 2000,
    QT_TRANSLATE_NOOP("KnownSettings",
                      "Four-view layout: milliseconds after which the expand buttons hide."),
    integerType(0));
const SettingKey<QSize>
    initialSize("Velora/Application/QtQuadView/InitialSize", QSize(1024, 1024),
                QT_TRANSLATE_NOOP("KnownSettings", "Four-view layout: preferred size in pixels."));
const SettingKey<int> splitterWidth(
    "Velora/Application/QtQuadView/SplitterWidth", 4,
    QT_TRANSLATE_NOOP("KnownSettings",
                      "Four-view layout: width of the lines between the views, in pixels."),
    integerType(1, 64));
const SettingKey<Vector3d> buttonColor(
    "Velora/Application/QtQuadView/ButtonColor", Vector3d(1, 0, 0),
    QT_TRANSLATE_NOOP("KnownSettings",
                      "Four-view layout: colour of a view's buttons. 1 0 0: the colours of the "
                      "desktop are used, here and for the two colours that follow."),
    vectorType(0, 255));
const SettingKey<Vector3d> backgroundColor(
    "Velora/Application/QtQuadView/BackgroundColor", Vector3d(0, 0, 0),
    QT_TRANSLATE_NOOP("KnownSettings",
                      "Four-view layout: background of a view, where a button colour is chosen."),
    vectorType(0, 255));
const SettingKey<Vector3d> selectedColor(
    "Velora/Application/QtQuadView/SelectedColor", Vector3d(1, 0, 0),
    QT_TRANSLATE_NOOP(
        "KnownSettings",
        "Four-view layout: colour that marks the current view, where a button colour is chosen."),
    vectorType(0, 255));

} // namespace vlr::quadView
