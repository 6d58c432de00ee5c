#include "Volume/Plane.h"

#include <QtCore/QCoreApplication>

PlaneAxes axesOf(Plane plane) {
    switch (plane) {
    case Plane::Axial:
        break;
    case Plane::Coronal:
        return {1, 0, 2, true};
    case Plane::Sagittal:
        return {0, 1, 2, true};
    }
    return {2, 0, 1, false};
}

QString planeName(Plane plane) {
    switch (plane) {
    case Plane::Axial:
        break;
    case Plane::Coronal:
        return QCoreApplication::translate("Plane", "Coronal");
    case Plane::Sagittal:
        return QCoreApplication::translate("Plane", "Sagittal");
    }
    return QCoreApplication::translate("Plane", "Axial");
}

QColor planeColor(Plane plane) {
    switch (plane) {
    case Plane::Axial:
        break;
    case Plane::Coronal:
        return {110, 220, 110};
    case Plane::Sagittal:
        return {255, 120, 110};
    }
    return {250, 215, 80};
}
