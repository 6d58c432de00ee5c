#pragma once

#include "Data/Patient.h"

#include <QtCore/QString>

/// How the data of a patient read everywhere in this application.
QString sexText(Patient::Sex sex);
QString dateText(const QDate& date); ///< "not known" for an invalid date.
QString dateFormat();                ///< As QLocale and QDateEdit understand it.
/// Name and id in one line, so that two people of one name are told apart.
QString nameAndId(const Patient& patient);

/// Whether both are one patient, however often he was loaded; a name may be that of several.
bool isSamePatient(const DataPointer<Patient>& a, const DataPointer<Patient>& b);
