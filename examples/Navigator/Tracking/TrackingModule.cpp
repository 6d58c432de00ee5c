#include "Tracking/TrackingModule.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "Base/AskForFiles.h"
#include "Base/QtElidedLabel.h"
#include "Base/QtMessageLine.h"
#include "Tracking/TrackingOptionsWidget.h"
#include "Widgets/QtDRBVisibilityBox.h"
#include "Widgets/QtRigidVisibilityWidget.h"

#include <QtCore/QDir>
#include <QtCore/QPointer>
#include <QtCore/QStandardPaths>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace {

QString stateText(const TrackingSession& session) {
    switch (session.state()) {
    case TrackingSession::State::Stopped:
        break;
    case TrackingSession::State::Connecting:
        return TrackingModule::tr("Connecting: %1").arg(session.source().text());
    case TrackingSession::State::Connected:
        return TrackingModule::tr("Connected: %1").arg(session.source().text());
    case TrackingSession::State::Ended:
        return TrackingModule::tr("Ended: %1").arg(session.source().text());
    }
    return TrackingModule::tr("Not tracking");
}

QString positionText(const Vector3d& position) {
    return QStringLiteral("%1, %2, %3")
        .arg(position.x(), 0, 'f', 1)
        .arg(position.y(), 0, 'f', 1)
        .arg(position.z(), 0, 'f', 1);
}

} // namespace

TrackingModule::TrackingModule(std::shared_ptr<VolumePanes> panesToUse, vlr::TrackingClock clock)
    : VolumeModule(QStringLiteral("Tracking"), panesToUse), m_session(std::move(clock)),
      m_overlay(m_session, std::move(panesToUse)) {
    loadOptions();
    createContext();
    connect(&m_session, &TrackingSession::runningChanged, this, &TrackingModule::showRunning);
    connect(&m_session, &TrackingSession::changed, this, &TrackingModule::showState);
    connect(&m_session, &TrackingSession::changed, this, &TrackingModule::showTips);
    connect(&m_session, &TrackingSession::recordingStopped, this,
            &TrackingModule::showRecordingStopped);
    showRunning();
    showState();
    showTips();
}

void TrackingModule::loadOptions() {
    createTrackingOptionsFactory();
    createTrackingOptionsWidgetFactory();
    linkDataToWidget(TrackingOptions::className, "TrackingOptionsWidget", "",
                     DataFactory::configurationRecord, "");
    m_options = dataCast<TrackingOptions>(DataPointer<Data>(configuration()));
    if (!m_options) {
        m_options = DataPointer<TrackingOptions>(new TrackingOptions);
        setConfiguration(m_options.get());
    }
    m_optionsChanges = CaConnection(*m_options, Data::CHANGED, [this](auto&&...) { reconnect(); });
}

void TrackingModule::createContext() {
    m_start = addButton("Refresh", {}, tr("The source is chosen in the configuration"));
    m_start->setObjectName(QStringLiteral("startTracking"));
    m_state = new QtElidedLabel(Qt::ElideMiddle);
    m_state->setObjectName(QStringLiteral("trackingState"));
    m_problem = new QtMessageLine;
    m_problem->setObjectName(QStringLiteral("trackingProblem"));
    m_visibility = new QtDRBVisibilityBox;
    if (SurgicalTool* const reference = m_session.reference())
        (void)m_visibility->addRigid(reference);
    for (SurgicalTool* tool : m_session.instruments())
        (void)m_visibility->addRigid(tool);
    // The column is too narrow for them.
    for (auto* const rigid : m_visibility->findChildren<QtRigidVisibilityWidget*>())
        rigid->setValuesShown(false, false);
    contents()->addWidget(m_state);
    contents()->addWidget(m_problem);
    contents()->addSpacing(6);
    contents()->addWidget(m_visibility);
    contents()->addLayout(createTips());
    contents()->addSpacing(6);
    m_record = addButton("Add", {}, tr("Write what the tracker says to a file"));
    m_record->setObjectName(QStringLiteral("recordTracking"));
    m_recording = new QtMessageLine;
    m_recording->setObjectName(QStringLiteral("trackingRecordingState"));
    contents()->addWidget(m_recording);
    contents()->addStretch(1);
    addLockBox();
    connect(m_start, &QPushButton::clicked, this, &TrackingModule::toggle);
    connect(m_record, &QPushButton::clicked, this, &TrackingModule::toggleRecording);
}

