#pragma once

#include "Tools/SurgicalToolBox.h"
#include "Tracking/SourceChoice.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>

class RecordingSwitch;

namespace vlr {
class TrackingRecorder;
} // namespace vlr

/// Where the tip of an instrument is, in millimetres, in the coordinates of the reference base. The
/// tip is the origin of the instrument's own coordinates.
struct TipPosition {
    QString instrument;
    std::optional<Vector3d> inReference; ///< None unless the instrument and the base are seen.
};

/// The tools of this application and the tracker that sees them, from start to stop.
///
///     TrackingSession session;
///     connect(&session, &TrackingSession::changed, this, &Panel::showTips);
///     session.start(options->source());
///
/// It asks the tracker by itself, whatever is shown meanwhile.
class TrackingSession : public QObject {
    Q_OBJECT

public:
    enum class State { Stopped, Connecting, Connected, Ended };

    explicit TrackingSession(vlr::TrackingClock clock = &std::chrono::steady_clock::now);
    ~TrackingSession() override;

    /// Starts with the source, in place of the one before, whose recording ends with it. Where that
    /// cannot be, problem() says why.
    void start(const SourceChoice& source);
    void stop(); ///< Ends a recording, too.
    State state() const;
    bool isRunning() const { return m_poll.isActive(); }
    const SourceChoice& source() const { return m_source; } ///< Of the last start.
    QString problem() const; ///< Why nothing, or not everything, is received; mostly empty.
    /// Brings everything to what the tracker last said. It comes by itself 20 times a second.
    void poll();

    SurgicalTool* reference() const; ///< Null where its geometry file is damaged.
    std::vector<SurgicalTool*> instruments() const;
    std::vector<TipPosition> tips() const; ///< One per instrument, in their order.
    bool isReferenceSeen() const;
    /// What is not tracked though it should be, a line each, for views that show tips. Where no tip
    /// at all can be shown, the first line is "tracking lost". Empty while all is seen, before the
    /// first start, and after the user stopped.
    QStringList losses() const;

    /// Records from now on to a file that does not exist yet. The error says why that cannot be. A
    /// recording that cannot go on, on a full disk, is stopped by the next poll.
    CaError record(const QString& path);
    bool isRecording() const { return m_recorder != nullptr; }
    void stopRecording();

signals:
    void changed();        ///< Tools or state; at every poll.
    void runningChanged(); ///< Started, stopped, or started anew.
    /// The recording is complete, or why it is not.
    void recordingStopped(const QString& problem);

private:
    void loadTools();
    void pollInTurn();
    void showPoll();
    void end(State state, const QString& problem);
    CaError closeRecording();
    QString lossOfAll() const;

    SurgicalToolBox m_box;
    vlr::TrackingClock m_clock;
    QTimer m_poll;
    SourceChoice m_source;
    std::shared_ptr<RecordingSwitch> m_switch;
    std::shared_ptr<vlr::TrackingRecorder> m_recorder;
    State m_idleState = State::Stopped;
    QString m_problem; ///< Of the last start; the tracker's own come from the box.
};
