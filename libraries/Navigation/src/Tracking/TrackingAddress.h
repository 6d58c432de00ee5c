#pragma once

#include "Tracking/TrackingSource.h"

#include <QtCore/QString>

namespace vlr {

/// Makes the source that an address from the settings names, without starting it:
///
///     simulation:?seed=7&noise=0.2       the simulated camera; also for an empty address
///     igtl://tracker.local:18944         a camera on the network; 18944 is the port left out
///     igtl://tracker.local?interface=eth1   the same, by way of that network interface, or of
///                                        the one with that address, and by no other
///     recording:/data/case.track         a recording at its own pace
///     recording:/data/case.track?pace=fast   the same as fast as possible
///
/// Anything else, unknown parameters included, gives an error that names the address and what is
/// wrong with it.
VLR_NAVIGATION_EXPORT CaError createTrackingSource(const QString& address,
                                                   const TrackingClock& clock,
                                                   std::unique_ptr<TrackingSource>& source);

} // namespace vlr
