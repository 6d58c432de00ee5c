#pragma once

#include "Tracking/ToolGeometry.h"
#include "Tracking/TrackingData.h"

/// The rigid body of a tool: its markers, where the camera last saw them, and the pose that
/// follows from them.
///
///     const CaTool* body = tool->getRigidBody();
///     for (int i = 0; i < body->getNumberOfMarkers(); ++i)
///         draw(body->getReal(i));
///
/// Everything measured is in millimetres, in the camera's coordinates, and belongs to one moment:
/// it changes only when the tool box is refreshed. GUI thread only.
class VLR_NAVIGATION_EXPORT CaTool {
public:
    /// The geometry must be one that vlr::checkGeometry() accepts.
    explicit CaTool(const vlr::ToolGeometry& geometry);

    int getNumberOfMarkers() const { return static_cast<int>(m_model.size()); }
    /// Where the marker is in the tool's own coordinates; zero for an index out of range.
    Vector3d getModel(int marker) const;
    /// Where the camera sees the marker. One that is hidden, was not reported for half a second or
    /// does not exist is at a position with a squared length of at least 10,000,000 mm^2. Where
    /// the tracker reports poses alone, the markers are where the pose puts them.
    Vector3d getReal(int marker) const;

    /// Whether there is a present pose: three visible markers that are not on one line, or a pose
    /// that the tracker reported itself.
    bool hasPose() const { return m_hasPose; }
    /// Tool to camera. Not a number in every element while there is no pose.
    const Vector3d& getTranslation() const { return m_pose.translation; }
    const Eigen::Matrix3d& getRotation() const { return m_pose.rotation; }
    /// How well the visible markers fit the geometry. Not a number while there is no pose and for
    /// one that the tracker reported itself.
    double getRMS() const { return m_rms; }

    /// Takes over what is known of the tool (null: nothing). Called by the tool box.
    void update(const vlr::ToolState* state, vlr::TrackingTime now);

private:
    void forget();
    void setMarkers(const std::vector<Vector3d>& positions);
    void setPose(const vlr::RigidTransform& pose);

    std::vector<Vector3d> m_model;
    std::vector<Vector3d> m_real;
    vlr::RigidTransform m_pose;
    double m_rms = 0;
    bool m_hasPose = false;
    std::optional<std::vector<Vector3d>> m_told; ///< The markers that are shown, as they came.
    std::optional<std::uint64_t> m_shown;        ///< The measurement: none is worked out twice.
};
