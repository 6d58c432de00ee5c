#include "Fault.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr std::size_t mostProblems = 20;

} // namespace

// The one of that name, or the first one.
Report::Figure& Report::figure(const Figure& first) {
    const auto known = std::find_if(m_figures.begin(), m_figures.end(),
                                    [&](const Figure& one) { return one.name == first.name; });
    return known != m_figures.end() ? *known : m_figures.emplace_back(first);
}

void Report::atMost(const std::string& name, long long value, long long bound) {
    long long& worst = figure({name, value, bound, true}).value;
    worst = std::max(worst, value);
}

void Report::atLeast(const std::string& name, long long value, long long bound) {
    long long& worst = figure({name, value, bound, false}).value;
    worst = std::min(worst, value);
}

void Report::never(const std::string& name, long long times, const std::string& cause) {
    figure({name, 0, 0, true}).value += times;
    if (times > 0 && !cause.empty())
        problem(cause);
}

void Report::count(const std::string& name, long long number, long long least) {
    figure({name, 0, least, false}).value += number;
}

void Report::done(const std::string& text) {
    m_done.push_back(text);
}

void Report::problem(const std::string& text) {
    ++m_problemCount;
    if (m_problems.size() < mostProblems)
        m_problems.push_back(text);
}

bool Report::isGood() const {
    return std::all_of(m_figures.begin(), m_figures.end(),
                       [](const Figure& figure) { return figure.isGood(); });
}

void Report::print(const char* fault) const {
    std::printf("%s\n", fault);
    for (const std::string& text : m_done)
        std::printf("  %s\n", text.c_str());
    for (const Figure& figure : m_figures) {
        std::printf("  %-60s %10lld", figure.name.c_str(), figure.value);
        if (figure.isLimit || figure.bound > 0)
            std::printf("   must be %s %lld%s", figure.isLimit ? "<=" : ">=", figure.bound,
                        figure.isGood() ? "" : "   MISSED");
        std::printf("\n");
    }
    for (const std::string& text : m_notRun)
        std::printf("  not run: %s\n", text.c_str());
    for (const std::string& text : m_problems)
        std::printf("  ! %s\n", text.c_str());
    if (m_problemCount > static_cast<long>(m_problems.size()))
        std::printf("  ! and %ld more\n", m_problemCount - static_cast<long>(m_problems.size()));
    std::fflush(stdout);
}
