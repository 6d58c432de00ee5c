#include "Patients/StudyList.h"

#include "AppBase/AppBase.h"
#include "Base/PlainText.h"
#include "Common/PatientText.h"
#include "Data/PatientText.h"

#include <QtCore/QLocale>

namespace {

QString studyText(const Study& study) {
    const QString time = QLocale().toString(study.time(), QStringLiteral("hh:mm"));
    const QString when = dateText(study.date()) + QLatin1Char(' ') + time;
    return study.institution().isEmpty()
               ? when
               : when + QLatin1Char('\n') + vlr::visibleText(study.institution());
}

} // namespace

StudyList::StudyList(QWidget* parent) : QListWidget(parent) {
    setAccessibleName(tr("Studies of the current patient"));
    setWordWrap(true);
    setTextElideMode(Qt::ElideRight);
    if (AppBase* application = AppBase::instance())
        for (const char* event : {AppBase::CURRENT_PATIENT_CHANGED, AppBase::CURRENT_STUDY_CHANGED})
            m_changes.emplace_back(*application, event, [this](auto&&...) { load(); });
    connect(this, &QListWidget::itemSelectionChanged, this, &StudyList::makeCurrent);
    load();
}

void StudyList::load() {
    const QSignalBlocker quiet(this);
    clear();
    m_studies.clear();
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    for (int i = 0; patient && i < patient->childCount(); ++i)
        if (const auto study = dataCast<Study>(patient->child(i)))
            addStudy(study);
    setEnabled(count() > 0);
}

void StudyList::addStudy(const DataPointer<Study>& study) {
    auto* item = new QListWidgetItem(studyText(*study), this);
    item->setToolTip(vlr::plainToolTip(item->text()));
    m_studies.push_back(study);
    if (study != AppBase::getCurrentStudy())
        return;
    QFont bold = item->font();
    bold.setBold(true);
    item->setFont(bold);
    setCurrentItem(item);
}

DataPointer<Study> StudyList::selectedStudy() const {
    return selectedItems().isEmpty() ? DataPointer<Study>()
                                     : m_studies.at(static_cast<std::size_t>(currentRow()));
}

// The list is not filled again from within its own signal.
void StudyList::makeCurrent() {
    QMetaObject::invokeMethod(
        this,
        [this] {
            if (const auto study = selectedStudy())
                AppBase::setCurrentStudy(study);
        },
        Qt::QueuedConnection);
}
