#include "Tracking/IgtlConnection.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vlr {

namespace {

constexpr qint64 chunk = 64 << 10;

} // namespace

IgtlConnection::IgtlConnection(OpenIGTLinkClient& client)
    : m_client(client), m_socket(this), m_retry(this), m_silence(this),
      m_pause(client.m_options.firstPause) {
    m_retry.setSingleShot(true);
    m_silence.setSingleShot(true);
    m_silence.setInterval(client.m_options.silence);
    m_socket.setReadBufferSize(4 * chunk); // The rest of a flood stays with the peer.
    connect(&m_retry, &QTimer::timeout, this, &IgtlConnection::open);
    connect(&m_silence, &QTimer::timeout, this, &IgtlConnection::silent);
    connect(&m_socket, &QTcpSocket::connected, this, &IgtlConnection::opened);
    connect(&m_socket, &QTcpSocket::readyRead, this, &IgtlConnection::read);
    connect(&m_socket, &QTcpSocket::errorOccurred, this, &IgtlConnection::socketFailed);
}

IgtlConnection::~IgtlConnection() {
    m_socket.disconnect(this);
}

void IgtlConnection::open() {
    m_stream = std::make_unique<IgtlStream>(
        [this](TrackingMeasurement measurement) { received(std::move(measurement)); });
    m_silence.start();
    m_socket.connectToHost(m_client.m_options.host, m_client.m_options.port);
}

void IgtlConnection::opened() {
    m_silence.start();
    m_state.setConnected(true);
    m_client.publish(m_state.snapshot());
}

// One chunk at a time: timers and the wish to stop have their turn in a flood, too.
void IgtlConnection::read() {
    if (m_socket.bytesAvailable() == 0)
        return;
    std::array<char, chunk> bytes;
    const qint64 size = m_socket.read(bytes.data(), chunk);
    if (size <= 0)
        return;
    const quint64 before = m_stream->messages();
    if (!m_stream->feed(bytes.data(), size)) {
        close(peer() + " was left: " + m_stream->problem() + ".");
        return;
    }
    if (m_stream->messages() > before) {
        m_silence.start();
        m_pause = m_client.m_options.firstPause;
        if (before == 0) // Only now it is known to be a tracker again.
            m_state.setProblem({});
    }
    if (!m_stream->problem().empty())
        m_state.setProblem(peer() + ": " + m_stream->problem() + ".");
    m_client.publish(m_state.snapshot());
    if (m_socket.bytesAvailable() > 0)
        QMetaObject::invokeMethod(this, &IgtlConnection::read, Qt::QueuedConnection);
}

void IgtlConnection::silent() {
    close(peer() + (m_socket.state() == QAbstractSocket::ConnectedState ? " says nothing."
                                                                        : " does not answer."));
}

void IgtlConnection::socketFailed() {
    close(peer() + " cannot be reached: " + m_socket.errorString().toStdString() + ".");
}

void IgtlConnection::close(const std::string& problem) {
    m_silence.stop();
    {
        const QSignalBlocker blocker(&m_socket);
        m_socket.abort();
    }
    m_state.setConnected(false);
    m_state.forgetTools();
    m_state.setProblem(problem);
    m_client.publish(m_state.snapshot());
    m_retry.start(m_pause);
    m_pause = std::min(2 * m_pause, m_client.m_options.longestPause);
}

void IgtlConnection::received(TrackingMeasurement measurement) {
    measurement.time = m_client.m_clock();
    m_client.tellListener(measurement);
    m_state.add(std::move(measurement));
}

std::string IgtlConnection::peer() const {
    return "The tracker at " + m_client.m_options.host.toStdString() + ":" +
           std::to_string(m_client.m_options.port);
}

} // namespace vlr
