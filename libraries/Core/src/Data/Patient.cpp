#include "Data/Patient.h"

#include "Settings/vlrSettings.h"

VLR_DEFINE_RECORD_FACTORY(Patient)

int Patient::getMaxPatientID() {
    return vlr::Settings::get(QStringLiteral("Velora/Application/MaxPatientID"), 1000000, 0);
}
