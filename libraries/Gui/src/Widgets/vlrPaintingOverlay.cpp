#include "Widgets/vlrPaintingOverlay.h"

namespace vlr {

PaintingOverlay::PaintingOverlay(QObject* parent) : QObject(parent) {}

PaintingOverlay::~PaintingOverlay() = default;

QRectF PaintingOverlay::boundingRect() const {
    return {};
}

} // namespace vlr
