#include "Data/PartStorage.h"

namespace vlr {

namespace {

PartStorage* provided = nullptr;

} // namespace

PartStorage::~PartStorage() = default;

PartStorage& PartStorage::current() {
    return *provided;
}

void PartStorage::provide(PartStorage& storage) {
    provided = &storage;
}

} // namespace vlr
