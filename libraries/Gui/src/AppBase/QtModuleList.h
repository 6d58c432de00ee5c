#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>

#include <vector>

class QtAppMainWindow;
class QtAppModule;
class QtAppModuleProxy;

/// The modules of an application in the order of their registration, at most one of them
/// current. Modules and selectors ask it for changes through its slots and follow it through its
/// signals.
///
///     QtModuleList list(window, window);
///     list.registerModule(new PlanningModule);   // the first one is activated at once
///     list.activate(QStringLiteral("Navigation"));
///
/// Indices never change. Names need not be unique; the first match counts. The configurations of
/// the modules are stored when the list is destroyed, and only then.
class VLR_GUI_EXPORT QtModuleList : public QObject {
    Q_OBJECT

public:
    QtModuleList(QtAppMainWindow* mainWindow, QObject* parent);
    ~QtModuleList() override;

    /// Takes the module over and returns its index; -1 for a null module or without a window.
    int registerModule(QtAppModule* module);

    /// -1 before the first registration. Stays as it is when all modules are deactivated.
    int currentIndex();
    QString currentName(); ///< Null when there is no current module.
    const QtAppModuleProxy* currentModuleProxy() const;

    /// Emits the signals that describe the state of the list, for a selector that comes late:
    /// registered and, where it applies, disabled for every module, then activated. Changes
    /// nothing.
    void generateEvents();

public slots:
    /// An index out of range deactivates all modules. The current index does nothing, even when
    /// its module was deactivated in between.
    void activate(int index);
    void activate(QString name); ///< An unknown name deactivates all modules.
    void deactivateAll();        ///< Announces every module, and shows the first context widget.
    void next();                 ///< Past the last module: deactivates all.
    void previous();             ///< Before the first module: deactivates all.
    /// Nothing while no module is current, and for an index out of range.
    void enableModule(int index);
    void enableModule(QString name);
    void disableModule(int index); ///< Does not deactivate the module.
    void disableModule(QString name);

signals:
    void activated(QString name, int index);
    void activated(const QtAppModuleProxy* proxy);
    void deactivated(QString name, int index);
    void enabled(QString name, int index);
    void disabled(QString name, int index);
    void registered(QString name, int index);

private:
    bool isIndex(int index) const; ///< In range, and the window has not taken the proxy along.
    int count() const { return static_cast<int>(m_proxies.size()); }
    QtAppModuleProxy* proxy(int index) const;
    QString name(int index) const;
    int findIndex(QString name) const;
    void connectModule(QtAppModule* module);
    void disconnectModule(int index);
    void setModuleEnabled(int index, bool enable);
    void announceActivation(int index);
    void activateProxy(int index);
    bool deactivateProxy(int index);

    QPointer<QtAppMainWindow> m_mainWindow;
    std::vector<QPointer<QtAppModuleProxy>> m_proxies;
    std::vector<std::vector<QMetaObject::Connection>> m_connections; // of each module
    int m_currentIndex = -1;
};
