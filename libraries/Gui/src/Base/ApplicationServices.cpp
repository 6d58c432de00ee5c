#include "Base/ApplicationServices.h"

#include <algorithm>
#include <vector>

namespace {

std::vector<ApplicationServices*>& liveServices() {
    static std::vector<ApplicationServices*> services;
    return services;
}

} // namespace

ApplicationServices* ApplicationServices::instance() {
    return liveServices().empty() ? nullptr : liveServices().back();
}

ApplicationServices::ApplicationServices() {
    liveServices().push_back(this);
}

ApplicationServices::~ApplicationServices() {
    auto& services = liveServices();
    services.erase(std::remove(services.begin(), services.end(), this), services.end());
}
