#include "Tracking/TrackingModule.h"

#include "Base/QtMessageLine.h"
#include "Images/ImagesModule.h"
#include "Images/PlaneView.h"
#include "Navigation/NavigationTest.h"
#include "Navigator/NavigatorTest.h"
#include "Tracking/RecordingSwitch.h"
#include "Tracking/TrackingOptionsWidget.h"
#include "Widgets/QtDRBVisibilityBox.h"

#include <QtGui/QPaintEvent>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>

#include <gmock/gmock.h>

using namespace vlrTest;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const QColor pointerColor(90, 205, 255);
const Vector3d basePlace(100, -50, -1400);

class TrackingModuleTest : public NavigatorTest {
protected:
    ~TrackingModuleTest() override {
        m_panes.reset();
        application.reset();
    }

    void showTracking() {
        m_panes = std::make_shared<VolumePanes>();
        m_module = new TrackingModule(m_panes, m_time.clock());
        show(m_module);
    }
    // With the example images: 128 voxels of 1 mm a side, the cross-hair at (64, 64, 64).
    void showWithImages() {
        m_panes = std::make_shared<VolumePanes>();
        m_module = new TrackingModule(m_panes, m_time.clock());
        show(new ImagesModule(m_panes));
        ASSERT_TRUE(application->addModule(m_module));
        ASSERT_TRUE(QTest::qWaitFor([&] { return m_panes->hasVolume(); }, patience));
        m_module->session().start({});
        auto source = std::make_unique<HandSource>(m_time.clock());
        m_source = source.get();
        ASSERT_EQ(SurgicalToolBox::getInstance()->connectTo(std::move(source)), CaError::nullError);
    }

    // Unturned, the tip where it is said from the reference base.
    void see(const char* tool, const Vector3d& place) {
        const CaTool* const body = SurgicalToolBox::getInstance()->getTool(tool)->getRigidBody();
        std::vector<Vector3d> markers;
        for (int i = 0; i < body->getNumberOfMarkers(); ++i)
            markers.push_back(body->getModel(i) + basePlace + place);
        m_source->setMarkers(tool, markers);
        m_module->session().poll();
    }
    void hide(const char* tool) {
        m_source->setMarkers(tool, std::vector<Vector3d>(4, vlr::hiddenPosition()));
        m_module->session().poll();
    }
    PlaneView* view(Plane plane) const {
        return qobject_cast<PlaneView*>(m_panes->planeControl(plane)->view());
    }
    // Whether the pointer's tip is drawn at the voxel.
    bool isTipAt(Plane plane, const Voxel& voxel) const {
        QRect around(0, 0, 17, 17);
        around.moveCenter(view(plane)->pointOf(voxel));
        const QImage image = view(plane)->grab(around).toImage();
        int pixels = 0;
        for (int i = 0; i < image.width() * image.height(); ++i)
            pixels += image.pixelColor(i % image.width(), i / image.width()) == pointerColor;
        return pixels > 10;
    }
    void configure(const SourceChoice& source) {
        TrackingOptionsWidget widget(m_module->configuration(), {}, nullptr, {});
        widget.findChild<QComboBox*>(QStringLiteral("trackingSource"))
            ->setCurrentIndex(source.kind);
        widget.findChild<QLineEdit*>(QStringLiteral("trackingHost"))->setText(source.host);
        widget.findChild<QSpinBox*>(QStringLiteral("trackingPort"))->setValue(source.port);
        widget.findChild<QLineEdit*>(QStringLiteral("trackingRecording"))->setText(source.file);
        widget.findChild<QCheckBox*>(QStringLiteral("trackingFast"))->setChecked(source.isFast);
        EXPECT_TRUE(widget.ok());
    }
    std::string text(const char* label) const { return find<QLabel>(label)->text().toStdString(); }
    std::string problem() const {
        return find<QWidget>("trackingProblem")->isVisible()
                   ? m_module->session().problem().toStdString()
                   : std::string();
    }

    HandClock m_time;
    std::shared_ptr<VolumePanes> m_panes;
    TrackingModule* m_module = nullptr;
    HandSource* m_source = nullptr;
};

/// The largest part of the widget, in percent, that one paint event was about.
class PaintedShare : public QObject {
public:
    explicit PaintedShare(QWidget* widget) : m_widget(widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::Paint)
            return false;
        int area = 0;
        for (const QRect& rect : static_cast<QPaintEvent*>(event)->region())
            area += rect.width() * rect.height();
        percent = std::max(percent, 100 * area / (m_widget->width() * m_widget->height()));
        ++count;
        return false;
    }
    int percent = 0;
    int count = 0;

