#include "Tracking/TrackingRecorder.h"

#include "Files/PatientFile.h"
#include "Log/vlrLog.h"
#include "Tracking/BackgroundWriter.h"
#include "Tracking/RecordingFormat.h"

#include <QtCore/QFileInfo>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vlr {

namespace {

QString messageOf(int number) {
    return QString::fromStdString(std::generic_category().message(number));
}

// The name of a new file is in its folder. Where that cannot be synchronised, as one that may not
// be read, the content still counts.
void synchroniseFolder(const QString& folder) {
    const int descriptor =
        ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0 || fsync(descriptor) != 0)
        VLR_LOG(Warning) << "The folder \"" << folder
                         << "\" of a recording cannot be synchronised: " << messageOf(errno) << '.';
    if (descriptor >= 0)
        ::close(descriptor);
}

} // namespace

TrackingRecorder::TrackingRecorder(const QString& path, qint64 limit)
    : m_path(path), m_limit(limit) {}

TrackingRecorder::~TrackingRecorder() {
    (void)close();
}

// QFile would create it for everybody that the process' mask lets in. Without a buffer of the
// file's own, what it could not write is known at once.
bool TrackingRecorder::create() {
    errno = makePatientFolder(QFileInfo(m_path).absolutePath());
    const int descriptor = errno == 0 ? createPatientFile(m_path) : -1;
    return descriptor >= 0 && m_file.open(descriptor, QIODevice::WriteOnly | QIODevice::Unbuffered,
                                          QFileDevice::AutoCloseHandle);
}

CaError TrackingRecorder::open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool isCreated = create();
    const QString cause = isCreated ? QString() : messageOf(errno);
    if (isCreated && m_file.write(recordingHeader) > 0) {
        m_size = m_file.pos();
        m_hasName = false;
        m_writer = std::make_unique<BackgroundWriter>(
            [this](const QByteArray& lines) { return write(lines); },
            [this] { return synchronise(); });
        return CaError::nullError;
    }
    const CaError error("TrackingRecorder::cannotOpen",
                        QStringLiteral("The recording \"%1\" cannot be written: %2.")
                            .arg(m_path, isCreated ? m_file.errorString() : cause)
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
                              .arg(m_path)
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
    end(error);
    return false;
}

// In the writer's thread.
bool TrackingRecorder::synchronise() {
    if (fdatasync(m_file.handle()) != 0) {
        end(endedEarly(messageOf(errno)));
        return false;
    }
    if (!m_hasName)
        synchroniseFolder(QFileInfo(m_path).absolutePath());
    m_hasName = true;
    return true;
}

void TrackingRecorder::end(const CaError& error) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_error.isNull())
        m_error = error;
}

CaError TrackingRecorder::endedEarly(const QString& cause) const {
    return CaError(
        "TrackingRecorder::cannotWrite",
        QStringLiteral("The recording \"%1\" ended early: %2.").arg(m_path, cause).toStdString());
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
