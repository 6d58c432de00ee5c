#include "Tour/TourActions.h"

#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtGui/QPainter>
#include <QtGui/QScreen>
#include <QtGui/QWheelEvent>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>

#include <exception>
#include <iostream>

namespace {

constexpr int patience = 60000;
constexpr int pollInterval = 10;

} // namespace

TourActions::TourActions(QWidget* window, const QString& folder)
    : m_window(window), m_folder(folder) {
    expect(QTest::qWaitForWindowExposed(window, patience), "the window does not appear");
}

QWidget* TourActions::findWidget(const char* name) const {
    const QWidget* dialog = QApplication::activeModalWidget();
    const auto widgets =
        (dialog ? dialog : m_window)->findChildren<QWidget*>(QString::fromLatin1(name));
    // Every module's context widget has some of them.
    for (QWidget* widget : widgets)
        if (widget->isVisible())
            return widget;
    return nullptr;
}

void TourActions::click(const char* name) const {
    click(find(name));
}

void TourActions::click(QWidget* widget) const {
    expect(widget->isEnabled(), widget->objectName().toStdString() + " is disabled");
    QTest::mouseClick(widget, Qt::LeftButton);
}

void TourActions::type(QWidget* widget, const QString& text) const {
    widget->setFocus();
    QTest::keyClicks(widget, text);
}

void TourActions::key(QWidget* widget, Qt::Key key) const {
    QTest::keyClick(widget, key);
}

void TourActions::turnWheel(QWidget* widget, int notches) const {
    const QPointF centre(widget->rect().center());
    const QPoint angle(0, -120 * notches);
    QWheelEvent event(centre, widget->mapToGlobal(centre.toPoint()), {}, angle, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QCoreApplication::sendEvent(widget, &event);
}

void TourActions::inDialog(const std::function<void()>& open,
                           const std::function<void(QWidget*)>& drive) {
    inDialogs(open, {[&](QWidget* dialog) {
                  drive(dialog);
                  return true;
              }});
}

// A dialog has an event loop of its own, from which the driving is called.
void TourActions::inDialogs(const std::function<void()>& open,
                            const std::vector<std::function<bool(QWidget*)>>& drives) {
    std::exception_ptr failure;
    std::size_t next = 0;
    bool isBusy = false;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
        const QPointer<QWidget> dialog = QApplication::activeModalWidget();
        if (isBusy || !dialog || failure || next == drives.size())
            return;
        isBusy = true;
        try {
            expect(QTest::qWaitForWindowExposed(dialog, patience), "a dialog does not appear");
            if (drives[next](dialog))
                ++next;
        } catch (...) {
            failure = std::current_exception();
            if (dialog)
                dialog->close();
        }
        isBusy = false;
    });
    timer.start(pollInterval);
    open();
    if (failure)
        std::rethrow_exception(failure);
    expect(next == drives.size(), "no dialog opened");
}

void TourActions::waitFor(const std::function<bool()>& condition, const std::string& what) const {
    expect(QTest::qWaitFor(condition, patience), "waited in vain for " + what);
}

void TourActions::expect(bool condition, const std::string& what) const {
    if (!condition)
        throw TourFailure(what);
}

// --- pictures

namespace {

bool isOneColour(const QImage& picture) {
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (picture.pixel(x, y) != picture.pixel(0, 0))
                return false;
    return true;
}

} // namespace

QPixmap TourActions::grab() const {
    QWidget* const dialog = QApplication::activeModalWidget();
    if (QGuiApplication::platformName() == QLatin1String("xcb")) {
        const QRect area(m_window->mapToGlobal({0, 0}), m_window->size());
        return m_window->screen()->grabWindow(0, area.x(), area.y(), area.width(), area.height());
    }
    QPixmap picture = m_window->grab();
    if (dialog) {
        QPainter painter(&picture);
        painter.drawPixmap(dialog->pos() - m_window->pos(), dialog->grab());
    }
    return picture;
}

void TourActions::picture(const char* name) const {
    // What was changed last is to be in its place and on the screen.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (widget->isVisible())
            widget->repaint();
    QCoreApplication::processEvents();
    const QString file = QString::fromLatin1(name) + QStringLiteral(".png");
    const QString path = m_folder + QLatin1Char('/') + file;
    const QPixmap shown = grab();
    expect(!isOneColour(shown.toImage()), "there is nothing to be seen in " + file.toStdString());
    expect(shown.save(path), "cannot write " + path.toStdString());
    std::cout << file.toStdString() << std::endl;
}
