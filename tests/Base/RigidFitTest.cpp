#include "Math/RigidFit.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

struct Case {
    const char* name;
    std::vector<Vector3d> model;
    std::vector<Vector3d> measured;
    double rotation[9]; // by rows
    Vector3d translation;
    double rms;
};

// The expected values of noisy sets were computed with another method than the library's, the
// unit quaternion as largest eigenvector of a symmetric 4 x 4 matrix (B. K. P. Horn, 1987), in
// decimal arithmetic of 60 digits. Those of the exact set follow by hand from the rotation, whose
// elements are rational (1-2-2-3).
const Case cases[] = {
    {"half turn, all axes",
     {{0, 0, 0}, {90, 0, 0}, {0, 90, 0}, {0, 0, 90}},
     {{1, 2, 3}, {-69, 42, 43}, {41, -8, 83}, {41, 82, -7}},
     {-7. / 9, 4. / 9, 4. / 9, 4. / 9, -1. / 9, 8. / 9, 4. / 9, 8. / 9, -1. / 9},
     {1, 2, 3},
     0},
    {"three markers, noisy",
     {{0, 0, 0}, {45, 0, 0}, {0, 30, 0}},
     {{-200.5, 150.25, -1300}, {-200.125, 150.5, -1255.25}, {-229.75, 151.5, -1300.5}},
     {-0.00357831552736130, -0.999077394620747, -0.0427966729525386, 0.00609869324683168,
      0.0427743478392497, -0.999066144510767, 0.999975000486846, -0.00383597767808637,
      0.00594000644658980},
     {-200.080551320882, 150.230776122905, -1300.21126523052},
     0.345473522405413},
    {"a mirror image, which no rotation reaches",
     {{0, 0, 0}, {10, 0, 0}, {0, 20, 0}, {0, 0, 30}},
     {{0, 0, 0}, {-10, 0, 0}, {0, 20, 0}, {0, 0, 30}},
     {0.765252819599994, 0.546435974199046, 0.340287890168602, -0.546435974199046,
      0.830850136261773, -0.105336494981242, -0.340287890168602, -0.105336494981242,
      0.934402683338221},
     {-9.69747109625973, 3.00186296654807, 1.86938207529105},
     6.71302390501482},
};

} // namespace

TEST(RigidFit, AgreesWithIndependentlyComputedPoses) {
    constexpr double tolerance = 1e-9; // millimetres
    for (const Case& c : cases) {
        const auto fit = vlr::fitRigid(c.model, c.measured);
        ASSERT_TRUE(fit) << c.name;
        for (int i = 0; i < 9; ++i)
            EXPECT_NEAR(fit->transform.rotation(i / 3, i % 3), c.rotation[i], 1e-12) << c.name;
        for (int i = 0; i < 3; ++i)
            EXPECT_NEAR(fit->transform.translation[i], c.translation[i], tolerance) << c.name;
        EXPECT_NEAR(fit->rms, c.rms, tolerance) << c.name;
    }
}

TEST(RigidFit, NeedsThreePointsThatAreNotOnOneLine) {
    const std::vector<Vector3d> good{{0, 0, 0}, {50, 0, 0}, {0, 40, 0}};
    const double infinite = std::numeric_limits<double>::infinity();
    const std::vector<Vector3d> bad[] = {
        {},
        {{0, 0, 0}, {50, 0, 0}},
        {{0, 0, 0}, {50, 0, 0}, {0, 40, 0}, {1, 1, 1}}, // one too many
        {{0, 0, 0}, {10, 20, 30}, {20, 40, 60}},
        {{5, 5, 5}, {5, 5, 5}, {5, 5, 5}},
        {{0, 0, 0}, {50, 0, 0}, {100, 0.001, 0}}, // all but on one line
        {{0, 0, 0}, {50, 0, infinite}, {0, 40, 0}},
        {{0, 0, 0}, {50, 0, std::nan("")}, {0, 40, 0}},
    };
    ASSERT_TRUE(vlr::fitRigid(good, good));
    for (const auto& points : bad) {
        EXPECT_FALSE(vlr::fitRigid(good, points)) << points.size();
        EXPECT_FALSE(vlr::fitRigid(points, good)) << points.size();
    }
}
