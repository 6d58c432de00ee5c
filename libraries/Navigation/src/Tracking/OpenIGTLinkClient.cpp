#include "Tracking/OpenIGTLinkClient.h"

#include "Tracking/IgtlConnection.h"

#include <QtCore/QThread>

#include <utility>

namespace vlr {

OpenIGTLinkClient::OpenIGTLinkClient(const Options& options, TrackingClock clock)
    : m_options(options), m_clock(std::move(clock)) {}

OpenIGTLinkClient::~OpenIGTLinkClient() {
    OpenIGTLinkClient::stop();
}

CaError OpenIGTLinkClient::start() {
    if (m_thread)
        return CaError::nullError;
    m_thread = std::make_unique<QThread>();
    m_thread->setObjectName(QStringLiteral("OpenIGTLink"));
    auto* connection = new IgtlConnection(*this);
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
