#pragma once

#include "AppBase/ModuleConfig.h"
#include "Base/QuadViewConfig.h"
#include "Base/QuadViewGeometry.h"
#include "vlrGuiExport.h"

#include <QtCore/QPointer>
#include <QtWidgets/QWidget>

class QButtonGroup;
class QTimer;
class QtAppModuleProxy;
class QtPresetButton;
class QtQuadView;
class QVBoxLayout;

/// The column of layout buttons in touch-screen mode. The first makes the four views alike. Each
/// of the others stands for a layout that the active module keeps in its ModuleConfig: a short
/// press applies it, holding the button for the hold-down time (QuadViewConfig, milliseconds)
/// stores the present layout in it. Sliding off the button before that does neither. A button
/// whose layout was never stored is drawn empty and applies nothing. A press during which the
/// module changes or the column is hidden does neither, and so does one on a button that goes.
///
/// Sizes are per-mille of the quad view, in pane order 0 to 3. The column is
/// hidden while the quad view is locked.
class VLR_GUI_EXPORT QtControlAreaControlButtons : public QWidget {
    Q_OBJECT

public:
    /// Without a configuration colours and hold-down time are the defaults.
    QtControlAreaControlButtons(const DataPointer<QuadViewConfig>& config, QWidget* parent);
    ~QtControlAreaControlButtons() override;

    void update(); ///< Follows the quad view's lock and the module's presets.
    int holdDownTime() const { return m_holdDownTime; }

public slots:
    void setNumButtons(int numBtn); ///< Negative numbers count as 0.
    void setViewerStateLocked(bool locked);
    /// Draws the button; an index out of range is ignored.
    void setButtonToViewerDimensions(int index, QSize resource0, QSize resource1, QSize resource2,
                                     QSize resource3);
    void setHoldDownTime(int msec); ///< Milliseconds; values below 1 are ignored.
    void moduleActivated(const QtAppModuleProxy* proxy);
    void minPressTimeOver();
    void buttonPressed();
    void buttonReleased();

protected:
    void hideEvent(QHideEvent* event) override;

private:
    void reconfigure(CaSubject*, void*, const char*, void*);
    void followViewer();
    QtPresetButton* createButton(const QString& text);
    QtPresetButton* button(int index) const; ///< Null for an index out of range.
    QuadViewGeometry::Extents preset(int index) const;
    void takePresets();
    void abandonPress();
    void draw(QtPresetButton* button, const QuadViewGeometry::Extents& sizes) const;
    int count() const;

    QPointer<QtQuadView> m_connectedViewer;
    QVBoxLayout* m_layout;
    QTimer* m_holdTimer;
    QtPresetButton* m_mainButton;
    QButtonGroup* m_presets;
    int m_holdDownTime = 2000;
    bool m_released = false;
    int m_pressedIndex = -1;
    DataPointer<QuadViewConfig> m_quadViewConfig;
    DataPointer<ModuleConfig> m_moduleConfig;
};
