#pragma once

#include <QtCore/QTimer>
#include <QtWidgets/QApplication>
#include <QtWidgets/QMessageBox>

#include <functional>

namespace vlrTest {

/// Runs `answer` on the next message box that opens, as a user would click on it.
inline void answerNextMessageBox(std::function<void(QMessageBox&)> answer) {
    auto* timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, timer, [timer, answer] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        timer->deleteLater();
        timer->stop();
        answer(*box);
    });
    timer->start(1);
}

} // namespace vlrTest
