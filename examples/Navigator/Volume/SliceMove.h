#pragma once

#include <QtCore/Qt>

#include <optional>

class QWheelEvent;

/// Where the user wants to go in a series of slices.
enum class SliceMove { First, PageBack, Back, Forward, PageForward, Last };

/// The slice to which the move leads from the slice `from`. It may lie outside the series.
int movedSlice(SliceMove move, int from, int count);

/// What the key stands for in every view of slices.
std::optional<SliceMove> sliceMoveOf(int key);

/// Collects the many small turns that touch pads send to whole notches.
class WheelNotches {
public:
    int turn(const QWheelEvent& event); ///< Whole notches, positive towards the user.

private:
    int m_angle = 0;
};
