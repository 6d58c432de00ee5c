// Measures the widgets of navigation and imaging: what a poll costs that changes nothing, what a
// repaint of an image costs that was scaled before, what a small overlay costs, and how long the
// GUI stands still while a thousand poses a second arrive from the network.

#include "Statistics.h"
#include "Tools/SurgicalToolBox.h"
#include "Widgets/QtRigidVisibilityWidget.h"
#include "Widgets/vlrImageWidget.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
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

constexpr int defaultRounds = 200;
constexpr int fewestRounds = 15;
constexpr int posesPerSecond = 1000;
constexpr int patience = 20000; // milliseconds

double microseconds(const std::function<void()>& work) {
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e3;
}

/// Two kinds of work that take turns, and how their medians compare.
struct Comparison {
    Summary small;
    Summary large;
    double ratio() const { return small.median / large.median; }
};

struct Work {
    int rounds;
    std::function<void()> prepare; ///< Not measured.
    std::function<void()> measured;
};

Comparison compare(const Work& small, const Work& large) {
    std::vector<double> smalls;
    std::vector<double> larges;
    for (int i = 0; i < small.rounds; ++i) {
        small.prepare();
        smalls.push_back(microseconds(small.measured));
        large.prepare();
        larges.push_back(microseconds(large.measured));
    }
    return {Summary(smalls), Summary(larges)};
}

Comparison compare(int rounds, const std::function<void()>& small,
                   const std::function<void()>& large) {
    return compare({rounds, [] {}, small}, {rounds, [] {}, large});
}

void repaint() {
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
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
    bool first = true;
    const auto prepare = [&](bool changes) { // new in any case, the same or another
        first = first != changes;
        source->see(first);
    };
    const auto poll = [&] {
        QMetaObject::invokeMethod(&widget, "update");
        repaint();
    };
    poll();
    return compare({rounds, [&] { prepare(false); }, poll}, {rounds, [&] { prepare(true); }, poll});
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
    repaint();
}

Comparison measureRepaint(int rounds) {
    vlr::ImageWidget widget;
    prepare(widget);
    std::vector<uchar> from(static_cast<std::size_t>(widget.width() * widget.height()) * 4, 1);
    std::vector<uchar> to(from.size());
    return compare(
        rounds, [&] { std::memcpy(to.data(), from.data(), from.size()); },
        [&] { widget.repaint(); });
}

Comparison measureOverlay(int rounds) {
    vlr::ImageWidget widget;
    prepare(widget);
    const auto spot = QSharedPointer<Spot>::create();
    widget.addPaintingOverlay(spot);
    repaint();
    return compare(
        rounds,
        [&] {
            emit spot->overlayChanged();
            repaint();
        },
        [&] {
            static_cast<QWidget&>(widget).update();
            repaint();
        });
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
double longestStall(SurgicalToolBox& box, int seconds) {
    QtRigidVisibilityWidget widget(box.getTool("Pointer"), nullptr);
    widget.setValuesShown(true, true);
    widget.show();
    widget.startTracking();
    QElapsedTimer total;
    QElapsedTimer turn;
    double longest = 0;
    repaint();
    total.start();
    while (total.elapsed() < seconds * 1000) {
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

Stalls measureStalls(int seconds) {
    SurgicalToolBox box;
    box.addTool(geometry);
    (void)box.connectTo();
    const double quiet = longestStall(box, seconds);
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
    const double busy = longestStall(box, seconds);
    const int poses = sender.sent - before;
    sender.requestInterruption();
    sender.wait();
    if (poses == 0)
        throw std::runtime_error("No pose was sent.");
    return {quiet, busy, poses};
}

// --- results

void print(const char* text, const Comparison& result, const char* aim) {
    std::printf("%-44s %9.1f us of %9.1f us: %6.3f  (aim: %s)\n", text, result.small.median,
                result.large.median, result.ratio(), aim);
}

QJsonObject toJson(const Comparison& result) {
    return {{QStringLiteral("small"), result.small.toJson()},
            {QStringLiteral("large"), result.large.toJson()},
            {QStringLiteral("ratio"), result.ratio()}};
}

void run(const QApplication& application) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Measures polling, repainting and receiving poses."));
    parser.addHelpOption();
    const QCommandLineOption rounds(
        QStringLiteral("rounds"),
        QStringLiteral("Measurements of each kind, at least %1.").arg(fewestRounds),
        QStringLiteral("N"), QString::number(defaultRounds));
    const QCommandLineOption seconds(QStringLiteral("seconds"),
                                     QStringLiteral("How long poses are received."),
                                     QStringLiteral("S"), QStringLiteral("5"));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Writes the numbers to the file as well."),
                                  QStringLiteral("FILE"));
    parser.addOptions({rounds, seconds, json});
    parser.process(application);
    const int count = parser.value(rounds).toInt();
    const int duration = parser.value(seconds).toInt();
    if (count < fewestRounds || duration < 1)
        throw std::runtime_error("That is too little to measure; see --help.");

    const Comparison polls = measurePolls(count);
    print("unchanged poll / repainting poll", polls, "at most 0.03");
    const Comparison painting = measureRepaint(count);
    print("memcpy of the pixels / cached repaint", painting, "near 1, at least 0.25");
    const Comparison overlay = measureOverlay(count);
    print("64 x 64 overlay change / full repaint", overlay, "at most 0.1");
    const Stalls stalls = measureStalls(duration);
    std::printf("longest turn of the GUI: %.2f ms with %d poses a second, %.2f ms without "
                "network  (aim: below 16 ms)\n",
                stalls.busy, stalls.poses / duration, stalls.quiet);
    if (!parser.isSet(json))
        return;
    const QJsonObject object{{QStringLiteral("polls"), toJson(polls)},
                             {QStringLiteral("painting"), toJson(painting)},
                             {QStringLiteral("overlay"), toJson(overlay)},
                             {QStringLiteral("quietStall"), stalls.quiet},
                             {QStringLiteral("busyStall"), stalls.busy},
                             {QStringLiteral("poses"), stalls.poses}};
    QFile file(parser.value(json));
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(object).toJson()) < 0)
        throw std::runtime_error("Cannot write the file with the numbers.");
}

} // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    try {
        run(application);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
    return 0;
}