QGridLayout* TrackingModule::createTips() {
    auto* grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    // Positions never have another frame than this: a number in the camera's would be taken for
    // one.
    auto* title = new QLabel(tr("Tips in mm from the reference base:"));
    title->setObjectName(QStringLiteral("tipsTitle"));
    grid->addWidget(title, 0, 0, 1, 2);
    int row = 1;
    for (const TipPosition& tip : m_session.tips()) {
        auto* position = new QLabel;
        position->setObjectName(QStringLiteral("tip") + tip.instrument);
        position->setAlignment(Qt::AlignRight);
        auto* name = new QLabel;
        name->setObjectName(QStringLiteral("name") + tip.instrument);
        name->setTextFormat(Qt::PlainText);
        name->setText(tip.instrument);
        grid->addWidget(name, row, 0);
        grid->addWidget(position, row++, 1);
        m_tips.push_back(position);
    }
    return grid;
}

PaneControl* TrackingModule::arrange() {
    return arrangeAll();
}

// --- what the user does

void TrackingModule::toggle() {
    if (m_session.isRunning())
        m_session.stop();
    else
        m_session.start(m_options->source());
}

void TrackingModule::reconnect() {
    if (m_session.isRunning() && m_session.source() != m_options->source())
        m_session.start(m_options->source());
}

void TrackingModule::toggleRecording() {
    if (m_session.isRecording()) {
        m_session.stopRecording();
        return;
    }
    // One that exists is refused below, with the reason; to ask before would promise otherwise.
    const QPointer<TrackingModule> self(this);
    auto* const dialog = new QFileDialog(AppBase::instance()->getMainWindow(), tr("Record"),
                                         QString(), tr("Recordings (*.track)"));
    dialog->setAcceptMode(QFileDialog::AcceptSave);
    dialog->setOption(QFileDialog::DontConfirmOverwrite);
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    const QString path = vlr::askForFiles(dialog, documents + tr("/recording.track")).value(0);
    if (!self || path.isEmpty() || !m_session.isRunning())
        return;
    const CaError error = m_session.record(path);
    m_recordingPath = path;
    if (error.isNull())
        m_recording->showMessage(QStringLiteral("Information"),
                                 tr("Recording to %1").arg(QDir::toNativeSeparators(path)));
    else
        m_recording->showError(QString::fromStdString(error.text()));
    showRunning();
}

// --- what the user is shown

void TrackingModule::showRunning() {
    const bool isRunning = m_session.isRunning();
    if (isRunning)
        m_visibility->startTracking();
    else
        m_visibility->stopTracking();
    m_start->setText(isRunning ? tr("&Stop tracking") : tr("&Start tracking"));
    m_record->setText(m_session.isRecording() ? tr("Stop &recording") : tr("&Record..."));
    m_record->setEnabled(isRunning);
}

void TrackingModule::showState() {
    m_state->setFullText(stateText(m_session));
    const QString problem = m_session.problem();
    if (problem != m_problem->text())
        m_problem->showError(problem);
}

void TrackingModule::showTips() {
    const QString missing = !m_session.isRunning()        ? QStringLiteral("-")
                            : m_session.isReferenceSeen() ? tr("not seen")
                                                          : tr("reference base not seen");
    const auto tips = m_session.tips();
    for (std::size_t i = 0; i < tips.size(); ++i)
        m_tips[i]->setText(tips[i].inReference ? positionText(*tips[i].inReference) : missing);
}

void TrackingModule::showRecordingStopped(const QString& problem) {
    if (problem.isEmpty())
        m_recording->showMessage(
            QStringLiteral("Information"),
            tr("Recorded to %1").arg(QDir::toNativeSeparators(m_recordingPath)));
    else
        m_recording->showError(problem);
    showRunning();
}
