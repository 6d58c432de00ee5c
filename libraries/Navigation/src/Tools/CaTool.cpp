#include "Tools/CaTool.h"

#include <limits>

namespace {

constexpr double unknown = std::numeric_limits<double>::quiet_NaN();

bool isFresh(const std::optional<vlr::TrackingMeasurement>& measurement, vlr::TrackingTime now) {
    return measurement && now - measurement->time < vlr::freshFor;
}

} // namespace

CaTool::CaTool(const vlr::ToolGeometry& geometry) : m_model(geometry.markers) {
    forget();
}

Vector3d CaTool::getModel(int marker) const {
    const bool exists = marker >= 0 && marker < getNumberOfMarkers();
    return exists ? m_model[static_cast<std::size_t>(marker)] : Vector3d(Vector3d::Zero());
}

Vector3d CaTool::getReal(int marker) const {
    const bool exists = marker >= 0 && marker < getNumberOfMarkers();
    return exists ? m_real[static_cast<std::size_t>(marker)] : vlr::hiddenPosition();
}

void CaTool::update(const vlr::ToolState* state, vlr::TrackingTime now) {
    const bool hasMarkers = state && isFresh(state->markers, now);
    if (!hasMarkers && !(state && isFresh(state->pose, now))) {
        if (m_shown)
            forget();
        return;
    }
    const vlr::TrackingMeasurement& present = hasMarkers ? *state->markers : *state->pose;
    if (m_shown == present.number)
        return;
    const bool isSame = hasMarkers && m_told == present.markers;
    m_shown = present.number;
    if (isSame) // A tool at rest before a camera without noise.
        return;
    forget();
    if (hasMarkers)
        setMarkers(present.markers);
    else
        setPose(*present.pose);
    m_shown = present.number;
}

void CaTool::forget() {
    m_real.assign(m_model.size(), vlr::hiddenPosition());
    m_pose.translation.setConstant(unknown);
    m_pose.rotation.setConstant(unknown);
    m_rms = unknown;
    m_hasPose = false;
    m_told.reset();
    m_shown.reset();
}

void CaTool::setMarkers(const std::vector<Vector3d>& positions) {
    m_told = positions;
    std::vector<Vector3d> model;
    std::vector<Vector3d> seen;
    for (std::size_t i = 0; i < m_model.size() && i < positions.size(); ++i) {
        if (vlr::isHidden(positions[i]))
            continue;
        m_real[i] = positions[i];
        model.push_back(m_model[i]);
        seen.push_back(positions[i]);
    }
    if (const auto fit = vlr::fitRigid(model, seen)) {
        m_pose = fit->transform;
        m_rms = fit->rms;
        m_hasPose = true;
    }
}

void CaTool::setPose(const vlr::RigidTransform& pose) {
    m_pose = pose;
    m_hasPose = true;
    for (std::size_t i = 0; i < m_model.size(); ++i)
        m_real[i] = pose * m_model[i];
}
