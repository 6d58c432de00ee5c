#pragma once

#include "AppBase/vlrControl.h"
#include "vlrGuiExport.h"

#include <QtCore/QMap>
#include <QtCore/QObject>
#include <QtCore/QPointer>

#include <string>
#include <utility>
#include <vector>

class QStackedWidget;
class QtQuadView;

namespace vlr {

/// The process-wide registry of named controls. It owns the application's one four-view layout,
/// inside the stacked widget that the main window shows in its viewer area, and knows which
/// control occupies which pane or, alternatively, the whole area.
///
///     vlr::ControlList* list = vlr::ControlList::instance();
///     list->addControl(axial);
///     list->occupyResource(vlr::ControlList::UpperLeft, axial, axialView, 0.6F, 0.5F);
///     list->showControl(QString::fromStdString(axial->name()));
///
/// A widget given to a pane or to the whole area becomes a child of it. Controls are not owned;
/// call removeControl() before one is destroyed. Requests that cannot be met are logged at
/// "ERROR" and answered with false. GUI thread only.
///
/// The main window gives the stack back when it goes. Where stack or layout were destroyed all the
/// same, the next instance() makes new ones; keep no pointer to getViewer() or getWindow().
class VLR_GUI_EXPORT ControlList : public QObject {
    Q_OBJECT

public:
    /// The panes, numbered as the views of QtQuadView. Values of 4 and more are invalid.
    enum ResourcePosition : unsigned { UpperLeft, UpperRight, LowerLeft, LowerRight };

    static ControlList* instance();

    QtQuadView* getViewer(); ///< Null once the layout was destroyed.
    QWidget* getWindow();    ///< The stack: page 0 the whole area, page 1 the layout.
    int getNumberOfControls();
    Control* getControl(const std::string& name); ///< Null for an unknown name.
    /// The i-th name in the order of the names; an empty one, and ok false, out of range.
    const std::string& getControlNameAtIndex(bool& ok, int i);
    bool isControlValid(const std::string& name);

    /// False for a null control and for a name that is taken.
    bool addControl(Control* control);
    /// Takes the control out of its panes and out of the list. Null only clears the whole area.
    void removeControl(Control* control);
    void controlValid(Control* control);
    void controlInvalid(Control* control); ///< It loses its panes.

    /// Puts the widget into a pane. Width and height are the pane's share of the layout, from 0
    /// to 1; they are kept, and restored by showControl(). Another control in the pane is
    /// released and loses all of its panes. Another widget of the same control in the pane is
    /// closed and taken out of it; like one taken out of the whole area, it belongs to the caller
    /// again.
    bool occupyResource(const ResourcePosition& position, Control* control, QWidget* widget,
                        float width, float height);
    /// Puts the widget over the whole area. Another control there is released. A null control
    /// takes out whatever is there. Once nothing is there any more, the layout comes back if one of
    /// its panes is held.
    bool occupyResource(Control* control, QWidget* widget);
    void freeResource(int index);
    void freeResourcesOf(const Control* control);

    /// Makes the main window show this list, with the control's layout; undo begins there. False
    /// where the control is unknown or not valid.
    bool showControl(QString name);
    bool hideControl(QString name);
    void hideAll();

    /// The extents of the four views in per-mille (see QtQuadView). Setting them also makes them
    /// the current control's layout, unless they are refused.
    void setViewerDimensions(const QSize& r0, const QSize& r1, const QSize& r2, const QSize& r3);
    void viewerDimensions(QSize& r0, QSize& r1, QSize& r2, QSize& r3);

signals:
    void controlAdded(QString label);
    void controlAppeared(QString label);
    void controlHidden(QString label);
    void controlRemoved(QString label);
    void currentControlChanged(QString label); ///< Empty when there is none.
    void controlsRemoved();

public slots:
    void currentControlChangedSL(int view);

private slots:
    void controlValidSlt(vlr::ControlList* list, vlr::Control* control);
    void controlInvalidSlt(vlr::ControlList* list, vlr::Control* control);
    void controlRemoveSlt(vlr::ControlList* list, vlr::Control* control);

private:
    struct ControlItem {
        Control* control = nullptr; ///< Not owned.
        bool valid = false;
        int heightPercent = 50; ///< Of the upper left view.
        int widthPercent = 50;
    };
    using controlerT = std::pair<int, Control*>; ///< View index and who occupies it.

    enum Page { FullSizePage, ViewerPage }; ///< Of the stack.

    ControlList() = default;
    static void createStack();
    static void createViewer();
    static void destroyWithApplication();
    static ControlItem* item(const std::string& name);
    static ControlItem* item(const Control* control);
    // These also take what is left of a control that was destroyed.
    static bool holdsPane(const QObject* control);
    static void activateScreen(int page);
    static void focusPanesOf(const Control* control);

    bool checkPlacement(const ResourcePosition& position, const Control* control, float width,
                        float height) const;
    void displace(Control* control);
    void makeRoom(unsigned position, const Control* control, const QWidget* widget);
    static void takeOut(QWidget* widget, QWidget* place);
    void leaveEmptyFullSize();
    void cleanControler(std::vector<controlerT>::iterator index);
    void cleanControler(int index);
    void detachControlFromAllViewers(const QObject* control);
    void clearFullScreen(const QObject* control, bool release = false);
    void forget(QObject* control);
    void announceCurrent();

    static ControlList* m_instance;
    static QMap<std::string, ControlItem*> m_controlList;
    static std::vector<controlerT> m_controlerAssignment;
    static std::vector<QPointer<QWidget>> m_placedWidgets; ///< By view, what was put there last.
    static QPointer<QtQuadView> m_viewer;
    static QPointer<QStackedWidget> m_widgetStack;
    static QPointer<QWidget> m_fullSizeWidget;
    static std::pair<Control*, QPointer<QWidget>> m_currentFullScrenControl;
    static QPointer<Control> m_currentControl;
    static const std::string m_invalidName;
};

} // namespace vlr
