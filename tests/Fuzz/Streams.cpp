#include "Input.h"
#include "Targets.h"

#include "Image/ImageFile.h"
#include "Tracking/IgtlStream.h"
#include "Tracking/ToolGeometry.h"

#include <QtCore/QtEndian>

#include <algorithm>
#include <igtl_header.h>
#include <igtl_util.h>

namespace {

constexpr int bodySizeAt = 42;
constexpr int checksumAt = 50;

// No fuzzer guesses checksums. Here those of all messages that are whole are made right.
QByteArray withChecksums(QByteArray bytes) {
    for (int at = 0; at + IGTL_HEADER_SIZE <= bytes.size();) {
        const auto size = qFromBigEndian<quint64>(bytes.constData() + at + bodySizeAt);
        const int body = at + IGTL_HEADER_SIZE;
        if (size > static_cast<quint64>(bytes.size() - body))
            break;
        const quint64 sum = qToBigEndian<quint64>(crc64(
            reinterpret_cast<unsigned char*>(bytes.data()) + body, size, crc64(nullptr, 0, 0)));
        bytes.replace(at + checksumAt, sizeof sum, reinterpret_cast<const char*>(&sum), sizeof sum);
        at = body + static_cast<int>(size);
    }
    return bytes;
}

void checkMeasurement(const vlr::TrackingMeasurement& measurement) {
    demand(!measurement.tool.empty(), "a measurement names its tool");
    demand(measurement.markers.size() <= static_cast<std::size_t>(vlr::mostMarkers),
           "a tool has no more markers than tools may have");
    for (const Vector3d& marker : measurement.markers)
        demand(marker.allFinite(), "a marker is somewhere");
    demand(!measurement.pose || (measurement.pose->rotation.allFinite() &&
                                 measurement.pose->translation.allFinite()),
           "a pose is finite");
}

} // namespace

// The first byte says in pieces of which size the others arrive, and whether their checksums stay.
QByteArray fuzzIgtl(const QByteArray& bytes) {
    if (bytes.isEmpty())
        return {};
    const auto first = static_cast<uchar>(bytes.front());
    const QByteArray sent = first & 0x80 ? bytes.mid(1) : withChecksums(bytes.mid(1));
    const int piece = 1 + (first & 0x7f);
    vlr::IgtlStream stream(&checkMeasurement);
    for (int at = 0; at < sent.size(); at += piece)
        if (!stream.feed(sent.constData() + at, std::min(piece, sent.size() - at)))
            return {};
    return sent;
}

QByteArray fuzzImage(const QByteArray& bytes) {
    constexpr qint64 limit = qint64(4) << 20;
    constexpr int mostPages = 3;
    const QString path = inputFile("image", bytes);
    vlr::ImageInfo info;
    if (!vlr::readImageInfo(path, info, limit).isNull())
        return {};
    demand(!info.size.isEmpty() && info.bytes <= limit,
           "an image that is accepted is in the limit");
    for (int page = 0; page < std::min(info.pages, mostPages); ++page) {
        QImage image;
        if (vlr::readImage(path, image, page, limit).isNull())
            demand(!image.isNull() && image.sizeInBytes() <= limit, "a decoded image is, too");
    }
    return bytes;
}
