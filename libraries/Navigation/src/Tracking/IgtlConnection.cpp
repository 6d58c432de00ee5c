#include "Tracking/IgtlConnection.h"

#include <QtNetwork/QHostAddress>
#include <QtNetwork/QNetworkInterface>

#include <algorithm>
#include <array>
#include <utility>

namespace vlr {

namespace {

constexpr qint64 chunk = 64 << 10;
// How long a problem is told when nothing but good messages follows: long enough to be read.
constexpr std::chrono::seconds problemLasts(3);
// How often is looked how long the peer has said nothing.
constexpr std::chrono::milliseconds silenceInterval(100);

// The address of this machine from which the host is to be spoken with: null where there is none.
QHostAddress addressOf(const QString& interface, const QString& host) {
    const QHostAddress own(interface);
    if (!own.isNull())
        return own;
    const QHostAddress peer(host);
    const auto protocol = peer.isNull() ? QAbstractSocket::IPv4Protocol : peer.protocol();
    for (const QNetworkAddressEntry& entry :
         QNetworkInterface::interfaceFromName(interface).addressEntries())
        if (entry.ip().protocol() == protocol)
            return entry.ip();
    return {};
}

} // namespace

IgtlConnection::IgtlConnection(IgtlOptions options, TrackingClock clock, IgtlReceiver& receiver)
    : m_options(std::move(options)), m_clock(std::move(clock)), m_receiver(receiver),
      m_socket(this), m_retry(this), m_silence(this),
      m_pauses(m_options.firstPause, m_options.longestPause) {
    m_retry.setSingleShot(true);
    m_silence.setInterval(std::min(m_options.silence, silenceInterval));
    m_socket.setReadBufferSize(4 * chunk); // The rest of a flood stays with the peer.
    connect(&m_retry, &QTimer::timeout, this, &IgtlConnection::open);
    connect(&m_silence, &QTimer::timeout, this, &IgtlConnection::checkSilence);
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
    if (!m_options.interface.isEmpty() && !bindTo(m_options.interface))
        return;
    heard();
    m_silence.start();
    m_socket.connectToHost(m_options.host, m_options.port);
}

// An interface that is down may come up.
bool IgtlConnection::bindTo(const QString& interface) {
    const QHostAddress own = addressOf(interface, m_options.host);
    bool isBound = !own.isNull();
    if (isBound) {
        const QSignalBlocker blocker(&m_socket);
        isBound = m_socket.bind(own, 0, QAbstractSocket::ShareAddress);
    }
    if (!isBound)
        close("interface", peer() + " cannot be reached: the interface \"" +
                               interface.toStdString() + "\" is not there or not up.");
    return isBound;
}

void IgtlConnection::opened() {
    heard();
    m_state.setConnected(true);
    publish();
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
    m_hadRoom = true;
    if (!m_stream->feed(bytes.data(), size)) {
        close("left", peer() + " was left: " + m_stream->problem() + ".");
        return;
    }
    const bool hasGood = m_stream->messages() > before;
    if (hasGood) {
        heard();
        m_pauses.reset();
    }
    updateProblem(before == 0, hasGood);
    publish();
    if (m_socket.bytesAvailable() > 0)
        QMetaObject::invokeMethod(this, &IgtlConnection::read, Qt::QueuedConnection);
}

// With the first good message it is known to be a tracker again. Later a problem that is over stays
// for a while: it may be over before anybody asks.
void IgtlConnection::updateProblem(bool isFirst, bool hasGood) {
    const TrackingTime now = m_clock();
    if (hasGood && (isFirst || now - m_problemTime >= problemLasts))
        m_state.setProblem({}, {});
    if (!m_stream->problem().empty())
        m_state.setProblem(m_stream->problemKind(), peer() + ": " + m_stream->problem() + ".");
    else if (!m_hadRoom)
        m_state.setProblem("names", peer() + ": " + TrackingState::tooManyNames + ".");
    else
        return;
    m_problemTime = now;
}

void IgtlConnection::publish() {
    if (m_state.condition() != m_told) {
        m_told = m_state.condition();
        m_receiver.conditionChanged(m_told, m_clock());
    }
    m_receiver.publish(m_state.snapshot());
}

void IgtlConnection::heard() {
    m_heardAt = m_clock();
}

void IgtlConnection::checkSilence() {
    if (m_clock() - m_heardAt < m_options.silence)
        return;
    close("silent",
          peer() + (m_socket.state() == QAbstractSocket::ConnectedState ? " says nothing."
                                                                        : " does not answer."));
}

void IgtlConnection::socketFailed() {
    close("unreachable",
          peer() + " cannot be reached: " + m_socket.errorString().toStdString() + ".");
}

void IgtlConnection::close(const char* kind, const std::string& problem) {
    m_silence.stop();
    {
        const QSignalBlocker blocker(&m_socket);
        m_socket.abort();
    }
    m_state.setCondition({false, problem, kind});
    publish();
    m_retry.start(m_pauses.next());
}

void IgtlConnection::received(TrackingMeasurement measurement) {
    measurement.time = m_clock();
    m_receiver.received(measurement);
    m_hadRoom = m_state.add(std::move(measurement), *m_receiver.knownTools()) && m_hadRoom;
}

std::string IgtlConnection::peer() const {
    return "The tracker at " + m_options.host.toStdString() + ":" + std::to_string(m_options.port);
}

} // namespace vlr
