#include "AppBase/Settings/SettingsSource.h"

namespace vlr {

SettingsSource::~SettingsSource() = default;

CaError SettingsDatabase::read(QHash<QString, QVariant>& values) {
    return Settings::look(values);
}

CaError SettingsDatabase::apply(const std::vector<SettingsChange>& changes,
                                QStringList& conflicts) {
    return Settings::apply(changes, conflicts);
}

} // namespace vlr
