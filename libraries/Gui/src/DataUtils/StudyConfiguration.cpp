#include "DataUtils/StudyConfiguration.h"

VLR_DEFINE_RECORD_FACTORY(StudyConfiguration)
