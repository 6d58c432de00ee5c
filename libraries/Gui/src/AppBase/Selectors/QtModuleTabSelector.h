#pragma once

#include "AppBase/QtModuleSelector.h"

#include <QtGui/QIcon>

#include <array>
#include <vector>

class QtMyTabBar;

/// Chooses the module by a tab bar, followed by tool tabs for requests to the main window.
///
///     application.setModuleSelector(
///         new QtModuleTabSelector(QtModuleSelector::Top, true, true, true, true));
///
/// The tool tabs are connected to the main window of the application object that exists when the
/// selector is made. A tool tab whose request nobody would answer is disabled. Once a module was
/// announced, the tab that is current is the module's: a click that changes no module changes no
/// tab, and following the list asks for nothing.
class VLR_GUI_EXPORT QtModuleTabSelector : public QtModuleSelector {
    Q_OBJECT

public:
    QtModuleTabSelector(QtModuleSelector::Position position, bool screenshot, bool config,
                        bool configFileEditor, bool exit);
    ~QtModuleTabSelector() override;

public slots:
    void addModule(QString name, int index) override;
    void moduleActivated(QString name, int index) override;
    void setTouchScreenMode(bool on) override;

signals:
    void screenShotRequestSGN();
    void configRequestSGN();
    void configFileEditorRequestSGN();
    void exitRequestSGN();

private slots:
    void currentTabChanged(int tab);
    void toolButtonClickedSL(int id);
    void updateToolTabs();

private:
    QIcon createOffsetIcon(const QIcon& icon, int dx, int dy) const;
    void showCurrentModule();

    QtMyTabBar* m_bar;
    std::vector<int> m_moduleOfTab;
    int m_currentTab = -1; ///< Of the module that was announced last.
    bool m_following = false;
    /// The id of each tool tab; -1, which is no id, for one that is absent.
    std::array<int, 4> m_toolIds{-1, -1, -1, -1};
};
