// A tracker that goes away, and markers that vanish while somebody looks.

#include "Faults.h"

#include "Cases.h"
#include "QuietLog.h"

#include "Tools/SurgicalToolBox.h"
#include "Tracking/OpenIGTLinkClient.h"
#include "Widgets/QtDRBVisibilityBox.h"
#include "Widgets/QtRigidVisibilityWidget.h"

#include <QtCore/QProcess>
#include <QtCore/QRandomGenerator>
#include <QtTest/QTest>

#include <algorithm>
#include <atomic>
#include <limits>
#include <thread>

namespace {

constexpr int stepsPerCase = 100;
constexpr std::chrono::milliseconds pollInterval(100); // of the widgets
constexpr int mostPolls = 2;
constexpr int patience = 60000; // milliseconds

vlr::ToolGeometry geometry(const std::string& name) {
    return {name, {{0, 0, 0}, {50, 0, 0}, {0, 40, 0}, {60, 70, 0}}};
}

vlr::TrackingTime handTime{std::chrono::hours(1)}; // moves at the polls only

// Says what it is told to say, and may change its mind while it is asked.
class HandSource : public vlr::TrackingSource {
public:
    CaError start() override {
        setConnected(true);
        return CaError::nullError;
    }
    void stop() override {}
    std::shared_ptr<const vlr::TrackingSnapshot> latest() override {
        const auto answer = TrackingSource::latest();
        if (const auto harm = std::exchange(whileAsked, nullptr))
            harm();
        return answer;
    }
    void setConnected(bool isConnected) {
        m_snapshot.isConnected = isConnected;
        publish(std::make_shared<vlr::TrackingSnapshot>(m_snapshot));
    }
    void see(const std::string& tool, const std::vector<Vector3d>& markers) {
        vlr::TrackingMeasurement measurement;
        measurement.tool = tool;
        measurement.time = handTime;
        measurement.markers = markers;
        measurement.number = ++m_count;
        m_snapshot.tools[tool].markers = measurement;
        publish(std::make_shared<vlr::TrackingSnapshot>(m_snapshot));
    }
    void forget() {
        m_snapshot.tools.clear();
        publish(std::make_shared<vlr::TrackingSnapshot>(m_snapshot));
    }

    std::function<void()> whileAsked;

private:
    vlr::TrackingSnapshot m_snapshot;
    std::uint64_t m_count = 0;
};

std::vector<Vector3d> markers(int hidden, const Vector3d& hiddenAt = vlr::hiddenPosition()) {
    std::vector<Vector3d> all;
    for (const Vector3d& marker : geometry({}).markers)
        all.push_back(marker + Vector3d(100, -50, -1400));
    std::fill_n(all.begin(), hidden, hiddenAt);
    return all;
}

// The widgets of an application, polled by hand.
struct Scene {
    Scene() { group.addRigid(box->addTool(geometry("Base"))); }

    // Everything is there and seen.
    void recover() {
        if (!box) {
            box = std::make_unique<SurgicalToolBox>([] { return handTime; });
            source = nullptr;
        }
        for (const char* name : {"Base", "Pointer"})
            if (!box->getTool(name))
                (void)group.addRigid(box->addTool(geometry(name)));
        if (widget.surgicalTool() != box->getTool("Pointer"))
            widget.setSurgicalTool(box->getTool("Pointer"), false);
        if (!source) {
            auto made = std::make_unique<HandSource>();
            source = made.get();
            (void)box->connectTo(std::move(made));
        }
        source->setConnected(true);
        seeAll();
    }
    void seeAll() const {
        for (const char* name : {"Base", "Pointer"})
            source->see(name, markers(0));
    }
    void poll() {
        handTime += pollInterval;
        for (auto* each : group.findChildren<QtRigidVisibilityWidget*>())
            QMetaObject::invokeMethod(each, "update");
        QMetaObject::invokeMethod(&widget, "update");
        QMetaObject::invokeMethod(&group, "updateSL");
    }
    [[nodiscard]] bool showsPointer() const {
        bool isShown = widget.isVisible();
        SurgicalTool* const tool = box ? box->getTool("Pointer") : nullptr;
        for (auto* each : group.findChildren<QtRigidVisibilityWidget*>())
            isShown = isShown || (tool && each->surgicalTool() == tool && each->isVisible());
        return isShown || (tool && tool->getRigidBody()->hasPose());
    }

