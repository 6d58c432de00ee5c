#include "AppBase/SettingsSource.h"

#include "Log/vlrLog.h"

namespace vlr {

SettingsSource::~SettingsSource() = default;

QHash<QString, QVariant> SettingsDatabase::read() {
    // What other processes stored since this one last read is to be seen, too. Where the file
    // cannot be had, there is what this process knows of it.
    QStringList none;
    const CaError error = Settings::apply({}, none);
    if (!error.isNull())
        VLR_LOG(Info) << error;
    QHash<QString, QVariant> values;
    const QStringList keys = Settings::keys();
    for (const QString& key : keys)
        values.insert(key, Settings::value(key));
    return values;
}

CaError SettingsDatabase::apply(const std::vector<SettingsChange>& changes,
                                QStringList& conflicts) {
    return Settings::apply(changes, conflicts);
}

} // namespace vlr
