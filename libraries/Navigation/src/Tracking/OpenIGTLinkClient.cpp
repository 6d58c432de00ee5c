#include "Tracking/OpenIGTLinkClient.h"

#include "Tracking/IgtlConnection.h"

#include <QtCore/QThread>

#include <utility>

namespace vlr {

class OpenIGTLinkClient::Receiver : public IgtlReceiver {
public:
    explicit Receiver(OpenIGTLinkClient& client) : m_client(client) {}

    void publish(std::shared_ptr<const TrackingSnapshot> snapshot) override {
        m_client.publish(std::move(snapshot));
    }
    void received(const TrackingMeasurement& measurement) override {
        m_client.tellListener(measurement);
    }
    void conditionChanged(const TrackingCondition& condition, TrackingTime time) override {
        m_client.tellListener(condition, time);
    }
    std::shared_ptr<const std::set<std::string>> knownTools() override {
        return m_client.knownTools();
    }

private:
    OpenIGTLinkClient& m_client;
};

OpenIGTLinkClient::OpenIGTLinkClient(const Options& options, TrackingClock clock)
    : m_options(options), m_clock(std::move(clock)), m_receiver(std::make_unique<Receiver>(*this)) {
}

OpenIGTLinkClient::~OpenIGTLinkClient() {
    OpenIGTLinkClient::stop();
}

CaError OpenIGTLinkClient::start() {
    if (m_thread)
        return CaError::nullError;
    m_thread = std::make_unique<QThread>();
    m_thread->setObjectName(QStringLiteral("OpenIGTLink"));
    auto* connection = new IgtlConnection(m_options, m_clock, *m_receiver);
    connection->moveToThread(m_thread.get());
    QObject::connect(m_thread.get(), &QThread::started, connection, &IgtlConnection::open);
    QObject::connect(m_thread.get(), &QThread::finished, connection, &QObject::deleteLater);
    m_thread->start();
    return CaError::nullError;
}

void OpenIGTLinkClient::stop() {
    if (!m_thread)
        return;
    m_thread->quit();
    m_thread->wait();
    m_thread.reset();
    publish(std::make_shared<TrackingSnapshot>());
}

} // namespace vlr
