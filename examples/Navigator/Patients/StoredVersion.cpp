#include "Patients/StoredVersion.h"

#include "AppBase/AppBase.h"
#include "Data/PatientText.h"
#include "IO/DataIOManager.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QPointer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("StoredVersion", text);
}

int indexOf(const Data& parent, const Data* child) {
    for (int i = 0; i < parent.childCount(); ++i)
        if (parent.child(i).get() == child)
            return i;
    return -1;
}

} // namespace

Conflict askAboutConflict(const Patient& patient, QWidget* parent) {
    // The window may go while the box is open, and takes it along.
    const QPointer<QMessageBox> box = new QMessageBox(parent);
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(tr("Changed by somebody else"));
    box->setTextFormat(Qt::PlainText);
    box->setText(tr("The patient \"%1\" with the id %2 was changed here, and another workstation "
                    "stored or removed him in the meantime.")
                     .arg(vlr::visibleText(patient.name()), vlr::visibleText(patient.patientId())));
    box->setInformativeText(tr("The changes of one of the two will be lost."));
    QPushButton* const take =
        box->addButton(tr("&Take the stored version"), QMessageBox::DestructiveRole);
    QPushButton* const keep =
        box->addButton(tr("&Keep mine and try again"), QMessageBox::AcceptRole);
    QPushButton* const leave = box->addButton(QMessageBox::Cancel);
    take->setObjectName(QStringLiteral("takeStored"));
    keep->setObjectName(QStringLiteral("keepMine"));
    leave->setObjectName(QStringLiteral("leave"));
    box->setDefaultButton(leave);
    QGuiApplication::setOverrideCursor(Qt::ArrowCursor); // Storing shows the busy one.
    box->exec();
    QGuiApplication::restoreOverrideCursor();
    if (!box)
        return Conflict::Leave;
    const QAbstractButton* const clicked = box->clickedButton();
    const Conflict answer = clicked == take   ? Conflict::TakeStored
                            : clicked == keep ? Conflict::KeepMine
                                              : Conflict::Leave;
    delete box.data();
    return answer;
}

CaError storeOrAsk(const DataPointer<Patient>& patient, bool& takesStored) {
    const CaError error = DataIOManager::storePatient(patient);
    if (error.id() != DataIOManager::changedElsewhereError)
        return error;
    switch (askAboutConflict(*patient, QApplication::activeModalWidget())) {
    case Conflict::KeepMine:
        return DataIOManager::storePatientOverOthers(patient);
    case Conflict::TakeStored:
        takesStored = true;
        return CaError::nullError;
    case Conflict::Leave:
        break;
    }
    return error;
}

CaError takeStoredVersion(const DataPointer<Patient>& current) {
    DataPointer<Patient> stored;
    const CaError error = DataIOManager::loadPatient(current->storage().uri, stored);
    if (error != CaError::nullError)
        return error;
    const int place = indexOf(*current, AppBase::getCurrentStudy().get());
    AppBase::setCurrentPatient(stored);
    if (const auto study = dataCast<Study>(stored->child(place)))
        AppBase::setCurrentStudy(study);
    return CaError::nullError;
}
