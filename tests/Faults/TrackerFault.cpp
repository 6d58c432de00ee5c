// A tracker that goes away, and markers that vanish while somebody looks.

#include "Faults.h"

#include "Desk.h"
#include "Navigation/HandTracker.h"
#include "QuietLog.h"

#include "Tracking/OpenIGTLinkClient.h"
#include "Widgets/QtDRBVisibilityBox.h"
#include "Widgets/QtRigidVisibilityWidget.h"

#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include <atomic>
#include <limits>
#include <thread>

using vlrTest::fourMarkers;

namespace {

constexpr int stepsPerCase = 100;
constexpr std::chrono::milliseconds pollInterval(100); // of the widgets
constexpr int mostPolls = 2;
constexpr int patience = 60000; // milliseconds
const std::string name = fourMarkers().name;

std::vector<Vector3d> markers(int hidden, const Vector3d& hiddenAt = vlr::hiddenPosition()) {
    std::vector<Vector3d> all;
    for (const Vector3d& marker : fourMarkers().markers)
        all.push_back(marker + Vector3d(100, -50, -1400));
    std::fill_n(all.begin(), hidden, hiddenAt);
    return all;
}

// The widgets of an application, polled by hand.
struct Scene : vlrTest::HandBox {
    Scene() {
        (void)group.addRigid(tool);
        widget.setSurgicalTool(tool, false);
    }
    void see(const std::vector<Vector3d>& seen) { source->setMarkers(name, seen); }
    [[nodiscard]] QList<QtRigidVisibilityWidget*> widgets() {
        return group.findChildren<QtRigidVisibilityWidget*>() << &widget;
    }
    void updateWidgets() {
        for (QtRigidVisibilityWidget* each : widgets())
            QMetaObject::invokeMethod(each, "update");
    }
    void poll() {
        time.advance(pollInterval);
        updateWidgets();
        QMetaObject::invokeMethod(&group, "updateSL");
    }
    [[nodiscard]] bool showsPointer() {
        SurgicalTool* const shown = box ? box->getTool(name) : nullptr;
        const auto all = widgets();
        return (shown && shown->getRigidBody()->hasPose()) ||
               std::any_of(all.begin(), all.end(), [](auto* each) { return each->isVisible(); });
    }

