#include "Runner.h"

#include "Plot.h"

#include <QtCore/QJsonArray>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

namespace {

/// Collects what Google Benchmark measured instead of printing it.
class Collector : public benchmark::BenchmarkReporter {
public:
    explicit Collector(std::map<std::string, Measured>& measured) : m_measured(measured) {}

    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type != Run::RT_Iteration)
                continue;
            if (run.error_occurred)
                throw std::runtime_error(run.benchmark_name() + ": " + run.error_message);
            Measured& measured =
                m_measured[run.run_name.function_name +
                           (run.run_name.args.empty() ? std::string() : "/" + run.run_name.args)];
            measured.nanoseconds.push_back(run.real_accumulated_time * 1e9 /
                                           static_cast<double>(run.iterations));
            for (const auto& [name, counter] : run.counters)
                measured.counters[name].push_back(counter.value);
        }
    }

private:
    std::map<std::string, Measured>& m_measured;
};

std::string inUnits(double nanoseconds) {
    static constexpr const char* units[] = {"ns", "us", "ms", "s"};
    int unit = 0;
    for (; nanoseconds >= 1000 && unit < 3; ++unit)
        nanoseconds /= 1000;
    char text[32];
    std::snprintf(text, sizeof text, "%.3g %s", nanoseconds, units[unit]);
    return text;
}

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3g", value);
    return text;
}

std::string verdict(double value, double aim) {
    if (aim < 0)
        return "";
    return (value <= aim ? "reached, at most " : "MISSED, at most ") + number(aim);
}

// The slope of the straight line through the logarithms that has the least squares.
double fittedExponent(const std::vector<double>& sizes, const std::vector<double>& times) {
    const auto count = static_cast<double>(sizes.size());
    double sumX = 0, sumY = 0, sumXX = 0, sumXY = 0;
    for (std::size_t i = 0; i < sizes.size(); ++i) {
        const double x = std::log(sizes[i]);
        const double y = std::log(times[i]);
        sumX += x;
        sumY += y;
        sumXX += x * x;
        sumXY += x * y;
    }
    return (count * sumXY - sumX * sumY) / (count * sumXX - sumX * sumX);
}

void registerFunction(const std::string& name, const Suite::Function& function, bool hasOwnClock,
                      int repetitions, const std::vector<long>& sizes = {}) {
    auto* const registered = benchmark::RegisterBenchmark(
        name.c_str(), [function](benchmark::State& state) { function(state); });
    registered->Repetitions(repetitions);
    for (const long size : sizes)
        registered->Arg(size);
    // A process, or a whole repository, is measured once each time.
    if (hasOwnClock)
        registered->UseManualTime()->Iterations(1);
    else
        registered->UseRealTime();
}

constexpr int fewestRepetitionsOfAGrowth = 5;

} // namespace

Runner::Runner(std::string suiteName, const Suite& suite, int repetitions)
    : m_name(std::move(suiteName)), m_suite(suite), m_repetitions(repetitions) {
    m_json.insert(QStringLiteral("suite"), QString::fromStdString(m_name));
}

const Measured& Runner::measured(const std::string& name) const {
    const auto found = m_measured.find(name);
    if (found == m_measured.end())
        throw std::runtime_error(name + " was not measured.");
    return found->second;
}

void Runner::measure() {
    for (const Suite::Comparison& comparison : m_suite.comparisons()) {
        registerFunction(comparison.name + ":ours", comparison.ours, comparison.hasOwnClock,
                         m_repetitions);
        if (comparison.theirs)
            registerFunction(comparison.name + ":theirs", comparison.theirs, comparison.hasOwnClock,
                             m_repetitions);
    }
    for (const Suite::Growth& growth : m_suite.growths())
        registerFunction(growth.name, growth.function, growth.hasOwnClock,
                         std::max(fewestRepetitionsOfAGrowth, m_repetitions / 3), growth.sizes);
    Collector collector(m_measured);
    benchmark::RunSpecifiedBenchmarks(&collector);
    benchmark::ClearRegisteredBenchmarks();
}

