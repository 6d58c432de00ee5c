#include "Tracking/RecordingFormat.h"

#include "Tools/ToolGeometry.h"

#include <QtCore/QList>
#include <QtCore/QLocale>

#include <array>
#include <cmath>

namespace vlr {

const char* const recordingHeader = "vlr-tracking 1\n";

namespace {

constexpr int fixedFields = 3; // time, kind, tool
constexpr int poseNumbers = 12;

QByteArray number(double value) {
    return QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
}

bool readNumber(const QByteArray& text, double& value) {
    bool isNumber = false;
    value = text.toDouble(&isNumber);
    return isNumber && std::isfinite(value);
}

bool readMarkers(const QList<QByteArray>& fields, std::vector<Vector3d>& markers) {
    for (int i = fixedFields; i < fields.size();) {
        Vector3d position = hiddenPosition();
        if (fields[i] == "-") {
            ++i;
        } else {
            for (int k = 0; k < 3; ++k, ++i)
                if (i >= fields.size() || !readNumber(fields[i], position[k]))
                    return false;
        }
        markers.push_back(position);
        if (markers.size() > static_cast<std::size_t>(mostMarkers))
            return false;
    }
    return true;
}

bool readPose(const QList<QByteArray>& fields, std::optional<RigidTransform>& pose) {
    std::array<double, poseNumbers> numbers{};
    if (fields.size() != fixedFields + poseNumbers)
        return false;
    for (int i = 0; i < poseNumbers; ++i)
        if (!readNumber(fields[fixedFields + i], numbers[static_cast<std::size_t>(i)]))
            return false;
    const Eigen::Map<const Eigen::Matrix<double, 3, 4>> columns(numbers.data());
    pose = RigidTransform{columns.leftCols<3>(), columns.col(3)};
    return true;
}

} // namespace

QByteArray toRecordingLine(const TrackingMeasurement& measurement, std::chrono::microseconds time) {
    QByteArray line = QByteArray::number(static_cast<qint64>(time.count()));
    line += measurement.pose ? " pose " : " markers ";
    line += QByteArray::fromStdString(measurement.tool).toPercentEncoding();
    if (measurement.pose) {
        for (const double value : measurement.pose->rotation.reshaped())
            line += ' ' + number(value);
        for (const double value : measurement.pose->translation)
            line += ' ' + number(value);
    } else {
        for (const Vector3d& position : measurement.markers)
            if (isHidden(position))
                line += " -";
            else
                line += ' ' + number(position.x()) + ' ' + number(position.y()) + ' ' +
                        number(position.z());
    }
    return line + '\n';
}

QString fromRecordingLine(const QByteArray& line, TrackingMeasurement& measurement,
                          std::chrono::microseconds& time) {
    if (!line.endsWith('\n'))
        return line.size() < longestRecordingLine - 1 ? QStringLiteral("it is cut off")
                                                      : QStringLiteral("it is too long");
    const QList<QByteArray> fields = line.left(line.size() - 1).split(' ');
    bool isTime = false;
    const qint64 microseconds = fields[0].toLongLong(&isTime);
    constexpr qint64 longest = qint64(30) * 24 * 3600 * 1000000; // a month
    if (!isTime || microseconds < 0 || microseconds > longest)
        return QStringLiteral("it does not begin with a time");
    if (fields.size() < fixedFields || fields[2].isEmpty())
        return QStringLiteral("it names no tool");
    TrackingMeasurement found;
    found.tool = QByteArray::fromPercentEncoding(fields[2]).toStdString();
    const bool isRead = fields[1] == "markers" ? readMarkers(fields, found.markers)
                        : fields[1] == "pose"  ? readPose(fields, found.pose)
                                               : false;
    if (!isRead)
        return QStringLiteral("it holds neither markers nor a pose");
    measurement = found;
    time = std::chrono::microseconds(microseconds);
    return {};
}

} // namespace vlr
