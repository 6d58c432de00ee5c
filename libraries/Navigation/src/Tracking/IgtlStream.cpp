#include "Tracking/IgtlStream.h"

#include "Tracking/ToolGeometry.h"
#include "Tracking/ToolName.h"

#include <QtCore/QtEndian>

#include <Eigen/LU>

#include <algorithm>
#include <cstring>
#include <igtl_header.h>
#include <igtl_point.h>
#include <igtl_tdata.h>
#include <igtl_transform.h>
#include <igtl_util.h>
#include <utility>

namespace vlr {

namespace {

constexpr int newestVersion = 3;

// The text of a field that is filled up with zeros, but not ended by one when it is full.
template <std::size_t size>
std::string text(const char (&field)[size]) {
    return std::string(field, std::find(field, field + size, '\0'));
}

bool isPrintable(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

quint64 checksum(const QByteArray& body) {
    QByteArray bytes = body; // The library's function does not promise to leave them alone.
    return crc64(reinterpret_cast<unsigned char*>(bytes.data()),
                 static_cast<igtl_uint64>(bytes.size()), crc64(nullptr, 0, 0));
}

bool markerNumber(const std::string& text, std::size_t& number) {
    if (text.empty() || text.size() > 3 ||
        !std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; }))
        return false;
    number = static_cast<std::size_t>(std::stoi(text));
    return number < static_cast<std::size_t>(mostMarkers);
}

bool isRotation(const Eigen::Matrix3d& matrix) {
    constexpr double slack = 1e-3; // What single precision leaves is much less.
    return (matrix.transpose() * matrix - Eigen::Matrix3d::Identity()).norm() < slack &&
           matrix.determinant() > 0;
}

// The matrix comes by columns: three of the rotation, then the translation.
std::optional<TrackingMeasurement> poseOf(const std::string& tool, const float* matrix) {
    const Eigen::Matrix<double, 3, 4> columns =
        Eigen::Map<const Eigen::Matrix<float, 3, 4>>(matrix).cast<double>();
    if (!isToolName(tool) || !columns.allFinite() || !isRotation(columns.leftCols<3>()))
        return {};
    TrackingMeasurement measurement;
    measurement.tool = tool;
    measurement.pose = RigidTransform{columns.leftCols<3>(), columns.col(3)};
    return measurement;
}

} // namespace

IgtlStream::IgtlStream(Receiver receiver) : m_receiver(std::move(receiver)) {}

bool IgtlStream::feed(const char* bytes, qint64 size) {
    m_problem.clear();
    m_problemKind.clear();
    while (size > 0) {
        if (m_toSkip > 0) {
            const auto skipped = std::min(static_cast<quint64>(size), m_toSkip);
            m_toSkip -= skipped;
            bytes += skipped;
            size -= static_cast<qint64>(skipped);
            continue;
        }
        const int wanted = m_isInBody ? static_cast<int>(m_bodySize) : IGTL_HEADER_SIZE;
        const int taken = static_cast<int>(std::min<qint64>(size, wanted - m_buffer.size()));
        m_buffer.append(bytes, taken);
        bytes += taken;
        size -= taken;
        if (m_buffer.size() < wanted)
            continue;
        if (!m_isInBody && !readHeader())
            return false;
        if (m_isInBody && m_buffer.size() == static_cast<int>(m_bodySize))
            readBody();
    }
    return true;
}

// Without a header that makes sense nobody can tell where the next message begins.
bool IgtlStream::readHeader() {
    igtl_header header;
    std::memcpy(&header, m_buffer.constData(), IGTL_HEADER_SIZE);
    igtl_header_convert_byte_order(&header);
    m_buffer.clear();
    m_version = header.version;
    m_type = text(header.name);
    m_device = text(header.device_name);
    m_bodySize = header.body_size;
    m_checksum = header.crc;
    if (m_version < 1 || m_version > newestVersion || m_type.empty() || !isPrintable(m_type)) {
        fail("stream", "what it sends is not OpenIGTLink");
        return false;
    }
    const bool isRead = m_type == "POINT" || m_type == "TRANSFORM" || m_type == "TDATA";
    if (m_bodySize > (isRead ? longestBody : longestSkip)) {
        fail("stream",
             "it announced a message " + m_type + " of " + std::to_string(m_bodySize) + " bytes");
        return false;
    }
    m_isInBody = isRead;
    if (!isRead) {
        m_toSkip = m_bodySize;
        ++m_messages;
    }
    return true;
}

