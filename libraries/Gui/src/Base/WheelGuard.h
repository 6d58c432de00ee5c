#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>

class QWidget;

/// Keeps the mouse wheel from changing a form that is only to be scrolled.
///
///     new WheelGuard(this);    // in the constructor of the form, which owns it
///
/// Combo boxes, spin boxes, date fields and sliders below the form, those that come there later
/// included, answer to the wheel only while they have the keyboard focus, and the wheel does not
/// give it to them. Over one without focus the wheel turns what lies around it, as a scroll area.
/// Scroll bars, item views and windows of the form's own stay as they are.
///
/// QtDataConfigurationWidget has one, so no editing widget needs its own. GUI thread only.
class VLR_GUI_EXPORT WheelGuard : public QObject {
    Q_OBJECT

public:
    explicit WheelGuard(QWidget* form);

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void guard(QWidget* widget);
};
