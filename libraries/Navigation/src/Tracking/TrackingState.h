#pragma once

#include "Tracking/TrackingData.h"

#include <memory>
#include <set>

namespace vlr {

/// Collects measurements into what is known now. For one thread.
class TrackingState {
public:
    /// Tools a tracker may speak of beside those that the application knows.
    static constexpr std::size_t mostForeign = 64;
    /// For the user, when it speaks of more.
    static const char* const tooManyNames;

    /// Known tools always have a place. False where a foreign tool had to be forgotten for
    /// another: the one that was not seen for longest.
    bool add(TrackingMeasurement measurement, const std::set<std::string>& known);
    void setConnected(bool connected) { m_state.isConnected = connected; }
    void setProblem(const std::string& kind, const std::string& problem);
    /// Takes over another condition; without a connection nothing is known of tools.
    void setCondition(const TrackingCondition& condition);
    const TrackingCondition& condition() const { return m_state; }
    void setEnded() { m_state.hasEnded = true; }
    void forgetTools() { m_state.tools.clear(); }

    std::shared_ptr<const TrackingSnapshot> snapshot() const;

private:
    bool makeRoom(const std::set<std::string>& known);

    TrackingSnapshot m_state;
    std::uint64_t m_count = 0;
};

} // namespace vlr
