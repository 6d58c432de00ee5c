#include "Common/AfterFirstPaint.h"

#include <QtCore/QEvent>
#include <QtCore/QTimer>
#include <QtWidgets/QWidget>

namespace {

class FirstPaintFilter : public QObject {
public:
    FirstPaintFilter(QWidget* widget, std::function<void()> action)
        : QObject(widget), m_action(std::move(action)) {
        widget->installEventFilter(this);
    }

private:
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint) {
            watched->removeEventFilter(this);
            // The paint event is only about to be handled, and its siblings are still to come.
            QTimer::singleShot(0, this, [this] {
                deleteLater();
                m_action();
            });
        }
        return false;
    }

    std::function<void()> m_action;
};

} // namespace

void afterFirstPaint(QWidget* widget, std::function<void()> action) {
    new FirstPaintFilter(widget, std::move(action));
}
