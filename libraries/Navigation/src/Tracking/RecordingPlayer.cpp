#include "Tracking/RecordingPlayer.h"

#include "Tracking/RecordingFormat.h"
#include "Tracking/TrackingState.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace vlr {

RecordingPlayer::RecordingPlayer(const QString& path, Pace pace, TrackingClock clock)
    : m_path(path), m_pace(pace), m_clock(std::move(clock)) {}

RecordingPlayer::~RecordingPlayer() {
    RecordingPlayer::stop();
}

CaError RecordingPlayer::start() {
    if (m_thread.joinable())
        return CaError::nullError;
    const CaError error = open();
    if (!error.isNull())
        return error;
    m_isStopping = false;
    m_hasEnded = false;
    m_thread = std::thread(&RecordingPlayer::play, this);
    return CaError::nullError;
}

// A pipe would keep us waiting, and a device might act. It is looked at when it is open, since
// another file may take the name.
QString RecordingPlayer::openFile() {
    const int descriptor =
        ::open(QFile::encodeName(m_path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return QString::fromStdString(std::generic_category().message(errno));
    struct stat status = {};
    if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
        ::close(descriptor);
        return QStringLiteral("it is not a regular file");
    }
    return m_file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle)
               ? QString()
               : m_file.errorString();
}

CaError RecordingPlayer::open() {
    QString problem = openFile();
    if (problem.isEmpty() && m_file.readLine(longestRecordingLine) != recordingHeader)
        problem = QStringLiteral("it is not a recording");
    if (problem.isEmpty())
        return CaError::nullError;
    m_file.close();
    return CaError("RecordingPlayer::cannotPlay",
                   QStringLiteral("The recording \"%1\" cannot be played: %2.")
                       .arg(m_path, problem)
                       .toStdString());
}

void RecordingPlayer::stop() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isStopping = true;
    }
    m_wake.notify_all();
    if (m_thread.joinable())
        m_thread.join();
    m_file.close();
    publish(std::make_shared<TrackingSnapshot>());
}

void RecordingPlayer::play() {
    TrackingState state;
    state.setConnected(true);
    publish(state.snapshot());
    const std::string problem = playLines(state);
    state.setConnected(false);
    state.setProblem("recording", problem);
    state.setEnded();
    publish(state.snapshot());
    m_hasEnded = true;
}

std::string RecordingPlayer::playLines(TrackingState& state) {
    const TrackingTime begin = m_clock();
    std::chrono::microseconds last(0);
    for (qint64 number = 2; !m_file.atEnd(); ++number) {
        RecordingLine line;
        QString problem = fromRecordingLine(m_file.readLine(longestRecordingLine), line);
        if (problem.isEmpty() && line.time < last)
            problem = QStringLiteral("its time lies before that of the line above");
        if (!problem.isEmpty())
            return QStringLiteral("The recording \"%1\" cannot be played on, line %2: %3.")
                .arg(m_path)
                .arg(number)
                .arg(problem)
                .toStdString();
        last = line.time;
        if (!waitUntil(begin + line.time))
            break;
        playLine(std::move(line), state);
        publish(state.snapshot());
    }
    return {};
}

void RecordingPlayer::playLine(RecordingLine&& line, TrackingState& state) {
    const TrackingTime now = m_clock();
    if (!line.measurement) {
        state.setCondition(line.condition);
        tellListener(line.condition, now);
        return;
    }
    line.measurement->time = now;
    tellListener(*line.measurement);
    if (!state.add(std::move(*line.measurement), *knownTools()))
        state.setProblem("names", QStringLiteral("The recording \"%1\": %2.")
                                      .arg(m_path, QString::fromUtf8(TrackingState::tooManyNames))
                                      .toStdString());
}

// False when the playback is to stop.
bool RecordingPlayer::waitUntil(TrackingTime time) {
    std::unique_lock<std::mutex> lock(m_mutex);
    const auto isStopping = [this] { return m_isStopping; };
    if (m_pace == Own)
        m_wake.wait_for(lock, time - m_clock(), isStopping);
    return !m_isStopping;
}

} // namespace vlr
