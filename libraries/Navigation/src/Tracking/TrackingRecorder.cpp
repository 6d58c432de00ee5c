#include "Tracking/TrackingRecorder.h"

#include "Tracking/BackgroundWriter.h"
#include "Tracking/RecordingFormat.h"

#include <algorithm>
#include <utility>

namespace vlr {

TrackingRecorder::TrackingRecorder(const QString& path, qint64 limit)
    : m_file(path), m_limit(limit) {}

TrackingRecorder::~TrackingRecorder() {
    (void)close();
}

// Without a buffer of the file's own, what it could not write is known at once.
CaError TrackingRecorder::open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly | QIODevice::Unbuffered) &&
        m_file.write(recordingHeader) > 0) {
        m_size = m_file.pos();
        m_writer = std::make_unique<BackgroundWriter>(
            [this](const QByteArray& lines) { return write(lines); });
        return CaError::nullError;
    }
    const CaError error("TrackingRecorder::cannotOpen",
                        QStringLiteral("The recording \"%1\" cannot be written: %2.")
                            .arg(m_file.fileName(), m_file.errorString())
                            .toStdString());
    m_file.close();
    return error;
}

void TrackingRecorder::received(const TrackingMeasurement& measurement) {
    add(measurement, measurement.time);
}

void TrackingRecorder::conditionChanged(const TrackingCondition& condition, TrackingTime time) {
    add(condition, time);
}

// Times are not earlier than those before, whichever thread they were taken in.
template <class Entry>
void TrackingRecorder::add(const Entry& entry, TrackingTime time) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_writer || !m_error.isNull())
        return;
    const auto since = m_begin ? time - *m_begin : TrackingTime::duration::zero();
    const auto moment =
        std::max(m_last, std::chrono::duration_cast<std::chrono::microseconds>(since));
    const QByteArray line = toRecordingLine(entry, moment);
    if (line.isEmpty())
        return;
    if (!m_begin)
        m_begin = time;
    m_last = moment;
    m_size += line.size();
    if (m_size > m_limit)
        m_error = CaError("TrackingRecorder::full",
                          QStringLiteral("The recording \"%1\" ended at its limit of %2 bytes.")
                              .arg(m_file.fileName())
                              .arg(m_limit)
                              .toStdString());
    else if (!m_writer->write(line))
        m_error = endedEarly(QStringLiteral("the disk is too slow"));
}

// In the writer's thread. Of what does not fit, no half line is left.
bool TrackingRecorder::write(const QByteArray& lines) {
    const qint64 begin = m_file.pos();
    int written = 0;
    while (written < lines.size()) {
        const qint64 size = m_file.write(lines.constData() + written, lines.size() - written);
        if (size <= 0)
            break;
        written += static_cast<int>(size);
    }
    if (written == lines.size())
        return true;
    const CaError error = endedEarly(m_file.errorString());
    (void)m_file.resize(begin + lines.left(written).lastIndexOf('\n') + 1);
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_error.isNull())
        m_error = error;
    return false;
}

CaError TrackingRecorder::endedEarly(const QString& cause) const {
    return CaError("TrackingRecorder::cannotWrite",
                   QStringLiteral("The recording \"%1\" ended early: %2.")
                       .arg(m_file.fileName(), cause)
                       .toStdString());
}

CaError TrackingRecorder::error() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_error;
}

CaError TrackingRecorder::close() {
    std::unique_ptr<BackgroundWriter> writer;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        writer = std::move(m_writer);
    }
    if (writer) {
        writer.reset(); // Writes what is left, and may find an error.
        m_file.close();
    }
    return error();
}

} // namespace vlr
