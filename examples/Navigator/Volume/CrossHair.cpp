#include "Volume/CrossHair.h"

#include <algorithm>

void CrossHair::setSize(const Voxel& size) {
    Voxel middle;
    for (std::size_t axis = 0; axis < size.size(); ++axis) {
        m_size[axis] = std::max(1, size[axis]);
        middle[axis] = m_size[axis] / 2;
    }
    setPosition(middle);
}

void CrossHair::setPosition(const Voxel& position) {
    Voxel clamped;
    for (std::size_t axis = 0; axis < position.size(); ++axis)
        clamped[axis] = std::clamp(position[axis], 0, m_size[axis] - 1);
    if (clamped == m_position)
        return;
    m_position = clamped;
    emit positionChanged();
}

void CrossHair::setSlice(Plane plane, int slice) {
    Voxel position = m_position;
    position[axesOf(plane).normal] = slice;
    setPosition(position);
}
