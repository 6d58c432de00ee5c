#include "Base/LayoutHistory.h"

#include <algorithm>

void LayoutHistory::remember(const QuadViewGeometry::Extents& before, int source) {
    const bool goesOn = source >= 0 && source == m_lastSource;
    m_lastSource = source;
    if (goesOn || (!m_layouts.empty() && m_layouts.back() == before))
        return;
    m_layouts.push_back(before);
    if (m_layouts.size() > limit)
        m_layouts.pop_front();
}

bool LayoutHistory::hasBefore(const QuadViewGeometry::Extents& present) const {
    return std::any_of(m_layouts.begin(), m_layouts.end(),
                       [&present](const auto& layout) { return layout != present; });
}

std::optional<QuadViewGeometry::Extents>
LayoutHistory::takeBefore(const QuadViewGeometry::Extents& present) {
    m_lastSource = -1;
    while (!m_layouts.empty()) {
        const QuadViewGeometry::Extents layout = m_layouts.back();
        m_layouts.pop_back();
        if (layout != present)
            return layout;
    }
    return std::nullopt;
}
