#include "Tracking/SimulatedCamera.h"

#include "Navigation/NavigationTest.h"

#include <gtest/gtest.h>

using namespace vlrTest;
using vlr::SimulatedCamera;

namespace {

SimulatedCamera::Options seeded(quint64 seed) {
    SimulatedCamera::Options options;
    options.seed = seed;
    return options;
}

int hiddenCount(const std::vector<Vector3d>& markers) {
    int count = 0;
    for (const Vector3d& marker : markers)
        count += vlr::isHidden(marker) ? 1 : 0;
    return count;
}

} // namespace

TEST(SimulatedCamera, TheSeedDecidesEverything) {
    const vlr::ToolGeometry tool = fourMarkers();
    const SimulatedCamera one(seeded(7));
    const SimulatedCamera same(seeded(7));
    const SimulatedCamera other(seeded(8));
    for (const qint64 picture : {0, 1, 100, 100000}) {
        EXPECT_EQ(one.see(tool, picture), same.see(tool, picture));
        EXPECT_NE(one.see(tool, picture), other.see(tool, picture));
        EXPECT_NE(one.see(tool, picture), one.see(tool, picture + 1));
    }
    EXPECT_NE(one.see(fourMarkers("A"), 5), one.see(fourMarkers("B"), 5));
}

// Recordings and demonstrations shall look the same on every machine and in every version: the
// figures were worked out apart from this program.
TEST(SimulatedCamera, PosesAreThoseOfTheReference) {
    const struct {
        quint64 seed;
        const char* tool;
        qint64 picture;
        Vector3d origin, hundredAlongX, firstMarkerSeen;
    } cases[] = {
        {1,
         "Pointer",
         0,
         {231.644169, 214.314757, -1260.653599},
         {330.332109, 228.104384, -1252.254992},
         {231.553761, 214.496981, -1260.778782}},
        {1,
         "Pointer",
         60,
         {256.999299, 230.195251, -1206.989676},
         {352.012480, 256.079680, -1189.597388},
         {257.061740, 230.129846, -1207.042454}},
        {1,
         "Pointer",
         3600,
         {210.822025, 193.895737, -1205.637564},
         {309.102108, 177.254382, -1213.643225},
         {210.738666, 193.888403, -1205.606205}},
        {1,
         "Reference base",
         0,
         {-113.427714, -121.875177, -1408.664444},
         {-204.536523, -128.070968, -1367.911565},
         {-113.517391, -121.618436, -1408.707779}},
        {1,
         "Reference base",
         600,
         {-40.195410, -190.422214, -1424.059363},
         {-118.732537, -210.309418, -1365.438388},
         {-40.072230, -190.386917, -1424.317281}},
        {7,
         "Pointer",
         90,
         {98.150957, 200.412730, -1393.003742},
         {189.437107, 190.007084, -1432.482360},
         {98.099038, 200.468856, -1393.068585}},
    };
    constexpr double tolerance = 1e-5; // millimetres
    for (const auto& each : cases) {
        SimulatedCamera::Options options = seeded(each.seed);
        options.hidesMarkers = false;
        const SimulatedCamera camera(options);
        const vlr::RigidTransform pose = camera.pose(each.tool, each.picture);
        const auto seen = camera.see(fourMarkers(each.tool), each.picture);
        EXPECT_LT((pose.translation - each.origin).norm(), tolerance) << each.tool;
        EXPECT_LT((pose * Vector3d(100, 0, 0) - each.hundredAlongX).norm(), tolerance);
        EXPECT_LT((seen.front() - each.firstMarkerSeen).norm(), tolerance) << each.picture;
    }
}

TEST(SimulatedCamera, ToolsMoveAndMarkersGetHiddenWithinTheNoise) {
    SimulatedCamera::Options options;
    options.noise = 0.2;
    const SimulatedCamera camera(options);
    const vlr::ToolGeometry tool = fourMarkers();
    std::vector<int> timesHidden(tool.markers.size());
    double squares = 0;
    double path = 0;
    int seen = 0;
    for (qint64 picture = 0; picture < 3600; ++picture) { // a minute
        const auto markers = camera.see(tool, picture);
        const vlr::RigidTransform truth = camera.pose(tool.name, picture);
        path += (truth.translation - camera.pose(tool.name, picture + 1).translation).norm();
        for (std::size_t i = 0; i < markers.size(); ++i) {
            if (vlr::isHidden(markers[i])) {
                ++timesHidden[i];
                continue;
            }
            squares += (markers[i] - truth * tool.markers[i]).squaredNorm();
            ++seen;
        }
    }
    EXPECT_NEAR(std::sqrt(squares / (3 * seen)), 0.2, 0.01);
    EXPECT_GT(path, 100);
    for (const int times : timesHidden) {
        EXPECT_GT(times, 60);
        EXPECT_LT(times, 1800);
    }
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
    const auto second = camera.latest();
    EXPECT_NE(second, first);
    EXPECT_EQ(second->tools.at("Pointer").markers->markers, camera.see(fourMarkers(), 1));
    camera.setTools({});
    EXPECT_TRUE(camera.latest()->tools.empty());
    camera.stop();
    EXPECT_FALSE(camera.latest()->isConnected);

    options.hidesMarkers = false;
    const SimulatedCamera open(options);
    for (qint64 picture = 0; picture < 2000; ++picture)
        EXPECT_EQ(hiddenCount(open.see(fourMarkers(), picture)), 0);
}
