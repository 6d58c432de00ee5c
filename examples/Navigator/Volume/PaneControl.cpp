#include "Volume/PaneControl.h"

#include "AppBase/vlrControlList.h"

PaneControl::PaneControl(const char* name, const QString& title, QWidget* view)
    : Control(name), m_title(title), m_view(view) {
    vlr::ControlList::instance()->addControl(this);
}

PaneControl::~PaneControl() {
    vlr::ControlList::instance()->removeControl(this);
    delete m_view.data();
}

void PaneControl::release() {
    if (!m_view)
        return;
    m_view->hide();
    m_view->setParent(nullptr);
}

void PaneControl::setValid(bool valid) {
    if (valid == m_isValid)
        return;
    m_isValid = valid;
    if (valid)
        emit becameValid(vlr::ControlList::instance(), this);
    else
        emit becameInvalid(vlr::ControlList::instance(), this);
}
