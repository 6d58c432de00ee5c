#include "IO/ServerGuard.h"

#include <algorithm>
#include <fcntl.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace vlr {

namespace {

constexpr std::chrono::milliseconds pace(10);

// The system's number of the socket; 0 where the descriptor is none.
quint64 numberOf(int descriptor) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode) ? status.st_ino : 0;
}

// The lowest number that is free becomes the next descriptor's: far behind all of them nothing
// follows. /proc tells them as well, but not to every process.
std::vector<int> openSockets() {
    constexpr int gap = 4096;
    std::vector<int> all;
    int last = 0;
    for (int descriptor = 0; descriptor < last + gap; ++descriptor) {
        if (fcntl(descriptor, F_GETFD) == -1)
            continue;
        last = descriptor;
        if (numberOf(descriptor) != 0)
            all.push_back(descriptor);
    }
    return all;
}

bool isConnectedTo(int port, int socket) {
    sockaddr_storage peer{};
    socklen_t size = sizeof peer;
    if (getpeername(socket, reinterpret_cast<sockaddr*>(&peer), &size) != 0)
        return false;
    if (peer.ss_family == AF_UNIX) {
        const auto* const local = reinterpret_cast<const sockaddr_un*>(&peer);
        const QByteArray path(local->sun_path, qstrnlen(local->sun_path, sizeof local->sun_path));
        return path.endsWith("/.s.PGSQL." + QByteArray::number(port));
    }
    // Both kinds of address have the port at the same place.
    const bool isInternet = peer.ss_family == AF_INET || peer.ss_family == AF_INET6;
    return isInternet && ntohs(reinterpret_cast<const sockaddr_in*>(&peer)->sin_port) == port;
}

tcp_info traffic(int socket) {
    tcp_info info{};
    socklen_t size = sizeof info;
    (void)getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size);
    return info;
}

std::mutex& oneOpens() {
    static std::mutex mutex;
    return mutex;
}

} // namespace

ServerGuard::ServerGuard(int port, std::chrono::milliseconds patience)
    : m_port(port), m_patience(patience), m_thread(&ServerGuard::run, this) {}

ServerGuard::~ServerGuard() {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_isFinishing = true;
    }
    m_wake.notify_one();
    m_thread.join();
    for (const int socket : m_sockets)
        close(socket);
}

ServerGuard::Watch::Watch(ServerGuard* guard, qint64 bytes) : m_guard(guard) {
    if (!m_guard)
        return;
    {
        const std::lock_guard<std::mutex> lock(m_guard->m_mutex);
        m_guard->m_isWatching = true;
        m_guard->m_before = m_guard->received();
        m_guard->m_limit = bytes;
        m_guard->m_moved = -1;
        m_guard->m_movedAt = std::chrono::steady_clock::now();
    }
    m_guard->m_wake.notify_one();
}

ServerGuard::Watch::~Watch() {
    if (!m_guard)
        return;
    const std::lock_guard<std::mutex> lock(m_guard->m_mutex);
    m_guard->m_isWatching = false;
}

ServerGuard::Opening::Opening(ServerGuard& guard)
    : m_alone(oneOpens()), m_guard(guard), m_watch(&guard, few) {
    const std::lock_guard<std::mutex> lock(m_guard.m_mutex);
    for (const int socket : openSockets())
        m_guard.m_others << numberOf(socket);
    m_guard.m_isOpening = true;
}

ServerGuard::Opening::~Opening() {
    const std::lock_guard<std::mutex> lock(m_guard.m_mutex);
    m_guard.findSockets();
    m_guard.m_isOpening = false;
    m_guard.m_others.clear();
}

void ServerGuard::cut(const QString& reason) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    cutLocked(reason);
}

void ServerGuard::cutLocked(const QString& reason) {
    if (m_reason.isEmpty())
        m_reason = reason;
    for (const int socket : m_sockets)
        (void)shutdown(socket, SHUT_RDWR);
}

QString ServerGuard::reason() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_reason;
}

qint64 ServerGuard::received() const {
    qint64 bytes = 0;
    for (const int socket : m_sockets)
        bytes += static_cast<qint64>(traffic(socket).tcpi_bytes_received);
    return bytes;
}

qint64 ServerGuard::sent() const {
    qint64 bytes = 0;
    for (const int socket : m_sockets)
        bytes += static_cast<qint64>(traffic(socket).tcpi_bytes_acked);
    return bytes;
}

// All that a local socket tells of what comes; it counts nothing.
bool ServerGuard::hasUnread() const {
    return std::any_of(m_sockets.begin(), m_sockets.end(), [](int socket) {
        int bytes = 0;
        return ioctl(socket, FIONREAD, &bytes) == 0 && bytes > 0;
    });
}

// A descriptor of our own stays the connection's whatever the driver does with its own.
void ServerGuard::findSockets() {
    if (!m_isOpening)
        return;
    for (const int socket : openSockets()) {
        const quint64 number = numberOf(socket);
        if (m_others.contains(number) || !isConnectedTo(m_port, socket))
            continue;
        const int own = fcntl(socket, F_DUPFD_CLOEXEC, 3);
        if (own < 0)
            continue;
        if (numberOf(own) == number && isConnectedTo(m_port, own)) {
            m_sockets.push_back(own);
            m_others << number;
        } else {
            close(own);
        }
    }
}

void ServerGuard::look() {
    findSockets();
    const auto now = std::chrono::steady_clock::now();
    const qint64 moved = received() + sent();
    if ((moved > m_moved || hasUnread()) &&
        !(m_isOpening && m_moved >= 0)) // Opening has a time for all of it.
        m_movedAt = now;
    m_moved = std::max(moved, m_moved);
    if (received() - m_before > m_limit)
        cutLocked(QStringLiteral("the answer is too long: the server sends more than %1 bytes")
                      .arg(m_limit));
    else if (now - m_movedAt > m_patience)
        cutLocked(QStringLiteral("the server does not answer"));
}

void ServerGuard::run() {
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_isFinishing) {
        if (m_isWatching) {
            look();
            m_wake.wait_for(lock, pace);
        } else {
            m_wake.wait(lock, [this] { return m_isFinishing || m_isWatching; });
        }
    }
}

} // namespace vlr
