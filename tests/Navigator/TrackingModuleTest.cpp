#include "Tracking/TrackingModule.h"

#include "Base/QtMessageLine.h"
#include "Compare/CompareModule.h"
#include "Enlarge/EnlargeModule.h"
#include "Navigation/NavigationTest.h"
#include "Navigator/NavigatorTest.h"
#include "Tracking/RecordingSwitch.h"
#include "Tracking/TrackingOptionsWidget.h"
#include "Volume/SliceView.h"
#include "Widgets/QtDRBVisibilityBox.h"

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QSpinBox>

using namespace vlrTest;

namespace {

const QColor pointerColor(90, 205, 255);
const Vector3d basePlace(100, -50, -1400);

struct TrackingModuleTest : NavigatorTest {
    void showTracking() {
        panes = std::make_shared<VolumePanes>();
        m_module = new TrackingModule(panes, m_time.clock());
        show(m_module);
    }
    // The module Images is the active one.
    void showWithImages() {
        m_images = showImages();
        m_module = new TrackingModule(panes, m_time.clock());
        ASSERT_TRUE(application->addModule(m_module));
        session().start({});
        auto source = std::make_unique<HandSource>(m_time.clock());
        m_source = source.get();
        ASSERT_EQ(SurgicalToolBox::getInstance()->connectTo(std::move(source)), CaError::nullError);
        see("Reference base", {0, 0, 0});
    }
    TrackingSession& session() const { return m_module->session(); }

    // Unturned, the tip where it is said from the reference base.
    void see(const char* tool, const Vector3d& place) {
        const CaTool* const body = SurgicalToolBox::getInstance()->getTool(tool)->getRigidBody();
        std::vector<Vector3d> markers;
        for (int i = 0; i < body->getNumberOfMarkers(); ++i)
            markers.push_back(body->getModel(i) + basePlace + place);
        m_source->setMarkers(tool, markers);
        session().poll();
    }
    void hide(const char* tool) {
        m_source->setMarkers(tool, std::vector<Vector3d>(4, vlr::hiddenPosition()));
        session().poll();
    }
    // Whether the pointer's tip is drawn at the voxel.
    bool isTipAt(Plane plane, const Voxel& voxel) const {
        QRect around(0, 0, 17, 17);
        around.moveCenter(view(plane)->pointOf(voxel));
        // Beyond the widget there is nothing, not even something that is the same every time.
        const QImage image = view(plane)->grab(around & view(plane)->rect()).toImage();
        int pixels = 0;
        for (int i = 0; i < image.width() * image.height(); ++i)
            pixels += image.pixelColor(i % image.width(), i / image.width()) == pointerColor;
        return pixels > 10;
    }
    // What all slices say, whichever are to be seen now.
    std::vector<std::string> told() const {
        const QStringList lines = view(Plane::Axial)->trackingText();
        for (const Plane plane : allPlanes)
            EXPECT_EQ(view(plane)->trackingText(), lines);
        std::vector<std::string> result;
        for (const QString& line : lines)
            result.push_back(line.toStdString());
        return result;
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
        return find<QWidget>("trackingProblem")->isVisible() ? session().problem().toStdString()
                                                             : std::string();
    }

    HandClock m_time;
    ImagesModule* m_images = nullptr;
    TrackingModule* m_module = nullptr;
    HandSource* m_source = nullptr;
};

} // namespace

TEST_F(TrackingModuleTest, TipsAreMeasuredFromTheBaseWhileItIsSeen) {
    showWithImages();
    see("Pointer", {10.5, -19.2, 1});
    EXPECT_THAT(text("tipsTitle"), HasSubstr("reference base"));
    EXPECT_EQ(text("tipPointer"), "10.5, -19.2, 1.0");
    EXPECT_EQ(text("tipDrill"), "not seen");
    EXPECT_EQ(text("namePointer") + text("nameDrill"), "PointerDrill");
    // Turned by a right angle about z: what lay along x of the camera lies along -y of the base.
    std::vector<Vector3d> turned;
    const CaTool* const base = session().reference()->getRigidBody();
    for (int i = 0; i < base->getNumberOfMarkers(); ++i) {
        const Vector3d model = base->getModel(i);
        turned.push_back(Vector3d(-model.y(), model.x(), model.z()) + basePlace);
    }
    m_source->setMarkers("Reference base", turned);
    see("Pointer", {10, 20, 30});
    EXPECT_EQ(text("tipPointer"), "20.0, -10.0, 30.0");
    hide("Reference base"); // The readout keeps its frame.
    EXPECT_THAT(text("tipsTitle"), HasSubstr("reference base"));
    EXPECT_EQ(text("tipPointer"), "reference base not seen");
}

