#pragma once

#include "vlrGuiExport.h"

#include <QtGui/QIcon>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QWidget>

class ToolTabBar;

/// A row of module tabs followed by tool tabs. A tool tab acts like a button: it is never left
/// selected.
///
///     bar->addTab(tr("Planning"));
///     const int exit = bar->addToolButton(icon, QString(), tr("Quit Application"));
///
/// Module tabs are counted from 0, tool tabs by themselves from 0. With the keyboard, the arrow
/// keys step through the module tabs and on to the tool tabs, which are then triggered by Space
/// or Return. Long texts are shortened, and where the tabs do not fit those of the modules are
/// shortened further, so that the tool tabs stay in sight. A bar that is too short even so scrolls.
class VLR_GUI_EXPORT QtMyTabBar : public QWidget {
    Q_OBJECT

public:
    explicit QtMyTabBar(QWidget* parent = nullptr);

    /// Adds a module tab after those there are and returns its index. Emits nothing.
    int addTab(const QString& text);
    int addTab(const QIcon& icon, const QString& text);
    /// Adds a tool tab after those there are and returns its id. The tool tip is its accessible
    /// name as well.
    int addToolButton(const QIcon& icon, const QString& text, const QString& toolTip);
    void setToolButtonEnabled(int id, bool enabled);

    int count() const;               ///< Module tabs.
    int currentIndex() const;        ///< Of the module tabs; -1 when there is none.
    void setCurrentIndex(int index); ///< Emits currentChangedSGN() when it is another one.
    void setIconSize(const QSize& size);
    void setShape(QTabBar::Shape shape);
    void setTouchScreenMode(bool on); ///< Tabs and scroll buttons large enough for a finger.

signals:
    void toolButtonClickedSGN(int index);
    void currentChangedSGN(int index);

public slots:
    void currentChangedSL(int index);

private:
    void selectLastModuleTab();

    ToolTabBar* m_bar;
    int m_moduleTabs = 0;
    int m_lastModuleTab = -1;
};
