#pragma once

#include "Tracking/TrackingData.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace vlr {

/// The first line of a recording.
extern const char* const recordingHeader;
/// Longest line of a recording, with its line break.
constexpr qint64 longestRecordingLine = 8192;

/// What a line holds.
struct RecordingLine {
    std::chrono::microseconds time{0}; ///< Since the recording began.
    std::optional<TrackingMeasurement> measurement;
    TrackingCondition condition; ///< Where there is no measurement.
};

/// One measurement as a line. Empty for one that could not be read back: without a proper name of
/// a tool, with too many markers or a pose that is not finite.
QByteArray toRecordingLine(const TrackingMeasurement& measurement, std::chrono::microseconds time);
/// How the connection is from now on. What cannot be printed of the problem is replaced.
QByteArray toRecordingLine(const TrackingCondition& condition, std::chrono::microseconds time);

/// Reads such a line back. Otherwise the answer says what is wrong with it; empty for success.
QString fromRecordingLine(const QByteArray& text, RecordingLine& line);

} // namespace vlr