TEST_F(TrackingModuleTest, TheTipIsInTheSlicesUntilItIsHiddenOrStale) {
    showWithImages();
    const Voxel tip{74, 44, 65};
    const auto isShown = [&] { return isTipAt(Plane::Coronal, tip); };
    const auto seePointer = [&] { see("Pointer", {10.5, -19.5, 1.5}); };
    seePointer();
    EXPECT_TRUE(isTipAt(Plane::Axial, tip));
    EXPECT_FALSE(isShown()); // 20 slices away
    panes->crossHair()->setPosition({74, 44, 80});
    EXPECT_FALSE(isTipAt(Plane::Axial, tip));
    EXPECT_TRUE(isShown());
    EXPECT_TRUE(isTipAt(Plane::Sagittal, tip));

    m_time.advance(vlr::freshFor);
    session().poll();
    EXPECT_FALSE(isShown());
    see("Reference base", {0, 0, 0});
    EXPECT_FALSE(isShown());
    seePointer();
    EXPECT_TRUE(isShown());
    hide("Reference base");
    EXPECT_FALSE(isShown());
    see("Reference base", {0, 0, 0});
    EXPECT_TRUE(isShown());
    hide("Pointer");
    EXPECT_FALSE(isShown());
    seePointer();
    session().stop();
    EXPECT_FALSE(isShown());
}

TEST_F(TrackingModuleTest, EverySliceSaysWhyItShowsNoTip) {
    showWithImages();
    auto* const compare = new CompareModule(panes);
    auto* const enlarge = new EnlargeModule(panes);
    ASSERT_TRUE(application->addModule(compare));
    ASSERT_TRUE(application->addModule(enlarge));
    see("Pointer", {30, 30, 30}); // Beside all slices.
    const std::vector<std::string> nothing, baseHidden{"tracking lost", "reference base not seen"};
    EXPECT_THAT(told(), ElementsAre("Drill not seen"));
    see("Drill", {30, 30, 30});
    EXPECT_EQ(told(), nothing);
    const QImage before = view(Plane::Axial)->grab().toImage();
    hide("Reference base");
    EXPECT_NE(view(Plane::Axial)->grab().toImage(), before);
    for (QtAppModule* module : std::initializer_list<QtAppModule*>{compare, enlarge, m_module}) {
        activate(module);
        EXPECT_EQ(told(), baseHidden);
    }
    see("Reference base", {0, 0, 0});
    EXPECT_EQ(told(), nothing);
    hide("Pointer");
    hide("Drill");
    EXPECT_THAT(told(), ElementsAre("tracking lost", "Pointer not seen", "Drill not seen"));
    m_source->setConnected(false);
    session().poll();
    EXPECT_THAT(told(), ElementsAre("tracking lost", "tracker not connected"));
    session().stop();
    EXPECT_EQ(told(), nothing); // It is not missed.
    SourceChoice none;
    none.kind = SourceChoice::Recording;
    session().start(none);
    EXPECT_THAT(told(), ElementsAre("tracking lost", "the tracker cannot be used"));
}

