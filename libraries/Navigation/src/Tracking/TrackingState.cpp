#include "Tracking/TrackingState.h"

#include <algorithm>
#include <utility>

namespace vlr {

namespace {

// Measurements are numbered as they come.
std::uint64_t lastSeen(const ToolState& tool) {
    return std::max(tool.markers ? tool.markers->number : 0, tool.pose ? tool.pose->number : 0);
}

} // namespace

const char* const TrackingState::tooManyNames =
    "it speaks of more than 64 tools that are not known here; some of them are ignored";

bool TrackingState::add(TrackingMeasurement measurement, const std::set<std::string>& known) {
    bool hadRoom = true;
    auto found = m_state.tools.find(measurement.tool);
    if (found == m_state.tools.end()) {
        hadRoom = known.count(measurement.tool) > 0 || makeRoom(known);
        found = m_state.tools.emplace(measurement.tool, ToolState()).first;
    }
    measurement.number = ++m_count;
    auto& place = measurement.pose ? found->second.pose : found->second.markers;
    place = std::move(measurement);
    return hadRoom;
}

bool TrackingState::makeRoom(const std::set<std::string>& known) {
    std::size_t foreign = 0;
    auto oldest = m_state.tools.end();
    for (auto tool = m_state.tools.begin(); tool != m_state.tools.end(); ++tool) {
        if (known.count(tool->first) > 0)
            continue;
        ++foreign;
        if (oldest == m_state.tools.end() || lastSeen(tool->second) < lastSeen(oldest->second))
            oldest = tool;
    }
    if (foreign < mostForeign)
        return true;
    m_state.tools.erase(oldest);
    return false;
}

void TrackingState::setProblem(const std::string& kind, const std::string& problem) {
    m_state.problemKind = kind;
    m_state.problem = problem;
}

void TrackingState::setCondition(const TrackingCondition& condition) {
    static_cast<TrackingCondition&>(m_state) = condition;
    if (!condition.isConnected)
        forgetTools();
}

std::shared_ptr<const TrackingSnapshot> TrackingState::snapshot() const {
    return std::make_shared<const TrackingSnapshot>(m_state);
}

} // namespace vlr
