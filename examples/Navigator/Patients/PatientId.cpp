#include "Patients/PatientId.h"

#include <QtCore/QSet>

QString firstFreePatientId(const std::vector<MetaInformation>& patients, int maximum) {
    QSet<int> taken;
    for (const MetaInformation& patient : patients) {
        bool isNumber = false;
        const int number = patient.value(QStringLiteral("id")).toInt(&isNumber);
        if (isNumber)
            taken.insert(number);
    }
    const int width = QString::number(maximum).size();
    for (int number = 1; number < maximum; ++number)
        if (!taken.contains(number))
            return QStringLiteral("%1").arg(number, width, 10, QLatin1Char('0'));
    return {};
}
