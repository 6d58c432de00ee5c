#include "Data/Patient.h"

#include "Site/SiteChoices.h"

VLR_DEFINE_RECORD_FACTORY(Patient)

int Patient::getMaxPatientID() {
    return vlr::SiteChoices::current().patientIdLimit();
}
