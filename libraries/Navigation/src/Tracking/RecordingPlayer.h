#pragma once

#include "Tracking/TrackingSource.h"

#include <QtCore/QFile>

#include <atomic>
#include <condition_variable>
#include <thread>

namespace vlr {

/// Plays back what TrackingRecorder wrote, in a thread of its own.
///
///     RecordingPlayer player(path, RecordingPlayer::Own);
///     player.setListener(evaluation);
///     CaError error = player.start();
///
/// Lost connections and problems that were recorded are played as well. The file is read line by
/// line as it is needed. A line that cannot be understood ends the
/// playback, and the snapshot's problem then names the file, the line and the cause. When the
/// recording has ended the source is disconnected, and its snapshot says so.
class VLR_NAVIGATION_EXPORT RecordingPlayer : public TrackingSource {
public:
    enum Pace {
        Own, ///< With the pauses of the recording.
        Fast ///< Without them.
    };

    RecordingPlayer(const QString& path, Pace pace,
                    TrackingClock clock = &std::chrono::steady_clock::now);
    ~RecordingPlayer() override;

    /// The error names the file and the cause: missing, not a regular file, not a recording.
    CaError start() override;
    void stop() override;
    bool hasEnded() const { return m_hasEnded; } ///< All was played, or as much as was in order.

private:
    QString openFile();
    CaError open();
    void play();
    std::string playLines(class TrackingState& state);
    void playLine(struct RecordingLine&& line, class TrackingState& state);
    bool waitUntil(TrackingTime time);

    QString m_path;
    QFile m_file; // Opened by its descriptor, so it knows no name.
    Pace m_pace;
    TrackingClock m_clock;
    std::thread m_thread;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    bool m_isStopping = false; ///< Guarded by the mutex.
    std::atomic<bool> m_hasEnded{false};
};

} // namespace vlr
