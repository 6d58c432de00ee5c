#include "DataUtils/PatientConfiguration.h"

VLR_DEFINE_RECORD_FACTORY(PatientConfiguration)
