#include "Gui/GuiTest.h"
#include "Navigation/NavigationTest.h"
#include "Tools/TrackableData.h"
#include "Widgets/QtDRBVisibilityBox.h"
#include "Widgets/QtRigidVisibilityWidget.h"

#include <cmath>

using namespace vlrTest;

namespace {

struct TrackingVisibilityTest : GuiTest, HandBox {
    // Markers by one letter each: v(isible), h(idden).
    void see(const std::string& markers) {
        std::vector<Vector3d> positions;
        for (std::size_t i = 0; i < markers.size(); ++i)
            positions.push_back(markers[i] == 'v' ? place + fourMarkers().markers[i]
                                                  : vlr::hiddenPosition());
        source->setMarkers("Pointer", positions);
    }
    static void poll(QWidget& widget) { QMetaObject::invokeMethod(&widget, "update"); }

    Vector3d place{300, 0, -1400};
};

std::vector<QLabel*> leds(const QWidget& widget) {
    std::vector<QLabel*> result;
    for (QLabel* label : widget.findChildren<QLabel*>())
        if (!label->pixmap(Qt::ReturnByValue).isNull())
            result.push_back(label);
    return result;
}

// One letter per LED, by its colour.
std::string looks(const QWidget& widget) {
    std::string result;
    for (const QLabel* led : leds(widget)) {
        const QImage image = led->pixmap(Qt::ReturnByValue).toImage();
        EXPECT_EQ(image.size(), QSize(15, 15));
        const QColor color = image.pixelColor(0, 0);
        result += color == QColor(Qt::darkGreen)  ? 'v'
                  : color == QColor(Qt::darkRed)  ? 'h'
                  : color == QColor(Qt::darkGray) ? '-'
                                                  : '?';
    }
    return result;
}

QStringList texts(const QWidget& widget) {
    QStringList result;
    for (const QLabel* label : widget.findChildren<QLabel*>())
        if (!label->text().isEmpty())
            result << label->text();
    return result;
}

} // namespace

TEST_F(TrackingVisibilityTest, OneHiddenMarkerIsTolerated) {
    QtRigidVisibilityWidget widget(tool, nullptr);
    QSignalSpy spy(&widget, &QtRigidVisibilityWidget::rigidVisibleSIG);
    EXPECT_EQ(looks(widget), "----");
    EXPECT_FALSE(widget.isVisible());
    const std::pair<const char*, bool> cases[] = {
        {"vvvv", true}, {"vvvh", true}, {"vhhv", false}, {"hhhh", false}, {"vhvv", true}};
    for (const auto& [markers, isVisible] : cases) {
        spy.clear();
        see(markers);
        poll(widget);
        EXPECT_EQ(looks(widget), markers);
        ASSERT_EQ(spy.count(), 1);
        EXPECT_EQ(spy.at(0).at(0).toBool(), isVisible) << markers;
        EXPECT_EQ(widget.isVisible(), isVisible) << markers;
    }
    time.advance(std::chrono::milliseconds(500)); // nothing new for too long
    poll(widget);
    EXPECT_EQ(looks(widget), "hhhh");
    EXPECT_FALSE(widget.isVisible());
}

TEST_F(TrackingVisibilityTest, ValuesAreRoundedAndAligned) {
    QtRigidVisibilityWidget widget(tool, nullptr);
    EXPECT_TRUE(texts(widget).isEmpty());
    widget.setValuesShown(true, true);
    const QString distance = text("Dist. to CAM [cm]: "), rms = text("RMS [mm]: "),
                  none = text("-");
    EXPECT_EQ(texts(widget), (QStringList{distance, none, rms, none}));
    const std::tuple<double, const char*, const char*> cases[] = {
        {1000, "vvvv", " 100"},   {5, "vvvv", "   1"},    {4.9, "vvvv", "   0"},
        {1234.9, "vvvv", " 123"}, {1235, "vvvv", " 124"}, {1235, "hvvv", " 124"},
        {1235, "vvvh", "-"}, // the last marker decides
        {1235, "hhvv", "-"}, // no pose
    };
    for (const auto& [away, markers, shown] : cases) { // away in millimetres
        place = Vector3d(0, 0, -away);
        see(markers);
        poll(widget);
        EXPECT_EQ(texts(widget).at(1), QLatin1String(shown)) << away << ' ' << markers;
        EXPECT_EQ(texts(widget).at(3) == none, QLatin1String(shown) == none) << markers;
    }
    source->setMarkers("Pointer", {{101.25, -48.5, -1402.125},
                                   {100.75, 1.5, -1403.25},
                                   {61.5, -47.75, -1399.5},
                                   {31.125, 12.25, -1401.75}}); // 0.62856 mm, see RigidFitTest
    poll(widget);
    EXPECT_EQ(texts(widget).at(3), text("0.63"));
    widget.setValuesShown(false, true);
    EXPECT_EQ(texts(widget), (QStringList{rms, text("0.63")}));
    source->setConnected(false);
    poll(widget);
    EXPECT_EQ(texts(widget), (QStringList{rms, none}));
}

