#include "Gui/GuiTest.h"

#include <QtCore/QEvent>

namespace vlrTest {

Q_COREAPP_STARTUP_FUNCTION(failAtUnansweredBoxes)

void showActive(QWidget& widget) {
    widget.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&widget));
    widget.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&widget));
}

QBoxLayout* controlLayout(const QtAppMainWindow& window) {
    const QWidget* area = window.findChild<QSplitter*>()->widget(0);
    return qobject_cast<QBoxLayout*>(area->layout());
}

QBoxLayout* contextLayout(const QtAppMainWindow& window) {
    return controlLayout(window)->findChild<QBoxLayout*>();
}

std::string take(QStringList& list, const char* separator) {
    const std::string text = list.join(QLatin1String(separator)).toStdString();
    list.clear();
    return text;
}

GuiTest::GuiTest() : m_application(m_line.count, m_line.words) {}

PaintCounter::PaintCounter(QWidget& widget) {
    widget.installEventFilter(this);
    for (QWidget* child : widget.findChildren<QWidget*>())
        child->installEventFilter(this);
}

bool PaintCounter::eventFilter(QObject* watched, QEvent* event) {
    const QEvent::Type type = event->type();
    paints += type == QEvent::Paint || type == QEvent::UpdateRequest ? 1 : 0;
    return QObject::eventFilter(watched, event);
}

RecordingModule::RecordingModule(const QString& name, QStringList* calls, bool lockView)
    : QtAppModule(name, lockView), m_calls(calls) {}

RecordingModule::~RecordingModule() {
    record("deleted");
    delete mainWidget.data();
}

void RecordingModule::record(const char* what) {
    if (m_calls)
        *m_calls << name() + QLatin1Char(' ') + QLatin1String(what);
}

void RecordingModule::activate() {
    record(isActive() ? "activate" : "activate while inactive");
    // The hook may destroy the module, and with it itself.
    if (const auto hook = onActivate)
        hook();
}

void RecordingModule::deactivate() {
    record(isActive() ? "deactivate" : "deactivate while inactive");
    if (const auto hook = onDeactivate)
        hook();
}

QWidget* RecordingModule::getMainWidget() {
    record("getMainWidget");
    QWidget* const widget = mainWidget;
    if (const auto hook = onMainWidget)
        hook();
    return widget;
}

} // namespace vlrTest
