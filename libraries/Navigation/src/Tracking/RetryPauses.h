#pragma once

#include <algorithm>
#include <chrono>

namespace vlr {

/// The pauses before further attempts to connect: each twice the one before, up to the longest.
class RetryPauses {
public:
    RetryPauses(std::chrono::milliseconds first, std::chrono::milliseconds longest)
        : m_first(std::min(first, longest)), m_longest(longest), m_next(m_first) {}

    std::chrono::milliseconds next() {
        const auto pause = m_next;
        m_next = std::min(2 * m_next, m_longest);
        return pause;
    }
    void reset() { m_next = m_first; }

private:
    std::chrono::milliseconds m_first;
    std::chrono::milliseconds m_longest;
    std::chrono::milliseconds m_next;
};

} // namespace vlr