private:
    QWidget* m_widget;
};

} // namespace

TEST_F(TrackingModuleTest, TheSimulationShowsVisibleTools) {
    showTracking();
    auto* const box = window()->findChild<QtDRBVisibilityBox*>();
    ASSERT_TRUE(box);
    EXPECT_EQ(box->rigidCount(), 3);
    EXPECT_EQ(text("trackingState"), "Not tracking");
    EXPECT_EQ(text("tipPointer"), "-");
    EXPECT_FALSE(find<QPushButton>("recordTracking")->isEnabled());
    bool areAllVisible = false;
    QObject::connect(box, &QtDRBVisibilityBox::allRigidsVisible, box,
                     [&](bool visible) { areAllVisible = visible; });
    find<QPushButton>("startTracking")->click();
    EXPECT_TRUE(QTest::qWaitFor([&] { return areAllVisible; }, patience));
    EXPECT_THAT(text("trackingState"), StartsWith("Connected"));
    EXPECT_THAT(text("tipsTitle"), HasSubstr("reference base"));
    EXPECT_THAT(text("tipPointer"), testing::ContainsRegex("^-?[0-9]+\\.[0-9], .*, "));
    EXPECT_EQ(problem(), "");
    find<QPushButton>("startTracking")->click();
    EXPECT_EQ(text("trackingState"), "Not tracking");
    EXPECT_EQ(text("tipDrill"), "-");
    EXPECT_FALSE(box->isTracking());
}

TEST_F(TrackingModuleTest, TipsAreMeasuredFromTheBaseWhileItIsSeen) {
    showWithImages();
    see("Reference base", {0, 0, 0});
    see("Pointer", {10.5, -19.2, 1});
    EXPECT_EQ(text("tipPointer"), "10.5, -19.2, 1.0");
    EXPECT_EQ(text("tipDrill"), "not seen");
    // Turned by a right angle about z: what lay along x of the camera lies along -y of the base.
    std::vector<Vector3d> turned;
    const CaTool* const base = m_module->session().reference()->getRigidBody();
    for (int i = 0; i < base->getNumberOfMarkers(); ++i) {
        const Vector3d model = base->getModel(i);
        turned.push_back(Vector3d(-model.y(), model.x(), model.z()) + basePlace);
    }
    m_source->setMarkers("Reference base", turned);
    see("Pointer", {10, 20, 30});
    EXPECT_EQ(text("tipPointer"), "20.0, -10.0, 30.0");
    hide("Reference base");
    EXPECT_THAT(text("tipsTitle"), HasSubstr("camera"));
    EXPECT_EQ(text("tipPointer"), "110.0, -30.0, -1370.0");
}

// The module Images is the active one all the time.
TEST_F(TrackingModuleTest, TheTipIsInTheSlicesUntilItIsHiddenOrStale) {
    showWithImages();
    const Voxel tip{74, 44, 65};
    see("Reference base", {0, 0, 0});
    see("Pointer", {10.5, -19.5, 1.5});
    EXPECT_TRUE(isTipAt(Plane::Axial, tip));
    EXPECT_FALSE(isTipAt(Plane::Coronal, tip)); // 20 slices away
    m_panes->crossHair()->setPosition({74, 44, 80});
    EXPECT_FALSE(isTipAt(Plane::Axial, tip));
    EXPECT_TRUE(isTipAt(Plane::Coronal, tip));
    EXPECT_TRUE(isTipAt(Plane::Sagittal, tip));

    m_time.advance(vlr::freshFor);
    m_module->session().poll();
    EXPECT_FALSE(isTipAt(Plane::Coronal, tip));
    see("Reference base", {0, 0, 0});
    EXPECT_FALSE(isTipAt(Plane::Coronal, tip));
    see("Pointer", {10.5, -19.5, 1.5});
    EXPECT_TRUE(isTipAt(Plane::Coronal, tip));
    hide("Pointer");
    EXPECT_FALSE(isTipAt(Plane::Coronal, tip));
    see("Pointer", {10.5, -19.5, 1.5});
    EXPECT_TRUE(isTipAt(Plane::Coronal, tip));
    hide("Reference base");
    EXPECT_FALSE(isTipAt(Plane::Coronal, tip));
    see("Reference base", {0, 0, 0});
    EXPECT_TRUE(isTipAt(Plane::Coronal, tip));
    m_module->session().stop();
    EXPECT_FALSE(isTipAt(Plane::Coronal, tip));
}

