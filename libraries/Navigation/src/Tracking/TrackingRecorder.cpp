#include "Tracking/TrackingRecorder.h"

#include "Tracking/RecordingFormat.h"

namespace vlr {

TrackingRecorder::TrackingRecorder(const QString& path, qint64 limit)
    : m_file(path), m_limit(limit) {}

TrackingRecorder::~TrackingRecorder() {
    (void)close();
}

CaError TrackingRecorder::open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_file.open(QIODevice::WriteOnly | QIODevice::NewOnly) &&
        m_file.write(recordingHeader) > 0 && m_file.flush())
        return CaError::nullError;
    const CaError error("TrackingRecorder::cannotOpen",
                        QStringLiteral("The recording \"%1\" cannot be written: %2.")
                            .arg(m_file.fileName(), m_file.errorString())
                            .toStdString());
    m_file.close();
    return error;
}

void TrackingRecorder::received(const TrackingMeasurement& measurement) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_file.isOpen() || !m_error.isNull())
        return;
    if (!m_begin)
        m_begin = measurement.time;
    const QByteArray line = toRecordingLine(
        measurement,
        std::chrono::duration_cast<std::chrono::microseconds>(measurement.time - *m_begin));
    if (m_file.pos() + line.size() > m_limit)
        m_error = CaError("TrackingRecorder::full",
                          QStringLiteral("The recording \"%1\" ended at its limit of %2 bytes.")
                              .arg(m_file.fileName())
                              .arg(m_limit)
                              .toStdString());
    else if (m_file.write(line) != line.size())
        m_error = CaError("TrackingRecorder::cannotWrite",
                          QStringLiteral("The recording \"%1\" ended early: %2.")
                              .arg(m_file.fileName(), m_file.errorString())
                              .toStdString());
}

CaError TrackingRecorder::close() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_file.isOpen() && !m_file.flush() && m_error.isNull())
        m_error = CaError("TrackingRecorder::cannotWrite",
                          QStringLiteral("The recording \"%1\" ended early: %2.")
                              .arg(m_file.fileName(), m_file.errorString())
                              .toStdString());
    m_file.close();
    return m_error;
}

} // namespace vlr
