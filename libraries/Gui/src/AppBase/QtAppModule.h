#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>

class Data;
class QtAppModuleImpl;
class QWidget;

/// The base of an application's modules: one derived class per step of the workflow.
///
///     class PlanningModule : public QtAppModule {
///         Q_OBJECT
///     public:
///         PlanningModule() : QtAppModule(tr("Planning"), false) { buildUi(getWidget()); }
///         void activate() override { m_view->show(); }
///         void deactivate() override { m_view->hide(); }
///         QWidget* getMainWidget() override { return m_view; }
///     };
///     appBase.addModule(new PlanningModule);
///
/// The application object owns its modules. A module asks for what it wants (another module,
/// touch-screen mode) by emitting one of its signals.
class VLR_GUI_EXPORT QtAppModule : public QObject {
    Q_OBJECT

public:
    /// With `lockView` the proportions of the views are locked while the module is active.
    /// Throws vlr::WatchdogException when the module's own signals cannot be connected.
    QtAppModule(QString name, bool lockView);
    ~QtAppModule() override;

    /// The module's own work when it becomes the current one; its main widget is in place.
    virtual void activate() = 0;
    /// The module's own work when it stops being the current one.
    virtual void deactivate() = 0;
    /// The context widget, shown in the control area: by default an empty widget made by the
    /// constructor. The main window takes it over when the module is registered.
    virtual QWidget* getWidget();
    /// The widget for the viewer area while the module is active; null (the default) leaves the
    /// area as it is.
    virtual QWidget* getMainWidget();

    QString name();
    /// The item given to setConfiguration(), stored and loaded with the module; null if none.
    Data* configuration() const;
    /// Makes the item the module's own options, in place of the previous ones. Null removes them.
    void setConfiguration(Data* configuration);

    bool isActive() const; ///< True from before activate() until after deactivate().
    bool isViewLocked() const;
    /// Takes effect at once while the module is active.
    void setViewLocked(bool locked);

signals:
    void activateNextModule();
    void activatePrevModule();
    void activateModule(QString name);
    void deactivateAllModules();
    void enableModule(QString name);
    void disableModule(QString name);
    void controlAreaSize(int size);
    void enableTouchScreenMode(bool enabled);

protected:
    /// The module's state, with the same signals; they may be emitted on either object.
    QtAppModuleImpl* impl() const { return m_impl; }

private:
    friend class QtAppModuleProxy;

    QtAppModuleImpl* m_impl;
    QPointer<QWidget> m_contextWidget;
};
