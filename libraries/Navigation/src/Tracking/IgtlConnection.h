#pragma once

#include "Tracking/IgtlStream.h"
#include "Tracking/OpenIGTLinkClient.h"
#include "Tracking/TrackingState.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <QtNetwork/QTcpSocket>

namespace vlr {

/// What OpenIGTLinkClient does in its thread: keeps the connection, reads it, and publishes what
/// is known after each batch of messages.
class IgtlConnection : public QObject {
    Q_OBJECT

public:
    explicit IgtlConnection(OpenIGTLinkClient& client);
    ~IgtlConnection() override;

    void open();

private:
    void opened();
    void read();
    void silent();
    void socketFailed();
    void close(const std::string& problem);
    void received(TrackingMeasurement measurement);
    std::string peer() const;

    OpenIGTLinkClient& m_client;
    QTcpSocket m_socket;
    QTimer m_retry;
    QTimer m_silence;
    std::chrono::milliseconds m_pause;
    std::unique_ptr<IgtlStream> m_stream;
    TrackingState m_state;
};

} // namespace vlr
