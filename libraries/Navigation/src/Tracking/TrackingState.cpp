#include "Tracking/TrackingState.h"

#include <utility>

namespace vlr {

bool TrackingState::add(TrackingMeasurement measurement) {
    auto found = m_state.tools.find(measurement.tool);
    if (found == m_state.tools.end()) {
        if (m_state.tools.size() >= mostTools)
            return false;
        found = m_state.tools.emplace(measurement.tool, ToolState()).first;
    }
    measurement.number = ++m_count;
    auto& place = measurement.pose ? found->second.pose : found->second.markers;
    place = std::move(measurement);
    return true;
}

std::shared_ptr<const TrackingSnapshot> TrackingState::snapshot() const {
    return std::make_shared<const TrackingSnapshot>(m_state);
}

} // namespace vlr
