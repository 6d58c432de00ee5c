#include "Data/Configuration.h"

Configuration::Configuration() = default;

Configuration::Configuration(const QString& id) : Data(id) {}

Configuration::~Configuration() = default;

_vlr::StringMixer Configuration::classId() {
    return "Configuration";
}

_vlr::StringMixer Configuration::getClassId() const {
    return classId();
}

bool Configuration::isA(const _vlr::StringMixer& id) const {
    return id == classId() || Data::isA(id);
}
