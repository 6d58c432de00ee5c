#pragma once

#include <QtCore/QString>

#include <chrono>

namespace vlr {

/// Whom an OpenIGTLinkClient speaks with, and how patiently.
struct IgtlOptions {
    QString host;
    quint16 port = 18944;
    QString interface; ///< Its name, or an address of this machine; empty: the system chooses.
    std::chrono::milliseconds firstPause{100};
    std::chrono::milliseconds longestPause{5000};
    /// Longest that a peer may say nothing, by the clock. It is looked at every 100 ms.
    std::chrono::milliseconds silence{5000};
};

} // namespace vlr
