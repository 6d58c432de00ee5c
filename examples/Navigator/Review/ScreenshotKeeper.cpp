#include "Review/ScreenshotKeeper.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtScreenShotData.h"
#include "IO/DataIOManager.h"
#include "Log/vlrLog.h"

ScreenshotKeeper::ScreenshotKeeper(QObject* parent) : QObject(parent) {
    if (AppBase* application = AppBase::instance())
        m_patientChanges = CaConnection(*application, AppBase::CURRENT_PATIENT_CHANGED,
                                        [this](auto&&...) { followPatient(); });
    followPatient();
}

void ScreenshotKeeper::followPatient() {
    m_patient = AppBase::getCurrentPatient();
    m_additions = {};
    m_removals = {};
    if (m_patient) {
        m_additions =
            CaConnection(*m_patient, Data::CHILD_ADDED, [this](auto&&, auto&&, auto&&, void* data) {
                storeWith(static_cast<const Data*>(data));
            });
        m_removals = CaConnection(*m_patient, Data::CHILD_REMOVED,
                                  [this](auto&&...) { emit screenshotsChanged(); });
    }
    emit screenshotsChanged();
}

void ScreenshotKeeper::storeWith(const Data* child) {
    if (!dynamic_cast<const QtScreenShotData*>(child))
        return;
    const CaError error = DataIOManager::storePatient(m_patient);
    if (error != CaError::nullError)
        VLR_LOG(UserError) << tr("The screenshot is not in the repository yet. %1")
                                  .arg(QString::fromStdString(error.text()));
    emit screenshotsChanged();
}
