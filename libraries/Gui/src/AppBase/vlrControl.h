#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QString>

#include <string>

namespace vlr {

class ControlList;

/// An object of the application that shows a widget in panes of the four-view layout, or one over
/// the whole viewer area. It is known by its name, and registered with the ControlList:
///
///     class AxialControl : public vlr::Control {
///     public:
///         explicit AxialControl(QWidget* view) : Control("Axial"), m_view(view) {}
///         bool isValid() override { return true; }
///         QString title() override { return tr("Axial"); }
///         void release() override { m_view->setParent(nullptr); }
///     };
///
///     list->addControl(&axial);
///     list->occupyResource(vlr::ControlList::UpperLeft, &axial, view, 0.5F, 0.5F);
///
/// The creator owns it, and calls ControlList::removeControl() before it is destroyed. One that
/// is destroyed without is forgotten and logged; its widgets in panes go with it.
class VLR_GUI_EXPORT Control : public QObject {
    Q_OBJECT

public:
    explicit Control(std::string name);
    ~Control() override;

    /// Whether it is ready to be shown; asked once, when it is added to the list.
    virtual bool isValid() = 0;
    /// What people call it, for a heading or a menu. The library itself does not ask.
    virtual QString title() = 0;
    /// It lost its panes or the full-size area: it takes its widgets back (setParent(nullptr)),
    /// or they are deleted with the pane.
    virtual void release() = 0;

    const std::string& getName() const { return m_name; }
    std::string name() const { return m_name; }

signals:
    /// For controls that report a change of their state; ControlList::addControl() connects them.
    void becameValid(vlr::ControlList* list, vlr::Control* control);
    void becameInvalid(vlr::ControlList* list, vlr::Control* control);
    void removed(vlr::ControlList* list, vlr::Control* control);

private:
    Control() = delete;
    Control(const Control&) = delete;
    const std::string m_name;
};

} // namespace vlr
