#pragma once

#include "vlrNavigationExport.h"

#include <QtCore/QByteArray>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace vlr {

/// Hands bytes on to something slow in a thread of its own, in their order.
///
///     BackgroundWriter writer([&](const QByteArray& bytes) { return writeToDisk(bytes); });
///     if (!writer.write(line))
///         ...                     // the disk does not keep up
class VLR_NAVIGATION_EXPORT BackgroundWriter {
public:
    /// Called in the writer's thread with everything that came since the last time. After a false
    /// answer it is not called again.
    using Sink = std::function<bool(const QByteArray&)>;

    /// Bytes that may wait for the sink.
    static constexpr int mostWaiting = 4 << 20;

    /// Called in the writer's thread `pace` after something was handed on, and at the end. A false
    /// answer ends all as one of the sink's does.
    using Sync = std::function<bool()>;

    explicit BackgroundWriter(Sink sink, Sync sync = {},
                              std::chrono::milliseconds pace = std::chrono::seconds(5));
    BackgroundWriter(const BackgroundWriter&) = delete;
    BackgroundWriter& operator=(const BackgroundWriter&) = delete;
    ~BackgroundWriter(); ///< Waits until the sink has got everything and all is synchronised.

    /// Never waits for the sink. False, and nothing is taken, where too much waits already.
    bool write(const QByteArray& bytes);

private:
    void run();

    Sink m_sink;
    Sync m_sync;
    std::chrono::milliseconds m_pace;
    std::mutex m_mutex;
    std::condition_variable m_wake;
    QByteArray m_waiting;
    bool m_isFinishing = false;
    std::thread m_thread; // The last one: it uses all the others.
};

} // namespace vlr
