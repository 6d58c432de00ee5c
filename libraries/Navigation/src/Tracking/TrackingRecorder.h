#pragma once

#include "Tracking/TrackingSource.h"

#include <QtCore/QFile>

namespace vlr {

/// Writes what a source receives to a file that RecordingPlayer plays back.
///
///     auto recorder = std::make_shared<TrackingRecorder>(path);
///     CaError error = recorder->open();
///     source->setListener(recorder);      // before it is started
///     ...
///     error = recorder->close();
///
/// The file is text, one measurement per line, exact to the last digit. What cannot be written, or
/// would make the file longer than its limit, ends the recording; what was written by then can be
/// played. close() says so.
class VLR_NAVIGATION_EXPORT TrackingRecorder : public TrackingListener {
public:
    static constexpr qint64 defaultLimit = qint64(1) << 30; ///< Bytes.

    explicit TrackingRecorder(const QString& path, qint64 limit = defaultLimit);
    ~TrackingRecorder() override; ///< Closes.

    /// Creates the file. One that exists is not overwritten: that is an error.
    CaError open();
    void received(const TrackingMeasurement& measurement) override;
    /// The error names the file and why the recording ended early, if it did.
    CaError close();

private:
    std::mutex m_mutex;
    QFile m_file;
    qint64 m_limit;
    std::optional<TrackingTime> m_begin;
    CaError m_error;
};

} // namespace vlr
