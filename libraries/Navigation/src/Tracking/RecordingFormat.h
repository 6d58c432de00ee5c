#pragma once

#include "Tracking/TrackingData.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace vlr {

/// The first line of a recording.
extern const char* const recordingHeader;
/// Longest line of a recording, with its line break.
constexpr qint64 longestRecordingLine = 8192;

/// One measurement as a line, with the time since the recording began.
QByteArray toRecordingLine(const TrackingMeasurement& measurement, std::chrono::microseconds time);

/// Reads such a line back. Otherwise the answer says what is wrong with it; empty for success.
QString fromRecordingLine(const QByteArray& line, TrackingMeasurement& measurement,
                          std::chrono::microseconds& time);

} // namespace vlr
