#pragma once

#include "Error/CaError.h"
#include "Tracking/ToolGeometry.h"
#include "Tracking/TrackingData.h"

#include <memory>
#include <mutex>
#include <set>

namespace vlr {

/// Is told everything a source receives, in the thread in which it is received: short work only.
class VLR_NAVIGATION_EXPORT TrackingListener {
public:
    virtual ~TrackingListener();
    virtual void received(const TrackingMeasurement& measurement) = 0;
    /// The connection came or went, or there is another problem or none any more. By default
    /// nothing is done.
    virtual void conditionChanged(const TrackingCondition& condition, TrackingTime time);
};

/// Where the positions of tools come from: a camera on the network, a recording, a simulation.
///
///     OpenIGTLinkClient client({QStringLiteral("tracker.local"), 18944});
///     CaError error = client.start();
///     const auto snapshot = client.latest();    // at every poll
///
/// A source that has to wait for something does so in a thread of its own. Apart from latest(),
/// the operations belong to the thread that made the source.
class VLR_NAVIGATION_EXPORT TrackingSource {
public:
    TrackingSource();
    TrackingSource(const TrackingSource&) = delete;
    TrackingSource& operator=(const TrackingSource&) = delete;
    /// Implementations call stop() in their own destructor.
    virtual ~TrackingSource();

    /// The error says why the source cannot work at all; a camera that does not answer yet is
    /// none. Starting what is started does nothing.
    virtual CaError start() = 0;
    virtual void stop() = 0;

    /// The newest that is known. Never null, never waits for the tracker.
    virtual std::shared_ptr<const TrackingSnapshot> latest();

    /// The tools in use: a simulation shows these, and other sources always have room for them.
    virtual void setTools(const std::vector<ToolGeometry>& tools);

    /// Takes effect for a source that is not started; null removes the listener.
    void setListener(std::shared_ptr<TrackingListener> listener);

protected:
    void publish(std::shared_ptr<const TrackingSnapshot> snapshot);
    void tellListener(const TrackingMeasurement& measurement) const;
    void tellListener(const TrackingCondition& condition, TrackingTime time) const;
    /// The names given to setTools(), from any thread. Never null.
    std::shared_ptr<const std::set<std::string>> knownTools();

private:
    std::mutex m_mutex; // Held for the exchange of a pointer, never longer.
    std::shared_ptr<const TrackingSnapshot> m_snapshot;
    std::shared_ptr<const std::set<std::string>> m_known;
    std::shared_ptr<TrackingListener> m_listener;
};

} // namespace vlr
