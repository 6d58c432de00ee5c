#pragma once

#include <QtCore/QAbstractEventDispatcher>
#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMessageBox>

#include <functional>
#include <gtest/gtest.h>
#include <list>

namespace vlrTest {

/// Whoever waits for a dialog: is it this one?
inline std::list<std::function<bool(QWidget*)>>& awaitedDialogs() {
    static std::list<std::function<bool(QWidget*)>> dialogs;
    return dialogs;
}

/// Fails the test and closes the box as soon as the event loop has nothing to do but to wait for an
/// answer that nobody will give. For Q_COREAPP_STARTUP_FUNCTION.
inline void failAtUnansweredBoxes() {
    const auto check = [] {
        auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        for (const auto& isAwaited : awaitedDialogs())
            if (isAwaited(box))
                return;
        ADD_FAILURE() << "Nobody answers: " << box->text().toStdString();
        box->reject();
    };
    const auto watch = [check] {
        QObject* const application = QCoreApplication::instance();
        if (qobject_cast<QApplication*>(application)) // Others have no boxes.
            QObject::connect(QAbstractEventDispatcher::instance(),
                             &QAbstractEventDispatcher::aboutToBlock, application, check);
    };
    QMetaObject::invokeMethod(QCoreApplication::instance(), watch, Qt::QueuedConnection);
}

/// Runs `drive` on the next modal dialog of the class that opens, as a user would.
template <class Dialog>
void inNextDialog(std::function<void(Dialog&)> drive) {
    auto* timer = new QTimer(qApp);
    const auto awaited = awaitedDialogs().insert(awaitedDialogs().end(), [](QWidget* widget) {
        return qobject_cast<Dialog*>(widget) != nullptr;
    });
    QObject::connect(timer, &QTimer::timeout, timer, [timer, drive, awaited] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        timer->deleteLater();
        timer->stop();
        const auto entry = awaited; // Nothing of this function may be left after it.
        drive(*dialog);
        awaitedDialogs().erase(entry);
    });
    timer->start(1);
}

/// Runs `answer` on the next message box that opens, as a user would click on it.
inline void answerNextMessageBox(std::function<void(QMessageBox&)> answer) {
    inNextDialog<QMessageBox>(std::move(answer));
}

} // namespace vlrTest