void Runner::run() {
    measure();
    std::printf("\n%s\n", m_name.c_str());
    for (const Suite::Comparison& comparison : m_suite.comparisons())
        reportComparison(comparison);
    for (const Suite::Growth& growth : m_suite.growths())
        reportGrowth(growth);
    std::fflush(stdout);
}

void Runner::reportComparison(const Suite::Comparison& comparison) {
    const auto samples = [&](const char* side) {
        const Measured& all = measured(comparison.name + side);
        return comparison.counter.empty() ? all.nanoseconds : all.counters.at(comparison.counter);
    };
    const auto text = [&](double value) {
        return comparison.counter.empty() ? inUnits(value)
                                          : number(value) + ' ' + comparison.counter;
    };
    const std::string unit = comparison.counter.empty() ? "Nanoseconds" : comparison.counter;
    const Summary ours(samples(":ours"));
    QJsonObject json{{QStringLiteral("what"), QString::fromStdString(comparison.what)},
                     {QString::fromStdString("ours" + unit), ours.toJson()}};
    std::printf("  %s: %s\n", comparison.name.c_str(), comparison.what.c_str());
    if (comparison.theirs) {
        const Summary theirs(samples(":theirs"));
        std::vector<double> ratios;
        for (std::size_t i = 0; i < ours.samples.size(); ++i)
            ratios.push_back(ours.samples[i] / theirs.samples.at(i));
        const Summary ratio(ratios);
        std::printf("    %s / %s = %s (%s to %s)  %s\n", text(ours.median).c_str(),
                    text(theirs.median).c_str(), number(ratio.median).c_str(),
                    number(ratio.lowerQuartile).c_str(), number(ratio.upperQuartile).c_str(),
                    verdict(ratio.median, comparison.aim).c_str());
        json.insert(QString::fromStdString("theirs" + unit), theirs.toJson());
        json.insert(QStringLiteral("ratio"), ratio.toJson());
        json.insert(QStringLiteral("aim"), comparison.aim);
    } else {
        std::printf("    %s\n", text(ours.median).c_str());
    }
    reportCounts(comparison, json);
    m_json.insert(QString::fromStdString(comparison.name), json);
}

void Runner::reportCounts(const Suite::Comparison& comparison, QJsonObject& json) const {
    const Measured& ours = measured(comparison.name + ":ours");
    for (const Suite::Count& count : comparison.counts) {
        const Summary summary(ours.counters.at(count.name));
        std::printf("    %s: %s (%s to %s)  %s\n", count.name.c_str(),
                    number(summary.median).c_str(), number(summary.lowerQuartile).c_str(),
                    number(summary.upperQuartile).c_str(),
                    verdict(summary.median, count.atMost).c_str());
        json.insert(QString::fromStdString(count.name), summary.toJson());
    }
}

void Runner::reportGrowth(const Suite::Growth& growth) {
    Curve curve{growth.name, growth.what, {}, {}, 0};
    for (const long size : growth.sizes) {
        curve.sizes.push_back(static_cast<double>(size));
        curve.medians.push_back(
            Summary(measured(growth.name + "/" + std::to_string(size)).nanoseconds).median);
    }
    curve.exponent = fittedExponent(curve.sizes, curve.medians);
    std::printf("  %s: %s grows with the power %.2f:", growth.name.c_str(), growth.what.c_str(),
                curve.exponent);
    QJsonArray points;
    for (std::size_t i = 0; i < curve.sizes.size(); ++i) {
        std::printf("  %s at %.0f", inUnits(curve.medians[i]).c_str(), curve.sizes[i]);
        points.append(QJsonArray{curve.sizes[i], curve.medians[i]});
    }
    std::printf("\n");
    m_json.insert(QString::fromStdString(growth.name),
                  QJsonObject{{QStringLiteral("what"), QString::fromStdString(growth.what)},
                              {QStringLiteral("exponent"), curve.exponent},
                              {QStringLiteral("sizeAndNanoseconds"), points}});
    m_curves.push_back(curve);
}

void Runner::plot(const QString& folder) const {
    for (const Curve& curve : m_curves)
        plotGrowth(folder + QLatin1Char('/') + QString::fromStdString(m_name + "-" + curve.name) +
                       QStringLiteral(".png"),
                   QString::fromStdString(curve.what), curve.sizes, curve.medians, curve.exponent);
}
