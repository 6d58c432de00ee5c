#include "Progress/CaProgressMonitor.h"

#include <QtCore/QCoreApplication>

#include <memory>

const char* const CaProgressMonitor::CANCELLED = "CaProgressMonitor::CANCELLED";

namespace {

class SilentMonitor : public CaProgressMonitor {};

std::unique_ptr<CaProgressMonitor>& instance() {
    // Never destroyed: a monitor may be a widget, which must not outlive the application object.
    static auto* const monitor = new std::unique_ptr<CaProgressMonitor>;
    return *monitor;
}

void deleteInstance() {
    instance().reset();
}

} // namespace

CaProgressMonitor* CaProgressMonitor::getInstance() {
    if (!instance())
        instance() = std::make_unique<SilentMonitor>();
    return instance().get();
}

void CaProgressMonitor::setInstance(CaProgressMonitor* monitor) {
    if (monitor == instance().get())
        return;
    instance().reset(monitor);
    if (monitor)
        qAddPostRoutine(&deleteInstance);
}

CaProgressMonitor::CaProgressMonitor() = default;
CaProgressMonitor::~CaProgressMonitor() = default;

// The silent monitor shows nothing and so remembers nothing.
void CaProgressMonitor::start() {}
void CaProgressMonitor::start(const std::string&, int, bool, bool, int) {}
void CaProgressMonitor::end() {}
void CaProgressMonitor::tick() {}
void CaProgressMonitor::reset() {}
void CaProgressMonitor::setProgress(int) {}
void CaProgressMonitor::setTotalSteps(int) {}
void CaProgressMonitor::setText(const std::string&) {}
void CaProgressMonitor::setShowCounterFlag(bool) {}
void CaProgressMonitor::setMinimumDuration(int) {}
int CaProgressMonitor::getProgress() const {
    return 0;
}
int CaProgressMonitor::getTotalSteps() const {
    return 0;
}
std::string CaProgressMonitor::getText() {
    return {};
}
bool CaProgressMonitor::getShowCounterFlag() const {
    return false;
}
int CaProgressMonitor::getMinimumDuration() {
    return 0;
}
void CaProgressMonitor::update() {}
