#pragma once

#include "Tools/SurgicalToolBox.h"

#include <functional>
#include <memory>
#include <utility>

namespace vlrTest {

/// Four markers, planar, no two distances alike.
inline vlr::ToolGeometry fourMarkers(const std::string& name = "Pointer") {
    return {name, {{0, 0, 0}, {50, 0, 0}, {0, 40, 0}, {60, 70, 0}}};
}

/// A clock that moves only when it is told to.
class HandClock {
public:
    vlr::TrackingClock clock() const {
        return [time = m_time] { return *time; };
    }
    void advance(std::chrono::milliseconds duration) { *m_time += duration; }

private:
    std::shared_ptr<vlr::TrackingTime> m_time =
        std::make_shared<vlr::TrackingTime>(std::chrono::hours(1));
};

/// A source that says what the test puts into it.
class HandSource : public vlr::TrackingSource {
public:
    explicit HandSource(vlr::TrackingClock clock) : m_clock(std::move(clock)) {}

    CaError start() override {
        setConnected(true);
        return CaError::nullError;
    }
    void stop() override {}
    std::shared_ptr<const vlr::TrackingSnapshot> latest() override {
        const auto answer = TrackingSource::latest();
        if (const auto act = std::exchange(whileAsked, nullptr))
            act();
        return answer;
    }
    void setTools(const std::vector<vlr::ToolGeometry>& tools) override {
        told.clear();
        for (const vlr::ToolGeometry& tool : tools)
            told.push_back(tool.name);
    }

    std::vector<std::string> told;    ///< The tools that are in use.
    std::function<void()> whileAsked; ///< Happens once, when it is asked.

    void setConnected(bool connected, const std::string& problem = {},
                      const std::string& kind = {}) {
        m_snapshot.isConnected = connected;
        m_snapshot.problem = problem;
        m_snapshot.problemKind = kind;
        publish(std::make_shared<vlr::TrackingSnapshot>(m_snapshot));
    }
    void forgetTools() {
        m_snapshot.tools.clear();
        publish(std::make_shared<vlr::TrackingSnapshot>(m_snapshot));
    }
    void setMarkers(const std::string& tool, const std::vector<Vector3d>& markers) {
        vlr::TrackingMeasurement measurement;
        measurement.markers = markers;
        m_snapshot.tools[tool].markers = stamped(tool, measurement);
        publish(std::make_shared<vlr::TrackingSnapshot>(m_snapshot));
    }
    void setPose(const std::string& tool, const vlr::RigidTransform& pose) {
        vlr::TrackingMeasurement measurement;
        measurement.pose = pose;
        m_snapshot.tools[tool].pose = stamped(tool, measurement);
        publish(std::make_shared<vlr::TrackingSnapshot>(m_snapshot));
    }

private:
    vlr::TrackingMeasurement stamped(const std::string& tool,
                                     vlr::TrackingMeasurement measurement) {
        measurement.tool = tool;
        measurement.time = m_clock();
        measurement.number = ++m_count;
        return measurement;
    }

    vlr::TrackingClock m_clock;
    vlr::TrackingSnapshot m_snapshot;
    std::uint64_t m_count = 0;
};

/// A tool box whose tracker is told by hand, and the first tool in it.
struct HandBox {
    HandBox() { connectSource(); }
    void connectSource() {
        auto made = std::make_unique<HandSource>(time.clock());
        source = made.get();
        (void)box->connectTo(std::move(made));
    }

    HandClock time;
    std::unique_ptr<SurgicalToolBox> box = std::make_unique<SurgicalToolBox>(time.clock());
    HandSource* source = nullptr;
    SurgicalTool* tool = box->addTool(fourMarkers());
};

} // namespace vlrTest