    QtDRBVisibilityBox group{nullptr};
    QtRigidVisibilityWidget widget{nullptr};
};

struct Harm {
    const char* name;
    bool isFinal; // for the scene, or of the source, and may happen while it is asked
    void (*inflict)(Scene&);
};

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

const Harm harms[] = {{"connection lost", false, [](Scene& s) { s.source->setConnected(false); }},
                      {"all markers hidden", false, [](Scene& s) { s.see(markers(4)); }},
                      {"two markers hidden", false, [](Scene& s) { s.see(markers(2)); }},
                      {"markers that are no numbers", false,
                       [](Scene& s) { s.see(markers(3, Vector3d(nan, nan, nan))); }},
                      {"no marker told", false, [](Scene& s) { s.see(std::vector<Vector3d>()); }},
                      {"tool not told", false, [](Scene& s) { s.source->forgetTools(); }},
                      {"silence", false, [](Scene& s) { s.time.advance(vlr::freshFor); }},
                      {"another source", true, [](Scene& s) { s.connectSource(); }},
                      {"source taken away", true, [](Scene& s) { s.box->disconnect(); }},
                      {"tool unplugged", true, [](Scene& s) { (void)s.box->removeTool(name); }},
                      {"tool box destroyed", true, [](Scene& s) { s.box.reset(); }}};

std::string step(std::unique_ptr<Scene>& scene, QRandomGenerator& random) {
    if (!scene)
        scene = std::make_unique<Scene>();
    scene->source->setConnected(true);
    scene->see(markers(0));
    scene->poll();
    if (!scene->showsPointer())
        return "the tool is not found";
    const Harm& harm = harms[random.bounded(static_cast<int>(std::size(harms)))];
    bool isDone = false;
    const auto inflictOnce = [&] {
        if (!std::exchange(isDone, true))
            harm.inflict(*scene);
    };
    const int when = random.bounded(3);
    if (when == 1) { // while a widget tells of a poll
        const auto inside = QObject::connect(
            &scene->widget, &QtRigidVisibilityWidget::rigidVisibleSIG, &scene->widget, inflictOnce);
        scene->poll();
        QObject::disconnect(inside);
    } else if (when == 2 && !harm.isFinal) {
        scene->source->whileAsked = inflictOnce;
        scene->poll();
    }
    inflictOnce(); // between two polls
    int polls = 0;
    for (; scene->showsPointer() && polls <= mostPolls; ++polls)
        scene->poll();
    if (harm.isFinal)
        scene.reset();
    return polls > mostPolls ? std::string(harm.name) + ": still shown" : "";
}

// A source whose thread changes its mind as fast as it can, and at last sees nothing.
std::string flicker() {
    Scene scene;
    std::atomic<bool> goesOn{true};
    std::thread thread([&] {
        for (int i = 0; goesOn || i < 10; ++i)
            scene.see(markers(i % 5));
        scene.see(markers(4));
    });
    for (int i = 0; i < 20; ++i)
        scene.updateWidgets();
    goesOn = false;
    thread.join();
    scene.poll();
    return scene.showsPointer() ? "a flickering tool is still shown" : "";
}

// --- a tracker of another process

void start(QProcess& server, quint16& port) {
    server.start(QStringLiteral(VLR_IGTL_SERVER), {QString::number(port)});
    while (!server.canReadLine())
        if (!server.waitForReadyRead(patience))
            throw std::runtime_error(server.errorString().toStdString());
    port = server.readLine().trimmed().mid(5).toUShort();
    server.write("see 0 1 2 3\n");
}

std::string killServers(int kills) {
    QProcess server;
    vlr::OpenIGTLinkClient::Options options;
    start(server, options.port = 0);
    SurgicalToolBox box;
    options.host = QStringLiteral("127.0.0.1");
    options.firstPause = options.longestPause = std::chrono::milliseconds(20);
    QtDRBVisibilityBox group(nullptr);
    (void)group.addRigid(box.addTool(fourMarkers()));
    (void)box.connectTo(std::make_unique<vlr::OpenIGTLinkClient>(options));
    bool isSeen = false;
    int pollsSeen = 0;
    QObject::connect(&group, &QtDRBVisibilityBox::allRigidsVisible, &group, [&](bool isVisible) {
        isSeen = isVisible;
        pollsSeen += isVisible ? 1 : 0;
    });
    group.startTracking();
    int worst = 0;
    for (int i = 0; i < kills; ++i) {
        if (i > 0)
            start(server, options.port);
        if (!QTest::qWaitFor([&] { return isSeen; }, patience))
            return "the tracker is not found again";
        server.kill();
        server.waitForFinished(patience);
        pollsSeen = 0;
        if (!QTest::qWaitFor([&] { return !isSeen; }, patience))
            return "the dead tracker's tool stays";
        worst = std::max(worst, pollsSeen);
    }
    reportDone(std::to_string(kills) + " network trackers killed");
    reportAtMost("polls that showed the tool of a killed tracker", worst, mostPolls);
    return {};
}

} // namespace

int actTrack(const QStringList& arguments) {
    const QuietLog quiet;
    return doCases(arguments, [](long number) {
        if (number == 0)
            return killServers(isLongForm() ? 200 : 3);
        std::unique_ptr<Scene> scene;
        QRandomGenerator random(static_cast<quint32>(number));
        std::string wrong = flicker();
        for (int i = 0; i < stepsPerCase && wrong.empty(); ++i)
            wrong = step(scene, random);
        return wrong;
    });
}

void faultTracker(Report& report) {
    const long steps = report.extent(500, 10000);
    report.done(std::to_string(steps) + " times a tool lost, between and inside of polls");
    demandCases(report, "track", 1 + static_cast<std::size_t>(steps / stepsPerCase),
                "runs in which \"lost\" came later than two polls");
}