TEST_F(TrackingModuleTest, TheTipIsShownNearTheSliceAndInThePicture) {
    showWithImages();
    m_panes->crossHair()->setPosition({64, 64, 64}); // 0.5 mm above the centre
    see("Reference base", {0, 0, 0});
    const struct {
        Vector3d tip;
        Voxel voxel;
        bool isShown;
    } cases[] = {
        {{20.5, 10.5, 3.4}, {84, 74, 67}, true},  {{20.5, 10.5, 3.6}, {84, 74, 67}, false},
        {{20.5, 10.5, -2.4}, {84, 74, 61}, true}, {{20.5, 10.5, -2.6}, {84, 74, 61}, false},
        {{63.5, 10.5, 0}, {127, 74, 64}, true},   {{64.5, 10.5, 0}, {128, 74, 64}, false},
        {{20.5, -64.5, 0}, {84, -1, 64}, false},
    };
    for (const auto& each : cases) {
        see("Pointer", each.tip);
        EXPECT_EQ(isTipAt(Plane::Axial, each.voxel), each.isShown) << each.tip.transpose();
    }
}

TEST_F(TrackingModuleTest, OnlyTheTipIsPaintedAnew) {
    showWithImages();
    see("Reference base", {0, 0, 0});
    see("Pointer", {20.5, 10.5, 0});
    ASSERT_TRUE(QTest::qWaitForWindowActive(window()));
    PaintedShare axial(view(Plane::Axial));
    PaintedShare coronal(view(Plane::Coronal));
    window()->repaint();
    QCoreApplication::processEvents();
    axial.percent = axial.count = coronal.count = 0;
    see("Pointer", {30.5, 20.5, 0});
    EXPECT_TRUE(QTest::qWaitFor([&] { return axial.count > 0; }, patience));
    EXPECT_LT(axial.percent, 25);
    EXPECT_EQ(coronal.count, 0); // It is not near that slice.
    axial.count = 0;
    see("Pointer", {30.5, 20.5, 0});
    QCoreApplication::processEvents();
    EXPECT_EQ(axial.count, 0);
}

TEST_F(TrackingModuleTest, AnotherSourceReconnectsAndSurvivesTheRestart) {
    showTracking();
    SourceChoice choice;
    choice.kind = SourceChoice::Recording;
    choice.file = testFolder() + QStringLiteral("/no such.track");
    configure(choice);
    EXPECT_FALSE(m_module->session().isRunning());
    choice.kind = SourceChoice::Simulated;
    configure(choice);
    find<QPushButton>("startTracking")->click();
    EXPECT_EQ(m_module->session().state(), TrackingSession::State::Connected);

    choice.kind = SourceChoice::Recording;
    configure(choice);
    EXPECT_FALSE(m_module->session().isRunning());
    EXPECT_THAT(problem(), HasSubstr("no such.track"));
    choice.kind = SourceChoice::Network;
    choice.host.clear();
    configure(choice);
    find<QPushButton>("startTracking")->click();
    EXPECT_THAT(problem(), HasSubstr("host"));
    choice.host = QStringLiteral("127.0.0.1");
    choice.port = 1;
    choice.isFast = true;
    configure(choice);
    expectLog(vlr::LogLevel::Warning, "127.0.0.1");
    find<QPushButton>("startTracking")->click();
    EXPECT_THAT(text("trackingState"), StartsWith("Connecting"));
    EXPECT_TRUE(QTest::qWaitFor([&] { return !problem().empty(); }, patience));
    EXPECT_THAT(problem(), HasSubstr("127.0.0.1"));

    m_panes.reset();
    restart();
    showTracking();
    EXPECT_FALSE(m_module->session().isRunning());
    expectLog(vlr::LogLevel::Warning, "127.0.0.1");
    find<QPushButton>("startTracking")->click();
    EXPECT_TRUE(m_module->session().source() == choice);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !problem().empty(); }, patience));
}

