#pragma once

#include "Settings/vlrSettings.h"
#include "vlrGuiExport.h"

#include <QtCore/QHash>

#include <vector>

namespace vlr {

/// Where the settings editor reads from and writes to.
class VLR_GUI_EXPORT SettingsSource {
public:
    SettingsSource() = default;
    SettingsSource(const SettingsSource&) = delete;
    SettingsSource& operator=(const SettingsSource&) = delete;
    virtual ~SettingsSource();

    /// Everything that is stored now, which reading changes in no way. With an error the values
    /// are the ones last known.
    virtual CaError read(QHash<QString, QVariant>& values) = 0;

    /// Stores all of the changes, or none: then the error says why, or `conflicts` names the
    /// keys whose stored value is not the expected one.
    virtual CaError apply(const std::vector<SettingsChange>& changes, QStringList& conflicts) = 0;
};

/// The settings database of the application.
class VLR_GUI_EXPORT SettingsDatabase : public SettingsSource {
public:
    CaError read(QHash<QString, QVariant>& values) override;
    CaError apply(const std::vector<SettingsChange>& changes, QStringList& conflicts) override;
};

} // namespace vlr
