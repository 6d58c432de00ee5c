#pragma once

#include "Tracking/IgtlOptions.h"
#include "Tracking/TrackingSource.h"

class QThread;

namespace vlr {

/// Receives tools from a tracker on the network that speaks OpenIGTLink (versions 1 to 3 of the
/// protocol, over TCP). These messages are read, all others are passed over:
///
///     POINT      the markers of the tool that the device name names: one point per marker that is
///                seen, named by the marker's number, from "0"; its position in millimetres.
///                Markers that are not in the list are hidden; an empty list hides all.
///     TRANSFORM  the pose of the tool that the device name names; its translation in millimetres.
///     TDATA      the poses of several tools, each named in its element.
///
/// A tracker that sends both is taken at its markers. Messages with a wrong checksum, of a length
/// that does not fit, with numbers that are not finite, a matrix that is no rotation or a tool
/// without a printable name are dropped as a whole; the snapshot's problem says so until none came
/// for three seconds. Of tools that nobody knows (see setTools()) the last 64 are kept. A peer that
/// sends something else altogether, announces a message of more than 64 KiB (64 MiB for those
/// passed over) or says nothing for a while is left. After a lost connection comes another attempt,
/// and another, after pauses that double up to the longest one.
///
/// The protocol neither encrypts nor says who is speaking: whoever reaches the network between the
/// tracker and this machine can move what is shown. That network has to be a separate one; with
/// `interface` nothing is connected over another.
class VLR_NAVIGATION_EXPORT OpenIGTLinkClient : public TrackingSource {
public:
    using Options = IgtlOptions;

    explicit OpenIGTLinkClient(const Options& options,
                               TrackingClock clock = &std::chrono::steady_clock::now);
    ~OpenIGTLinkClient() override;

    CaError start() override;
    void stop() override;

private:
    class Receiver;

    Options m_options;
    TrackingClock m_clock;
    std::unique_ptr<Receiver> m_receiver;
    std::unique_ptr<QThread> m_thread;
};

} // namespace vlr
