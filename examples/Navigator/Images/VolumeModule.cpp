#include "Images/VolumeModule.h"

#include "AppBase/vlrControlList.h"

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

void VolumeModule::clear() {
    if (!m_isShown)
        return;
    vlr::ControlList* const list = vlr::ControlList::instance();
    if (m_isVolumeShown) {
        Extents extents;
        list->viewerDimensions(extents[0], extents[1], extents[2], extents[3]);
        m_extents = extents;
    }
    m_isShown = false;
    m_isVolumeShown = false;
    list->hideAll();
}

void VolumeModule::arrangeAgain() {
    if (!isActive())
        return;
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
}

// A dialog that showed the progress took the keyboard from the window, too.
void VolumeModule::takeFocus() {
    if (!isActive() || !m_current || !m_current->view())
        return;
    m_current->view()->activateWindow();
    m_current->view()->setFocus();
}