TEST_F(TrackingModuleTest, ARecordingThatCannotGoOnIsStoppedAndTold) {
    showTracking();
    find<QPushButton>("startTracking")->click();
    const QString path = testFolder() + QStringLiteral("/full.track");
    ASSERT_EQ(m_module->session().record(path), CaError::nullError);
    {
        const FullDisk disk(20);
        m_time.advance(std::chrono::milliseconds(100));
        m_module->session().poll();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !m_module->session().isRecording(); }, patience));
    }
    EXPECT_TRUE(m_module->session().isRunning());
    const std::string told = find<QtMessageLine>("trackingRecordingState")->text().toStdString();
    EXPECT_THAT(told, HasSubstr("full.track"));
    EXPECT_THAT(told, HasSubstr("ended early"));
}

TEST_F(TrackingModuleTest, ASourceThatSomebodyElseTookAwayIsNotAsked) {
    const QString path = testFolder() + QStringLiteral("/case.track");
    writeFile(path, "vlr-tracking 1\n2000000000 state connected\n");
    TrackingSession session(m_time.clock());
    SourceChoice playback;
    playback.kind = SourceChoice::Recording;
    playback.file = path;
    session.start(playback);
    const auto comesTo = [&session](TrackingSession::State state) {
        return QTest::qWaitFor(
            [&] {
                session.poll();
                return session.state() == state;
            },
            patience);
    };
    EXPECT_TRUE(comesTo(TrackingSession::State::Connected));
    SurgicalToolBox* const box = SurgicalToolBox::getInstance();
    box->disconnect();
    EXPECT_TRUE(comesTo(TrackingSession::State::Connecting));
    ASSERT_EQ(box->connectTo(std::make_unique<HandSource>(m_time.clock())), CaError::nullError);
    EXPECT_TRUE(comesTo(TrackingSession::State::Connected));
}

TEST_F(TrackingModuleTest, ARecordingBeginsWithTheConditionAndKeepsWhatHappens) {
    const auto file = std::make_shared<Collector>();
    RecordingSwitch recording;
    const vlr::TrackingTime later(std::chrono::seconds(9));
    recording.setTarget(file, later);
    EXPECT_TRUE(file->conditions().empty()); // Nothing is known.
    recording.setTarget(nullptr, {});
    recording.conditionChanged({false, "it is off", "unreachable"}, {});
    EXPECT_TRUE(file->conditions().empty());
    recording.setTarget(file, later);
    recording.conditionChanged({true, "", ""}, later);
    ASSERT_EQ(file->conditions().size(), 2U);
    EXPECT_EQ(file->conditions()[0].problem, "it is off");
    EXPECT_TRUE(file->conditions()[1].isConnected);
}

TEST_F(TrackingModuleTest, ARecordingPlayedBackGivesTheSamePositions) {
    const QString path = testFolder() + QStringLiteral("/case.track");
    const auto markers = [](const TrackingSession& session) {
        std::vector<Vector3d> result;
        for (const SurgicalTool* tool : {session.reference(), session.instruments().at(0)})
            for (int i = 0; i < tool->getRigidBody()->getNumberOfMarkers(); ++i)
                result.push_back(tool->getRigidBody()->getReal(i));
        return result;
    };
    TrackingSession session(m_time.clock());
    session.start({});
    ASSERT_EQ(session.record(path), CaError::nullError);
    m_time.advance(std::chrono::milliseconds(100));
    session.poll();
    const auto recorded = markers(session);
    const auto tips = session.tips();
    ASSERT_TRUE(tips.at(0).inReference);
    m_time.advance(std::chrono::hours(1)); // The playback waits here.
    session.poll();
    EXPECT_NE(markers(session), recorded);
    const QSignalSpy stopped(&session, &TrackingSession::recordingStopped);
    session.stop();
    ASSERT_EQ(stopped.count(), 1);
    EXPECT_EQ(stopped.at(0).at(0).toString(), QString());
    EXPECT_THAT(session.record(path).text(), HasSubstr("case.track")) << "It exists.";

    SourceChoice playback;
    playback.kind = SourceChoice::Recording;
    playback.file = path;
    session.start(playback);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return session.tips().at(1).inReference.has_value(); }, patience));
    EXPECT_EQ(markers(session), recorded);
    EXPECT_EQ(session.tips().at(0).inReference, tips.at(0).inReference);
    EXPECT_EQ(session.tips().at(1).inCamera, tips.at(1).inCamera);

    playback.isFast = true;
    session.start(playback);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !session.isRunning(); }, patience));
    EXPECT_EQ(session.state(), TrackingSession::State::Ended);
    EXPECT_EQ(session.problem(), QString());
}
