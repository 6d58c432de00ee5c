#pragma once

#include "AppBase/ModuleConfig.h"
#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>

class QtAppMainWindow;
class QtAppModule;
class QtAppModuleImpl;

/// What the module list, the selectors and the main window hold of a module. It owns the module,
/// knows whether it is enabled, and runs activation and deactivation in a fixed order. Once the
/// module is gone, every operation does nothing and every query comes back empty.
class VLR_GUI_EXPORT QtAppModuleProxy : public QObject {
    Q_OBJECT

public:
    /// Hands the module's context widget to the window, which becomes the parent. With a null
    /// argument the proxy is disabled and owns nothing.
    QtAppModuleProxy(QtAppModule* module, QtAppMainWindow* mainWindow);
    /// Deactivates the module if it is active, even when disabled, and deletes it.
    ~QtAppModuleProxy() override;

    void activate(bool on);

    void enable();            ///< Emits enabled(true), also without a change.
    void disable();           ///< Emits enabled(false), also without a change. Deactivates nothing.
    void setEnabled(bool on); ///< Emits enabled(on), also without a change.
    bool isEnabled() const { return m_enabled; }

    QtAppModule* module() const;
    /// True when this is the module's proxy; without a module only for null.
    bool operator==(QtAppModule* module);
    QString moduleName();
    QString configurationName() const; ///< Under which the module's configuration is stored.
    DataPointer<Data> moduleConfiguration() const;
    DataPointer<ModuleConfig> moduleGeneralOptions() const;
    void storeConfiguration() const;

public slots:
    void activate();   ///< Nothing while disabled or already active.
    void deactivate(); ///< Nothing while disabled or not active.

signals:
    void enabled(bool on);
    void raiseWidget(int index);
    void aboutToActivate();

private:
    QtAppModuleImpl* impl() const; ///< Null when the module is gone.
    void placeMainWidget();
    void runDeactivation();

    QPointer<QtAppModule> m_module;
    bool m_enabled = false;
    bool m_deactivating = false;
    int m_contextWidgetIndex = -1;
};
