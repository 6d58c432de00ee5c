#pragma once

#include "Observer/CaSubject.h"
#include "vlrGuiExport.h"

#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtGui/QColor>
#include <QtGui/QPixmap>
#include <QtWidgets/QWidget>

#include <array>
#include <vector>

class QHBoxLayout;
class QLabel;
class SurgicalTool;

/// Shows which markers of a tool the camera sees, one "LED" per marker, and if wanted how far the
/// tool is from the camera and how well its markers fit.
///
///     auto* widget = new QtRigidVisibilityWidget(tool, this);
///     widget->setValuesShown(true, true);
///     connect(widget, &QtRigidVisibilityWidget::rigidVisibleSIG, this, &Panel::warn);
///     widget->startTracking();
///
/// While it tracks it asks the SurgicalToolBox every 100 ms. Without a tool, without a tool box and
/// while the box is disconnected it shows nothing. LEDs differ in shape as well as in colour (ring,
/// cross, plain) and have the state as accessible text. A poll that changes nothing touches no
/// label. The tool is not owned; it may be unplugged at any time, and is then forgotten.
class VLR_GUI_EXPORT QtRigidVisibilityWidget : public QWidget {
    Q_OBJECT

public:
    explicit QtRigidVisibilityWidget(QWidget* parent = nullptr);
    /// With a tool (or null), not tracking yet.
    QtRigidVisibilityWidget(SurgicalTool* tool, QWidget* parent);
    ~QtRigidVisibilityWidget() override;

    /// Shows another tool, or none. With `track` polling starts at once; otherwise it goes on or
    /// stays off as it was.
    void setSurgicalTool(SurgicalTool* tool, bool track = true);
    SurgicalTool* surgicalTool() const { return m_tool; } ///< Null after it was unplugged.

    void setLedVisibleColor(const QColor& color); ///< Default: dark green.
    void setLedHiddenColor(const QColor& color);  ///< Default: dark red.
    /// Which values are shown beside the LEDs: "Dist. to CAM [cm]: " and "RMS [mm]: ". Default:
    /// none.
    void setValuesShown(bool distance, bool rms);

    void startTracking();
    /// Stops polling. The LEDs go dark grey: nobody knows any more.
    void stopTracking();
    bool isTracking() const { return m_timer.isActive(); }

    /// Whether the last poll found the rigid body visible: all of its markers, or all but one.
    /// Hides QWidget::isVisible(), which tells whether the widget itself is on the screen.
    bool isVisible() const { return m_isRigidVisible; }

signals:
    /// The result of every poll that had something to look at.
    void rigidVisibleSIG(bool trueOrFalse);

private slots:
    void update();

private:
    enum class Led { Unknown, Visible, Hidden };
    struct LedLabel {
        QLabel* label;
        Led state;
    };
    struct Value {
        QLabel* caption = nullptr;
        QLabel* label = nullptr;
    };

    const QPixmap& pixmap(Led state) const;
    void setLed(std::size_t index, Led state);
    void redrawLeds(Led state);
    void makeLeds(std::size_t count);
    void removeLeds();
    void setValues(const QString& distance, const QString& rms);
    void setMeasured(double distance, double rms);
    void showValue(Value& value, bool shown, const QString& caption);

    SurgicalTool* m_tool = nullptr;
    CaConnection m_unplugged;
    QTimer m_timer;
    QHBoxLayout* m_layout;
    std::vector<LedLabel> m_leds;
    Value m_distance;
    Value m_rms;
    QColor m_visibleColor;
    QColor m_hiddenColor;
    std::array<QPixmap, 3> m_pixmaps; ///< By Led.
    double m_shownDistance = -1;      ///< Millimetres; -1 while none is shown.
    double m_shownRms = -1;
    bool m_isRigidVisible = false;
};
