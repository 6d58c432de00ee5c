#pragma once

#include "Tracking/TrackingSource.h"

#include <QtCore/QString>

/// Where the positions of tools are to come from.
struct SourceChoice {
    enum Kind { Simulated, Network, Recording };

    Kind kind = Simulated;
    QString host = QStringLiteral("localhost"); ///< Of a tracker that speaks OpenIGTLink.
    int port = 18944;
    QString file;        ///< A recording.
    bool isFast = false; ///< It is played without its pauses.

    QString text() const; ///< For the user: "Simulated camera", "localhost:18944", a file's name.
    /// Makes the source without starting it. The error says what is missing.
    CaError make(const vlr::TrackingClock& clock,
                 std::unique_ptr<vlr::TrackingSource>& source) const;

    bool operator==(const SourceChoice& other) const;
    bool operator!=(const SourceChoice& other) const { return !(*this == other); }
};