    std::unique_ptr<SurgicalToolBox> box =
        std::make_unique<SurgicalToolBox>([] { return handTime; });
    HandSource* source = nullptr; // of the box
    QtDRBVisibilityBox group{nullptr};
    QtRigidVisibilityWidget widget{nullptr};
};

struct Harm {
    const char* name;
    void (*inflict)(Scene&);
    bool isOfSource = false; // and so may happen while the source is asked
};

const Harm harms[] = {
    {"connection lost", [](Scene& s) { s.source->setConnected(false); }, true},
    {"all markers hidden", [](Scene& s) { s.source->see("Pointer", markers(4)); }, true},
    {"two markers hidden", [](Scene& s) { s.source->see("Pointer", markers(2)); }, true},
    {"markers that are no numbers",
     [](Scene& s) {
         constexpr double nan = std::numeric_limits<double>::quiet_NaN();
         s.source->see("Pointer", markers(3, Vector3d(nan, nan, nan)));
     },
     true},
    {"no marker told", [](Scene& s) { s.source->see("Pointer", {}); }, true},
    {"tool not told", [](Scene& s) { s.source->forget(); }, true},
    {"silence", [](Scene&) { handTime += vlr::freshFor; }, true},
    {"source taken away",
     [](Scene& s) {
         s.box->disconnect();
         s.source = nullptr;
     }},
    {"another source",
     [](Scene& s) {
         auto made = std::make_unique<HandSource>();
         s.source = made.get();
         (void)s.box->connectTo(std::move(made));
     }},
    {"tool unplugged", [](Scene& s) { (void)s.box->removeTool("Pointer"); }},
    {"tool box destroyed",
     [](Scene& s) {
         s.box.reset();
         s.source = nullptr;
     }},
};

std::string step(Scene& scene, QRandomGenerator& random) {
    scene.recover();
    scene.poll();
    if (!scene.showsPointer())
        return "the tool is not found";
    const Harm& harm = harms[random.bounded(static_cast<int>(std::size(harms)))];
    const auto inflict = [&] { harm.inflict(scene); };
    bool isDone = false;
    QMetaObject::Connection inside;
    switch (random.bounded(3)) {
    case 0: // between two polls
        inflict();
        break;
    case 1: // while a widget tells of a poll
        inside = QObject::connect(&scene.widget, &QtRigidVisibilityWidget::rigidVisibleSIG,
                                  &scene.widget, [&] {
                                      if (!std::exchange(isDone, true))
                                          inflict();
                                  });
        scene.poll();
        break;
    default:
        if (!harm.isOfSource) {
            inflict();
            break;
        }
        scene.source->whileAsked = inflict;
        scene.poll();
    }
    QObject::disconnect(inside);
    int polls = 0;
    while (scene.showsPointer() && polls <= mostPolls) {
        scene.poll();
        ++polls;
    }
    return polls > mostPolls ? std::string(harm.name) + ": still shown" : "";
}

// A source whose thread changes its mind as fast as it can, and at last sees nothing.
std::string flicker(Scene& scene) {
    scene.recover();
    std::atomic<bool> goesOn{true};
    std::thread thread([&, source = scene.source] {
        for (int i = 0; goesOn || i < 10; ++i)
            source->see("Pointer", markers(i % 5));
        source->see("Pointer", markers(4));
    });
    for (int i = 0; i < 20; ++i) {
        for (auto* each : scene.group.findChildren<QtRigidVisibilityWidget*>())
            QMetaObject::invokeMethod(each, "update");
        QMetaObject::invokeMethod(&scene.widget, "update");
    }
    goesOn = false;
    thread.join();
    scene.poll();
    return scene.showsPointer() ? "a flickering tool is still shown" : "";
}

// --- a tracker of another process

class Server {
public:
    void start() {
        m_process.start(QStringLiteral(VLR_IGTL_SERVER), {QString::number(m_port)});
        while (!m_process.canReadLine())
            if (!m_process.waitForReadyRead(patience))
                throw std::runtime_error(m_process.errorString().toStdString());
        m_port = m_process.readLine().trimmed().mid(5).toUShort();
        m_process.write("see 0 1 2 3\n");
    }
    void kill() {
        m_process.kill();
        m_process.waitForFinished(patience);
    }
    [[nodiscard]] quint16 port() const { return m_port; }

private:
    QProcess m_process;
    quint16 m_port = 0;
};

std::string killServers(int kills) {
    Server server;
    server.start();
    SurgicalToolBox box;
    vlr::OpenIGTLinkClient::Options options;
    options.host = QStringLiteral("127.0.0.1");
    options.port = server.port();
    options.firstPause = options.longestPause = std::chrono::milliseconds(20);
    QtDRBVisibilityBox group(nullptr);
    (void)group.addRigid(box.addTool(geometry("Pointer")));
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
            server.start();
        if (!QTest::qWaitFor([&] { return isSeen; }, patience))
            return "the tracker is not found again";
        server.kill();
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
            return killServers(qEnvironmentVariableIsSet("VLR_FAULTS_LONG") ? 200 : 3);
        Scene scene;
        QRandomGenerator random(static_cast<quint32>(number));
        std::string wrong = flicker(scene);
        for (int i = 0; i < stepsPerCase && wrong.empty(); ++i)
            wrong = step(scene, random);
        return wrong;
    });
}

void faultTracker(Report& report) {
    const long steps = report.extent(500, 10000);
    const QStringList environment =
        report.isLong() ? QStringList{QStringLiteral("VLR_FAULTS_LONG=1")} : QStringList();
    const CaseResults results =
        runCases(report, QStringLiteral("track"), 1 + steps / stepsPerCase, environment);
    report.done(std::to_string(steps) + " times a tool lost, between and inside of polls");
    report.atMost("crashes", results.crashes, 0);
    report.atMost("runs in which \"lost\" came later than two polls", results.bad, 0);
    report.atMost("deadlocks", results.stuck, 0);
}
