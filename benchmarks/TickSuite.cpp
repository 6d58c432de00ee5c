// What a tick of the progress monitor costs whoever calls it in a tight loop.

#include "Suites.h"

#include "Suite.h"

#include "Base/QtCaProgressMonitor.h"

#include <QtTest/QTest>
#include <QtWidgets/QProgressDialog>

#include <limits>
#include <memory>

namespace {

constexpr double aim = 0.25;
constexpr int steps = std::numeric_limits<int>::max() / 2;

bool isDialogShown(const QWidget& window) {
    const auto* const dialog = window.findChild<QProgressDialog*>();
    return dialog && QTest::qWaitFor([dialog] { return dialog->isVisible(); });
}

Suite::Function tickWith(const std::shared_ptr<QWidget>& window, bool counter) {
    return [window, counter](benchmark::State& state) {
        QtCaProgressMonitor::attach(window.get());
        CaProgressMonitor* const monitor = CaProgressMonitor::getInstance();
        monitor->setMinimumDuration(0);
        monitor->start("Reading slice ", steps, true, counter, 1);
        if (!isDialogShown(*window))
            state.SkipWithError("The progress dialog does not appear.");
        for (auto _ : state)
            monitor->tick();
        monitor->end();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
}

void setValues(benchmark::State& state, QWidget& window) {
    QProgressDialog dialog(QStringLiteral("Reading slice "), QStringLiteral("Cancel"), 0, steps,
                           &window);
    dialog.setModal(true);
    dialog.setMinimumDuration(0);
    dialog.setValue(0);
    if (!isDialogShown(window))
        state.SkipWithError("The progress dialog does not appear.");
    int step = 0;
    for (auto _ : state)
        dialog.setValue(++step);
}

} // namespace

void addTick(Suite& suite) {
    const auto window = std::make_shared<QWidget>();
    window->resize(600, 400);
    window->show();
    const auto theirs = [window](benchmark::State& state) { setValues(state, *window); };
    suite.compare(
        {"plain", "tick() / QProgressDialog::setValue()", aim, tickWith(window, false), theirs});
    suite.compare({"counter", "tick() with counter / QProgressDialog::setValue()", aim,
                   tickWith(window, true), theirs});
}
