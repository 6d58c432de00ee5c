#include "Tracking/RecordingFormat.h"

#include "Tracking/ToolGeometry.h"
#include "Tracking/ToolName.h"

#include <QtCore/QList>
#include <QtCore/QLocale>

#include <array>
#include <cmath>

namespace vlr {

const char* const recordingHeader = "vlr-tracking 1\n";

namespace {

constexpr int fixedFields = 3; // time, kind, tool
constexpr int poseNumbers = 12;
constexpr int longestKind = 40;     // characters
constexpr int longestProblem = 500; // characters; as a line it is up to twelve times as long

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

bool readState(const QList<QByteArray>& fields, TrackingCondition& condition) {
    condition.isConnected = fields[2] == "connected";
    if (fields.size() == fixedFields + 2) {
        condition.problemKind = cleanText(
            QByteArray::fromPercentEncoding(fields[fixedFields]).toStdString(), longestKind);
        condition.problem = cleanText(
            QByteArray::fromPercentEncoding(fields[fixedFields + 1]).toStdString(), longestProblem);
    } else if (fields.size() != fixedFields) {
        return false;
    }
    return condition.isConnected || fields[2] == "disconnected";
}

QString readTool(const QList<QByteArray>& fields, TrackingMeasurement& measurement) {
    measurement.tool = QByteArray::fromPercentEncoding(fields.value(2)).toStdString();
    if (!isToolName(measurement.tool))
        return QStringLiteral("it names no tool");
    const bool isRead = fields[1] == "markers" ? readMarkers(fields, measurement.markers)
                        : fields[1] == "pose"  ? readPose(fields, measurement.pose)
                                               : false;
    return isRead ? QString() : QStringLiteral("it holds neither markers nor a pose");
}

bool isReadable(const TrackingMeasurement& measurement) {
    const bool isFinite = !measurement.pose || (measurement.pose->rotation.allFinite() &&
                                                measurement.pose->translation.allFinite());
    return isFinite && isToolName(measurement.tool) &&
           measurement.markers.size() <= static_cast<std::size_t>(mostMarkers);
}

QByteArray encoded(const std::string& text, int longest) {
    return QByteArray::fromStdString(cleanText(text, longest)).toPercentEncoding();
}

} // namespace

QByteArray toRecordingLine(const TrackingMeasurement& measurement, std::chrono::microseconds time) {
    if (!isReadable(measurement))
        return {};
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

QByteArray toRecordingLine(const TrackingCondition& condition, std::chrono::microseconds time) {
    QByteArray line = QByteArray::number(static_cast<qint64>(time.count())) + " state ";
    line += condition.isConnected ? "connected" : "disconnected";
    if (!condition.problem.empty())
        line += ' ' + encoded(condition.problemKind, longestKind) + ' ' +
                encoded(condition.problem, longestProblem);
    return line + '\n';
}

QString fromRecordingLine(const QByteArray& text, RecordingLine& line) {
    if (!text.endsWith('\n'))
        return text.size() < longestRecordingLine - 1 ? QStringLiteral("it is cut off")
                                                      : QStringLiteral("it is too long");
    const QList<QByteArray> fields = text.left(text.size() - 1).split(' ');
    bool isTime = false;
    const qint64 microseconds = fields[0].toLongLong(&isTime);
    constexpr qint64 longest = qint64(30) * 24 * 3600 * 1000000; // a month
    if (!isTime || microseconds < 0 || microseconds > longest)
        return QStringLiteral("it does not begin with a time");
    RecordingLine found;
    found.time = std::chrono::microseconds(microseconds);
    if (fields.size() >= fixedFields && fields[1] == "state") {
        if (!readState(fields, found.condition))
            return QStringLiteral("it does not tell the state of the connection");
    } else {
        const QString problem = readTool(fields, found.measurement.emplace());
        if (!problem.isEmpty())
            return problem;
    }
    line = found;
    return {};
}

} // namespace vlr
