#include "Tracking/TrackingSource.h"

#include <utility>

namespace vlr {

TrackingListener::~TrackingListener() = default;

TrackingSource::TrackingSource() : m_snapshot(std::make_shared<TrackingSnapshot>()) {}

TrackingSource::~TrackingSource() = default;

std::shared_ptr<const TrackingSnapshot> TrackingSource::latest() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_snapshot;
}

void TrackingSource::setTools(const std::vector<ToolGeometry>&) {}

void TrackingSource::setListener(std::shared_ptr<TrackingListener> listener) {
    m_listener = std::move(listener);
}

// The snapshot that is replaced is destroyed after the mutex was given back.
void TrackingSource::publish(std::shared_ptr<const TrackingSnapshot> snapshot) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_snapshot.swap(snapshot);
}

void TrackingSource::tellListener(const TrackingMeasurement& measurement) const {
    if (m_listener)
        m_listener->received(measurement);
}

} // namespace vlr
