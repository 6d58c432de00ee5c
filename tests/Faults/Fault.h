#pragma once

#include <string>
#include <vector>

/// What a kind of fault did, in figures that have a bound. A figure beyond its bound fails the run.
///
///     report.count("saves");
///     report.never("saves lost", found < acknowledged, "found 3 instead of 4");
class Report {
public:
    explicit Report(bool isLong) : m_isLong(isLong) {}

    /// The number of repetitions: the short form is a test, the long one takes its time.
    [[nodiscard]] long extent(long inShort, long inLong) const {
        return m_isLong ? inLong : inShort;
    }
    [[nodiscard]] bool isLong() const { return m_isLong; }

    /// One that must not exceed `bound`, or fall below it. Of several with one name the worst
    /// counts.
    void atMost(const std::string& name, long long value, long long bound);
    void atLeast(const std::string& name, long long value, long long bound);
    /// What must never happen: adds how often it did, with the cause.
    void never(const std::string& name, long long times, const std::string& cause = {});
    /// Adds to a figure that has to reach `least` in the end.
    void count(const std::string& name, long long number = 1, long long least = 0);
    /// What was done, for whoever reads the figures: "1,000 saves of each kind".
    void done(const std::string& text);
    /// The cause behind a bad figure. The first ones of a kind are printed.
    void problem(const std::string& text);
    /// A part that needs what this system does not have: "small disk: needs the right to mount".
    void notRun(const std::string& text) { m_notRun.push_back(text); }

    [[nodiscard]] bool isGood() const;
    /// The parts that were not run.
    [[nodiscard]] const std::vector<std::string>& missing() const { return m_notRun; }
    void print(const char* fault) const;

private:
    struct Figure {
        std::string name;
        long long value = 0;
        long long bound = 0;
        bool isLimit = true; // or the least it has to be
        [[nodiscard]] bool isGood() const { return isLimit ? value <= bound : value >= bound; }
    };

    Figure& figure(const Figure& first);

    bool m_isLong;
    std::vector<Figure> m_figures;
    std::vector<std::string> m_done;
    std::vector<std::string> m_problems;
    std::vector<std::string> m_notRun;
    long m_problemCount = 0;
};
