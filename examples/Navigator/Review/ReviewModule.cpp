#include "Review/ReviewModule.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtScreenShotData.h"
#include "Base/QtElidedLabel.h"
#include "Common/Question.h"
#include "IO/DataIOManager.h"
#include "Log/vlrLog.h"
#include "Review/ReviewView.h"
#include "Review/ScreenshotKeeper.h"
#include "Review/ScreenshotModel.h"

#include <QtCore/QPointer>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace {

// All or nothing: where the patient cannot be stored without it, the screenshot is back.
CaError removeStored(const DataPointer<Patient>& patient,
                     const DataPointer<QtScreenShotData>& record) {
    const DataPointer<Data> parent(record->parent());
    if (!patient || !parent)
        return CaError::nullError; // It went meanwhile.
    CaError error = parent->removeChild(record.get());
    if (error == CaError::nullError)
        error = DataIOManager::storePatient(patient);
    if (error == CaError::nullError || record->parent())
        return error;
    const CaError backError = parent->addChild(record, false);
    if (backError != CaError::nullError)
        VLR_LOG(Error) << "The screenshot cannot be taken back. " << backError;
    return error;
}

} // namespace

ReviewModule::ReviewModule() : WorkflowModule(QStringLiteral("Review")), m_view(new ReviewView) {
    setMainWidget(m_view);
    createContext();
    auto* const keeper = new ScreenshotKeeper(this);
    connect(keeper, &ScreenshotKeeper::screenshotsChanged, this, &ReviewModule::refresh);
    connect(m_view, &ReviewView::selectionChanged, this, &ReviewModule::updateContext);
    connect(m_view, &ReviewView::deleteRequested, this, &ReviewModule::deleteSelected);
    updateContext();
}

void ReviewModule::createContext() {
    m_count = new QtElidedLabel(Qt::ElideRight);
    m_count->setObjectName(QStringLiteral("screenshotCount"));
    contents()->addWidget(m_count);
    m_open =
        addButton("Image", tr("&Open"), tr("Show the selected screenshot over the whole area"));
    m_delete = addButton("Delete", tr("&Delete..."), tr("Remove the screenshot from the patient"));
    m_open->setObjectName(QStringLiteral("openScreenshot"));
    m_delete->setObjectName(QStringLiteral("deleteScreenshot"));
    contents()->addStretch(1);
    connect(m_open, &QPushButton::clicked, m_view, &ReviewView::open);
    connect(m_delete, &QPushButton::clicked, this, &ReviewModule::deleteSelected);
}

void ReviewModule::activate() {
    if (m_isStale)
        refresh();
    m_view->takeFocus();
}

void ReviewModule::deactivate() {}

// Nobody looks while another module is active.
void ReviewModule::refresh() {
    if (m_isDeleting)
        return; // It may come back, and nothing shall have moved then.
    m_isStale = !isActive();
    if (m_isStale)
        return;
    m_view->showPatient(AppBase::getCurrentPatient());
}

void ReviewModule::updateContext() {
    const bool isSelected = static_cast<bool>(m_view->selected());
    m_open->setEnabled(isSelected);
    m_delete->setEnabled(isSelected);
    m_count->setFullText(tr("Screenshots: %1").arg(m_view->count()));
}

void ReviewModule::deleteSelected() {
    const DataPointer<QtScreenShotData> record = m_view->selected();
    if (!record)
        return;
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    const QPointer<ReviewModule> self(this);
    const bool isConfirmed = confirm(
        m_view->window(), tr("Delete screenshot"),
        tr("Delete the screenshot of %1 from the patient's data? It cannot be brought back. A file "
           "that was saved with it is not touched.")
            .arg(screenshotTitle(*record)));
    if (!self || !isConfirmed)
        return;
    m_isDeleting = true;
    const CaError error = removeStored(patient, record);
    m_isDeleting = false;
    refresh();
    m_view->takeFocus();
    if (error != CaError::nullError)
        VLR_LOG(UserError)
            << tr("The screenshot was not deleted. %1").arg(QString::fromStdString(error.text()));
}
