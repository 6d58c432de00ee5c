#pragma once

#include "Suite.h"

#include "Statistics.h"

#include <QtCore/QJsonObject>

#include <map>
#include <string>
#include <vector>

/// What the repetitions of one function gave, in the order in which they were counted.
struct Measured {
    std::vector<double> nanoseconds; ///< of one iteration
    std::map<std::string, std::vector<double>> counters;
};

/// Runs a suite and prints its table. Throws std::runtime_error when a function reported an error.
class Runner {
public:
    Runner(std::string suiteName, const Suite& suite, int repetitions);

    void run();
    /// As it was printed, with every sample.
    const QJsonObject& json() const { return m_json; }
    /// Draws each growth as "<suite>-<name>.png" into the folder.
    void plot(const QString& folder) const;

private:
    struct Curve {
        std::string name;
        std::string what;
        std::vector<double> sizes;
        std::vector<double> medians; ///< nanoseconds
        double exponent;
    };

    void measure();
    void reportComparison(const Suite::Comparison& comparison);
    void reportCounts(const Suite::Comparison& comparison, QJsonObject& json) const;
    void reportGrowth(const Suite::Growth& growth);
    const Measured& measured(const std::string& name) const;

    std::string m_name;
    const Suite& m_suite;
    int m_repetitions;
    std::map<std::string, Measured> m_measured;
    std::vector<Curve> m_curves;
    QJsonObject m_json;
};
