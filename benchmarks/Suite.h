#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

/// A suite of comparisons: what the library does against what one would write without it, run in
/// turns in the same process, so that whatever slows the machine down meets both.
///
///     void addSettings(Suite& suite) {
///         suite.compare({"get", "vlr::Settings::get / QSettings::value", 0.25,
///                        [](benchmark::State& state) { for (auto _ : state) ours(); },
///                        [](benchmark::State& state) { for (auto _ : state) theirs(); }});
///     }
///
/// The functions run once for each repetition, in random order, with as many iterations as fill
/// some hundredths of a second. What they have to count (paints, allocations, milliseconds of a
/// stall) they put into state.counters; name it in `counts` with what it may be at most.
class Suite {
public:
    using Function = std::function<void(benchmark::State&)>;

    struct Count {
        std::string name;
        double atMost; ///< Below 0: there is no aim, it is only reported.
    };

    struct Comparison {
        std::string name;
        std::string what; ///< "ours / theirs", for the reader of the table
        double aim;       ///< ours as a share of theirs, at most; below 0: only reported
        Function ours;
        Function theirs;
        std::vector<Count> counts = {}; ///< of `ours`
        bool hasOwnClock = false;       ///< The functions set their times (SetIterationTime).
        std::string counter = {};       ///< What both count and what is compared instead of time.
    };

    /// How the time grows with the size, which the function finds in state.range(0).
    struct Growth {
        std::string name;
        std::string what;
        std::vector<long> sizes; ///< ascending, at least three
        Function function;
        bool hasOwnClock = false;
    };

    void compare(Comparison comparison);
    void grow(Growth growth);

    const std::vector<Comparison>& comparisons() const { return m_comparisons; }
    const std::vector<Growth>& growths() const { return m_growths; }

private:
    std::vector<Comparison> m_comparisons;
    std::vector<Growth> m_growths;
};

/// Heap allocations of this process so far, by malloc() and so by "new" and Qt. Under the address
/// sanitizer none are counted.
long long allocationCount();
