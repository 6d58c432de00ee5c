#pragma once

#include "Volume/Plane.h"

#include <QtCore/QObject>

/// The voxel at which all views of a volume look. It never leaves the volume.
class CrossHair : public QObject {
    Q_OBJECT

public:
    explicit CrossHair(QObject* parent = nullptr) : QObject(parent) {}

    Voxel position() const { return m_position; }
    int slice(Plane plane) const { return m_position[axesOf(plane).normal]; }

    /// Another volume: the position goes to its middle. Sizes below 1 count as 1.
    void setSize(const Voxel& size);
    void setPosition(const Voxel& position); ///< Clamped to the volume.
    void setSlice(Plane plane, int slice);

signals:
    void positionChanged();

private:
    Voxel m_size{1, 1, 1};
    Voxel m_position{};
};
