#include "Tools/SurgicalToolBox.h"

#include "Navigation/NavigationTest.h"
#include "Tracking/TrackingAddress.h"

#include <cmath>

using namespace vlrTest;

namespace {

struct SurgicalToolBoxTest : testing::Test {
    void see(const std::vector<Vector3d>& markers) {
        source->setMarkers("Pointer", markers);
        box.refresh();
    }
    int visible() const {
        int count = 0;
        for (int i = 0; i < body->getNumberOfMarkers(); ++i)
            count += body->getReal(i).squaredNorm() < 10000000 ? 1 : 0;
        return count;
    }

    HandBox hand;
    HandClock& time = hand.time;
    SurgicalToolBox& box = *hand.box;
    HandSource* source = hand.source;
    SurgicalTool* tool = hand.tool;
    CaTool* body = tool->getRigidBody();
};

// The set whose pose and error RigidFitTest has the origin of, and one of a quarter turn about z.
const std::vector<Vector3d> noisy{{101.25, -48.5, -1402.125},
                                  {100.75, 1.5, -1403.25},
                                  {61.5, -47.75, -1399.5},
                                  {31.125, 12.25, -1401.75}};
const std::vector<Vector3d> exact{
    {100, -50, -1400}, {100, 0, -1400}, {60, -50, -1400}, {30, 10, -1400}};

} // namespace

TEST_F(SurgicalToolBoxTest, ThePoseFollowsFromTheMarkersThatAreSeen) {
    const Vector3d hidden = vlr::hiddenPosition();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(visible(), 0);
    EXPECT_FALSE(body->hasPose());
    see(noisy);
    EXPECT_EQ(visible(), 4);
    EXPECT_NEAR(body->getRMS(), 0.628560145002220, 1e-9);
    EXPECT_NEAR(body->getTranslation().z(), -1401.52527103039, 1e-9);
    EXPECT_EQ(body->getReal(3), noisy[3]);

    const std::tuple<const char*, std::vector<Vector3d>, int, bool> cases[] = {
        {"one hidden", {exact[0], hidden, exact[2], exact[3]}, 3, true},
        {"two hidden", {exact[0], hidden, exact[2], hidden}, 2, false},
        {"fewer than it has", {exact[0], exact[1], exact[2]}, 3, true},
        {"more than it has", {exact[0], exact[1], exact[2], exact[3], exact[0]}, 4, true},
        {"just within reach", {exact[0], exact[1], exact[2], {0, 0, 3162.2776}}, 4, true},
        {"just out of reach", {exact[0], exact[1], exact[2], {0, 0, 3162.2777}}, 3, true},
        {"no number", {exact[0], exact[1], exact[2], {0, nan, 0}}, 3, true},
        {"on one line", {exact[0], hidden, exact[0], exact[0]}, 3, false},
        {"none", {}, 0, false},
    };
    for (const auto& [what, markers, seen, hasPose] : cases) {
        see(markers);
        EXPECT_EQ(visible(), seen) << what;
        EXPECT_EQ(body->hasPose(), hasPose) << what;
        EXPECT_EQ(std::isnan(body->getRMS()), !hasPose) << what;
        EXPECT_EQ(std::isnan(body->getTranslation().norm()), !hasPose) << what;
    }
    see({exact[0], hidden, exact[2], exact[3]});
    EXPECT_NEAR((body->getTranslation() - Vector3d(100, -50, -1400)).norm(), 0, 1e-9);
    EXPECT_NEAR(body->getRMS(), 0, 1e-9);
    for (const int index : {-1, 4, 1000})
        EXPECT_GE(body->getReal(index).squaredNorm(), 10000000) << index;
}

TEST_F(SurgicalToolBoxTest, WhatIsNotRenewedForHalfASecondIsHidden) {
    see(exact);
    time.advance(std::chrono::milliseconds(499));
    box.refresh();
    EXPECT_EQ(visible(), 4);
    time.advance(std::chrono::milliseconds(1));
    box.refresh();
    EXPECT_EQ(visible(), 0);
    EXPECT_FALSE(body->hasPose());
    see(exact); // where it was
    EXPECT_EQ(visible(), 4);
    source->setConnected(false);
    box.refresh();
    EXPECT_EQ(visible(), 0);
    EXPECT_FALSE(box.isConnected());
}

TEST_F(SurgicalToolBoxTest, AReportedPoseServesWhereMarkersAreNotTold) {
    vlr::RigidTransform pose;
    pose.translation = Vector3d(0, 0, -1000);
    source->setPose("Pointer", pose);
    box.refresh();
    EXPECT_EQ(visible(), 4);
    EXPECT_EQ(body->getReal(1), Vector3d(50, 0, -1000));
    EXPECT_EQ(body->getTranslation(), pose.translation);
    EXPECT_TRUE(std::isnan(body->getRMS()));

    see({});
    EXPECT_EQ(visible(), 0);
    see({exact[0]}); // Markers count for more, even if they tell less.
    EXPECT_EQ(visible(), 1);
    EXPECT_FALSE(body->hasPose());
    time.advance(std::chrono::milliseconds(300));
    source->setPose("Pointer", pose);
    time.advance(std::chrono::milliseconds(300)); // now only the pose is fresh
    box.refresh();
    EXPECT_EQ(visible(), 4);
}

