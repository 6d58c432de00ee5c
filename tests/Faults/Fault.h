#pragma once

#include <string>
#include <vector>

/// What a kind of fault did, in figures that have a bound. A figure beyond its bound fails the run.
///
///     report.atMost("saves lost", lost, 0);
class Report {
public:
    explicit Report(bool isLong) : m_isLong(isLong) {}

    /// The number of repetitions: the short form is a test, the long one takes its time.
    [[nodiscard]] long extent(long inShort, long inLong) const {
        return m_isLong ? inLong : inShort;
    }
    [[nodiscard]] bool isLong() const { return m_isLong; }

    /// One that must not exceed `bound`, or fall below it.
    void atMost(const std::string& name, long long value, long long bound);
    void atLeast(const std::string& name, long long value, long long bound);
    /// What was done, for whoever reads the figures: "1,000 saves of each kind".
    void done(const std::string& text);
    /// The cause behind a bad figure. The first ones of a kind are printed.
    void problem(const std::string& text);

    [[nodiscard]] bool isGood() const { return m_isGood; }
    void print(const char* fault) const;

private:
    struct Figure {
        std::string name;
        long long value = 0;
        long long bound = 0;
        bool isLimit = true; // or the least it has to be
        [[nodiscard]] bool isGood() const { return isLimit ? value <= bound : value >= bound; }
    };

    bool m_isLong;
    bool m_isGood = true;
    std::vector<Figure> m_figures;
    std::vector<std::string> m_done;
    std::vector<std::string> m_problems;
    long m_problemCount = 0;
};
