// Measures the widgets of navigation and imaging: what a poll costs that changes nothing, what a
// repaint of an image costs that was scaled before, what a small overlay costs, and how long the
// GUI stands still while a thousand poses a second arrive from the network.

#include "BenchmarkMain.h"
#include "Statistics.h"
#include "Tools/SurgicalToolBox.h"
#include "Widgets/QtRigidVisibilityWidget.h"
#include "Widgets/vlrImageWidget.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>
#include <QtGui/QPainter>
#include <QtNetwork/QTcpServer>
#include <QtNetwork/QTcpSocket>
#include <QtWidgets/QApplication>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <functional>
#include <igtlTransformMessage.h>
#include <stdexcept>

namespace {

constexpr double pollAim = 0.03;
constexpr double repaintAim = 1.15;
constexpr double overlayAim = 0.02;
constexpr double stallAim = 100; // milliseconds

constexpr int callsPerRound = 20;
constexpr int listenFor = 5; // seconds
constexpr int posesPerSecond = 1000;
constexpr int patience = 20000; // milliseconds

double microseconds(const std::function<void()>& work) {
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e3;
}

/// Two kinds of work that take turns, round by round, and how their medians compare.
struct Comparison {
    Summary measured;
    Summary reference;
    double ratio() const { return measured.median / reference.median; }
};

struct Work {
    std::function<void()> work;
    std::function<void()> prepare = [] {}; ///< Not measured.
};

Comparison compare(int rounds, const Work& measured, const Work& reference) {
    std::vector<double> times[2];
    for (int round = 0; round < rounds; ++round)
        for (const Work* each : {&measured, &reference})
            for (int call = 0; call < callsPerRound; ++call) {
                each->prepare();
                times[each == &reference ? 1 : 0].push_back(microseconds(each->work));
            }
    return {Summary(times[0]), Summary(times[1])};
}

// A window that was shown is painted only once the platform has told so.
void settle() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
}

// What was asked for is painted when the posted events are delivered; a whole turn of the event
// loop would add its own system calls.
void paintPending() {
    QCoreApplication::sendPostedEvents();
}

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

Comparison measurePolls(int rounds) {
    SurgicalToolBox box;
    auto made = std::make_unique<Alternating>();
    Alternating* source = made.get();
    (void)box.connectTo(std::move(made));
    QWidget window;
    window.resize(600, 60);
    auto& widget = *new QtRigidVisibilityWidget(box.addTool(geometry), &window);
    widget.setValuesShown(true, true);
    widget.resize(window.size());
    window.show();
    settle();
    bool first = true;
    const auto prepare = [&](bool changes) { // new in any case, the same or another
        first = first != changes;
        source->see(first);
    };
    const auto poll = [&] {
        QMetaObject::invokeMethod(&widget, "update");
        paintPending();
    };
    poll();
    return compare(rounds, {poll, [&] { prepare(false); }}, {poll, [&] { prepare(true); }});
}

// --- the image

class Spot : public vlr::PaintingOverlay {
public:
    void paint(QPainter* painter) override { painter->fillRect(boundingRect(), Qt::green); }
    QRectF boundingRect() const override { return {100, 100, 64, 64}; }
};

QImage picture() {
    QImage image(2000, 1500, QImage::Format_Grayscale16);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            reinterpret_cast<quint16*>(image.scanLine(y))[x] = static_cast<quint16>(x * 30 + y);
    return image;
}

void prepare(vlr::ImageWidget& widget) {
    widget.resize(1200, 900);
    widget.setScalingMode(vlr::ImageWidget::Centered, vlr::ImageWidget::Smooth);
    widget.setImage(picture());
    widget.show();
    settle();
}

Comparison measureRepaint(int rounds) {
    vlr::ImageWidget widget;
    prepare(widget);
    std::vector<uchar> from(static_cast<std::size_t>(widget.width() * widget.height()) * 4, 1);
    std::vector<uchar> to(from.size());
    return compare(rounds, {[&] { widget.repaint(); }},
                   {[&] { std::memcpy(to.data(), from.data(), from.size()); }});
}

