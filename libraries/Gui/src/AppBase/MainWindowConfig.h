#pragma once

#include "AppBase/WindowPlace.h"
#include "Base/QuadViewConfig.h"
#include "Data/ConfigurationRecord.h"
#include "vlrGuiExport.h"

/// The configuration of the main window. The setters store only, as those of AppBaseConfig do.
class VLR_GUI_EXPORT MainWindowConfig : public ConfigurationRecord<MainWindowConfig> {
public:
    static constexpr const char* className = "MainWindowConfig";
    enum LayoutDirections : int { LeftRight = 0, RightLeft = 1, TopBottom = 2, BottomTop = 3 };

    /// Direction in which the contents of the control area follow one another.
    LayoutDirections innerLayoutDirection() const { return m_innerLayout; }
    void setInnerLayoutDirection(LayoutDirections direction) { m_innerLayout = direction; }
    /// Direction from the control area to the viewer area. Kept for applications; the main
    /// window itself does not change it.
    LayoutDirections outerLayoutDirection() const { return m_outerLayout; }
    void setOuterLayoutDirection(LayoutDirections direction) { m_outerLayout = direction; }

    DataPointer<QuadViewConfig> quadViewConfig(); ///< Never null.
    DataPointer<WindowPlace> windowPlace();       ///< Never null.

protected:
    ~MainWindowConfig() override = default;

private:
    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(
            attribute("m_innerLayout", &MainWindowConfig::m_innerLayout, LeftRight, BottomTop),
            attribute("m_outerLayout", &MainWindowConfig::m_outerLayout, LeftRight, BottomTop));
    }

    LayoutDirections m_innerLayout = TopBottom;
    LayoutDirections m_outerLayout = LeftRight;
};

VLR_DECLARE_RECORD_FACTORY(MainWindowConfig, VLR_GUI_EXPORT)
