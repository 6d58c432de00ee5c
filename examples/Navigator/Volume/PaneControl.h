#pragma once

#include "AppBase/vlrControl.h"

#include <QtCore/QPointer>
#include <QtWidgets/QWidget>

/// A control with one view. It keeps the view; panes have it only while they show it.
class PaneControl : public vlr::Control {
    Q_OBJECT

public:
    PaneControl(const char* name, const QString& title, QWidget* view);
    ~PaneControl() override;

    bool isValid() override { return m_isValid; }
    QString title() override { return m_title; }
    void release() override;

    /// Whether there is something to show; false at first. The control list is told.
    void setValid(bool valid);
    QString label() const { return QString::fromStdString(name()); }
    QWidget* view() const { return m_view; } ///< Null once a window took it along at its end.

private:
    QString m_title;
    QPointer<QWidget> m_view;
    bool m_isValid = false;
};
