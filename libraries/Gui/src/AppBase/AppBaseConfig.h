#pragma once

#include "AppBase/MainWindowConfig.h"
#include "Data/ConfigurationRecord.h"
#include "vlrGuiExport.h"

/// The configuration of the application as a whole; the main window's is a part of it.
///
///     config->setShowMode(AppBaseConfig::Maximized);
///     config->notify(Data::CHANGED);
///
/// The setters store only; who changes the record announces it with CHANGED when all values
/// are set, so that observers never see half a change.
class VLR_GUI_EXPORT AppBaseConfig : public ConfigurationRecord<AppBaseConfig> {
public:
    static constexpr const char* className = "AppBaseConfig";
    enum ShowMode : int { Minimized = 0, Normal = 1, Maximized = 2, FullScreen = 3 };

    bool isTouchScreenModeEnabled() const { return m_touchScreenModeEnabled; }
    void setTouchScreenModeEnabled(bool enabled) { m_touchScreenModeEnabled = enabled; }
    ShowMode showMode() const { return m_showMode; }
    void setShowMode(ShowMode mode) { m_showMode = mode; }

    DataPointer<MainWindowConfig> mainWindowConfig(); ///< Never null.

protected:
    ~AppBaseConfig() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(
            attribute("m_touchScreenModeEnabled", &AppBaseConfig::m_touchScreenModeEnabled),
            attribute("m_showMode", &AppBaseConfig::m_showMode, Minimized, FullScreen));
    }

    bool m_touchScreenModeEnabled = false;
    ShowMode m_showMode = Normal;
};

VLR_DECLARE_RECORD_FACTORY(AppBaseConfig, VLR_GUI_EXPORT)
