#pragma once

#include <QtCore/QJsonObject>

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
