#include "Tracking/TrackingSource.h"

#include <utility>

namespace vlr {

TrackingListener::~TrackingListener() = default;

void TrackingListener::conditionChanged(const TrackingCondition&, TrackingTime) {}

TrackingSource::TrackingSource()
    : m_snapshot(std::make_shared<TrackingSnapshot>()),
      m_known(std::make_shared<std::set<std::string>>()) {}

TrackingSource::~TrackingSource() = default;

std::shared_ptr<const TrackingSnapshot> TrackingSource::latest() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_snapshot;
}

void TrackingSource::setTools(const std::vector<ToolGeometry>& tools) {
    auto names = std::make_shared<std::set<std::string>>();
    for (const ToolGeometry& tool : tools)
        names->insert(tool.name);
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_known = std::move(names);
}

std::shared_ptr<const std::set<std::string>> TrackingSource::knownTools() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_known;
}

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

void TrackingSource::tellListener(const TrackingCondition& condition, TrackingTime time) const {
    if (m_listener)
        m_listener->conditionChanged(condition, time);
}

} // namespace vlr
