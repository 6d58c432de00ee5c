#include "AppBase/MainWindowConfig.h"

VLR_DEFINE_RECORD_FACTORY(MainWindowConfig)

DataPointer<QuadViewConfig> MainWindowConfig::quadViewConfig() {
    return subRecord<QuadViewConfig>(QStringLiteral("QuadViewConfig"));
}

DataPointer<WindowPlace> MainWindowConfig::windowPlace() {
    return subRecord<WindowPlace>(QStringLiteral("WindowPlace"));
}
