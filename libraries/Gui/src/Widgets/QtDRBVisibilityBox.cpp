#include "Widgets/QtDRBVisibilityBox.h"

#include "Log/vlrLog.h"
#include "Tools/SurgicalToolBox.h"
#include "Tools/TrackableData.h"
#include "Widgets/QtRigidVisibilityWidget.h"

#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>

namespace {

constexpr int interval = 100; // milliseconds

} // namespace

QtDRBVisibilityBox::QtDRBVisibilityBox(QWidget* parent)
    : QGroupBox(tr("DRB Visibility"), parent), m_layout(new QGridLayout(this)) {
    m_layout->setColumnStretch(1, 1);
}

QtDRBVisibilityBox::~QtDRBVisibilityBox() {
    removeAllRigids();
}

bool QtDRBVisibilityBox::addRigid(SurgicalTool* tool) {
    if (!tool) {
        VLR_LOG(Error) << "Rigid is not defined.";
        return false;
    }
    if (m_rigids.count(tool) > 0) {
        VLR_LOG(Error) << "Rigid is already in visibility box.";
        return false;
    }
    Row row{new QLabel(this), new QtRigidVisibilityWidget(tool, this)};
    row.name->setTextFormat(Qt::PlainText);
    row.name->setText(QString::fromStdString(tool->getName()));
    row.name->setBuddy(row.widget);
    row.widget->setAccessibleName(row.name->text());
    row.widget->setValuesShown(true, true);
    const int line = m_layout->rowCount();
    m_layout->addWidget(row.name, line, 0);
    m_layout->addWidget(row.widget, line, 1);
    m_rigids.emplace(tool, row);
    tool->attach(SurgicalTool::UNPLUGGED, this, &QtDRBVisibilityBox::rigidUnpluggedCB);
    if (isTracking())
        row.widget->startTracking();
    return true;
}

bool QtDRBVisibilityBox::addRigid(TrackableData* item) {
    bool isKnown = false;
    SurgicalTool* tool = toolOf(item, isKnown);
    return isKnown && addRigid(tool);
}

bool QtDRBVisibilityBox::removeRigid(SurgicalTool* tool) {
    const auto row = m_rigids.find(tool);
    if (row == m_rigids.end()) {
        VLR_LOG(Error) << (tool ? "Rigid is not in visibility box." : "Rigid is not defined.");
        return false;
    }
    tool->detach(this);
    dropRow(row);
    return true;
}

bool QtDRBVisibilityBox::removeRigid(TrackableData* item) {
    bool isKnown = false;
    SurgicalTool* tool = toolOf(item, isKnown);
    return isKnown && removeRigid(tool);
}

void QtDRBVisibilityBox::removeAllRigids() {
    while (!m_rigids.empty())
        (void)removeRigid(m_rigids.begin()->first);
}

// Deleted later: a tool may be taken out in answer to a signal of its own widget.
void QtDRBVisibilityBox::dropRow(std::map<SurgicalTool*, Row>::iterator row) {
    const Row dropped = row->second;
    m_rigids.erase(row);
    dropped.widget->stopTracking();
    dropped.widget->setSurgicalTool(nullptr, false);
    m_layout->removeWidget(dropped.name);
    m_layout->removeWidget(dropped.widget);
    for (QWidget* widget :
         {static_cast<QWidget*>(dropped.name), static_cast<QWidget*>(dropped.widget)}) {
        widget->hide();
        widget->deleteLater();
    }
}

void QtDRBVisibilityBox::rigidUnpluggedCB(CaSubject* subject, void*, const char*, void*) {
    for (auto row = m_rigids.begin(); row != m_rigids.end(); ++row)
        if (static_cast<CaSubject*>(row->first) == subject) {
            dropRow(row);
            return;
        }
}

SurgicalTool* QtDRBVisibilityBox::toolOf(TrackableData* item, bool& isKnown) const {
    std::string name;
    const auto* box = SurgicalToolBox::getInstance();
    isKnown = false;
    if (!item || !item->getReferenceName(name)) {
        VLR_LOG(Error) << "Data is not connected with a rigid body.";
        return nullptr;
    }
    if (!box) {
        VLR_LOG(Error) << "Tool box is not defined.";
        return nullptr;
    }
    isKnown = true;
    return box->getTool(name);
}

void QtDRBVisibilityBox::startTracking() {
    if (!m_timer) {
        m_timer = std::make_unique<QTimer>();
        connect(m_timer.get(), &QTimer::timeout, this, &QtDRBVisibilityBox::updateSL);
    }
    for (const auto& rigid : m_rigids)
        rigid.second.widget->startTracking();
    m_timer->start(interval);
}

void QtDRBVisibilityBox::stopTracking() {
    for (const auto& rigid : m_rigids)
        rigid.second.widget->stopTracking();
    if (m_timer)
        m_timer->stop();
}

bool QtDRBVisibilityBox::isTracking() const {
    return m_timer && m_timer->isActive();
}

void QtDRBVisibilityBox::updateSL() {
    std::size_t visible = 0;
    for (const auto& rigid : m_rigids)
        visible += rigid.second.widget->isVisible() ? 1 : 0;
    emit allRigidsVisible(visible == m_rigids.size());
}
