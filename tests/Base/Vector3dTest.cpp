#include "Math/Vector3d.h"

#include <gtest/gtest.h>

TEST(Vector3d, IsReadFromTheFormsPeopleWrite) {
    struct Case {
        const char* text;
        std::optional<Vector3d> expected;
    };
    const Case cases[] = {
        {"1 0 0", Vector3d(1, 0, 0)},
        {"1, 0.5, -2e3", Vector3d(1, 0.5, -2000)},
        {" (255,128,0) ", Vector3d(255, 128, 0)},
        {"", std::nullopt},
        {"1 2", std::nullopt},
        {"1 2 3 4", std::nullopt},
        {"1 2 3mm", std::nullopt},
        {"1 ,2 , 3", Vector3d(1, 2, 3)},
        {"1,,2 3", std::nullopt},
        {",1 2 3", std::nullopt},
        {"1 2 3,", std::nullopt},
        {"nan 0 0", std::nullopt},
        {"inf 0 0", std::nullopt},
        {"1e999 0 0", std::nullopt},
        {"red green blue", std::nullopt},
    };
    for (const Case& c : cases)
        EXPECT_EQ(vlr::vector3dFromText(c.text), c.expected) << '"' << c.text << '"';
}

TEST(Vector3d, SurvivesTextExactly) {
    const Vector3d vector(0.1, -1.0 / 3.0, 6.02214076e23);
    EXPECT_EQ(vlr::vector3dFromText(vlr::toText(vector)), vector);
}
