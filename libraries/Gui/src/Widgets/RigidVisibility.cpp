#include "Widgets/RigidVisibility.h"

#include <algorithm>

namespace vlr {

RigidVisibility::RigidVisibility(const std::vector<bool>& seenMarkers)
    : isVisible(std::count(seenMarkers.begin(), seenMarkers.end(), false) <= 1),
      values(seenMarkers.empty()  ? Values::AsBefore
             : seenMarkers.back() ? Values::Measured
                                  : Values::None) {}

} // namespace vlr
