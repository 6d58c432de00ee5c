#include "AppBase/AppBaseConfig.h"

VLR_DEFINE_RECORD_FACTORY(AppBaseConfig)

DataPointer<MainWindowConfig> AppBaseConfig::mainWindowConfig() {
    return subRecord<MainWindowConfig>(QStringLiteral("MainWindowConfig"));
}
