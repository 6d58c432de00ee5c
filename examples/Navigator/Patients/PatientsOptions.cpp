#include "Patients/PatientsOptions.h"

VLR_DEFINE_RECORD_FACTORY(PatientsOptions)
