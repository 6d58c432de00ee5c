#include "Tracking/SimulatedCamera.h"

#include "Navigation/NavigationTest.h"

using namespace vlrTest;
using vlr::SimulatedCamera;

// Recordings and demonstrations shall look the same on every machine and in every version: the
// figures were worked out apart from this program.
TEST(SimulatedCamera, PosesAreThoseOfTheReference) {
    // The first marker is at the origin.
    const std::tuple<quint64, std::string, qint64, Vector3d, Vector3d> cases[] = {
        {1, "Pointer", 0, {330.332, 228.104, -1252.255}, {231.554, 214.497, -1260.779}},
        {1, "Pointer", 60, {352.012, 256.080, -1189.597}, {257.062, 230.130, -1207.042}},
        {1, "Reference base", 600, {-118.733, -210.309, -1365.438}, {-40.072, -190.387, -1424.317}},
        {7, "Pointer", 90, {189.437, 190.007, -1432.482}, {98.099, 200.469, -1393.069}},
    };
    constexpr double tolerance = 1e-3; // millimetres
    for (const auto& [seed, tool, picture, hundredAlongX, firstMarkerSeen] : cases) {
        SimulatedCamera::Options options;
        options.seed = seed;
        options.hidesMarkers = false;
        const SimulatedCamera camera(options);
        const vlr::RigidTransform pose = camera.pose(tool, picture);
        const auto seen = camera.see(fourMarkers(tool), picture);
        EXPECT_LT((pose * Vector3d(100, 0, 0) - hundredAlongX).norm(), tolerance);
        EXPECT_LT((seen.front() - firstMarkerSeen).norm(), tolerance) << picture;
    }
}

// Each marker now and then, but none at the start.
TEST(SimulatedCamera, HidesMarkersUnlessItIsToldNotTo) {
    for (const bool hides : {true, false}) {
        SimulatedCamera::Options options;
        options.hidesMarkers = hides;
        const SimulatedCamera camera(options);
        std::vector<int> hidden(4);
        for (int picture = 0; picture < 20 * options.rate; ++picture) {
            const auto seen = camera.see(fourMarkers(), picture);
            for (std::size_t i = 0; i < seen.size(); ++i)
                hidden[i] += vlr::isHidden(seen[i]) ? 1 : 0;
            EXPECT_TRUE(picture > 0 || hidden == std::vector<int>(4));
        }
        EXPECT_THAT(hidden, Each(testing::Truly([&](int count) { return (count > 0) == hides; })));
    }
}
