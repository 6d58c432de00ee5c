#pragma once

#include "Data/ConfigurationRecord.h"
#include "Tracking/SourceChoice.h"

/// What the module "Tracking" remembers from one start to the next: the source of the positions.
class TrackingOptions : public ConfigurationRecord<TrackingOptions> {
public:
    static constexpr const char* className = "NavigatorTrackingOptions";

    SourceChoice source() const;
    /// A port outside its range is left as it was.
    void setSource(const SourceChoice& source);

protected:
    ~TrackingOptions() override = default;

private:
    static constexpr int lastPort = 65535;

    friend struct RecordAccess;
    static constexpr auto attributes() {
        return std::make_tuple(attribute("m_source", &TrackingOptions::m_source, 0, 2),
                               attribute("m_host", &TrackingOptions::m_host),
                               attribute("m_port", &TrackingOptions::m_port, 1, lastPort),
                               attribute("m_recording", &TrackingOptions::m_recording),
                               attribute("m_isFast", &TrackingOptions::m_isFast));
    }

    int m_source = SourceChoice::Simulated;
    QString m_host = SourceChoice().host;
    int m_port = SourceChoice().port;
    QString m_recording;
    bool m_isFast = false;
};

VLR_DECLARE_RECORD_FACTORY(TrackingOptions, )
