#pragma once

#include "Tracking/TrackingData.h"

#include <memory>

namespace vlr {

/// Collects measurements into what is known now. For one thread.
class TrackingState {
public:
    /// Tools a tracker may speak of; of further ones nothing is kept.
    static constexpr std::size_t mostTools = 64;

    /// False where the measurement was of one tool too many.
    bool add(TrackingMeasurement measurement);
    void setConnected(bool connected) { m_state.isConnected = connected; }
    void setProblem(const std::string& problem) { m_state.problem = problem; }
    void forgetTools() { m_state.tools.clear(); }

    std::shared_ptr<const TrackingSnapshot> snapshot() const;

private:
    TrackingSnapshot m_state;
    std::uint64_t m_count = 0;
};

} // namespace vlr
