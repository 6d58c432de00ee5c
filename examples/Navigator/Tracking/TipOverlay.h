#pragma once

#include "Tracking/TrackingSession.h"
#include "Volume/PlaneView.h"
#include "Volume/VolumePanes.h"

/// Shows the tips of instruments in the slices of a volume that is registered, for as long as the
/// instrument and the reference base are seen. While something is tracked, slices without a tip say
/// why there is none: "not registered", or what the tracker has lost.
class TipOverlay : public QObject {
    Q_OBJECT

public:
    /// The session must live as long as this does.
    TipOverlay(TrackingSession& session, std::shared_ptr<VolumePanes> panes,
               QObject* parent = nullptr);

private:
    void show();
    std::vector<TipMark> tipMarks() const;
    QStringList trackingText() const;

    TrackingSession& m_session;
    std::shared_ptr<VolumePanes> m_panes;
};
