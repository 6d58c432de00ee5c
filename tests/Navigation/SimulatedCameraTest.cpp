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
