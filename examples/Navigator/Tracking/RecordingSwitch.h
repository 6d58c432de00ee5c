#pragma once

#include "Tracking/TrackingSource.h"

/// Hands what a source receives on to a listener that may come and go while the source runs.
class RecordingSwitch : public vlr::TrackingListener {
public:
    /// A new listener hears at once how the connection is, as of `now`.
    void setTarget(std::shared_ptr<vlr::TrackingListener> target, vlr::TrackingTime now) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_target = std::move(target);
        if (m_target && m_condition)
            m_target->conditionChanged(*m_condition, now);
    }
    void received(const vlr::TrackingMeasurement& measurement) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_target)
            m_target->received(measurement);
    }
    void conditionChanged(const vlr::TrackingCondition& condition,
                          vlr::TrackingTime time) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_condition = condition;
        if (m_target)
            m_target->conditionChanged(condition, time);
    }

private:
    std::mutex m_mutex;
    std::shared_ptr<vlr::TrackingListener> m_target;
    std::optional<vlr::TrackingCondition> m_condition; ///< None while the source told none.
};
