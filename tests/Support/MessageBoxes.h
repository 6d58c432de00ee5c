#pragma once

#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMessageBox>

#include <functional>

namespace vlrTest {

/// Runs `drive` on the next modal dialog of the class that opens, as a user would.
template <class Dialog>
void inNextDialog(std::function<void(Dialog&)> drive) {
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, drive] {
        auto* dialog = qobject_cast<Dialog*>(QApplication::activeModalWidget());
        if (!dialog)
            return;
        timer->deleteLater();
        timer->stop();
        drive(*dialog);
    });
    timer->start(1);
}

/// Runs `answer` on the next message box that opens, as a user would click on it.
inline void answerNextMessageBox(std::function<void(QMessageBox&)> answer) {
    inNextDialog<QMessageBox>(std::move(answer));
}

} // namespace vlrTest
