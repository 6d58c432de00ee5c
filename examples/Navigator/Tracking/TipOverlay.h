#pragma once

#include "Images/VolumePanes.h"
#include "Tracking/TrackingSession.h"

/// Shows the tips of instruments in the slices of a volume, while both are there and for as long as
/// the instrument and the reference base are seen.
class TipOverlay : public QObject {
    Q_OBJECT

public:
    /// The session must live as long as this does.
    TipOverlay(TrackingSession& session, std::shared_ptr<VolumePanes> panes,
               QObject* parent = nullptr);

private:
    void show();

    TrackingSession& m_session;
    std::shared_ptr<VolumePanes> m_panes;
};
