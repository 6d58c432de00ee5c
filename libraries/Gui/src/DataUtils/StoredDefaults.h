#pragma once

#include "Data/Configuration.h"

namespace vlr {

/// The record as "Save as default" stored it: the child "Defaults" of the configuration of that
/// name. Null when there is none yet or when it cannot be read.
DataPointer<Data> loadDefaults(const QString& name);
/// Stores the record for the next start. A failure is also told to the user.
CaError storeDefaults(const QString& name, const DataPointer<Data>& record);

/// The record that a form begins with: the one given where it is of the class, else the stored
/// one, else a new one. Never null.
template <class Record>
DataPointer<Record> defaultRecord(const DataPointer<Data>& given, const QString& name) {
    auto record = dataCast<Record>(given);
    if (!record)
        record = dataCast<Record>(loadDefaults(name));
    return record ? record : DataPointer<Record>(new Record);
}

} // namespace vlr
