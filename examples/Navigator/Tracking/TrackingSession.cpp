#include "Tracking/TrackingSession.h"

#include "Log/vlrLog.h"
#include "Tracking/RecordingSwitch.h"
#include "Tracking/TrackingRecorder.h"

#include <utility>

// Must be outside of any namespace.
static void initToolResources() {
    Q_INIT_RESOURCE(Tools);
}

namespace {

constexpr int pollInterval = 50; // milliseconds
// Less than the pause between polls, whose timer is not exact.
constexpr std::chrono::milliseconds oneMoment(40);
const std::string referenceName = "Reference base";
const QString toolFolder = QStringLiteral(":/tools/");

} // namespace

TrackingSession::TrackingSession(vlr::TrackingClock clock)
    : m_box(clock), m_clock(std::move(clock)), m_switch(std::make_shared<RecordingSwitch>()) {
    initToolResources();
    loadTools();
    m_box.setRefreshInterval(oneMoment);
    m_poll.setInterval(pollInterval);
    connect(&m_poll, &QTimer::timeout, this, &TrackingSession::pollInTurn);
}

// Nobody is told any more.
TrackingSession::~TrackingSession() {
    m_box.disconnect();
    const CaError error = closeRecording();
    if (!error.isNull())
        VLR_LOG(Error) << error;
}

void TrackingSession::loadTools() {
    for (const char* file : {"ReferenceBase.xml", "Pointer.xml", "Drill.xml"}) {
        SurgicalTool* tool = nullptr;
        const CaError error = m_box.loadTool(toolFolder + QString::fromLatin1(file), tool);
        if (!error.isNull())
            VLR_LOG(Error) << error;
    }
}

// --- start and stop

void TrackingSession::start(const SourceChoice& source) {
    m_box.disconnect();
    stopRecording();
    m_source = source;
    std::unique_ptr<vlr::TrackingSource> made;
    CaError error = source.make(m_clock, made);
    if (error.isNull()) {
        m_switch = std::make_shared<RecordingSwitch>(); // One that knows nothing of the last.
        made->setListener(m_switch);
        error = m_box.connectTo(std::move(made));
    }
    if (!error.isNull()) {
        end(State::Stopped, QString::fromStdString(error.text()));
        return;
    }
    m_poll.start();
    emit runningChanged();
    poll();
}

void TrackingSession::stop() {
    end(State::Stopped, {});
}

void TrackingSession::end(State state, const QString& problem) {
    m_box.disconnect();
    stopRecording();
    m_poll.stop();
    m_idleState = state;
    m_problem = problem;
    emit runningChanged();
    emit changed();
}

TrackingSession::State TrackingSession::state() const {
    if (!isRunning())
        return m_idleState;
    return m_box.isConnected() ? State::Connected : State::Connecting;
}

QString TrackingSession::problem() const {
    return isRunning() ? QString::fromStdString(m_box.problem()) : m_problem;
}

// The tips are of the moment that others show, whoever of them asked first.
void TrackingSession::pollInTurn() {
    m_box.refresh();
    showPoll();
}

void TrackingSession::poll() {
    m_box.refreshNow();
    showPoll();
}

void TrackingSession::showPoll() {
    if (m_recorder && !m_recorder->error().isNull())
        stopRecording();
    if (m_box.hasEnded())
        end(State::Ended, problem());
    else
        emit changed();
}

// --- tools

SurgicalTool* TrackingSession::reference() const {
    return m_box.getTool(referenceName);
}

std::vector<SurgicalTool*> TrackingSession::instruments() const {
    std::vector<SurgicalTool*> result;
    for (SurgicalTool* tool : m_box.getTools())
        if (tool != reference())
            result.push_back(tool);
    return result;
}

bool TrackingSession::isReferenceSeen() const {
    const SurgicalTool* const base = reference();
    return base && base->getRigidBody()->hasPose();
}

std::vector<TipPosition> TrackingSession::tips() const {
    const SurgicalTool* const base = reference();
    std::vector<TipPosition> result;
    for (const SurgicalTool* tool : instruments()) {
        TipPosition tip;
        tip.instrument = QString::fromStdString(tool->getName());
        if (tool->getRigidBody()->hasPose() && isReferenceSeen()) {
            const CaTool& body = *base->getRigidBody();
            const Vector3d fromBase =
                tool->getRigidBody()->getTranslation() - body.getTranslation();
            tip.inReference = body.getRotation().transpose() * fromBase;
        }
        result.push_back(tip);
    }
    return result;
}

// Why no tip has a position; empty where some may have one.
QString TrackingSession::lossOfAll() const {
    switch (state()) {
    case State::Stopped:
        return m_problem.isEmpty() ? QString() : tr("the tracker cannot be used");
    case State::Ended:
        return tr("the source has ended");
    case State::Connecting:
        return tr("tracker not connected");
    case State::Connected:
        break;
    }
    return isReferenceSeen() ? QString() : tr("reference base not seen");
}

QStringList TrackingSession::losses() const {
    const QString ofAll = lossOfAll();
    if (!ofAll.isEmpty())
        return {tr("tracking lost"), ofAll};
    QStringList lines;
    if (!isRunning())
        return lines;
    const auto all = tips();
    for (const TipPosition& tip : all)
        if (!tip.inReference)
            lines << tr("%1 not seen").arg(tip.instrument);
    if (lines.size() == static_cast<int>(all.size()))
        lines.prepend(tr("tracking lost"));
    return lines;
}

// --- recording

CaError TrackingSession::record(const QString& path) {
    stopRecording();
    auto recorder = std::make_shared<vlr::TrackingRecorder>(path);
    const CaError error = recorder->open();
    if (!error.isNull())
        return error;
    m_recorder = recorder;
    m_switch->setTarget(std::move(recorder), m_clock());
    return error;
}

void TrackingSession::stopRecording() {
    if (isRecording())
        emit recordingStopped(QString::fromStdString(closeRecording().text()));
}

CaError TrackingSession::closeRecording() {
    m_switch->setTarget(nullptr, {});
    const auto recorder = std::exchange(m_recorder, nullptr);
    return recorder ? recorder->close() : CaError::nullError;
}
