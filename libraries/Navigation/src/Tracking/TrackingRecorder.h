#pragma once

#include "Tracking/TrackingSource.h"

#include <QtCore/QFile>

namespace vlr {

class BackgroundWriter;

/// Writes what a source receives to a file that RecordingPlayer plays back.
///
///     auto recorder = std::make_shared<TrackingRecorder>(path);
///     CaError error = recorder->open();
///     source->setListener(recorder);      // before it is started
///     ...
///     error = recorder->close();
///
/// The file is text, one measurement or change of the connection per line, exact to the last
/// digit. What cannot be written, or would make the file longer than its limit, ends the recording;
/// what was written by then can be played. error() says so at once, from any thread. Measurements
/// that no player would accept, such as those without the name of a tool, are left out.
///
/// The disk is written in a thread of its own: listening never waits for it. What a power failure
/// takes are the last 5 seconds: so often the file is synchronised, and when it is closed. The file
/// is for its user alone, or for the group of patients' data too (Files/PatientFile.h).
class VLR_NAVIGATION_EXPORT TrackingRecorder : public TrackingListener {
public:
    static constexpr qint64 defaultLimit = qint64(1) << 30; ///< Bytes.

    explicit TrackingRecorder(const QString& path, qint64 limit = defaultLimit);
    ~TrackingRecorder() override; ///< Closes.

    /// Creates the file, on the GUI thread. One that exists is not overwritten: that is an error.
    CaError open();
    void received(const TrackingMeasurement& measurement) override;
    void conditionChanged(const TrackingCondition& condition, TrackingTime time) override;
    /// Names the file and why the recording ended early; null as long as all is well.
    CaError error() const;
    /// Waits until all is written and on the disk. The answer is error().
    CaError close();

private:
    template <class Entry>
    void add(const Entry& entry, TrackingTime time);
    bool create();
    bool write(const QByteArray& lines);
    bool synchronise();
    void end(const CaError& error);
    CaError endedEarly(const QString& cause) const;

    mutable std::mutex m_mutex; // Never held while the disk is written.
    QString m_path;
    QFile m_file; // The writer's, from open() to close().
    qint64 m_limit;
    qint64 m_size = 0; ///< Of the file once all is written.
    std::optional<TrackingTime> m_begin;
    std::chrono::microseconds m_last{0};
    CaError m_error;
    bool m_hasName = false; // On the disk, as far as it gets there; the writer's.
    std::unique_ptr<BackgroundWriter> m_writer;
};

} // namespace vlr
