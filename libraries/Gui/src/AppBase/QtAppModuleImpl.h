#pragma once

#include "AppBase/ModuleConfig.h"
#include "Data/Configuration.h"
#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QString>

/// What a module keeps: its name and flags, its stored configuration, and the fixed steps around
/// its activation. The configuration is a small tree, read when it is first asked for, with at
/// most two children: the application's own item "ModuleSpecificOptions" and the record
/// "GeneralModuleOptions".
class VLR_GUI_EXPORT QtAppModuleImpl : public QObject {
    Q_OBJECT

public:
    QtAppModuleImpl(QString name, bool viewLocked);
    ~QtAppModuleImpl() override; ///< Does not store the configuration.

    QString name() const { return m_name; }
    bool isActive() const { return m_active; }
    bool isViewLocked() const { return m_viewLocked; }
    void setViewLocked(bool locked);

    DataPointer<Data> configuration(); ///< "ModuleSpecificOptions", or null.
    void setConfiguration(const DataPointer<Data>& configuration);

signals:
    void activateNextModule();
    void activatePrevModule();
    void activateModule(QString name);
    void deactivateAllModules();
    void enableModule(QString name);
    void disableModule(QString name);
    void controlAreaSize(int size);
    void enableTouchScreenMode(bool enabled);

private:
    friend class QtAppModuleProxy;

    DataPointer<ModuleConfig> generalOptions(); ///< Never null; repaired where necessary.
    void loadConfiguration();
    void storeConfiguration() const;
    QString configName() const;
    void lockView(bool on); ///< Only while the module is active; the stored flag stays.
    void preActivate();
    void postActivate();
    void preDeactivate();
    void postDeactivate();

    bool m_viewLocked;
    bool m_active = false;
    QString m_name;
    DataPointer<Configuration> m_configuration;
};
