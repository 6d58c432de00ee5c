#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <vector>

/// The middle of some measurements and the spread of the half of them around it.
struct Summary {
    explicit Summary(const std::vector<double>& samples); ///< At least one.

    QJsonObject toJson() const; ///< With the samples, in the order they were taken.

    std::vector<double> samples;
    double median;
    double lowerQuartile;
    double upperQuartile;
};

/// Throws std::runtime_error if the file cannot be written.
void writeJson(const QString& path, const QJsonObject& object);
