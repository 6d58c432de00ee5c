// Measures what a tick of the progress monitor costs whoever calls it in a tight loop, as a share
// of what QProgressDialog::setValue() costs there. A round measures all of them, beginning with
// another one each time, so that whatever else slows the machine down meets them alike.

#include "BenchmarkMain.h"
#include "Statistics.h"

#include "Base/QtCaProgressMonitor.h"

#include <QtCore/QElapsedTimer>
#include <QtGui/QGuiApplication>
#include <QtTest/QTest>
#include <QtWidgets/QProgressDialog>

#include <array>
#include <cstdio>
#include <functional>
#include <stdexcept>

namespace {

constexpr double aim = 0.25;
constexpr int steps = 300000; // Enough for ticks to process events several times.

void awaitShown(QWidget& window) {
    const auto* dialog = window.findChild<QProgressDialog*>();
    if (!dialog || !QTest::qWaitFor([dialog] { return dialog->isVisible(); }))
        throw std::runtime_error("The progress dialog does not appear.");
}

/// Microseconds of one call, all but the last of an operation.
double timeOfOne(const std::function<void(int)>& call) {
    QElapsedTimer timer;
    timer.start();
    for (int step = 1; step < steps; ++step)
        call(step);
    return static_cast<double>(timer.nsecsElapsed()) / 1e3 / (steps - 1);
}

double timeTick(QWidget& window, bool counter) {
    CaProgressMonitor* const monitor = CaProgressMonitor::getInstance();
    monitor->setMinimumDuration(0);
    monitor->start("Reading slice ", steps, true, counter, 1);
    awaitShown(window);
    const double time = timeOfOne([monitor](int) { monitor->tick(); });
    if (monitor->getProgress() != steps - 1)
        throw std::runtime_error("Ticks were lost.");
    monitor->end();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    return time;
}

double timeSetValue(QWidget& window) {
    QProgressDialog dialog(QStringLiteral("Reading slice "), QStringLiteral("Cancel"), 0, steps,
                           &window);
    dialog.setModal(true);
    dialog.setMinimumDuration(0);
    dialog.setValue(0);
    awaitShown(window);
    return timeOfOne([&dialog](int step) { dialog.setValue(step); });
}

struct Result {
    Summary setValue;
    Summary tick;
    Summary tickWithCounter;
    Summary ratio;
    Summary ratioWithCounter;
};

Result measure(int rounds) {
    QWidget window;
    window.resize(600, 400);
    window.show();
    QtCaProgressMonitor::attach(&window);
    const std::array<std::function<double()>, 3> ways = {[&] { return timeSetValue(window); },
                                                         [&] { return timeTick(window, false); },
                                                         [&] { return timeTick(window, true); }};
    // The first of each loads what it needs.
    for (const auto& way : ways)
        way();
    std::array<std::vector<double>, 3> times;
    std::array<std::vector<double>, 3> ratios;
    for (std::size_t round = 0; round < static_cast<std::size_t>(rounds); ++round) {
        for (std::size_t turn = 0; turn < ways.size(); ++turn) {
            const std::size_t way = (round + turn) % ways.size();
            times[way].push_back(ways[way]());
        }
        for (std::size_t way = 0; way < ways.size(); ++way)
            ratios[way].push_back(times[way].back() / times[0].back());
    }
    return {Summary(times[0]), Summary(times[1]), Summary(times[2]), Summary(ratios[1]),
            Summary(ratios[2])};
}

void printVerdict(const char* what, const Summary& ratio) {
    std::printf("The aim is a ratio of at most %.2f: %s %s\n", aim,
                ratio.median <= aim ? "reached" : "missed", what);
}

void print(const Result& result) {
    std::printf("One call in a tight loop, %d rounds of %d calls, platform %s\n",
                static_cast<int>(result.ratio.samples.size()), steps - 1,
                QGuiApplication::platformName().toUtf8().constData());
    printHead();
    print("setValue(), us", result.setValue, 2);
    print("tick(), us", result.tick, 2);
    print("tick() and counter, us", result.tickWithCounter, 2);
    print("Ratio", result.ratio, 3);
    print("Ratio with counter", result.ratioWithCounter, 3);
    printVerdict("without counter", result.ratio);
    printVerdict("with counter", result.ratioWithCounter);
}

QJsonObject toJson(const Result& result) {
    return {
        {QStringLiteral("benchmark"), QStringLiteral("progress")},
        {QStringLiteral("platform"), QGuiApplication::platformName()},
        {QStringLiteral("rounds"), static_cast<int>(result.ratio.samples.size())},
        {QStringLiteral("calls"), steps - 1},
        {QStringLiteral("setValueMicroseconds"), result.setValue.toJson()},
        {QStringLiteral("tickMicroseconds"), result.tick.toJson()},
        {QStringLiteral("tickWithCounterMicroseconds"), result.tickWithCounter.toJson()},
        {QStringLiteral("ratio"), result.ratio.toJson()},
        {QStringLiteral("ratioWithCounter"), result.ratioWithCounter.toJson()},
        {QStringLiteral("aim"), aim},
    };
}

} // namespace

int main(int argc, char** argv) {
    return benchmarkMain(argc, argv,
                         "Compares a tick of the progress monitor with "
                         "QProgressDialog::setValue().",
                         [](int rounds) {
                             const Result result = measure(rounds);
                             print(result);
                             return toJson(result);
                         });
}
