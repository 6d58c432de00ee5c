#include "Math/Vector3d.h"

#include <gtest/gtest.h>

TEST(Vector3d, IsReadFromTheFormsPeopleWrite) {
    const Vector3d fractions(0.1, -1.0 / 3.0, 6.02214076e23);
    const std::pair<std::string, Vector3d> good[] = {
        {"1 0 0", Vector3d(1, 0, 0)},        {"1, 0.5, -2e3", Vector3d(1, 0.5, -2000)},
        {"1 ,2 , 3", Vector3d(1, 2, 3)},     {" (255,128,0) ", Vector3d(255, 128, 0)},
        {vlr::toText(fractions), fractions},
    };
    for (const auto& [text, expected] : good)
        EXPECT_EQ(vlr::vector3dFromText(text), expected) << text;
    for (const char* text : {"", "1 2", "1 2 3 4", "1 2 3mm", "1,,2 3", ",1 2 3", "1 2 3,",
                             "nan 0 0", "inf 0 0", "1e999 0 0", "red green blue"})
        EXPECT_FALSE(vlr::vector3dFromText(text)) << text;
}
