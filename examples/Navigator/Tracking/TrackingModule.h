#pragma once

#include "Tracking/TipOverlay.h"
#include "Tracking/TrackingOptions.h"
#include "Volume/VolumeModule.h"

class QGridLayout;
class QLabel;
class QPushButton;
class QtDRBVisibilityBox;
class QtElidedLabel;
class QtMessageLine;

/// The fifth step: the camera is started, and it is seen to that it sees the tools. Tracking goes
/// on in the other modules, whose slices show the tips.
class TrackingModule : public VolumeModule {
    Q_OBJECT

public:
    explicit TrackingModule(std::shared_ptr<VolumePanes> panes,
                            vlr::TrackingClock clock = &std::chrono::steady_clock::now);

    TrackingSession& session() { return m_session; }

protected:
    PaneControl* arrange() override;

private:
    void loadOptions();
    void createContext();
    QGridLayout* createTips();
    void reconnect();
    void toggle();
    void toggleRecording();
    void showRunning();
    void showState();
    void showTips();
    void showRecordingStopped(const QString& problem);

    TrackingSession m_session;
    TipOverlay m_overlay;
    DataPointer<TrackingOptions> m_options;
    CaConnection m_optionsChanges;
    QtDRBVisibilityBox* m_visibility;
    QPushButton* m_start;
    QPushButton* m_record;
    QtElidedLabel* m_state;
    QtMessageLine* m_problem;
    QtMessageLine* m_recording;
    std::vector<QLabel*> m_tips; ///< By instrument.
    QString m_recordingPath;
};