TEST_F(SurgicalToolBoxTest, ToolsComeAndGo) {
    EXPECT_EQ(SurgicalToolBox::getInstance(), &box);
    EXPECT_EQ(box.getTool("Pointer"), tool);
    expectLog(LogLevel::Error, "There is a tool \"Pointer\" already.");
    EXPECT_EQ(box.addTool(fourMarkers()), nullptr);
    expectLog(LogLevel::Error, "on one line");
    EXPECT_EQ(box.addTool({"Stick", {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}}}), nullptr);

    const SurgicalTool* found = tool;
    int unplugged = 0;
    tool->attach(SurgicalTool::UNPLUGGED, this, [&](CaSubject* subject, void*, const char*, void*) {
        EXPECT_EQ(subject, found);
        EXPECT_EQ(box.getTool("Pointer"), nullptr);
        ++unplugged;
    });
    EXPECT_FALSE(box.removeTool("Drill"));
    for (const char* name : {"Saw", "Awl"})
        EXPECT_NE(box.addTool(fourMarkers(name)), nullptr);
    EXPECT_THAT(source->told, ElementsAre("Pointer", "Saw", "Awl"));
    EXPECT_TRUE(box.removeTool("Saw"));
    EXPECT_THAT(source->told, ElementsAre("Pointer", "Awl"));
    EXPECT_TRUE(box.removeTool("Awl"));
    EXPECT_TRUE(box.removeTool("Pointer"));
    EXPECT_EQ(unplugged, 1);
    EXPECT_TRUE(box.getTools().empty());
    {
        SurgicalToolBox second;
        EXPECT_EQ(SurgicalToolBox::getInstance(), &box);
        SurgicalTool* const other = second.addTool(fourMarkers());
        other->attach(SurgicalTool::UNPLUGGED, this,
                      [&](CaSubject*, void*, const char*, void*) { ++unplugged; });
        EXPECT_EQ(second.connectTo(), CaError::nullError); // the simulation
        EXPECT_TRUE(second.isConnected());
        EXPECT_TRUE(other->getRigidBody()->hasPose());
    }
    EXPECT_EQ(unplugged, 2);
}

TEST_F(SurgicalToolBoxTest, EachKindOfProblemIsLoggedOnceAMinuteWithItsCount) {
    for (const char* text : {"damaged", "wrong checksum", "the cable is out"})
        expectLog(LogLevel::Warning, text);
    const auto attack = [&](int times) {
        for (int i = 0; i < times; ++i) {
            const std::string number = std::to_string(i); // The texts vary.
            source->setConnected(true, "message " + number + " is damaged", "damage");
            box.refresh();
            box.refresh(); // It lasts.
            source->setConnected(false, number + " has a wrong checksum", "checksum");
            box.refresh();
            source->setConnected(true); // A good one came between.
            box.refresh();
        }
    };
    const auto logged = [](const char* text) { return logCount(LogLevel::Warning, text); };
    attack(4);
    source->setConnected(false, "the cable is out"); // A text is a kind of its own.
    box.refresh();
    EXPECT_EQ(logged(""), 3);
    time.advance(std::chrono::seconds(59));
    attack(1);
    EXPECT_EQ(logged(""), 3);
    time.advance(std::chrono::seconds(1));
    box.refresh(); // Nobody has to come again.
    EXPECT_EQ(logged(""), 5);
    EXPECT_EQ(logged("4 more times"), 2);
    time.advance(std::chrono::minutes(1));
    box.refresh();
    EXPECT_EQ(logged(""), 5);
    attack(1);
    EXPECT_EQ(logged(""), 7);
}

// However many ask, and whatever they ask.
TEST_F(SurgicalToolBoxTest, AllIsOfOneMomentUntilTheNextRefresh) {
    see(exact);
    source->setMarkers("Pointer", noisy);
    EXPECT_EQ(body->getReal(0), exact[0]);
    box.setRefreshInterval(std::chrono::hours(1));
    box.refresh();
    EXPECT_EQ(body->getReal(0), noisy[0]);
    source->setMarkers("Pointer", exact);
    source->setConnected(false);
    box.refresh();
    EXPECT_EQ(body->getReal(0), noisy[0]);
    EXPECT_TRUE(box.isConnected());
    source->setConnected(true);
    box.refreshNow();
    EXPECT_EQ(body->getReal(0), exact[0]);
    box.setRefreshInterval(std::chrono::milliseconds(0));
    source->setConnected(false);
    EXPECT_TRUE(box.isConnected()); // as the tools still are
    box.refresh();
    EXPECT_FALSE(box.isConnected());
}

TEST(TrackingAddress, NamesTheSourceOrWhatIsWrong) {
    const std::pair<const char*, const char*> cases[] = {
        // null: no problem
        {"simulation:?seed=7&noise=0.5", nullptr},
        {"igtl://127.0.0.1:20000", nullptr},
        {"recording:/data/a%20b.track?pace=fast", nullptr},
        {"simulation:?seed=seven", "seed"},
        {"simulation:?noise=-1", "noise"},
        {"igtl://", "host"},
        {"recording:/a?pace=slow", "pace"},
        {"igtl://127.0.0.1?interface=eth1", nullptr},
        {"igtl://127.0.0.1?interface=", "interface"},
        {"igtl://127.0.0.1?tls=on", "\"tls\" is not known"},
        {"simulation:?pace=fast", "\"pace\" is not known"},
        {"recording:/a?pace=own&pace=fast", "twice"},
        {"http://host", "none of"},
    };
    for (const auto& [address, problem] : cases) {
        SCOPED_TRACE(address);
        std::unique_ptr<vlr::TrackingSource> source;
        const CaError error = vlr::createTrackingSource(QString::fromLatin1(address),
                                                        &std::chrono::steady_clock::now, source);
        EXPECT_EQ(error.isNull(), problem == nullptr) << error;
        EXPECT_EQ(source != nullptr, problem == nullptr);
        if (problem) {
            EXPECT_THAT(error.text(), AllOf(HasSubstr(problem), HasSubstr(address)));
        }
    }
}