Comparison measureOverlay(int rounds) {
    vlr::ImageWidget widget;
    prepare(widget);
    const auto spot = QSharedPointer<Spot>::create();
    widget.addPaintingOverlay(spot);
    settle();
    const auto changeOverlay = [&] {
        emit spot->overlayChanged();
        paintPending();
    };
    const auto paintAll = [&] {
        widget.update();
        paintPending();
    };
    return compare(rounds, {changeOverlay}, {paintAll});
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
    settle();
    total.start();
    while (total.elapsed() < listenFor * 1000) {
        turn.start();
        QCoreApplication::processEvents();
        longest = std::max(longest, static_cast<double>(turn.nsecsElapsed()) / 1e6);
        QThread::usleep(200);
    }
    return longest;
}

struct Stalls {
    double quiet; ///< Milliseconds, with the simulated camera.
    double busy;  ///< With the network.
    int poses;
};

Stalls measureStalls() {
    SurgicalToolBox box;
    box.addTool(geometry);
    (void)box.connectTo();
    const double quiet = longestStall(box);
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
    const double busy = longestStall(box);
    const int poses = sender.sent - before;
    sender.requestInterruption();
    sender.wait();
    if (poses == 0)
        throw std::runtime_error("No pose was sent.");
    return {quiet, busy, poses};
}

// --- results

struct Result {
    Comparison poll;
    Comparison repaint;
    Comparison overlay;
    Stalls stalls;
};

Result measure(int rounds) {
    return {measurePolls(rounds), measureRepaint(rounds), measureOverlay(rounds), measureStalls()};
}

const char* verdict(double value, double aim) {
    return value <= aim ? "reached" : "missed";
}

void print(const char* measured, const char* reference, const Comparison& result, double aim) {
    print(measured, result.measured, 1);
    print(reference, result.reference, 1);
    std::printf("The ratio is %.3f; the aim is at most %.2f: %s\n\n", result.ratio(), aim,
                verdict(result.ratio(), aim));
}

void print(const Result& result) {
    std::printf("%d calls of each kind, platform %s\n",
                static_cast<int>(result.poll.measured.samples.size()),
                QGuiApplication::platformName().toUtf8().constData());
    printHead();
    print("Unchanged poll, us", "Repainting poll, us", result.poll, pollAim);
    print("Cached repaint, us", "memcpy of its pixels, us", result.repaint, repaintAim);
    print("64 x 64 overlay, us", "Full repaint, us", result.overlay, overlayAim);
    std::printf(
        "Longest stall of the GUI: %.1f ms with %d poses a second, %.1f ms without network; "
        "the aim is at most %.0f ms: %s\n",
        result.stalls.busy, result.stalls.poses / listenFor, result.stalls.quiet, stallAim,
        verdict(result.stalls.busy, stallAim));
}

QJsonObject toJson(const Comparison& result, double aim) {
    return {{QStringLiteral("microseconds"), result.measured.toJson()},
            {QStringLiteral("referenceMicroseconds"), result.reference.toJson()},
            {QStringLiteral("ratio"), result.ratio()},
            {QStringLiteral("aim"), aim}};
}

QJsonObject toJson(const Result& result) {
    return {
        {QStringLiteral("benchmark"), QStringLiteral("imaging")},
        {QStringLiteral("platform"), QGuiApplication::platformName()},
        {QStringLiteral("poll"), toJson(result.poll, pollAim)},
        {QStringLiteral("repaint"), toJson(result.repaint, repaintAim)},
        {QStringLiteral("overlay"), toJson(result.overlay, overlayAim)},
        {QStringLiteral("quietStallMilliseconds"), result.stalls.quiet},
        {QStringLiteral("stallMilliseconds"), result.stalls.busy},
        {QStringLiteral("stallAimMilliseconds"), stallAim},
        {QStringLiteral("poses"), result.stalls.poses},
    };
}

} // namespace

int main(int argc, char** argv) {
    return benchmarkMain(argc, argv, "Measures polling, repainting and receiving poses.",
                         [](int rounds) {
                             const Result result = measure(rounds);
                             print(result);
                             return toJson(result);
                         });
}
