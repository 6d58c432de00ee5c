#pragma once

#include "Tracking/TrackingSource.h"

/// Hands what a source receives on to a listener that may come and go while the source runs.
class RecordingSwitch : public vlr::TrackingListener {
public:
    void setTarget(std::shared_ptr<vlr::TrackingListener> target) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_target = std::move(target);
    }
    void received(const vlr::TrackingMeasurement& measurement) override {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_target)
            m_target->received(measurement);
    }

private:
    std::mutex m_mutex;
    std::shared_ptr<vlr::TrackingListener> m_target;
};
