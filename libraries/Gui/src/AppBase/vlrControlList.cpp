#include "AppBase/vlrControlList.h"

#include "Base/ApplicationServices.h"
#include "Base/QtQuadView.h"
#include "Log/vlrLog.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QStackedWidget>

#include <algorithm>
#include <iterator>

namespace vlr {

namespace {

constexpr const char* logSource = "libraries/Gui/src/AppBase/vlrControlList";

LogStream log(const char* level, int line) {
    return Log::getInstance(level, logSource, line);
}

QString label(const std::string& name) {
    return QString::fromStdString(name);
}

} // namespace

ControlList* ControlList::m_instance = nullptr;
QMap<std::string, ControlList::ControlItem*> ControlList::m_controlList;
std::vector<ControlList::controlerT> ControlList::m_controlerAssignment;
std::vector<QPointer<QWidget>> ControlList::m_placedWidgets;
QPointer<QtQuadView> ControlList::m_viewer;
QPointer<QStackedWidget> ControlList::m_widgetStack;
QPointer<QWidget> ControlList::m_fullSizeWidget;
std::pair<Control*, QPointer<QWidget>> ControlList::m_currentFullScrenControl;
QPointer<Control> ControlList::m_currentControl;
const std::string ControlList::m_invalidName;

// --- lifecycle

ControlList* ControlList::instance() {
    if (!m_instance)
        m_instance = new ControlList;
    // A control may be removed after the application's end, when there are no widgets any more.
    if (!QCoreApplication::instance())
        return m_instance;
    if (!m_widgetStack)
        createStack();
    if (!m_viewer)
        createViewer();
    return m_instance;
}

void ControlList::createStack() {
    m_widgetStack = new QStackedWidget;
    m_fullSizeWidget = new QWidget;
    auto* const layout = new QHBoxLayout(m_fullSizeWidget);
    layout->setContentsMargins(10, 10, 10, 10);
    layout->setSpacing(10);
    m_widgetStack->insertWidget(FullSizePage, m_fullSizeWidget);
    m_currentFullScrenControl = {};
    qAddPostRoutine(&ControlList::destroyWithApplication);
}

void ControlList::createViewer() {
    m_viewer = new QtQuadView(m_widgetStack);
    m_widgetStack->insertWidget(ViewerPage, m_viewer);
    connect(m_viewer, SIGNAL(currentViewChanged(int)), m_instance,
            SLOT(currentControlChangedSL(int)));
    // What the controls had in the panes of an earlier layout went with it.
    m_controlerAssignment.clear();
    m_placedWidgets.assign(static_cast<std::size_t>(m_viewer->getNumberOfViews()), nullptr);
    for (int i = 0; i < m_viewer->getNumberOfViews(); ++i)
        m_controlerAssignment.emplace_back(i, nullptr);
}

// No widget may outlive the application, and no window took this one.
void ControlList::destroyWithApplication() {
    if (m_widgetStack && !m_widgetStack->parent())
        delete m_widgetStack.data();
}

// --- queries

QtQuadView* ControlList::getViewer() {
    return m_viewer;
}

QWidget* ControlList::getWindow() {
    return m_widgetStack;
}

int ControlList::getNumberOfControls() {
    return m_controlList.size();
}

ControlList::ControlItem* ControlList::item(const std::string& name) {
    return m_controlList.value(name, nullptr);
}

ControlList::ControlItem* ControlList::item(const Control* control) {
    ControlItem* const found = item(control->getName());
    return found && found->control == control ? found : nullptr;
}

Control* ControlList::getControl(const std::string& name) {
    const ControlItem* const found = item(name);
    return found ? found->control : nullptr;
}

const std::string& ControlList::getControlNameAtIndex(bool& ok, int i) {
    ok = i >= 0 && i < m_controlList.size();
    return ok ? std::next(m_controlList.constBegin(), i).key() : m_invalidName;
}

bool ControlList::isControlValid(const std::string& name) {
    const ControlItem* const found = item(name);
    return found && found->valid;
}

bool ControlList::holdsPane(const QObject* control) {
    return std::any_of(m_controlerAssignment.begin(), m_controlerAssignment.end(),
                       [control](const controlerT& entry) { return entry.second == control; });
}

// --- registration

bool ControlList::addControl(Control* control) {
    if (!control) {
        log("ERROR", __LINE__) << "Undefined control";
        return false;
    }
    const std::string name = control->getName();
    if (item(name)) {
        log("ERROR", 242) << "control with name: " << name << " already exist\n";
        return false;
    }
    auto* const added = new ControlItem;
    added->control = control;
    m_controlList.insert(name, added);
    connect(control, &QObject::destroyed, this, &ControlList::forget, Qt::UniqueConnection);
    connect(control, &Control::becameValid, this, &ControlList::controlValidSlt,
            Qt::UniqueConnection);
    connect(control, &Control::becameInvalid, this, &ControlList::controlInvalidSlt,
            Qt::UniqueConnection);
    connect(control, &Control::removed, this, &ControlList::controlRemoveSlt, Qt::UniqueConnection);
    if (control->isValid()) {
        added->valid = true;
        emit controlAdded(label(name));
    }
    return true;
}

void ControlList::removeControl(Control* control) {
    if (!control) {
        clearFullScreen(nullptr);
        return leaveEmptyFullSize();
    }
    const QPointer<Control> guard(control);
    const std::string name = control->getName();
    const bool isKnown = item(control) != nullptr;
    if (!isKnown)
        log("ERROR", __LINE__) << "Control " << name << " is not in the list.";
    if (holdsPane(control))
        control->release();
    detachControlFromAllViewers(control);
    if (!guard)
        return; // It took its release for its end; forget() did the rest.
    if (isKnown && item(control)) {
        delete m_controlList.take(name);
        control->disconnect(this);
        emit controlRemoved(label(name));
        emit controlsRemoved();
    }
    if (guard)
        clearFullScreen(control, true);
    leaveEmptyFullSize();
}

// A control was destroyed without a word. It can only be compared with, not called any more.
void ControlList::forget(QObject* control) {
    const auto entry =
        std::find_if(m_controlList.begin(), m_controlList.end(),
                     [control](const ControlItem* item) { return item->control == control; });
    const bool isKnown = entry != m_controlList.end();
    const std::string name = isKnown ? entry.key() : m_invalidName;
    if (isKnown) {
        log("ERROR", __LINE__) << "Control " << name
                               << " was destroyed without having been removed from the list.";
        delete entry.value();
        m_controlList.erase(entry);
    }
    detachControlFromAllViewers(control);
    clearFullScreen(control);
    leaveEmptyFullSize();
    if (!isKnown)
        return;
    emit controlRemoved(label(name));
    emit controlsRemoved();
}

void ControlList::controlValid(Control* control) {
    ControlItem* const found = control ? item(control) : nullptr;
    if (!found) {
        log("ERROR", __LINE__) << "Undefined control";
        return;
    }
    found->valid = true;
    emit controlAppeared(label(control->getName()));
}

void ControlList::controlInvalid(Control* control) {
    if (!control || !item(control)) {
        log("ERROR", __LINE__) << "Undefined control";
        return;
    }
    const std::string name = control->getName();
    // By index: a control may ask for anything while it is released.
    for (std::size_t i = 0; i < m_controlerAssignment.size(); ++i) {
        if (m_controlerAssignment[i].second != control)
            continue;
        log("INFO", 142) << "Remove widget: " << m_controlerAssignment[i].first;
        control->release();
        if (m_controlerAssignment[i].second == control)
            cleanControler(static_cast<int>(i));
    }
    if (ControlItem* const found = item(name))
        found->valid = false;
}

// clang-format off
void ControlList::controlValidSlt(ControlList*, Control* control) { controlValid(control); }
void ControlList::controlInvalidSlt(ControlList*, Control* control) { controlInvalid(control); }
void ControlList::controlRemoveSlt(ControlList*, Control* control) { removeControl(control); }
// clang-format on

// --- showing and hiding

bool ControlList::showControl(QString name) {
    const ControlItem* const found = item(name.toStdString());
    if (!found || !found->valid) {
        emit currentControlChanged(label(m_invalidName));
        return false;
    }
    Control* const control = found->control;
    const int widthPercent = found->widthPercent;
    const int heightPercent = found->heightPercent;
    m_currentControl = control;
    if (auto* const services = ApplicationServices::instance())
        services->showControls();
    const bool isInPane = holdsPane(control);
    if (isInPane)
        activateScreen(ViewerPage);
    else if (m_currentFullScrenControl.first == control)
        activateScreen(FullSizePage);
    if (m_viewer) {
        m_viewer->setViewDimension(widthPercent, heightPercent);
        m_viewer->forgetLayouts();
        focusPanesOf(control);
        m_viewer->update();
    }
    emit currentControlChanged(name);
    emit controlAppeared(name);
    return true;
}

void ControlList::focusPanesOf(const Control* control) {
    if (!holdsPane(control))
        m_viewer->setFocus(-1);
    for (const controlerT& entry : m_controlerAssignment)
        if (entry.second == control)
            m_viewer->setFocus(entry.first);
}

bool ControlList::hideControl(QString name) {
    log("INFO", 594) << "Hide control: " << name;
    m_currentControl = nullptr;
    if (m_viewer)
        m_viewer->setFocus(-1);
    if (const ControlItem* const found = item(name.toStdString())) {
        Control* const control = found->control;
        const QPointer<Control> guard(control);
        control->release();
        if (guard) {
            detachControlFromAllViewers(control);
            clearFullScreen(control);
            leaveEmptyFullSize();
        }
    }
    if (m_viewer)
        m_viewer->update();
    announceCurrent();
    emit controlHidden(name);
    return true;
}

void ControlList::hideAll() {
    for (const std::string& name : m_controlList.keys())
        (void)hideControl(label(name));
}

void ControlList::announceCurrent() {
    emit currentControlChanged(
        label(m_currentControl ? m_currentControl->getName() : m_invalidName));
}

void ControlList::currentControlChangedSL(int view) {
    const bool exists = view >= 0 && view < static_cast<int>(m_controlerAssignment.size());
    m_currentControl =
        exists ? m_controlerAssignment[static_cast<std::size_t>(view)].second : nullptr;
    announceCurrent();
}

void ControlList::setViewerDimensions(const QSize& r0, const QSize& r1, const QSize& r2,
                                      const QSize& r3) {
    if (!m_viewer) {
        log("ERROR", 660) << "Viewer is not defined.";
        return;
    }
    if (m_currentControl) {
        constexpr double percentOfPerMille = 0.1;
        ControlItem* const found = item(m_currentControl->getName());
        if (found && QuadViewGeometry().setExtents({r0, r1, r2, r3})) {
            found->heightPercent = static_cast<int>(r0.height() * percentOfPerMille);
            found->widthPercent = static_cast<int>(r0.width() * percentOfPerMille);
        } else if (!found) {
            log("ERROR", 673) << "Control " << m_currentControl->getName() << " is not defined.";
        }
    }
    m_viewer->setViewerDimensions(r0, r1, r2, r3);
    m_viewer->forgetLayouts();
}

void ControlList::viewerDimensions(QSize& r0, QSize& r1, QSize& r2, QSize& r3) {
    if (m_viewer)
        m_viewer->viewerDimensions(r0, r1, r2, r3);
}

} // namespace vlr
