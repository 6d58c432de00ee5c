#include "AppBase/vlrControlList.h"
#include "Base/QtQuadView.h"
#include "Log/vlrLog.h"

#include <QtWidgets/QLayout>
#include <QtWidgets/QStackedWidget>

#include <algorithm>
#include <iostream>
#include <utility>

// What the controls occupy: panes and the whole area.
namespace vlr {

namespace {

// One source for all records of the list.
constexpr const char* logSource = "libraries/Gui/src/AppBase/vlrControlList";
constexpr float percent = 100.0F;
constexpr int mostDisplaced = 16;

LogStream log(const char* level, int line) {
    return Log::getInstance(level, logSource, line);
}

} // namespace

// --- panes

void ControlList::activateScreen(int page) {
    if (m_widgetStack && m_widgetStack->currentIndex() != page)
        m_widgetStack->setCurrentIndex(page);
}

void ControlList::cleanControler(std::vector<controlerT>::iterator index) {
    std::cout << "void vlr::ControlList::cleanControler( std::vector<controlerT>::iterator index )"
              << std::endl;
    index->second = nullptr;
    if (m_viewer)
        m_viewer->removeWidget(index->first);
}

void ControlList::cleanControler(int index) {
    cleanControler(std::next(m_controlerAssignment.begin(), index));
}

void ControlList::detachControlFromAllViewers(const QObject* control) {
    for (std::size_t i = 0; i < m_controlerAssignment.size(); ++i)
        if (m_controlerAssignment[i].second == control)
            cleanControler(static_cast<int>(i));
}

bool ControlList::checkPlacement(const ResourcePosition& position, const Control* control,
                                 float width, float height) const {
    const auto isShare = [](float share) { return share >= 0.0F && share <= 1.0F; };
    if (!m_viewer)
        log("ERROR", 336) << "No valid controler attached";
    else if (position > LowerRight)
        log("ERROR", 341) << "Undefined position";
    else if (!control)
        log("ERROR", 346) << "Undefined control";
    else if (!isShare(width) || !isShare(height))
        log("ERROR", 352) << "Width and/or height parameter are wrong";
    else if (!item(control))
        log("ERROR", 359) << "Cannot find controlItem";
    else if (!item(control)->valid)
        log("ERROR", 364) << "ControlItem is not valid";
    else
        return true;
    return false;
}

bool ControlList::occupyResource(const ResourcePosition& position, Control* control,
                                 QWidget* widget, float width, float height) {
    activateScreen(ViewerPage);
    clearFullScreen(control);
    if (!checkPlacement(position, control, width, height))
        return false;
    if (!widget) {
        log("ERROR", __LINE__) << "Undefined widget";
        return false;
    }
    const bool isRight = position == UpperRight || position == LowerRight;
    const bool isLower = position == LowerLeft || position == LowerRight;
    ControlItem* const found = item(control);
    found->widthPercent = static_cast<int>((isRight ? 1.0F - width : width) * percent);
    found->heightPercent = static_cast<int>((isLower ? 1.0F - height : height) * percent);

    const QPointer<Control> guard(control);
    const QPointer<QWidget> widgetGuard(widget);
    makeRoom(position, control, widget);
    if (!guard || !widgetGuard || !m_viewer || !item(control))
        return false; // Gone with the control or the widget that was here.
    m_controlerAssignment[position].second = control;
    m_placedWidgets[position] = widget;
    QWidget* const pane = m_viewer->getView(static_cast<int>(position));
    widget->setParent(pane);
    pane->layout()->addWidget(widget);
    widget->show();
    m_viewer->update();
    return true;
}

void ControlList::makeRoom(unsigned position, const Control* control, const QWidget* widget) {
    const controlerT& entry = m_controlerAssignment[position];
    QWidget* const pane = m_viewer->getView(entry.first);
    QWidget* const former = m_placedWidgets[position];
    if (entry.second == control && former && former != widget && former->parentWidget() == pane)
        takeOut(former, pane);
    // One that is displaced may put another into its place.
    for (int tries = 0; tries < mostDisplaced; ++tries) {
        Control* const holder = m_controlerAssignment[position].second;
        if (!holder || holder == control)
            return;
        displace(holder);
    }
}

// Gives a widget back to whoever gave it, unless it left by itself.
void ControlList::takeOut(QWidget* widget, QWidget* place) {
    const QPointer<QWidget> guard(widget);
    widget->close();
    if (guard && place && widget->parentWidget() == place) {
        place->layout()->removeWidget(widget);
        widget->setParent(nullptr);
    }
}

// The control loses all of its panes to another one.
void ControlList::displace(Control* control) {
    control->release();
    detachControlFromAllViewers(control);
}

void ControlList::freeResource(int index) {
    if (!m_viewer || index < 0 || index >= m_viewer->getNumberOfViews())
        return;
    controlerT& entry = m_controlerAssignment[static_cast<std::size_t>(index)];
    entry.second = nullptr;
    m_viewer->removeWidget(entry.first);
}

void ControlList::freeResourcesOf(const Control* control) {
    if (!control)
        return;
    detachControlFromAllViewers(control);
    clearFullScreen(control);
    leaveEmptyFullSize();
}

// --- the whole area

void ControlList::clearFullScreen(const QObject* control, bool release) {
    if (control && m_currentFullScrenControl.first != control)
        return;
    const auto former = std::exchange(m_currentFullScrenControl, {});
    if (release && former.first)
        former.first->release();
    if (QWidget* const widget = former.second) {
        widget->disconnect(m_fullSizeWidget);
        takeOut(widget, m_fullSizeWidget);
    }
}

// Who holds panes is not left behind an empty page.
void ControlList::leaveEmptyFullSize() {
    if (!m_currentFullScrenControl.second &&
        std::any_of(m_controlerAssignment.begin(), m_controlerAssignment.end(),
                    [](const controlerT& entry) { return entry.second != nullptr; }))
        activateScreen(ViewerPage);
}

bool ControlList::occupyResource(Control* control, QWidget* widget) {
    activateScreen(FullSizePage);
    clearFullScreen(control);
    if (!control) {
        leaveEmptyFullSize();
        return true;
    }
    if (!widget) {
        log("ERROR", __LINE__) << "Undefined widget";
        leaveEmptyFullSize();
        return false;
    }
    const QPointer<Control> guard(control);
    const QPointer<QWidget> widgetGuard(widget);

    for (int tries = 0; m_currentFullScrenControl.first && tries < mostDisplaced; ++tries)
        clearFullScreen(nullptr, true);
    if (!guard || !widgetGuard || !m_fullSizeWidget) {
        leaveEmptyFullSize();
        return false;
    }
    // Also one that is not in the list must not be called after its end.
    connect(control, &QObject::destroyed, this, &ControlList::forget, Qt::UniqueConnection);
    constexpr auto laterAndOnce = Qt::ConnectionType(Qt::QueuedConnection | Qt::UniqueConnection);
    connect(widget, &QObject::destroyed, this, &ControlList::leaveEmptyFullSize, laterAndOnce);
    m_currentFullScrenControl = {control, widget};
    widget->setParent(m_fullSizeWidget);
    QLayout* const layout = m_fullSizeWidget->layout();
    layout->addWidget(widget);
    layout->setSpacing(0);
    const QMargins margins = layout->contentsMargins();
    layout->setContentsMargins(margins.left(), 0, margins.right(), 2);
    widget->show();
    m_fullSizeWidget->update();
    return true;
}

} // namespace vlr
