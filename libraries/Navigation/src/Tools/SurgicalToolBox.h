#pragma once

#include "Tools/SurgicalTool.h"
#include "Tracking/TrackingSource.h"

#include <QtCore/QDeadlineTimer>

#include <map>
#include <memory>
#include <string>
#include <vector>

/// The tools of the application and the tracker that sees them.
///
///     SurgicalToolBox box;                        // one for the application, in main()
///     SurgicalTool* pointer = nullptr;
///     CaError error = box.loadTool(path, pointer);
///     error = box.connectTo();                    // the simulated camera
///     ...
///     SurgicalToolBox::getInstance()->refresh();  // at every poll
///
/// refresh() brings all tools to what the tracker last said, at one moment and without waiting for
/// it; between two calls nothing moves. A tool of which nothing was heard for half a second has
/// its markers hidden. GUI thread only.
class VLR_NAVIGATION_EXPORT SurgicalToolBox {
public:
    /// The first living box is the instance. Time comes from the clock.
    explicit SurgicalToolBox(vlr::TrackingClock clock = &std::chrono::steady_clock::now);
    SurgicalToolBox(const SurgicalToolBox&) = delete;
    SurgicalToolBox& operator=(const SurgicalToolBox&) = delete;
    ~SurgicalToolBox(); ///< Stops the tracker and unplugs every tool.

    /// The box that the application made, or null.
    static SurgicalToolBox* getInstance();

    /// Makes and starts the source that the address names (see vlr::createTrackingSource), in
    /// place of the one before. Without an address it is the simulated camera.
    CaError connectTo(const QString& address = QString());
    /// The same with a source that is ready made. Null leaves the box disconnected.
    CaError connectTo(std::unique_ptr<vlr::TrackingSource> source);
    void disconnect();
    /// Whether the tracker could be reached at the last refresh: the moment that the tools show.
    bool isConnected() const { return m_shown->isConnected; }
    /// What had gone wrong with it by then, in words for the user; empty when nothing had.
    std::string problem() const { return m_shown->problem; }
    /// Whether nothing more is to come: the recording was played to its end.
    bool hasEnded() const { return m_shown->hasEnded; }

    /// Null, with an "ERROR" in the log, for a geometry that cannot be used or a name that is
    /// taken. The tool belongs to the box.
    SurgicalTool* addTool(const vlr::ToolGeometry& geometry);
    /// Adds the tool of a geometry file; sets `tool` on success only.
    CaError loadTool(const QString& path, SurgicalTool*& tool);
    /// Unplugs the tool; false for a name that no tool has.
    bool removeTool(const std::string& name);
    SurgicalTool* getTool(const std::string& name) const; ///< Null when there is none.
    std::vector<SurgicalTool*> getTools() const;          ///< In the order they were added.

    /// Does nothing while the last refresh is not older than the interval, so that all who ask at
    /// about the same time show the same moment.
    void refresh();
    void refreshNow(); ///< In any case.
    /// For applications in which several ask at a pace of their own. Default: 0, refresh() always
    /// refreshes.
    void setRefreshInterval(std::chrono::milliseconds interval);

private:
    CaError plug(const vlr::ToolGeometry& geometry, SurgicalTool*& tool);
    void tellSource();
    void logProblem(const vlr::TrackingSnapshot& snapshot);
    void logRepeated(vlr::TrackingTime now);

    vlr::TrackingClock m_clock;
    std::unique_ptr<vlr::TrackingSource> m_source;
    std::vector<std::unique_ptr<SurgicalTool>> m_tools;
    std::vector<vlr::ToolGeometry> m_geometries;          // of the tools, in the same order
    std::shared_ptr<const vlr::TrackingSnapshot> m_shown; // never null
    std::chrono::milliseconds m_interval{0};
    QDeadlineTimer m_nextRefresh;
    // Of a kind of problem.
    struct Logged {
        vlr::TrackingTime time; // of its last line in the log
        int more = 0;           // How often it came since,
        std::string problem;    // and what it said then.
    };
    std::map<std::string, Logged> m_logged;
    std::string m_presentKind; // Empty while all is well.
};
