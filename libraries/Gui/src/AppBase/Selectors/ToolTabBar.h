#pragma once

#include "AppBase/Selectors/QtTabBar.h"

/// The tab bar inside a QtMyTabBar: the keyboard marks a tool tab before it triggers it, and no
/// tab is wider than a reader needs.
class ToolTabBar : public QtTabBar {
    Q_OBJECT

public:
    explicit ToolTabBar(QWidget* parent);

    void setTouchScreenMode(bool on);
    void setModuleTabs(int count); ///< The mark goes, since the tool tabs move.
    QSize minimumSizeHint() const override;

signals:
    void toolTriggered(int tab); ///< By keyboard, or by a click on a tab that is current already.

protected:
    QSize tabSizeHint(int index) const override;
    QSize minimumTabSizeHint(int index) const override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    bool isVertical() const;
    int share() const;
    void step(int direction);
    void mark(int tab);

    bool m_touchScreenMode = false;
    QStyle* m_fingerStyle = nullptr;
    int m_moduleTabs = 0;
    int m_marked = -1; ///< The tool tab the keyboard is on.
};
