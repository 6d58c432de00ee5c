#include "Volume/ImagesOwner.h"

#include "AppBase/AppBase.h"
#include "Common/PatientText.h"
#include "Data/PatientText.h"

#include <QtCore/QCoreApplication>

ImagesOwner ImagesOwner::ofCurrentPatient() {
    ImagesOwner owner;
    owner.m_patient = AppBase::getCurrentPatient();
    return owner;
}

ImagesOwner ImagesOwner::example() {
    ImagesOwner owner;
    owner.m_isExample = true;
    return owner;
}

bool ImagesOwner::suits(const DataPointer<Patient>& current) const {
    return !m_patient || isSamePatient(m_patient, current);
}

QString ImagesOwner::storedName() const {
    return m_patient ? m_patient->storage().uri.patientUid() : QString();
}

QStringList ImagesOwner::text() const {
    const char* const nobody = m_isExample ? QT_TRANSLATE_NOOP("ImagesOwner", "Example")
                                           : QT_TRANSLATE_NOOP("ImagesOwner", "no patient");
    return m_patient ? QStringList{vlr::visibleText(m_patient->name()),
                                   vlr::visibleText(m_patient->patientId())}
                     : QStringList(QCoreApplication::translate("ImagesOwner", nobody));
}
