#pragma once

#include "Navigation/HandTracker.h"
#include "Support/CommandLine.h"
#include "Support/TestEnvironment.h"

#include <limits>
#include <mutex>

namespace vlrTest {

/// Keeps everything a source receives.
class Collector : public vlr::TrackingListener {
public:
    void received(const vlr::TrackingMeasurement& measurement) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_measurements.push_back(measurement);
    }
    void conditionChanged(const vlr::TrackingCondition& condition, vlr::TrackingTime) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_conditions.push_back(condition);
    }
    std::vector<vlr::TrackingCondition> conditions() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_conditions;
    }
    std::vector<vlr::TrackingMeasurement> measurements() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_measurements;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<vlr::TrackingMeasurement> m_measurements;
    std::vector<vlr::TrackingCondition> m_conditions;
};

} // namespace vlrTest
