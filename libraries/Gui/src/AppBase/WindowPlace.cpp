#include "AppBase/WindowPlace.h"

#include <algorithm>

VLR_DEFINE_RECORD_FACTORY(WindowPlace)

namespace {

qint64 shownPart(const QRect& window, const QRect& screen) {
    const QRect part = window & screen;
    return part.isEmpty() ? 0 : qint64(part.width()) * part.height();
}

} // namespace

void WindowPlace::setGeometry(const QRect& geometry) {
    m_x = geometry.x();
    m_y = geometry.y();
    m_width = geometry.width();
    m_height = geometry.height();
}

QRect WindowPlace::geometryOn(const QVector<QRect>& screens, int titleBarHeight) const {
    QRect window(m_x, m_y, m_width, m_height);
    const auto screen =
        std::max_element(screens.begin(), screens.end(), [&](const QRect& a, const QRect& b) {
            return shownPart(window, a) < shownPart(window, b);
        });
    // Where it still is on one screen as a whole, there is room for its title bar as well.
    if (screen == screens.end() || screen->contains(window))
        return window;
    const QRect room = screen->adjusted(0, titleBarHeight, 0, 0);
    window.setSize(window.size().boundedTo(room.size()));
    window.moveTo(std::clamp(window.x(), room.x(), room.right() + 1 - window.width()),
                  std::clamp(window.y(), room.y(), room.bottom() + 1 - window.height()));
    return window;
}

int WindowPlace::controlArea(bool touchScreenMode) const {
    return touchScreenMode ? m_touchControlArea : m_controlArea;
}

void WindowPlace::setControlArea(bool touchScreenMode, int width) {
    (touchScreenMode ? m_touchControlArea : m_controlArea) = width;
}
