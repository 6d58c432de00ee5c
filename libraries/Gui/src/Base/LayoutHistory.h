#pragma once

#include "Base/QuadViewGeometry.h"

#include <deque>
#include <optional>

/// The layouts that were there before the last changes, newest last; the oldest are forgotten.
class VLR_GUI_EXPORT LayoutHistory {
public:
    /// Changes of one source that follow each other are one, until endChange(). A negative
    /// source is always a change of its own.
    void remember(const QuadViewGeometry::Extents& before, int source);
    void endChange() { m_lastSource = -1; }
    void clear() { *this = {}; }
    /// Whether takeBefore() has something to take.
    bool hasBefore(const QuadViewGeometry::Extents& present) const;
    /// Takes the newest out; what equals the present layout is passed over.
    std::optional<QuadViewGeometry::Extents> takeBefore(const QuadViewGeometry::Extents& present);

private:
    static constexpr std::size_t limit = 50;
    std::deque<QuadViewGeometry::Extents> m_layouts;
    int m_lastSource = -1;
};
