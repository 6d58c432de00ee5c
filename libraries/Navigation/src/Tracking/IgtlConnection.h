#pragma once

#include "Tracking/IgtlOptions.h"
#include "Tracking/IgtlStream.h"
#include "Tracking/RetryPauses.h"
#include "Tracking/TrackingState.h"

#include <QtCore/QObject>
#include <QtCore/QTimer>
#include <QtNetwork/QTcpSocket>

namespace vlr {

/// Who gets what a connection receives; asked and told in its thread.
class IgtlReceiver {
public:
    IgtlReceiver() = default;
    IgtlReceiver(const IgtlReceiver&) = delete;
    IgtlReceiver& operator=(const IgtlReceiver&) = delete;
    virtual ~IgtlReceiver() = default;

    virtual void publish(std::shared_ptr<const TrackingSnapshot> snapshot) = 0;
    virtual void received(const TrackingMeasurement& measurement) = 0;
    virtual void conditionChanged(const TrackingCondition& condition, TrackingTime time) = 0;
    virtual std::shared_ptr<const std::set<std::string>> knownTools() = 0; ///< Never null.
};

/// What OpenIGTLinkClient does in its thread: keeps the connection, reads it, and publishes what
/// is known after each batch of messages.
class IgtlConnection : public QObject {
    Q_OBJECT

public:
    /// The receiver must outlive it.
    IgtlConnection(IgtlOptions options, TrackingClock clock, IgtlReceiver& receiver);
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

    const IgtlOptions m_options;
    const TrackingClock m_clock;
    IgtlReceiver& m_receiver;
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
