#include "Tracking/SimulatedCamera.h"

#include "Tracking/TrackingState.h"

#include <Eigen/Geometry>

#include <cmath>
#include <random>
#include <utility>

namespace vlr {

namespace {

constexpr double pi = 3.14159265358979323846;

// The same on every machine, unlike the distributions of the standard library.
class Random {
public:
    Random(quint64 seed, const std::string& tool, quint64 salt) {
        quint64 hash = 14695981039346656037ULL ^ seed;
        for (const char c : tool)
            hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
        m_engine.seed(hash ^ (salt * 0x9E3779B97F4A7C15ULL));
    }

    double between(double low, double high) {
        return low + (high - low) * static_cast<double>(m_engine() >> 11) * 0x1p-53;
    }

    double normal() { // Box and Muller
        const double radius = std::sqrt(-2 * std::log(1 - between(0, 1)));
        return radius * std::cos(2 * pi * between(0, 1));
    }

    Vector3d normals() {
        const double x = normal();
        const double y = normal();
        return Vector3d(x, y, normal());
    }

private:
    std::mt19937_64 m_engine;
};

// Every marker is hidden for a second or two, each at times of its own.
bool isHiddenAt(quint64 seed, const std::string& tool, std::size_t marker, double seconds) {
    Random random(seed, tool, 1000 + marker);
    const double period = random.between(8, 15);
    const double phase = random.between(0, period - 4); // At the start all are seen.
    return std::fmod(seconds + phase, period) > period - random.between(1, 2.5);
}

} // namespace

SimulatedCamera::SimulatedCamera(const Options& options, TrackingClock clock)
    : m_options(options), m_clock(std::move(clock)) {}

SimulatedCamera::~SimulatedCamera() = default;

CaError SimulatedCamera::start() {
    if (!m_isStarted)
        m_begin = m_clock();
    m_isStarted = true;
    return CaError::nullError;
}

void SimulatedCamera::stop() {
    m_isStarted = false;
    m_picture = -1;
    publish(std::make_shared<TrackingSnapshot>());
}

void SimulatedCamera::setTools(const std::vector<ToolGeometry>& tools) {
    m_tools = tools;
    m_picture = -1;
}

std::shared_ptr<const TrackingSnapshot> SimulatedCamera::latest() {
    const double elapsed = std::chrono::duration<double>(m_clock() - m_begin).count();
    const auto picture = static_cast<qint64>(elapsed * m_options.rate);
    if (!m_isStarted || picture == m_picture)
        return TrackingSource::latest();
    m_picture = picture;
    auto snapshot = std::make_shared<TrackingSnapshot>();
    snapshot->isConnected = true;
    const std::chrono::duration<double> since(static_cast<double>(picture) / m_options.rate);
    for (const ToolGeometry& tool : m_tools) {
        TrackingMeasurement measurement;
        measurement.tool = tool.name;
        measurement.time = m_begin + std::chrono::duration_cast<TrackingTime::duration>(since);
        measurement.markers = see(tool, picture);
        measurement.number = static_cast<std::uint64_t>(picture) + 1;
        tellListener(measurement);
        snapshot->tools[tool.name].markers = std::move(measurement);
    }
    publish(snapshot);
    return snapshot;
}

RigidTransform SimulatedCamera::pose(const std::string& tool, qint64 picture) const {
    const double seconds = static_cast<double>(picture) / m_options.rate;
    Random random(m_options.seed, tool, 0);
    RigidTransform pose;
    for (int i = 0; i < 3; ++i) {
        const double reach = random.between(20, 80);
        const double turns = random.between(0.03, 0.12); // per second
        const double middle = i == 2 ? random.between(-1600, -1200) : random.between(-250, 250);
        pose.translation[i] = middle + reach * std::sin(2 * pi * turns * seconds);
    }
    const Vector3d axis = random.normals().normalized();
    const double angle =
        random.between(-pi, pi) + 0.6 * std::sin(random.between(0.2, 0.6) * seconds);
    pose.rotation = Eigen::AngleAxisd(angle, axis).toRotationMatrix();
    return pose;
}

std::vector<Vector3d> SimulatedCamera::see(const ToolGeometry& tool, qint64 picture) const {
    const double seconds = static_cast<double>(picture) / m_options.rate;
    const RigidTransform truth = pose(tool.name, picture);
    Random random(m_options.seed, tool.name, 2000 + static_cast<quint64>(picture));
    std::vector<Vector3d> seen;
    for (std::size_t i = 0; i < tool.markers.size(); ++i) {
        const Vector3d position = truth * tool.markers[i] + m_options.noise * random.normals();
        const bool isHidden =
            m_options.hidesMarkers && isHiddenAt(m_options.seed, tool.name, i, seconds);
        seen.push_back(isHidden ? hiddenPosition() : position);
    }
    return seen;
}

} // namespace vlr
