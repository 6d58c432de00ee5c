#include "Fault.h"

#include <cstdio>

namespace {

constexpr std::size_t mostProblems = 20;

} // namespace

void Report::atMost(const std::string& name, long long value, long long bound) {
    m_figures.push_back({name, value, bound, true});
    m_isGood = m_isGood && m_figures.back().isGood();
}

void Report::atLeast(const std::string& name, long long value, long long bound) {
    m_figures.push_back({name, value, bound, false});
    m_isGood = m_isGood && m_figures.back().isGood();
}

void Report::done(const std::string& text) {
    m_done.push_back(text);
}

void Report::problem(const std::string& text) {
    ++m_problemCount;
    if (m_problems.size() < mostProblems)
        m_problems.push_back(text);
}

void Report::print(const char* fault) const {
    std::printf("%s\n", fault);
    for (const std::string& text : m_done)
        std::printf("  %s\n", text.c_str());
    for (const Figure& figure : m_figures)
        std::printf("  %-60s %10lld   must be %s %lld%s\n", figure.name.c_str(), figure.value,
                    figure.isLimit ? "<=" : ">=", figure.bound, figure.isGood() ? "" : "   MISSED");
    for (const std::string& text : m_problems)
        std::printf("  ! %s\n", text.c_str());
    if (m_problemCount > static_cast<long>(m_problems.size()))
        std::printf("  ! and %ld more\n", m_problemCount - static_cast<long>(m_problems.size()));
    std::fflush(stdout);
}
