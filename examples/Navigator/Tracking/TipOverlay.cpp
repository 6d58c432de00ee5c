#include "Tracking/TipOverlay.h"

#include "Tracking/VolumeRegistration.h"
#include "Volume/ImagesView.h"

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
    const auto marks = tipMarks();
    const QStringList text = trackingText();
    for (const Plane plane : allPlanes)
        if (auto* const view = qobject_cast<PlaneView*>(m_panes->planeControl(plane)->view())) {
            view->setTipMarks(marks);
            view->setTrackingText(text);
        }
    if (m_panes->imagesControl()->view())
        m_panes->imagesView()->setTrackingText(text);
}

std::vector<TipMark> TipOverlay::tipMarks() const {
    std::vector<TipMark> marks;
    if (!m_panes->volume().isRegistered())
        return marks;
    std::size_t number = 0;
    for (const TipPosition& tip : m_session.tips()) {
        const QColor& color = tipColors[number++ % std::size(tipColors)];
        if (tip.inReference)
            marks.push_back({tip.instrument, color, toVolume(m_panes->volume(), *tip.inReference)});
    }
    return marks;
}

// A tip that is missing must not look like one that is somewhere else.
QStringList TipOverlay::trackingText() const {
    const QStringList losses = m_session.losses();
    if (m_panes->series().isEmpty() || (!m_session.isRunning() && losses.isEmpty()))
        return {};
    return m_panes->volume().isRegistered() ? losses : QStringList(tr("not registered"));
}
