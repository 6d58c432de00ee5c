#include "Volume/SliceMove.h"

#include <QtGui/QWheelEvent>

#include <map>

namespace {

constexpr int page = 10;
constexpr int wheelNotch = 120;

} // namespace

int movedSlice(SliceMove move, int from, int count) {
    switch (move) {
    case SliceMove::First:
        return 0;
    case SliceMove::PageBack:
        return from - page;
    case SliceMove::Back:
        return from - 1;
    case SliceMove::Forward:
        return from + 1;
    case SliceMove::PageForward:
        return from + page;
    case SliceMove::Last:
        break;
    }
    return count - 1;
}

std::optional<SliceMove> sliceMoveOf(int key) {
    static const std::map<int, SliceMove> moves{
        {Qt::Key_Home, SliceMove::First},      {Qt::Key_End, SliceMove::Last},
        {Qt::Key_PageUp, SliceMove::PageBack}, {Qt::Key_PageDown, SliceMove::PageForward},
        {Qt::Key_Up, SliceMove::Back},         {Qt::Key_Left, SliceMove::Back},
        {Qt::Key_Down, SliceMove::Forward},    {Qt::Key_Right, SliceMove::Forward},
    };
    const auto move = moves.find(key);
    return move == moves.end() ? std::nullopt : std::optional<SliceMove>(move->second);
}

int WheelNotches::turn(const QWheelEvent& event) {
    m_angle -= event.angleDelta().y();
    const int notches = m_angle / wheelNotch;
    m_angle -= notches * wheelNotch;
    return notches;
}
