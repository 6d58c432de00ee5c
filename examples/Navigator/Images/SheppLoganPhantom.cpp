#include "Images/SheppLoganPhantom.h"

#include <array>
#include <cmath>
#include <cstddef>

namespace {

struct Ellipsoid {
    double x, y, z;      // centre
    double a, b, c;      // half axes
    double turn;         // about the z axis, in degrees
    double contribution; // to the grey value of the points inside
};

constexpr std::array<Ellipsoid, 10> ellipsoids{{
    {0.00, 0.000, 0.000, 0.6900, 0.920, 0.900, 0, 1.0},
    {0.00, 0.000, 0.000, 0.6624, 0.874, 0.880, 0, -0.8},
    {-0.22, 0.000, -0.250, 0.4100, 0.160, 0.210, 108, -0.2},
    {0.22, 0.000, -0.250, 0.3100, 0.110, 0.220, 72, -0.2},
    {0.00, 0.350, -0.250, 0.2100, 0.250, 0.500, 0, 0.2},
    {0.00, 0.100, -0.250, 0.0460, 0.046, 0.046, 0, 0.2},
    {-0.08, -0.650, -0.250, 0.0460, 0.023, 0.020, 0, 0.1},
    {0.06, -0.650, -0.250, 0.0460, 0.023, 0.020, 90, 0.1},
    {0.06, -0.105, 0.625, 0.0560, 0.040, 0.100, 90, 0.2},
    {0.00, 0.100, 0.625, 0.0560, 0.056, 0.100, 0, -0.2},
}};

// An ellipsoid with what does not depend on the point worked out.
struct Shape {
    explicit Shape(const Ellipsoid& e)
        : ellipsoid(e), cosine(std::cos(e.turn * degree)), sine(std::sin(e.turn * degree)) {}

    bool contains(double px, double py, double pz) const {
        const double x = px - ellipsoid.x;
        const double y = py - ellipsoid.y;
        const double u = (cosine * x + sine * y) / ellipsoid.a;
        const double v = (cosine * y - sine * x) / ellipsoid.b;
        const double w = (pz - ellipsoid.z) / ellipsoid.c;
        return u * u + v * v + w * w <= 1.0;
    }

    static constexpr double degree = 3.14159265358979323846 / 180;
    Ellipsoid ellipsoid;
    double cosine;
    double sine;
};

} // namespace

double sheppLoganValue(double x, double y, double z) {
    static const std::vector<Shape> shapes(ellipsoids.begin(), ellipsoids.end());
    // Everything lies inside the first one, the outside of the skull.
    if (!shapes.front().contains(x, y, z))
        return 0;
    double value = 0;
    for (const Shape& shape : shapes)
        if (shape.contains(x, y, z))
            value += shape.ellipsoid.contribution;
    // The contributions of the ventricles only nearly cancel in binary numbers.
    return std::fmax(0.0, value);
}

std::vector<float> sheppLoganVolume(int size) {
    const auto centre = [size](int index) { return (2.0 * index + 1) / size - 1; };
    std::vector<float> volume;
    volume.reserve(static_cast<std::size_t>(size) * static_cast<std::size_t>(size) *
                   static_cast<std::size_t>(size));
    for (int z = 0; z < size; ++z)
        for (int y = 0; y < size; ++y)
            for (int x = 0; x < size; ++x)
                volume.push_back(
                    static_cast<float>(sheppLoganValue(centre(x), -centre(y), centre(z))));
    return volume;
}
