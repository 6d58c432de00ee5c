// What tracked tools cost the GUI: polls that change nothing, and a thousand poses a second from
// the network.

#include "Suites.h"

#include "Silence.h"
#include "Suite.h"

#include "Tools/SurgicalToolBox.h"
#include "Widgets/QtRigidVisibilityWidget.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>
#include <QtTest/QTest>

#include <algorithm>
#include <atomic>
#include <igtlTransformMessage.h>
#include <memory>
#include <stdexcept>

namespace {

constexpr double pollAim = 0.03;
constexpr double stallAim = 100; // milliseconds
constexpr int polls = 100;
constexpr int listenFor = 1000; // milliseconds
constexpr int posesPerSecond = 1000;
constexpr int patience = 20000; // milliseconds

// --- polls

/// Shows all markers, or all but the first.
class Alternating : public vlr::TrackingSource {
public:
    CaError start() override { return CaError::nullError; }
    void stop() override {}
    void see(bool first) {
        vlr::TrackingMeasurement measurement;
        measurement.tool = "Pointer";
        measurement.time = std::chrono::steady_clock::now();
        measurement.number = ++m_count;
        measurement.markers = {
            {100, -50, -1400}, {100, 0, -1400}, {60, -50, -1400}, {30, 10, -1400}};
        if (!first)
            measurement.markers[0] = vlr::hiddenPosition();
        auto snapshot = std::make_shared<vlr::TrackingSnapshot>();
        snapshot->isConnected = true;
        snapshot->tools["Pointer"].markers = measurement;
        publish(snapshot);
    }

private:
    std::uint64_t m_count = 0;
};

const vlr::ToolGeometry geometry{"Pointer", {{0, 0, 0}, {50, 0, 0}, {0, 40, 0}, {60, 70, 0}}};

class PolledTool {
public:
    PolledTool() {
        auto source = std::make_unique<Alternating>();
        m_source = source.get();
        (void)m_box.connectTo(std::move(source));
        m_window.resize(600, 60);
        m_widget = new QtRigidVisibilityWidget(m_box.addTool(geometry), &m_window);
        m_widget->setValuesShown(true, true);
        m_widget->resize(m_window.size());
        m_window.show();
        if (!QTest::qWaitForWindowExposed(&m_window))
            throw std::runtime_error("A window does not appear.");
        poll();
    }

    /// Seconds that a poll takes; what it finds is new in any case, the same or another.
    double poll(bool changes) {
        QElapsedTimer timer;
        qint64 nanoseconds = 0;
        for (int i = 0; i < polls; ++i) {
            m_first = m_first != changes;
            m_source->see(m_first);
            timer.start();
            poll();
            nanoseconds += timer.nsecsElapsed();
        }
        return static_cast<double>(nanoseconds) / 1e9 / polls;
    }

private:
    // What was asked for is painted when the posted events are delivered; a whole turn of the
    // event loop would add its own system calls.
    void poll() {
        QMetaObject::invokeMethod(m_widget, "update");
        QCoreApplication::sendPostedEvents();
    }

    SurgicalToolBox m_box;
    Alternating* m_source = nullptr;
    QWidget m_window;
    QtRigidVisibilityWidget* m_widget = nullptr;
    bool m_first = false;
};

Suite::Function pollsOf(const std::shared_ptr<PolledTool>& tool, bool changes) {
    return [tool, changes](benchmark::State& state) {
        for (auto _ : state)
            state.SetIterationTime(tool->poll(changes));
    };
}

// --- the network

/// Sends poses from a thread of its own until it is interrupted.
class Sender : public QThread {
public:
    std::atomic<int> port{0};
    std::atomic<int> sent{0};

private:
    void run() override {
        QTcpServer server;
        if (!server.listen(QHostAddress::LocalHost))
            return;
        port = server.serverPort();
        while (!isInterruptionRequested() && !server.waitForNewConnection(50)) {
        }
        QTcpSocket* peer = server.nextPendingConnection();
        QElapsedTimer timer;
        timer.start();
        while (peer && !isInterruptionRequested()) {
            while (sent < timer.elapsed() * posesPerSecond / 1000) {
                peer->write(pose(++sent));
                peer->waitForBytesWritten();
            }
            usleep(500);
        }
    }

    static QByteArray pose(int number) {
        auto message = igtl::TransformMessage::New();
        igtl::Matrix4x4 matrix = {
            {1, 0, 0, float(number % 100)}, {0, 1, 0, 0}, {0, 0, 1, -1400}, {0, 0, 0, 1}};
        message->SetDeviceName("Pointer");
        message->SetMatrix(matrix);
        message->Pack();
        return QByteArray(static_cast<const char*>(message->GetPackPointer()),
                          static_cast<int>(message->GetPackSize()));
    }
};

// The longest time between two turns of the event loop that has nothing else to do.
double longestStall(SurgicalToolBox& box) {
    QtRigidVisibilityWidget widget(box.getTool("Pointer"), nullptr);
    widget.setValuesShown(true, true);
    widget.show();
    widget.startTracking();
    QElapsedTimer total;
    QElapsedTimer turn;
    double longest = 0;
    QCoreApplication::processEvents();
    total.start();
    while (total.elapsed() < listenFor) {
        turn.start();
        QCoreApplication::processEvents();
        longest = std::max(longest, static_cast<double>(turn.nsecsElapsed()) / 1e6);
        QThread::usleep(200);
    }
    return longest;
}

// Where nothing was sent there is nothing to report.
double stallWithNetwork() {
    const Silence silence;
    SurgicalToolBox box;
    box.addTool(geometry);
    Sender sender;
    sender.start();
    QElapsedTimer timer;
    timer.start();
    while (sender.port == 0 && timer.elapsed() < patience)
        QThread::msleep(1);
    (void)box.connectTo(QStringLiteral("igtl://127.0.0.1:%1").arg(sender.port.load()));
    while (sender.sent == 0 && timer.elapsed() < patience)
        QThread::msleep(1);
    const int before = sender.sent;
    const double longest = longestStall(box);
    const int poses = sender.sent - before;
    sender.requestInterruption();
    sender.wait();
    if (poses == 0)
        throw std::runtime_error("No pose was sent.");
    return longest;
}

} // namespace

void addPoll(Suite& suite) {
    const auto tool = std::make_shared<PolledTool>();
    suite.compare({"unchanged",
                   "poll of a tool that did not move / one that repaints",
                   pollAim,
                   pollsOf(tool, false),
                   pollsOf(tool, true),
                   {},
                   true});
}

void addStall(Suite& suite) {
    suite.compare({"network",
                   "a second of listening to 1,000 poses",
                   -1,
                   [](benchmark::State& state) {
                       for (auto _ : state) {
                           state.counters["longest stall, ms"] = stallWithNetwork();
                           state.SetIterationTime(listenFor / 1e3);
                       }
                   },
                   nullptr,
                   {{"longest stall, ms", stallAim}},
                   true});
}
