#pragma once

#include "Tracking/TrackingSource.h"

namespace vlr {

/// A camera that is not there: tools move slowly about before it, markers get hidden for a while
/// and come back, and positions are noisy. The same seed gives the same pictures.
///
///     SimulatedCamera camera({});
///     camera.setTools({geometry});
///
/// It works when it is asked and needs no thread.
class VLR_NAVIGATION_EXPORT SimulatedCamera : public TrackingSource {
public:
    struct Options {
        quint64 seed = 1;
        double noise = 0.1; ///< Standard deviation in millimetres, in each coordinate.
        double rate = 60;   ///< Pictures per second.
        bool hidesMarkers = true;
    };

    explicit SimulatedCamera(const Options& options,
                             TrackingClock clock = &std::chrono::steady_clock::now);
    ~SimulatedCamera() override;

    CaError start() override;
    void stop() override;
    std::shared_ptr<const TrackingSnapshot> latest() override;
    void setTools(const std::vector<ToolGeometry>& tools) override;

    /// Where the tool truly is at the picture with the number.
    RigidTransform pose(const std::string& tool, qint64 picture) const;
    /// What the camera tells of the tool in that picture: noisy, with hidden markers.
    std::vector<Vector3d> see(const ToolGeometry& tool, qint64 picture) const;

private:
    Options m_options;
    TrackingClock m_clock;
    TrackingTime m_begin;
    qint64 m_picture = -1; ///< The last one taken; -1 while stopped or after a change of tools.
    bool m_isStarted = false;
    std::vector<ToolGeometry> m_tools;
};

} // namespace vlr
