#include "Tools/SurgicalToolBox.h"

#include "Log/vlrLog.h"
#include "Tracking/TrackingAddress.h"

#include <algorithm>
#include <utility>

namespace {

SurgicalToolBox* theBox = nullptr;

} // namespace

SurgicalToolBox::SurgicalToolBox(vlr::TrackingClock clock)
    : m_clock(std::move(clock)), m_shown(std::make_shared<vlr::TrackingSnapshot>()) {
    if (!theBox)
        theBox = this;
}

SurgicalToolBox::~SurgicalToolBox() {
    disconnect();
    while (!m_tools.empty())
        removeTool(m_tools.back()->getName());
    if (theBox == this)
        theBox = nullptr;
}

SurgicalToolBox* SurgicalToolBox::getInstance() {
    return theBox;
}

CaError SurgicalToolBox::connectTo(const QString& address) {
    std::unique_ptr<vlr::TrackingSource> source;
    const CaError error = vlr::createTrackingSource(address, m_clock, source);
    return error.isNull() ? connectTo(std::move(source)) : error;
}

CaError SurgicalToolBox::connectTo(std::unique_ptr<vlr::TrackingSource> source) {
    disconnect();
    if (!source)
        return CaError::nullError;
    source->setTools(m_geometries);
    const CaError error = source->start();
    if (error.isNull())
        m_source = std::move(source);
    refreshNow();
    return error;
}

void SurgicalToolBox::disconnect() {
    m_source.reset();
    m_logged.clear();
    m_presentKind.clear();
    refreshNow();
}

SurgicalTool* SurgicalToolBox::addTool(const vlr::ToolGeometry& geometry) {
    SurgicalTool* tool = nullptr;
    const CaError error = plug(geometry, tool);
    if (!error.isNull())
        VLR_LOG(Error) << "Could not add the tool \"" << geometry.name << "\". Reason: " << error;
    return tool;
}

CaError SurgicalToolBox::loadTool(const QString& path, SurgicalTool*& tool) {
    vlr::ToolGeometry geometry;
    const CaError error = vlr::readToolGeometry(path, geometry);
    return error.isNull() ? plug(geometry, tool) : error;
}

CaError SurgicalToolBox::plug(const vlr::ToolGeometry& geometry, SurgicalTool*& tool) {
    const CaError error = vlr::checkGeometry(geometry);
    if (!error.isNull())
        return error;
    if (getTool(geometry.name))
        return CaError("SurgicalToolBox::nameTaken",
                       "There is a tool \"" + geometry.name + "\" already.");
    m_tools.push_back(std::make_unique<SurgicalTool>(geometry));
    m_geometries.push_back(geometry);
    tool = m_tools.back().get();
    tellSource();
    return CaError::nullError;
}

// The tool is out of the box before anybody hears of it, so that nobody finds it there again.
bool SurgicalToolBox::removeTool(const std::string& name) {
    const auto found = std::find_if(m_tools.begin(), m_tools.end(),
                                    [&](const auto& tool) { return tool->getName() == name; });
    if (found == m_tools.end())
        return false;
    const std::unique_ptr<SurgicalTool> unplugged = std::move(*found);
    m_geometries.erase(m_geometries.begin() + (found - m_tools.begin()));
    m_tools.erase(found);
    tellSource();
    return true;
}

SurgicalTool* SurgicalToolBox::getTool(const std::string& name) const {
    for (const auto& tool : m_tools)
        if (tool->getName() == name)
            return tool.get();
    return nullptr;
}

std::vector<SurgicalTool*> SurgicalToolBox::getTools() const {
    std::vector<SurgicalTool*> tools;
    for (const auto& tool : m_tools)
        tools.push_back(tool.get());
    return tools;
}

void SurgicalToolBox::setRefreshInterval(std::chrono::milliseconds interval) {
    m_interval = interval;
    m_nextRefresh = QDeadlineTimer();
}

void SurgicalToolBox::refresh() {
    if (m_nextRefresh.hasExpired())
        refreshNow();
}

void SurgicalToolBox::refreshNow() {
    m_nextRefresh = QDeadlineTimer(m_interval);
    const auto snapshot =
        m_source ? m_source->latest() : std::make_shared<const vlr::TrackingSnapshot>();
    m_shown = snapshot;
    const vlr::TrackingTime now = m_clock();
    for (const auto& tool : m_tools) {
        const auto state = snapshot->tools.find(tool->getName());
        const bool isKnown = snapshot->isConnected && state != snapshot->tools.end();
        tool->getRigidBody()->update(isKnown ? &state->second : nullptr, now);
    }
    logProblem(*snapshot);
}

void SurgicalToolBox::tellSource() {
    if (m_source)
        m_source->setTools(m_geometries);
}

// Polls are frequent, problems last, and their texts vary with what a peer sends, who may also go
// and come back as often as it likes: each kind gets a line a minute at the most.
void SurgicalToolBox::logProblem(const vlr::TrackingSnapshot& snapshot) {
    const vlr::TrackingTime now = m_clock();
    logRepeated(now);
    std::string kind = snapshot.problem.empty() || snapshot.problemKind.empty()
                           ? snapshot.problem
                           : snapshot.problemKind;
    const bool isNew = kind != m_presentKind;
    m_presentKind = kind;
    if (kind.empty() || !isNew)
        return;
    constexpr std::size_t mostKinds = 64;
    if (m_logged.size() >= mostKinds && m_logged.count(kind) == 0)
        kind = "others";
    const auto [logged, isFirst] = m_logged.insert({kind, {now, 0, {}}});
    if (isFirst)
        VLR_LOG(Warning) << snapshot.problem;
    else
        ++logged->second.more;
    logged->second.problem = snapshot.problem;
}

// What came again within the minute after a line is told when the minute is over.
void SurgicalToolBox::logRepeated(vlr::TrackingTime now) {
    for (auto kind = m_logged.begin(); kind != m_logged.end();) {
        Logged& logged = kind->second;
        if (now - logged.time < std::chrono::minutes(1)) {
            ++kind;
        } else if (logged.more == 0) {
            kind = m_logged.erase(kind);
        } else {
            VLR_LOG(Warning) << logged.problem << " (So or alike " << logged.more
                             << (logged.more == 1 ? " more time" : " more times")
                             << " since this was last logged.)";
            logged.time = now;
            logged.more = 0;
            ++kind;
        }
    }
}
