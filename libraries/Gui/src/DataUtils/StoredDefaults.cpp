#include "DataUtils/StoredDefaults.h"

#include "IO/DataIOManager.h"
#include "Log/vlrLog.h"

namespace vlr {

namespace {

const QString recordId = QStringLiteral("Defaults");

} // namespace

DataPointer<Data> loadDefaults(const QString& name) {
    const DataPointer<Configuration> container(new Configuration);
    if (DataIOManager::loadConfiguration(name, container) != CaError::nullError)
        return {};
    const DataPointer<Data> record = container->hasChildAndGet(recordId);
    if (record)
        (void)container->removeChild(record.get());
    return record;
}

CaError storeDefaults(const QString& name, const DataPointer<Data>& record) {
    const DataPointer<Configuration> container(new Configuration);
    record->setId(recordId);
    CaError error = container->addChild(record, false);
    if (error == CaError::nullError)
        error = DataIOManager::storeConfiguration(name, container);
    (void)container->removeChild(record.get());
    if (error != CaError::nullError)
        VLR_LOG(UserError) << "Could not save the default values.\nReason: " << error.text();
    return error;
}

} // namespace vlr
