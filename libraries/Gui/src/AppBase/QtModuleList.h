#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QString>

#include <deque>
#include <functional>
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
/// the modules are stored when the list is destroyed, or when storeConfigurations() is called.
///
/// A request from within a change, from a module's activate() or deactivate() or from whoever is
/// told, waits until what is going on is complete, so that everything announced is true for all
/// who hear it. It is carried out before the outermost call returns:
/// - a module that is asked for while the former one is left takes the place of the one that was
///   to follow;
/// - a module that asks for another one while it is activated is left again without having been
///   announced as activated;
/// - modules are enabled and disabled at once, unless somebody is being told of something.
/// What goes on asking without end is cut off with an "ERROR" in the log: after 1000 requests for
/// modules, or 10000 to enable or disable one, that came of one call.
class VLR_GUI_EXPORT QtModuleList : public QObject {
    Q_OBJECT

public:
    QtModuleList(QtAppMainWindow* mainWindow, QObject* parent);
    ~QtModuleList() override;

    /// Takes the module over and returns its index; -1 for a null module or without a window. One
    /// that is registered already is logged as "ERROR", without effect, and -1 is returned. Two
    /// names that make one name of a configuration, as "Plan A" and "PlanA" do, are a "WARNING".
    int registerModule(QtAppModule* module);

    /// -1 before the first registration. Stays as it is when all modules are deactivated.
    int currentIndex();
    QString currentName(); ///< Null when there is no current module.
    const QtAppModuleProxy* currentModuleProxy() const;

    /// Emits the signals that describe the state of the list, for a selector that comes late:
    /// registered and, where it applies, disabled for every module, then activated. Changes
    /// nothing. In the middle of a change it waits until that is complete.
    void generateEvents();

    /// As the modules have them now; nobody is deactivated. For an end that may come at once.
    void storeConfigurations() const;

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
    /// What is asked for, until its turn comes.
    struct Request {
        std::function<int()> target;  ///< Of another module; out of range for none.
        std::function<void()> action; ///< Anything else.
    };
    class Depth;

    bool isIndex(int index) const; ///< In range, and the window has not taken the proxy along.
    int count() const { return static_cast<int>(m_proxies.size()); }
    QtAppModuleProxy* proxy(int index) const;
    QString name(int index) const;
    int findIndex(QString name) const;
    bool isAcceptable(QtAppModule* module) const;
    void warnOfSharedConfiguration(int index) const;
    void connectModule(QtAppModule* module);
    void disconnectModule(int index);

    bool isIdle() const { return m_switching == 0 && m_announcing == 0; }
    void request(Request request);
    void startCounting();
    Request takeRequest();
    void handleRequests();
    bool handleActions();
    bool isOtherModuleRequested() const;
    int laterTarget(int index, bool mayBeNone);

    void switchTo(int index);
    void enter(int index);
    bool leave(int index);
    void leaveAll();
    void setModuleEnabled(int index, bool enable);
    void replay();
    bool announce(const std::function<void()>& tell);

    QPointer<QtAppMainWindow> m_mainWindow;
    std::vector<QPointer<QtAppModuleProxy>> m_proxies;
    std::vector<std::vector<QMetaObject::Connection>> m_connections; // of each module
    int m_currentIndex = -1;
    int m_announcedIndex = -1; // the current one, unless it was passed through

    int m_announcedModules = 0; // as registered
    std::deque<Request> m_requests;
    bool m_isReplayWanted = false;
    int m_handledRequests = 0; // since the outermost call
    int m_handledActions = 0;
    int m_switching = 0;  // while modules are activated and deactivated
    int m_announcing = 0; // while somebody is told
};