// What the files hold may be of any size and of anybody.
TEST_F(TrackingModuleTest, OnlyARegisteredVolumeOfAKnownSizeShowsTips) {
    showWithImages();
    ASSERT_TRUE(panes->volume().isRegistered());
    const vlr::ImageSeries series = panes->series();
    Volume volume;
    ASSERT_EQ(Volume::load(series, volume), CaError::nullError);
    const std::array<double, 3> oneMillimetre{1, 1, 1};
    const struct {
        std::array<double, 3> spacing;
        bool isRegistered;
        bool isShown;
    } cases[] = {{oneMillimetre, true, true},
                 {oneMillimetre, false, false},
                 {{1, 1, 0}, true, false},
                 {oneMillimetre, true, true}};
    const auto show = [&](const auto& each) {
        volume.setSpacing(each.spacing);
        volume.setRegistered(each.isRegistered);
        panes->showVolume(series, volume, 65, panes->owner());
    };
    see("Pointer", {10.5, -19.5, 1.5});
    see("Drill", {0, 0, 0});
    for (const auto& each : cases) {
        show(each);
        EXPECT_EQ(isTipAt(Plane::Axial, {74, 44, 65}), each.isShown);
        EXPECT_EQ(told(), each.isShown ? std::vector<std::string>()
                                       : std::vector<std::string>{"not registered"});
    }
    m_images->open({writeImages("series", std::vector<QByteArray>(3, png(128, 128)))});
    EXPECT_THAT(told(), ElementsAre("not registered"));
    m_images->open({writeImages("unequal", {png(10, 20), png(20, 20)})});
    const auto* const single = find<SliceView>("sliceView");
    EXPECT_EQ(single->trackingText(), QStringList(QStringLiteral("not registered")));
    session().stop();
    EXPECT_EQ(single->trackingText(), QStringList());
}

TEST_F(TrackingModuleTest, TheTipIsShownNearTheSliceAndInThePicture) {
    showWithImages();
    panes->crossHair()->setPosition({64, 64, 64}); // 0.5 mm above the centre
    const std::tuple<Vector3d, Voxel, bool> cases[] = {
        {{20.5, 10.5, 3.4}, {84, 74, 67}, true},  {{20.5, 10.5, 3.6}, {84, 74, 67}, false},
        {{20.5, 10.5, -2.4}, {84, 74, 61}, true}, {{20.5, 10.5, -2.6}, {84, 74, 61}, false},
        {{63.5, 10.5, 0}, {127, 74, 64}, true},   {{64.5, 10.5, 0}, {128, 74, 64}, false},
        {{20.5, -64.5, 0}, {84, -1, 64}, false},
    };
    for (const auto& [tip, voxel, isShown] : cases) {
        see("Pointer", tip);
        EXPECT_EQ(isTipAt(Plane::Axial, voxel), isShown) << tip.transpose();
    }
}

TEST_F(TrackingModuleTest, AnotherSourceReconnectsAndSurvivesTheRestart) {
    showTracking();
    EXPECT_EQ(text("trackingState"), "Not tracking");
    EXPECT_EQ(text("tipPointer"), "-");
    EXPECT_FALSE(find<QPushButton>("recordTracking")->isEnabled());
    click("startTracking");
    EXPECT_THAT(text("trackingState"), StartsWith("Connected"));
    EXPECT_EQ(problem(), "");

    const QString host = QStringLiteral("127.0.0.1");
    const QString file = testFolder() + QStringLiteral("/no such.track");
    const SourceChoice network{SourceChoice::Network, host, 1, {}, true};
    const std::tuple<SourceChoice, const char*, const char*> cases[] = {
        {{SourceChoice::Recording, {}, 2, file, false}, "Not tracking", "no such.track"},
        {{SourceChoice::Network, {}, 2, file, false}, "Not tracking", "host"},
        {network, "Connecting", "127.0.0.1"}};
    expectLog(LogLevel::Warning, "127.0.0.1");
    for (const auto& [source, state, reason] : cases) {
        configure(source); // What runs is connected anew, which fails.
        EXPECT_FALSE(session().isRunning());
        EXPECT_FALSE(window()->findChild<QtDRBVisibilityBox*>()->isTracking());
        click("startTracking");
        EXPECT_THAT(text("trackingState"), StartsWith(state));
        EXPECT_TRUE(QTest::qWaitFor([&] { return !problem().empty(); }, patience));
        EXPECT_THAT(problem(), HasSubstr(reason));
    }

    restart();
    showTracking();
    EXPECT_FALSE(session().isRunning());
    click("startTracking");
    EXPECT_TRUE(session().source() == network);
    click("startTracking");
    EXPECT_EQ(text("trackingState"), "Not tracking");
}

