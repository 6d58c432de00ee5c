#include "Tracking/TrackingOptions.h"

VLR_DEFINE_RECORD_FACTORY(TrackingOptions)

SourceChoice TrackingOptions::source() const {
    return {static_cast<SourceChoice::Kind>(m_source), m_host, m_port, m_recording, m_isFast};
}

void TrackingOptions::setSource(const SourceChoice& source) {
    m_source = source.kind;
    m_host = source.host;
    if (source.port >= 1 && source.port <= lastPort)
        m_port = source.port;
    m_recording = source.file;
    m_isFast = source.isFast;
}