TEST_F(TrackingVisibilityTest, NothingIsShownWithoutToolOrConnection) {
    QtRigidVisibilityWidget widget(tool, nullptr);
    QSignalSpy spy(&widget, &QtRigidVisibilityWidget::rigidVisibleSIG);
    see("vvvv");
    poll(widget);
    source->setConnected(false);
    spy.clear();
    poll(widget);
    EXPECT_EQ(looks(widget), "");
    EXPECT_FALSE(widget.isVisible());
    source->setConnected(true);
    poll(widget);
    EXPECT_EQ(looks(widget), "vvvv");
    EXPECT_EQ(spy.count(), 1);
    widget.setSurgicalTool(nullptr, false);
    poll(widget);
    EXPECT_EQ(looks(widget), "");
    widget.setSurgicalTool(tool);
    poll(widget);
    EXPECT_TRUE(widget.isTracking());
    widget.stopTracking();
    EXPECT_FALSE(widget.isTracking());
    EXPECT_EQ(looks(widget), "----");
    EXPECT_FALSE(widget.isVisible());
    box.reset();
    EXPECT_EQ(widget.surgicalTool(), nullptr);
    poll(widget);
    EXPECT_EQ(looks(widget), "");
    EXPECT_EQ(spy.count(), 2);
}

TEST_F(TrackingVisibilityTest, LedsDifferInShapeAndText) {
    QtRigidVisibilityWidget widget(tool, nullptr);
    widget.setLedVisibleColor(Qt::blue);
    widget.setLedHiddenColor(Qt::blue);
    see("vhvv");
    poll(widget);
    const auto labels = leds(widget);
    ASSERT_EQ(labels.size(), 4U);
    const auto image = [&](std::size_t i) {
        return labels[i]->pixmap(Qt::ReturnByValue).toImage();
    };
    EXPECT_EQ(image(0).pixelColor(7, 7), QColor(Qt::blue));
    EXPECT_NE(image(0), image(1));
    EXPECT_EQ(labels[1]->accessibleName(), text("Marker 2: hidden"));
}

TEST_F(TrackingVisibilityTest, TheBoxTellsWhetherAllAreVisible) {
    QtDRBVisibilityBox group(nullptr);
    EXPECT_EQ(group.title(), text("DRB Visibility"));
    QSignalSpy spy(&group, &QtDRBVisibilityBox::allRigidsVisible);
    const auto last = [&] { return !spy.isEmpty() && spy.last().at(0).toBool(); };
    group.startTracking();
    EXPECT_TRUE(QTest::qWaitFor(last)); // zero of zero
    box->addTool(fourMarkers("Second"));
    EXPECT_TRUE(group.addRigid(tool));
    EXPECT_TRUE(group.addRigid(box->getTool("Second")));
    group.stopTracking();
    group.startTracking(); // also of those that are in it
    see("vvvv");
    EXPECT_TRUE(QTest::qWaitFor([&] { return looks(group) == "vvvvhhhh"; }));
    spy.clear();
    EXPECT_TRUE(QTest::qWaitFor([&] { return !spy.isEmpty(); }));
    EXPECT_FALSE(last());
    EXPECT_TRUE(box->removeTool("Second")); // leaves the group by itself
    EXPECT_EQ(group.rigidCount(), 1);
    EXPECT_TRUE(QTest::qWaitFor(last));
    group.stopTracking();
    EXPECT_FALSE(group.isTracking());
}

TEST_F(TrackingVisibilityTest, TheBoxRefusesWhatItCannotShow) {
    QtDRBVisibilityBox group(nullptr);
    const DataPointer<TrackableData> data(new TrackableData);
    const auto refuses = [](const char* reason, bool done) {
        EXPECT_FALSE(done) << reason;
        EXPECT_EQ(logRecords().back().text, reason);
    };
    for (const char* reason : {"Rigid is not defined.", "Rigid is already in visibility box.",
                               "Data is not connected with a rigid body.",
                               "Tool box is not defined.", "Rigid is not in visibility box."})
        expectLog(LogLevel::Error, reason);
    refuses("Rigid is not defined.", group.addRigid(static_cast<SurgicalTool*>(nullptr)));
    refuses("Data is not connected with a rigid body.", group.addRigid(data.get()));
    data->setReferenceName("Nobody");
    refuses("Rigid is not defined.", group.addRigid(data.get()));
    data->setReferenceName("Pointer");
    EXPECT_TRUE(group.addRigid(data.get()));
    refuses("Rigid is already in visibility box.", group.addRigid(tool));
    EXPECT_EQ(group.rigidCount(), 1);
    EXPECT_TRUE(group.removeRigid(data.get()));
    refuses("Rigid is not in visibility box.", group.removeRigid(tool));
    EXPECT_EQ(group.rigidCount(), 0);
    box.reset();
    refuses("Tool box is not defined.", group.addRigid(data.get()));
}

TEST_F(TrackingVisibilityTest, AToolMayBeUnpluggedInAnswerToASignal) {
    QtDRBVisibilityBox group(nullptr);
    EXPECT_TRUE(group.addRigid(tool));
    auto* widget = group.findChild<QtRigidVisibilityWidget*>();
    QObject::connect(widget, &QtRigidVisibilityWidget::rigidVisibleSIG, &group,
                     [this] { box->removeTool("Pointer"); });
    see("vvvv");
    poll(*widget);
    EXPECT_EQ(group.rigidCount(), 0);
    EXPECT_EQ(widget->surgicalTool(), nullptr);
    poll(*widget); // may still come, and finds nothing
    EXPECT_TRUE(
        QTest::qWaitFor([&] { return group.findChildren<QtRigidVisibilityWidget*>().isEmpty(); }));
}
