#include "Tracking/SimulatedCamera.h"

#include "Navigation/NavigationTest.h"

#include <gmock/gmock.h>

using namespace vlrTest;
using vlr::SimulatedCamera;

// Recordings and demonstrations shall look the same on every machine and in every version: the
// figures were worked out apart from this program.
TEST(SimulatedCamera, PosesAreThoseOfTheReference) {
    const std::string base = "Reference base";
    const struct {
        quint64 seed;
        std::string tool;
        qint64 picture;
        Vector3d hundredAlongX, firstMarkerSeen; // The first marker is at the origin.
    } cases[] = {
        {1, "Pointer", 0, {330.332, 228.104, -1252.255}, {231.554, 214.497, -1260.779}},
        {1, "Pointer", 60, {352.012, 256.080, -1189.597}, {257.062, 230.130, -1207.042}},
        {1, "Pointer", 3600, {309.102, 177.254, -1213.643}, {210.738, 193.888, -1205.606}},
        {1, base, 0, {-204.537, -128.071, -1367.912}, {-113.517, -121.618, -1408.708}},
        {1, base, 600, {-118.733, -210.309, -1365.438}, {-40.072, -190.387, -1424.317}},
        {7, "Pointer", 90, {189.437, 190.007, -1432.482}, {98.099, 200.469, -1393.069}},
    };
    constexpr double tolerance = 1e-3; // millimetres
    for (const auto& each : cases) {
        SimulatedCamera::Options options;
        options.seed = each.seed;
        options.hidesMarkers = false;
        const SimulatedCamera camera(options);
        const vlr::RigidTransform pose = camera.pose(each.tool, each.picture);
        const auto seen = camera.see(fourMarkers(each.tool), each.picture);
        EXPECT_LT((pose * Vector3d(100, 0, 0) - each.hundredAlongX).norm(), tolerance);
        EXPECT_LT((seen.front() - each.firstMarkerSeen).norm(), tolerance) << each.picture;
    }
}

TEST(SimulatedCamera, EveryMarkerGetsHiddenNowAndThen) {
    SimulatedCamera::Options options;
    options.noise = 0;
    const SimulatedCamera camera(options);
    const vlr::ToolGeometry tool = fourMarkers();
    std::vector<int> timesHidden(tool.markers.size());
    for (qint64 picture = 0; picture < 3600; ++picture) { // a minute
        const auto markers = camera.see(tool, picture);
        for (std::size_t i = 0; i < markers.size(); ++i) {
            const Vector3d truth = camera.pose(tool.name, picture) * tool.markers[i];
            timesHidden[i] += vlr::isHidden(markers[i]) ? 1 : 0;
            EXPECT_TRUE(vlr::isHidden(markers[i]) || markers[i].isApprox(truth)) << picture;
        }
    }
    EXPECT_THAT(timesHidden, testing::Each(testing::AllOf(testing::Gt(60), testing::Lt(1800))));
}

TEST(SimulatedCamera, GivesOnePictureAtATime) {
    HandClock time;
    SimulatedCamera::Options options;
    options.rate = 50;
    SimulatedCamera camera(options, time.clock());
    camera.setTools({fourMarkers()});
    EXPECT_FALSE(camera.latest()->isConnected);
    ASSERT_EQ(camera.start(), CaError::nullError);
    const auto first = camera.latest();
    EXPECT_TRUE(first->isConnected);
    time.advance(std::chrono::milliseconds(19));
    EXPECT_EQ(camera.latest(), first);
    time.advance(std::chrono::milliseconds(1));
    const auto second = camera.latest()->tools.at("Pointer").markers;
    EXPECT_EQ(second->markers, camera.see(fourMarkers(), 1));
    camera.stop();
    EXPECT_FALSE(camera.latest()->isConnected);
}
