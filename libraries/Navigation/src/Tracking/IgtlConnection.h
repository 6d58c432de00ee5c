#pragma once

#include "Tracking/IgtlStream.h"
#include "Tracking/OpenIGTLinkClient.h"
#include "Tracking/RetryPauses.h"
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
    bool bindTo(const QString& interface);
    void opened();
    void read();
    void heard();
    void checkSilence();
    void socketFailed();
    void close(const char* kind, const std::string& problem);
    void received(TrackingMeasurement measurement);
    void updateProblem(bool isFirst, bool hasGood);
    void publish();
    std::string peer() const;

    OpenIGTLinkClient& m_client;
    QTcpSocket m_socket;
    QTimer m_retry;
    QTimer m_silence; ///< Runs while there is a connection, or may be one.
    TrackingTime m_heardAt;
    RetryPauses m_pauses;
    std::unique_ptr<IgtlStream> m_stream;
    TrackingState m_state;
    TrackingCondition m_told; ///< What the listener knows.
    TrackingTime m_problemTime;
    bool m_hadRoom = true; ///< For all tools that the last bytes spoke of.
};

} // namespace vlr
