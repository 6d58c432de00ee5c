#pragma once

#include "vlrGuiExport.h"

#include <vector>

namespace vlr {

/// What is said of a rigid body of which each marker is seen or hidden: values in, values out.
struct VLR_GUI_EXPORT RigidVisibility {
    /// Which of its values, as the distance, are shown.
    enum class Values { AsBefore, None, Measured };

    explicit RigidVisibility(const std::vector<bool>& seenMarkers);

    bool isVisible; ///< All of the markers are seen, or all but one.
    Values values;  ///< The last marker decides; without markers nothing does.
};

} // namespace vlr