// From version 2 on the content stands between an extended header and meta data.
void IgtlStream::readBody() {
    const QByteArray body = std::exchange(m_buffer, QByteArray());
    m_isInBody = false;
    if (checksum(body) != m_checksum) {
        fail("checksum", "a message " + m_type + " has a wrong checksum");
        return;
    }
    constexpr std::size_t shortestExtension = 12;
    const auto size = static_cast<std::size_t>(body.size());
    std::size_t before = 0;
    std::size_t behind = 0;
    if (m_version >= 2 && size >= shortestExtension) {
        before = qFromBigEndian<quint16>(body.constData());
        behind = std::size_t(qFromBigEndian<quint16>(body.constData() + 2)) +
                 qFromBigEndian<quint32>(body.constData() + 4);
    }
    const bool isExtensionSound =
        m_version < 2 || (before >= shortestExtension && before + behind <= size);
    if (isExtensionSound && readContent(body.constData() + before, size - before - behind))
        ++m_messages;
    else
        fail("damage",
             "a message " + m_type +
                 (isToolName(m_device) ? " of \"" + m_device + '"' : " without a proper name") +
                 " is damaged");
}

bool IgtlStream::readContent(const char* content, std::size_t size) {
    if (m_type == "POINT")
        return readPoints(content, size);
    return m_type == "TRANSFORM" ? readPose(content, size) : readPoses(content, size);
}

bool IgtlStream::readPoints(const char* content, std::size_t size) {
    const std::size_t count = size / IGTL_POINT_ELEMENT_SIZE;
    if (!isToolName(m_device) || size % IGTL_POINT_ELEMENT_SIZE != 0 ||
        count > static_cast<std::size_t>(mostMarkers))
        return false;
    std::vector<igtl_point_element> points(count);
    if (count > 0)
        std::memcpy(points.data(), content, size);
    igtl_point_convert_byte_order(points.data(), static_cast<int>(count));
    TrackingMeasurement measurement;
    measurement.tool = m_device;
    std::vector<Vector3d>& markers = measurement.markers;
    for (const igtl_point_element& point : points) {
        std::size_t number = 0;
        const Vector3d position(static_cast<double>(point.position[0]),
                                static_cast<double>(point.position[1]),
                                static_cast<double>(point.position[2]));
        if (!markerNumber(text(point.name), number) || !position.allFinite())
            return false;
        if (markers.size() <= number)
            markers.resize(number + 1, hiddenPosition());
        markers[number] = position;
    }
    m_receiver(std::move(measurement));
    return true;
}

bool IgtlStream::readPose(const char* content, std::size_t size) {
    igtl_float32 matrix[12];
    if (size != IGTL_TRANSFORM_SIZE)
        return false;
    std::memcpy(matrix, content, size);
    igtl_transform_convert_byte_order(matrix);
    auto measurement = poseOf(m_device, matrix);
    if (!measurement)
        return false;
    m_receiver(std::move(*measurement));
    return true;
}

// All of them or none.
bool IgtlStream::readPoses(const char* content, std::size_t size) {
    const std::size_t count = size / IGTL_TDATA_ELEMENT_SIZE;
    if (size % IGTL_TDATA_ELEMENT_SIZE != 0)
        return false;
    std::vector<igtl_tdata_element> tools(count);
    if (count > 0)
        std::memcpy(tools.data(), content, size);
    igtl_tdata_convert_byte_order(tools.data(), static_cast<int>(count));
    std::vector<TrackingMeasurement> poses;
    for (const igtl_tdata_element& tool : tools) {
        igtl_float32 matrix[12];
        std::memcpy(matrix, tool.transform, sizeof matrix);
        auto pose = poseOf(text(tool.name), matrix);
        if (!pose)
            return false;
        poses.push_back(std::move(*pose));
    }
    for (TrackingMeasurement& pose : poses)
        m_receiver(std::move(pose));
    return true;
}

void IgtlStream::fail(const char* kind, const std::string& text) {
    m_problemKind = kind;
    m_problem = text;
}

} // namespace vlr
