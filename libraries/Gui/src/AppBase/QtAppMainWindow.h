#pragma once

#include "AppBase/MainWindowConfig.h"
#include "vlrGuiExport.h"

#include <QtCore/QList>
#include <QtCore/QPointer>
#include <QtWidgets/QMainWindow>

#include <array>
#include <memory>
#include <vector>

class QBoxLayout;
class QGridLayout;
class ContextStack;
class QtAppMainWindowButtons;
class QtAppModuleProxy;
class QtMainWinSplitter;
class QtModuleSelector;
class QVBoxLayout;
namespace vlr {
class ControlList;
}

/// The single top-level window of an application: the control area with the modules' context
/// widgets and the request buttons, and the viewer area with the active module's main widget, on
/// the two sides of a splitter.
///
///     const int index = window->addContextWidget(module->getWidget());
///     window->raiseContextWidget(index);
///     window->occupyWindow(proxy, module->getMainWidget());
///
/// The window only asks: its requests are signals, which the application object answers. The
/// request buttons are enabled while somebody is connected to their signal.
class VLR_GUI_EXPORT QtAppMainWindow : public QMainWindow {
    Q_OBJECT

public:
    /// Without a configuration the window does not follow layout changes.
    QtAppMainWindow(const DataPointer<MainWindowConfig>& config, QWidget* parent,
                    Qt::WindowFlags flags);
    ~QtAppMainWindow() override;

    /// Takes the widget into the context stack and returns its index, from 1; -1 for null. One that
    /// needs more than half of the screen, now or later, is put into a scroll area in the stack. In
    /// all of them the wheel passes by fields that do not have the keyboard (WheelGuard).
    int addContextWidget(QWidget* widget);

    /// Makes the widget the one in the viewer area; null leaves the area empty. The widget is
    /// parented to the viewer area while it is shown there, and to nothing afterwards.
    void occupyWindow(QtAppModuleProxy* proxy, QWidget* widget);
    /// Shows the control list's window (four-view layout or full-size widget) in the viewer area.
    void occupyWindow(vlr::ControlList* list);

    /// Places the selector at the side that it reports and owns it. The previous one is taken out
    /// at once and deleted by the event loop, so that this may be called while it is clicked. A
    /// selector with an unknown position is kept but not shown.
    void setModuleSelector(QtModuleSelector* selector);

    /// Limits the window to the size of the rectangle and moves it inside where it is not. An
    /// empty rectangle removes the limit. Given before the window goes to its place, it holds
    /// there.
    void setMaxWindowSize(QRect rect);

    /// Goes to the place of the configuration, clamped to the screens that are there; where none
    /// is known, a window of which nobody has chosen the size takes three quarters of the screen.
    void restorePlace();
    /// Gives the control area the width of the configuration, in both modes. Call it when the
    /// window has its size and its mode.
    void restoreControlArea();
    void rememberPlace(); ///< Puts both into the configuration, while the window is visible.

    /// Whether somebody is connected to the signal of the window, given as SIGNAL() spells it. A
    /// slot of the window always answers.
    bool isRequestAnswered(const char* member) const;

signals:
    void screenShotRequest();
    void configRequest();
    void configFileEditorRequest();
    void moduleActivated(const QtAppModuleProxy* proxy);
    void exitApplication();
    void requestsChanged(); ///< isRequestAnswered() changed for some request.
    void aboutToGo();       ///< The last moment the window is whole; its widgets have yet to go.

public slots:
    /// The main direction is fixed at construction; this does nothing.
    void setMainLayoutDirection(MainWindowConfig::LayoutDirections direction);
    /// Direction of the context area; `adjustMainWindowButtons` lets the buttons follow where
    /// the direction allows it.
    void setSecondaryLayoutDirection(MainWindowConfig::LayoutDirections direction,
                                     bool adjustMainWindowButtons = false);
    void raiseContextWidget(int index); ///< An index without page is ignored.
    /// The splitter alone governs the size of the control area; this does nothing.
    void setControlAreaSize(int size);
    /// A change of the mode exchanges the splitter's sizes with the remembered ones, so that
    /// leaving it brings back the sizes from before; the same mode again leaves them. What closing
    /// the control area remembers is kept apart.
    void setTouchScreenMode(bool onOrOff);

protected slots:
    void toggleContextAreaVisible();
    /// Asks the user whether to leave, unless "Velora/Application/ExitWithoutRequest" is true.
    void exitRequest();

protected:
    void closeEvent(QCloseEvent* event) override;
    void connectNotify(const QMetaMethod& signal) override;
    void disconnectNotify(const QMetaMethod& signal) override;

private:
    void createCentralArea();
    void createControlArea();
    void createButtons();
    void createLogo();
    void createScreenshotShortcut();
    void updateButtons();
    void askExit();
    void reconfigure(CaSubject* subject, void* clientData, const char* event, void* eventData);
    void setViewerTouchScreenMode();
    void goToPlace();
    void takeModuleSelectorOut();
    void removeCurrentModuleWidget();
    void setNewCurrentModuleWidget(QWidget* widget);

    QtMainWinSplitter* m_splitter;
    QWidget* m_centralWidget = nullptr;
    QGridLayout* m_centralLayout = nullptr;
    QWidget* m_innerWidget = nullptr;
    QWidget* m_viewerWidget = nullptr;
    QVBoxLayout* m_viewerLayout = nullptr;
    bool m_touchScreenMode = false;
    QPointer<QObject> m_touchDialogs; ///< Only in touch-screen mode.
    QPointer<QWidget> m_currentModuleWidget;
    QWidget* m_controlArea = nullptr;
    QBoxLayout* m_contextLayout = nullptr;
    QBoxLayout* m_controlLayout = nullptr;
    QPointer<QtModuleSelector> m_moduleSelector;
    std::unique_ptr<QWidget>
        m_formerSelectors; ///< Out of sight, until the event loop deletes them.
    ContextStack* m_contextStack = nullptr;
    std::vector<QPointer<QWidget>> m_contextWidgets; ///< The stack's own indices move.
    QtAppMainWindowButtons* m_buttons = nullptr;
    DataPointer<MainWindowConfig> m_config;
    QList<int> m_rememberedSizes;              ///< Those of the other mode.
    std::array<QList<int>, 2> m_sizesWhenOpen; ///< Of either mode, before its area was closed.
    QRect m_largestRect;                       ///< Empty: no limit.
    bool m_askingExit = false;
    int m_answeredRequests = 0;
};
