#include "Site/SiteChoices.h"

namespace vlr {

namespace {

const SiteChoices* provided = nullptr;

} // namespace

SiteChoices::~SiteChoices() = default;

const SiteChoices& SiteChoices::current() {
    return *provided;
}

void SiteChoices::provide(const SiteChoices& choices) {
    provided = &choices;
}

} // namespace vlr
