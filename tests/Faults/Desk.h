#pragma once

#include "Cases.h"

#include "AppBase/QtAppModule.h"
#include "Base/QtCaProgressMonitor.h"
#include "Data/Patient.h"
#include "DataUtils/DataFactory.h"
#include "DataUtils/QtPatientConfigurationWidget.h"
#include "Support/CommandLine.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>

#include <utility>

// What the kinds of fault share that do things to windows.

/// The dialog that has to be answered now, if there is one.
inline QPointer<QDialog> modalDialog() {
    return qobject_cast<QDialog*>(QApplication::activeModalWidget());
}

/// Runs a dialog, which may go with its owner.
template <class Dialog, class... Arguments>
void exec(Arguments&&... arguments) {
    const QPointer<QDialog> dialog = new Dialog(std::forward<Arguments>(arguments)...);
    dialog->exec();
    delete dialog.data();
}

/// Does something at every turn of the event loop, as long as it lives.
class EveryTurn {
public:
    explicit EveryTurn(const std::function<void()>& act, int milliseconds = 1) {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, act);
        m_timer.start(milliseconds);
    }

private:
    QTimer m_timer;
};

/// An operation of a tenth of a second, with its dialog over the window.
inline void showProgress(QWidget* window, const char* label) {
    QtCaProgressMonitor::attach(window);
    CaProgressMonitor& progress = *CaProgressMonitor::getInstance();
    progress.setMinimumDuration(0);
    progress.start(label, 0, true, true, 1);
    QElapsedTimer time;
    for (time.start(); !time.hasExpired(100);)
        progress.tick();
    progress.end();
}

inline void linkPatientForm() {
    createQtPatientConfigurationWidgetFactory();
    linkDataToWidget(Patient::className, "QtPatientConfigurationWidget", "",
                     DataFactory::configurationRecord, "");
}

/// A module with a view of its own, which may be taken away.
class DeskModule : public QtAppModule {
public:
    explicit DeskModule(const QString& name, QWidget* view = new QWidget)
        : QtAppModule(name, false), m_view(view) {}
    ~DeskModule() override { delete m_view.data(); }
    void activate() override { onSwitch(); }
    void deactivate() override { onSwitch(); }
    QWidget* getMainWidget() override { return m_view; }

    std::function<void()> onSwitch = [] {};

private:
    QPointer<QWidget> m_view;
};

/// All cases of the act, of which none may end with a text that says `badness`, crash or go on for
/// ever.
inline void demandCases(Report& report, const char* act, std::size_t count, const char* badness) {
    const auto all = static_cast<long>(count);
    report.count("cases", judgeCases(report, QLatin1String(act), all, badness), all);
}
