#pragma once

#include "Data/Patient.h"
#include "DataUtils/DataFactory.h"
#include "DataUtils/QtPatientConfigurationWidget.h"

#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QDialog>

#include <functional>
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

inline void linkPatientForm() {
    createQtPatientConfigurationWidgetFactory();
    linkDataToWidget(Patient::className, "QtPatientConfigurationWidget", "",
                     DataFactory::configurationRecord, "");
}
