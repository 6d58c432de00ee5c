#include "Tracking/TipOverlay.h"

#include "Tracking/VolumeRegistration.h"

namespace {

// Unlike those of the planes.
const QColor tipColors[] = {{90, 205, 255}, {255, 150, 235}};

} // namespace

TipOverlay::TipOverlay(TrackingSession& session, std::shared_ptr<VolumePanes> panes,
                       QObject* parent)
    : QObject(parent), m_session(session), m_panes(std::move(panes)) {
    connect(&m_session, &TrackingSession::changed, this, &TipOverlay::show);
    connect(m_panes.get(), &VolumePanes::imagesChanged, this, &TipOverlay::show);
}

void TipOverlay::show() {
    std::vector<TipMark> marks;
    std::size_t number = 0;
    for (const TipPosition& tip : m_session.tips()) {
        const QColor& color = tipColors[number++ % std::size(tipColors)];
        if (tip.inReference && m_panes->hasVolume())
            marks.push_back({tip.instrument, color, toVolume(m_panes->volume(), *tip.inReference)});
    }
    for (const Plane plane : allPlanes)
        if (auto* const view = qobject_cast<PlaneView*>(m_panes->planeControl(plane)->view()))
            view->setTipMarks(marks);
}
