#include "AppBase/Dialogs/RecoveryOffer.h"

#include "Base/ApplicationServices.h"
#include "Base/QtMsgBox.h"
#include "Data/PatientText.h"
#include "Files/DurableFile.h"
#include "IO/DataIOManager.h"
#include "IO/RecoveryFile.h"
#include "Log/vlrLog.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>
#include <QtCore/QPointer>
#include <QtWidgets/QPushButton>

namespace vlr {

namespace {

enum class Answer { Yes, No, Later };

QString tr(const char* text) {
    return QCoreApplication::translate("RecoveryOffer", text);
}

QPushButton* addButton(QMessageBox& box, const char* text, QMessageBox::ButtonRole role,
                       const char* name) {
    QPushButton* const button = box.addButton(tr(text), role);
    button->setObjectName(QLatin1String(name));
    return button;
}

// Escape means later, and Enter nothing.
Answer ask(QWidget* parent, const QString& text, const char* yes) {
    const QPointer<QMessageBox> box = new QMessageBox(parent);
    box->setIcon(QMessageBox::Question);
    box->setWindowTitle(tr("Changes that were not stored"));
    QtMsgBox::setMessage(*box, text);
    QPushButton* const take = addButton(*box, yes, QMessageBox::YesRole, "takeOver");
    QPushButton* const aside =
        addButton(*box, "&Keep the file aside", QMessageBox::NoRole, "aside");
    box->setEscapeButton(
        addButton(*box, "&Ask again at the next start", QMessageBox::RejectRole, "later"));
    QtMsgBox::takeDefaultAway(*box);
    box->exec();
    if (!box)
        return Answer::Later;
    const QAbstractButton* const clicked = box->clickedButton();
    const Answer answer = clicked == take    ? Answer::Yes
                          : clicked == aside ? Answer::No
                                             : Answer::Later;
    delete box.data();
    return answer;
}

QString describe(const Recovery& recovery) {
    return tr("%1 with the id %2, %3")
        .arg(visibleText(recovery.patient->name()), visibleText(recovery.patient->patientId()),
             QLocale().toString(recovery.when.toLocalTime(), QLocale::ShortFormat));
}

void setAside(const QString& path, const char* why, const CaError& reason = {}) {
    QString keptAs;
    const CaError error = keepAside(path, keptAs, why);
    if (error != CaError::nullError)
        VLR_LOG(UserWarning) << error.text();
    else if (!reason.isNull())
        VLR_LOG(UserWarning) << reason.text() << "\nIt is kept as \"" << keptAs << "\".";
}

// What somebody else stored since is replaced only when the user says so.
CaError store(QWidget* parent, const Recovery& recovery, Answer& answer) {
    CaError error = DataIOManager::storePatient(recovery.patient);
    if (error.id() != DataIOManager::changedElsewhereError)
        return error;
    answer = ask(parent,
                 tr("Somebody else stored or removed this patient since:\n\n%1\n\nShall what is "
                    "stored now be replaced by the older changes of this program?")
                     .arg(describe(recovery)),
                 "&Replace it");
    return answer == Answer::Yes ? DataIOManager::storePatientOverOthers(recovery.patient)
                                 : CaError::nullError;
}

void offer(QWidget* parent, const QString& path) {
    Recovery recovery;
    const CaError unread = readRecovery(path, recovery);
    if (unread.id() == damagedRecoveryError)
        return setAside(path, "damaged", unread);
    if (unread != CaError::nullError) {
        VLR_LOG(Warning) << unread << " It stays where it is.";
        return;
    }
    if (isRecoveryStored(recovery))
        return removeRecovery(path);
    Answer answer = ask(parent,
                        tr("The program had to end before changes of this patient were stored:\n\n"
                           "%1\n\nShall they be stored now?")
                            .arg(describe(recovery)),
                        "&Store them");
    CaError error;
    if (answer == Answer::Yes)
        error = store(parent, recovery, answer);
    if (error != CaError::nullError)
        VLR_LOG(UserError) << "The changes of the patient \""
                           << visibleText(recovery.patient->patientId())
                           << "\" could not be stored. They stay in " << path
                           << " until the next start.\nReason: " << error.text();
    else if (answer == Answer::Yes)
        removeRecovery(path);
    else if (answer == Answer::No)
        setAside(path, "declined");
}

} // namespace

void offerRecoveries(QWidget* parent) {
    const QPointer<QWidget> window = parent;
    for (const QString& path : waitingRecoveries()) {
        const ApplicationServices* const services = ApplicationServices::instance();
        if (services && services->isLeaving())
            return;
        offer(window, path);
    }
}

} // namespace vlr
