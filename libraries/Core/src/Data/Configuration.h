#pragma once

#include "Data/Data.h"

/// The base of the configuration records, and by itself the container in which they are stored.
class VLR_CORE_EXPORT Configuration : public Data {
public:
    Configuration();
    explicit Configuration(const QString& id);

    static _vlr::StringMixer classId();
    _vlr::StringMixer getClassId() const override;
    bool isA(const _vlr::StringMixer& id) const override;

protected:
    ~Configuration() override;
};

/// Registers the factory of the plain container; always returns 1.
VLR_CORE_EXPORT int createConfigurationFactory();
