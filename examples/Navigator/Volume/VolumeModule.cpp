#include "Volume/VolumeModule.h"

#include "AppBase/vlrControlList.h"
#include "Base/QtQVViewFrame.h"

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

VolumeModule::VolumeModule(const QString& name, std::shared_ptr<VolumePanes> panes)
    : WorkflowModule(name), m_panes(std::move(panes)) {
    connect(m_panes.get(), &VolumePanes::imagesChanged, this, [this] {
        arrangeAgain();
        takeFocus();
    });
}

void VolumeModule::activate() {
    arrangeAgain();
    takeFocus();
}

void VolumeModule::deactivate() {
    clear();
}

void VolumeModule::rememberExtents() {
    if (!m_isVolumeShown)
        return;
    QuadViewGeometry::Extents extents;
    vlr::ControlList::instance()->viewerDimensions(extents[0], extents[1], extents[2], extents[3]);
    m_extents = extents;
}

void VolumeModule::clear() {
    if (!m_isShown)
        return;
    rememberExtents();
    m_isShown = false;
    m_isVolumeShown = false;
    vlr::ControlList::instance()->hideAll();
}

PaneControl* VolumeModule::arrangeAll() {
    const auto controls = m_panes->volumeControls();
    for (unsigned pane = 0; pane < controls.size(); ++pane)
        vlr::ControlList::instance()->occupyResource(vlr::ControlList::ResourcePosition(pane),
                                                     controls[pane], controls[pane]->view(), 0.5F,
                                                     0.5F);
    return controls.front();
}

// A maximised view hides the others, and none of those must get the keyboard.
PaneControl* VolumeModule::firstSeen(PaneControl* arranged) const {
    const auto isSeen = [](const PaneControl* control) {
        const QWidget* const place = control->view() ? control->view()->parentWidget() : nullptr;
        return place && !place->isHidden();
    };
    const auto controls = m_panes->volumeControls();
    const auto seen = std::find_if(controls.begin(), controls.end(), isSeen);
    return isSeen(arranged) || seen == controls.end() ? arranged : *seen;
}

void VolumeModule::addLockBox() {
    auto* const box = new QCheckBox(tr("Loc&k the layout"));
    box->setObjectName(QStringLiteral("lockLayout"));
    box->setToolTip(tr("The views cannot be resized by hand"));
    contents()->addWidget(box);
    connect(box, &QCheckBox::toggled, this, &VolumeModule::setViewLocked);
}

void VolumeModule::arrangeAgain(Places places) {
    if (!isActive())
        return;
    rememberExtents();
    if (places == Places::GivenUp || m_isVolumeShown != m_panes->hasVolume())
        clear();
    vlr::ControlList* const list = vlr::ControlList::instance();
    m_isShown = true;
    m_isVolumeShown = m_panes->hasVolume();
    if (m_isVolumeShown) {
        m_current = arrange();
    } else {
        m_current = m_panes->imagesControl();
        list->occupyResource(m_current, m_current->view());
    }
    list->showControl(m_current->label());
    if (m_isVolumeShown && m_extents)
        list->setViewerDimensions(m_extents->at(0), m_extents->at(1), m_extents->at(2),
                                  m_extents->at(3));
    if (!m_isVolumeShown)
        return;
    m_current = firstSeen(m_current);
    if (auto* const pane = qobject_cast<QtQVViewFrame*>(m_current->view()->parentWidget()))
        pane->widgetActivatedSL();
}

// A dialog that showed the progress took the keyboard from the window, too.
void VolumeModule::takeFocus() {
    if (!isActive() || !m_current || !m_current->view())
        return;
    m_current->view()->activateWindow();
    m_current->view()->setFocus();
}
