#pragma once

#include "Math/RigidFit.h"
#include "vlrNavigationExport.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vlr {

/// When something was measured or received, on a clock that is never set.
using TrackingTime = std::chrono::steady_clock::time_point;
/// Where the time comes from; tests put a clock of their own in its place. Called from the thread
/// of the source as well.
using TrackingClock = std::function<TrackingTime()>;

/// How long a value counts as the present one when no other follows it.
constexpr std::chrono::milliseconds freshFor(500);

/// A position at least this far from the camera, in squared millimetres, stands for a marker that
/// is hidden.
constexpr double hiddenSquaredDistance = 10000000;
/// The position given to markers that the camera does not see, in millimetres.
inline Vector3d hiddenPosition() {
    return Vector3d::Constant(1e6);
}
/// Positions that are not numbers count as hidden, too.
inline bool isHidden(const Vector3d& position) {
    return !(position.squaredNorm() < hiddenSquaredDistance);
}

/// One thing a tracker said: where the markers of a tool are or, from a tracker that does not tell
/// its markers, the tool's pose. Millimetres, in the camera's coordinates.
struct TrackingMeasurement {
    std::string tool;
    TrackingTime time;
    std::vector<Vector3d> markers;      ///< By number; hidden ones at hiddenPosition().
    std::optional<RigidTransform> pose; ///< Where it is set, `markers` is without meaning.
    std::uint64_t number = 0;           ///< Counted by the source; tells measurements apart.
};

/// What is known of one tool: its last markers and its last pose, each with its time.
struct ToolState {
    std::optional<TrackingMeasurement> markers;
    std::optional<TrackingMeasurement> pose;
};

/// How the connection to a tracker is.
struct TrackingCondition {
    bool isConnected = false;
    std::string problem; ///< What last went wrong, for user and log; empty when nothing did.
    /// Tells problems apart that are worth a warning each, whatever their texts say; where it is
    /// empty the text does.
    std::string problemKind;

    bool operator==(const TrackingCondition& other) const {
        return isConnected == other.isConnected && problem == other.problem &&
               problemKind == other.problemKind;
    }
    bool operator!=(const TrackingCondition& other) const { return !(*this == other); }
};

/// What a source knew at one moment. It does not change once it is published.
struct TrackingSnapshot : TrackingCondition {
    bool hasEnded = false; ///< Nothing will follow: a recording was played to its end.
    std::map<std::string, ToolState> tools;
};

} // namespace vlr
