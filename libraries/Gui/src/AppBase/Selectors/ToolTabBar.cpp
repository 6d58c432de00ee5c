#include "AppBase/Selectors/ToolTabBar.h"

#include "Base/TouchTargets.h"

#include <QtGui/QKeyEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QProxyStyle>
#include <QtWidgets/QStyleOptionFocusRect>

#include <algorithm>
#include <vector>

namespace {

// About twenty-four characters; longer names are shortened.
constexpr int widestTab = 220;
// A letter and the dots; a finger's size in touch-screen mode.
constexpr int narrowestTab = 28;

/// The scroll buttons of a bar that does not fit are the style's to size.
class FingerStyle : public QProxyStyle {
public:
    int pixelMetric(PixelMetric metric, const QStyleOption* option,
                    const QWidget* widget) const override {
        const int own = QProxyStyle::pixelMetric(metric, option, widget);
        return metric == PM_TabBarScrollButtonWidth ? qMax(own, vlr::fingerSize) : own;
    }
};

} // namespace

ToolTabBar::ToolTabBar(QWidget* parent) : QtTabBar(parent) {
    setElideMode(Qt::ElideRight);
    setUsesScrollButtons(true);
    setExpanding(false);
    setDrawBase(true);
    setFocusPolicy(Qt::StrongFocus);
}

void ToolTabBar::setTouchScreenMode(bool on) {
    m_touchScreenMode = on;
    if (on && !m_fingerStyle) {
        m_fingerStyle = new FingerStyle;
        m_fingerStyle->setParent(this);
    }
    setStyle(on ? m_fingerStyle : nullptr);
    updateGeometry();
}

void ToolTabBar::setModuleTabs(int count) {
    m_moduleTabs = count;
    mark(-1);
}

bool ToolTabBar::isVertical() const {
    return shape() == RoundedWest || shape() == RoundedEast || shape() == TriangularWest ||
           shape() == TriangularEast;
}

QSize ToolTabBar::tabSizeHint(int index) const {
    const int least = m_touchScreenMode ? vlr::fingerSize : 0;
    const QSize size = QtTabBar::tabSizeHint(index).expandedTo({least, least});
    return isVertical() ? QSize(size.width(), qMin(size.height(), widestTab))
                        : QSize(qMin(size.width(), widestTab), size.height());
}

// Room for the scroll buttons and half a tab, whatever the number of tabs.
QSize ToolTabBar::minimumSizeHint() const {
    const QSize size = sizeHint();
    return isVertical() ? QSize(size.width(), qMin(size.height(), widestTab))
                        : QSize(qMin(size.width(), widestTab), size.height());
}

// What a module's tab is given where they do not fit: the short ones what they need, the others
// the same. Of less than the least nothing would be left of the texts.
int ToolTabBar::share() const {
    const auto lengthOf = [this](int tab) {
        const QSize size = tabSizeHint(tab);
        return isVertical() ? size.height() : size.width();
    };
    int room = isVertical() ? height() : width();
    for (int tab = m_moduleTabs; tab < count(); ++tab)
        room -= lengthOf(tab);
    std::vector<int> lengths;
    for (int tab = 0; tab < qMin(m_moduleTabs, count()); ++tab)
        lengths.push_back(lengthOf(tab));
    std::sort(lengths.begin(), lengths.end());
    const int least = m_touchScreenMode ? vlr::fingerSize : narrowestTab;
    auto left = static_cast<int>(lengths.size());
    for (const int length : lengths) {
        if (length * left > room)
            return qMax(least, room / left);
        room -= length;
        --left;
    }
    return widestTab;
}

// Where the tabs do not fit those of the modules are squeezed, so that the tools, and with them
// the way out, stay in sight. The bar scrolls only when nothing would be left of the texts.
QSize ToolTabBar::minimumTabSizeHint(int index) const {
    const QSize size = tabSizeHint(index);
    if (index >= m_moduleTabs)
        return size;
    return isVertical() ? QSize(size.width(), qMin(size.height(), share()))
                        : QSize(qMin(size.width(), share()), size.height());
}

void ToolTabBar::keyPressEvent(QKeyEvent* event) {
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Up:
        step(-1);
        break;
    case Qt::Key_Right:
    case Qt::Key_Down:
        step(+1);
        break;
    case Qt::Key_Home:
    case Qt::Key_End:
        mark(-1);
        if (m_moduleTabs > 0)
            setCurrentIndex(event->key() == Qt::Key_Home ? 0 : m_moduleTabs - 1);
        break;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (m_marked >= 0 && isTabEnabled(m_marked))
            emit toolTriggered(m_marked);
        break;
    default:
        QtTabBar::keyPressEvent(event);
    }
}

void ToolTabBar::step(int direction) {
    const int from = m_marked >= 0 ? m_marked : m_moduleTabs > 0 ? currentIndex() : -1;
    for (int tab = from + direction; tab >= 0 && tab < count(); tab += direction) {
        if (!isTabEnabled(tab))
            continue;
        mark(tab < m_moduleTabs ? -1 : tab);
        if (tab < m_moduleTabs)
            setCurrentIndex(tab);
        return;
    }
}

void ToolTabBar::mark(int tab) {
    m_marked = tab;
    update();
}

void ToolTabBar::focusOutEvent(QFocusEvent* event) {
    mark(-1);
    QtTabBar::focusOutEvent(event);
}

void ToolTabBar::mousePressEvent(QMouseEvent* event) {
    mark(-1);
    const int tab = tabAt(event->pos());
    // While there is no module tab a tool tab is the current one, and a click changes nothing.
    if (event->button() == Qt::LeftButton && tab >= m_moduleTabs && tab == currentIndex() &&
        isTabEnabled(tab))
        emit toolTriggered(tab);
    QtTabBar::mousePressEvent(event);
}

void ToolTabBar::paintEvent(QPaintEvent* event) {
    QtTabBar::paintEvent(event);
    if (m_marked < 0 || !hasFocus())
        return;
    QPainter painter(this);
    painter.setPen(QPen(palette().color(QPalette::Highlight), 2));
    painter.drawRoundedRect(tabRect(m_marked).adjusted(3, 3, -3, -3), 3, 3);
}
