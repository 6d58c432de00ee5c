#pragma once

#include "Tracking/TrackingData.h"

#include <QtCore/QByteArray>

#include <functional>
#include <string>

namespace vlr {

/// Cuts the bytes of an OpenIGTLink connection into messages and takes out what they say of
/// tools. Holds at most one message, and of those that are of no interest nothing.
class IgtlStream {
public:
    using Receiver = std::function<void(TrackingMeasurement)>;

    /// Longest body of a message that is read, and of one of another type that is passed over.
    static constexpr quint64 longestBody = 64 << 10;
    static constexpr quint64 longestSkip = quint64(64) << 20;

    explicit IgtlStream(Receiver receiver);

    /// False once the bytes make no sense any more; problem() then says why, and everything that
    /// follows is worthless.
    bool feed(const char* bytes, qint64 size);

    /// What was wrong with the last bytes fed: with the stream, or with the last message of them
    /// that was dropped. Empty when nothing was. It is fit to be shown and logged.
    const std::string& problem() const { return m_problem; }
    const std::string& problemKind() const { return m_problemKind; } ///< See TrackingCondition.
    quint64 messages() const { return m_messages; } ///< Well-formed ones, up to now.

private:
    bool readHeader();
    void readBody();
    bool readContent(const char* content, std::size_t size);
    bool readPoints(const char* content, std::size_t size);
    bool readPose(const char* content, std::size_t size);
    bool readPoses(const char* content, std::size_t size);
    void fail(const char* kind, const std::string& text);

    Receiver m_receiver;
    QByteArray m_buffer; // The header, or the body of the message whose header was read.
    bool m_isInBody = false;
    quint64 m_toSkip = 0;
    int m_version = 0;
    std::string m_type;
    std::string m_device;
    quint64 m_bodySize = 0;
    quint64 m_checksum = 0;
    std::string m_problem;
    std::string m_problemKind;
    quint64 m_messages = 0;
};

} // namespace vlr
