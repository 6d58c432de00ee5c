#pragma once

#include "vlrCoreExport.h"

#include <QtCore/QSet>
#include <QtCore/QString>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace vlr {

/// Ends the connection to a server that sends more than it was asked for, or nothing any more. The
/// database driver would keep all of an answer in memory, and read the rest of one that was given
/// up to its end, if there is one.
///
///     ServerGuard guard(5432);
///     {
///         const ServerGuard::Opening opening(guard);
///         database.open();            // its connection is the one that is watched from now on
///     }
///     const ServerGuard::Watch watch(&guard, 1 << 20);
///     query.exec(...);                // at most 1 MiB comes, and soon
///
/// At a local socket only silence is noticed: how much comes nobody counts there.
class VLR_CORE_EXPORT ServerGuard {
public:
    /// Longest silence of a server that is to answer, and longest time for all of opening.
    static constexpr std::chrono::seconds usualPatience{60};
    /// Bytes that belong to opening a connection, or to a command without an answer.
    static constexpr qint64 few = 1 << 20;

    explicit ServerGuard(int port, std::chrono::milliseconds patience = usualPatience);
    ~ServerGuard();
    ServerGuard(const ServerGuard&) = delete;
    ServerGuard& operator=(const ServerGuard&) = delete;

    /// While it lives the server may send so many bytes. Without a guard it does nothing.
    class Watch {
    public:
        Watch(ServerGuard* guard, qint64 bytes);
        ~Watch();
        Watch(const Watch&) = delete;
        Watch& operator=(const Watch&) = delete;

    private:
        ServerGuard* m_guard;
    };

    /// Watches, and takes connections to the port that are made meanwhile for the server's. Others
    /// that open one wait.
    class Opening {
    public:
        explicit Opening(ServerGuard& guard);
        ~Opening();
        Opening(const Opening&) = delete;
        Opening& operator=(const Opening&) = delete;

    private:
        std::unique_lock<std::mutex> m_alone;
        ServerGuard& m_guard;
        Watch m_watch;
    };

    /// Ends the connection: the rest of an answer is not read. The first reason stays.
    void cut(const QString& reason);
    /// Why it was ended; empty where it was not.
    QString reason() const;

private:
    void run();
    void look();
    void findSockets();
    void cutLocked(const QString& reason);
    qint64 received() const;
    qint64 sent() const;
    bool hasUnread() const;

    mutable std::mutex m_mutex;
    std::condition_variable m_wake;
    int m_port;
    std::chrono::milliseconds m_patience;
    std::vector<int> m_sockets; // Descriptors of our own for the connection.
    QSet<quint64> m_others;     // Sockets that were there before.
    bool m_isOpening = false;
    bool m_isWatching = false;
    bool m_isFinishing = false;
    qint64 m_before = 0; // Received when the watch began.
    qint64 m_limit = 0;
    qint64 m_moved = 0; // Received and sent, and when that last grew.
    std::chrono::steady_clock::time_point m_movedAt;
    QString m_reason;
    std::thread m_thread; // The last one: it uses all the others.
};

} // namespace vlr
