#pragma once

#include "Data/ConfigurationRecord.h"
#include "vlrGuiExport.h"

#include <QtCore/QRect>
#include <QtCore/QVector>

/// Where the main window stood when the program ended, for its next start. Whether it comes up
/// normal, maximised or otherwise is a setting; this is where it stands when it is neither.
///
///     if (place->isKnown())
///         window->setGeometry(place->geometryOn(screens, titleBar));
///
/// All values are pixels. The geometry is that of the window without its frame.
class VLR_GUI_EXPORT WindowPlace : public ConfigurationRecord<WindowPlace> {
public:
    static constexpr const char* className = "WindowPlace";

    bool isKnown() const { return m_width > 0 && m_height > 0; }
    void setGeometry(const QRect& geometry);
    /// The geometry on the screens that are there now, given by the parts of them that windows may
    /// use. The window belongs to the screen that shows most of it, or else to the first one; it
    /// is made smaller and moved where it would not be seen as a whole, the title bar included.
    /// Without a screen it is returned as it is.
    QRect geometryOn(const QVector<QRect>& screens, int titleBarHeight) const;

    /// The width of the control area with the mouse, or in touch-screen mode: 0 where it is
    /// closed, -1 where that is not known.
    int controlArea(bool touchScreenMode) const;
    void setControlArea(bool touchScreenMode, int width);

protected:
    ~WindowPlace() override = default;

private:
    friend struct RecordAccess;
    static constexpr int most = 1000000;
    static constexpr auto attributes() {
        return std::make_tuple(
            attribute("m_x", &WindowPlace::m_x, -most, most),
            attribute("m_y", &WindowPlace::m_y, -most, most),
            attribute("m_width", &WindowPlace::m_width, 0, most),
            attribute("m_height", &WindowPlace::m_height, 0, most),
            attribute("m_controlArea", &WindowPlace::m_controlArea, -1, most),
            attribute("m_touchControlArea", &WindowPlace::m_touchControlArea, -1, most));
    }

    int m_x = 0;
    int m_y = 0;
    int m_width = 0;
    int m_height = 0;
    int m_controlArea = -1;
    int m_touchControlArea = -1;
};

VLR_DECLARE_RECORD_FACTORY(WindowPlace, VLR_GUI_EXPORT)