TEST_F(TrackingModuleTest, ARecordingThatCannotGoOnIsStoppedAndTold) {
    showTracking();
    click("startTracking");
    const QString path = testFolder() + QStringLiteral("/full.track");
    ASSERT_EQ(session().record(path), CaError::nullError);
    {
        const FullDisk disk(20);
        m_time.advance(std::chrono::milliseconds(100));
        session().poll();
        EXPECT_TRUE(QTest::qWaitFor([&] { return !session().isRecording(); }, patience));
    }
    EXPECT_TRUE(session().isRunning());
    const std::string told = find<QtMessageLine>("trackingRecordingState")->text().toStdString();
    EXPECT_THAT(told, HasSubstr("full.track"));
    EXPECT_THAT(told, HasSubstr("ended early"));
}

TEST_F(TrackingModuleTest, ASourceThatSomebodyElseTookAwayIsNotAsked) {
    TrackingSession session(m_time.clock());
    session.start({});
    EXPECT_EQ(session.state(), TrackingSession::State::Connected);
    SurgicalToolBox* const box = SurgicalToolBox::getInstance();
    box->disconnect();
    session.poll();
    EXPECT_EQ(session.state(), TrackingSession::State::Connecting);
    ASSERT_EQ(box->connectTo(std::make_unique<HandSource>(m_time.clock())), CaError::nullError);
    session.poll();
    EXPECT_EQ(session.state(), TrackingSession::State::Connected);
}

TEST_F(TrackingModuleTest, ARecordingBeginsWithTheConditionAndKeepsWhatHappens) {
    const auto file = std::make_shared<Collector>();
    RecordingSwitch recording;
    recording.setTarget(file, {});
    recording.setTarget(nullptr, {});
    recording.conditionChanged({false, "it is off", "unreachable"}, {});
    EXPECT_TRUE(file->conditions().empty()); // Nothing was known, and then nobody listened.
    recording.setTarget(file, {});
    recording.conditionChanged({true, "", ""}, {});
    const std::vector<vlr::TrackingCondition> expected{{false, "it is off", "unreachable"},
                                                       {true, "", ""}};
    EXPECT_TRUE(file->conditions() == expected);
}

TEST_F(TrackingModuleTest, ARecordingPlayedBackGivesTheSamePositions) {
    const QString path = testFolder() + QStringLiteral("/case.track");
    TrackingSession session(m_time.clock());
    session.start({});
    ASSERT_EQ(session.record(path), CaError::nullError);
    m_time.advance(std::chrono::milliseconds(100));
    session.poll();
    const auto tips = session.tips();
    ASSERT_TRUE(tips.at(0).inReference);
    m_time.advance(std::chrono::hours(1)); // The playback waits here.
    session.poll();
    EXPECT_NE(session.tips().at(0).inReference, tips.at(0).inReference);
    const QSignalSpy stopped(&session, &TrackingSession::recordingStopped);
    session.stop();
    ASSERT_EQ(stopped.count(), 1);
    EXPECT_EQ(stopped.at(0).at(0).toString(), QString());

    SourceChoice playback;
    playback.kind = SourceChoice::Recording;
    playback.file = path;
    session.start(playback);
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return session.tips().at(1).inReference.has_value(); }, patience));
    for (std::size_t i = 0; i < tips.size(); ++i) // to the last bit
        EXPECT_EQ(session.tips().at(i).inReference, tips[i].inReference);
    playback.isFast = true;
    session.start(playback);
    ASSERT_TRUE(QTest::qWaitFor([&] { return !session.isRunning(); }, patience));
    EXPECT_EQ(session.state(), TrackingSession::State::Ended);
    EXPECT_EQ(session.losses().value(1), QStringLiteral("the source has ended"));
    EXPECT_EQ(session.problem(), QString());
}
