#pragma once

#include "AppBase/QtAppModule.h"

#include <QtCore/QPointer>

class QHBoxLayout;
class QPushButton;
class QVBoxLayout;

/// The base of this application's modules: all context widgets have the current patient at the
/// top and the buttons to the neighbouring steps at the bottom; between them stands what the
/// module adds to contents().
class WorkflowModule : public QtAppModule {
    Q_OBJECT

public:
    explicit WorkflowModule(const QString& name);
    ~WorkflowModule() override;

    /// Says, once the module is complete, which neighbours it has. A button that would lead
    /// nowhere is disabled.
    void setSteps(bool hasPrevious, bool hasNext);

    QWidget* getMainWidget() override;

protected:
    QVBoxLayout* contents() const { return m_contents; }
    QPushButton* addButton(const char* iconName, const QString& text, const QString& toolTip);
    /// The module keeps the widget; the main window has it only while the module is active.
    void setMainWidget(QWidget* widget);

private:
    QPushButton* makeButton(const char* iconName, const QString& text, const QString& toolTip);

    QVBoxLayout* m_contents = nullptr;
    QHBoxLayout* m_steps;
    QPointer<QWidget> m_mainWidget;
};
