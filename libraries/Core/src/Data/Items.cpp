#include "Data/ChildItem.h"
#include "Data/DataItem.h"
#include "Data/ProcessData.h"
#include "Data/Study.h"

VLR_DEFINE_RECORD_FACTORY(Study)
VLR_DEFINE_RECORD_FACTORY(DataItem)
VLR_DEFINE_RECORD_FACTORY(ProcessData)
VLR_DEFINE_RECORD_FACTORY(ChildItem)

int createConfigurationFactory() {
    static const auto* const factory = new RecordFactory<Configuration>;
    Q_UNUSED(factory)
    return 1;
}
