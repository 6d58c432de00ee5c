#pragma once

#include "Data/Patient.h"

#include <QtCore/QString>

/// How the data of a patient read everywhere in this application.
QString sexText(Patient::Sex sex);
QString dateText(const QDate& date); ///< "not known" for an invalid date.
QString dateFormat();                ///< As QLocale and QDateEdit understand it.
