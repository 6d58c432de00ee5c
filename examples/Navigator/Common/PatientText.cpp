#include "Common/PatientText.h"

#include "Data/PatientText.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QLocale>

namespace {

QString tr(const char* text) {
    return QCoreApplication::translate("PatientText", text);
}

} // namespace

QString sexText(Patient::Sex sex) {
    switch (sex) {
    case Patient::Female:
        return tr("Female");
    case Patient::Male:
        return tr("Male");
    case Patient::Unknown:
        break;
    }
    return tr("Unknown");
}

QString dateText(const QDate& date) {
    return date.isValid() ? QLocale().toString(date, dateFormat()) : tr("not known");
}

QString dateFormat() {
    return QStringLiteral("dd MMM yyyy");
}

QString nameAndId(const Patient& patient) {
    return tr("\"%1\" (id %2)")
        .arg(vlr::visibleText(patient.name()), vlr::visibleText(patient.patientId()));
}

bool isSamePatient(const DataPointer<Patient>& a, const DataPointer<Patient>& b) {
    // One who was not stored yet has no place that could be compared.
    return a == b || (a && b && a->storage().uri.isValid() && a->storage().uri == b->storage().uri);
}
