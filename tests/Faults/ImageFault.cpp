// Damaged images, and images made to exhaust whoever decodes them.

#include "Faults.h"

#include "Cases.h"
#include "Mutation.h"
#include "PeakMemory.h"

#include "Fuzz/Input.h"
#include "Image/ImageFile.h"

#include <QtCore/QBuffer>
#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>
#include <QtGui/QImageWriter>

#include <cstdio>
#include <malloc.h>

namespace {

constexpr long mebibyte = 1L << 20;
constexpr qint64 smallLimit = 64 * mebibyte;
constexpr long slack = 8; // MiB for the decoders themselves

struct Sample {
    const char* name;
    const char* format;
    QImage::Format pixels;
    bool isProgressive = false;
    bool isTurned = false;
    bool isArithmetic = false;
    int scale = 1; ///< How much larger it is than others.
};

constexpr Sample samples[] = {
    {"PNG", "png", QImage::Format_RGB32},
    {"PNG, 16 bits", "png", QImage::Format_RGBA64},
    {"PNG, two colours", "png", QImage::Format_Mono},
    {"JPEG", "jpeg", QImage::Format_RGB32},
    {"JPEG, grey", "jpeg", QImage::Format_Grayscale8},
    {"JPEG, progressive", "jpeg", QImage::Format_RGB32, true},
    {"JPEG, turned", "jpeg", QImage::Format_RGB32, false, true},
    {"JPEG, arithmetic", "jpeg", QImage::Format_RGB32, false, false, true},
    {"JPEG, progressive and arithmetic", "jpeg", QImage::Format_RGB32, true, false, true},
    {"BMP", "bmp", QImage::Format_RGB32},
    {"BMP, palette", "bmp", QImage::Format_Indexed8},
    {"TIFF", "tiff", QImage::Format_RGB32},
    {"TIFF, grey", "tiff", QImage::Format_Grayscale8},
    {"TIFF, two colours", "tiff", QImage::Format_Mono},
    {"TIFF, turned", "tiff", QImage::Format_RGB32, false, true},
    {"PNG, grey and huge", "png", QImage::Format_Grayscale8, false, false, false, 5},
};
constexpr int sampleCount = static_cast<int>(std::size(samples));

// Where a JPEG's frame header begins.
int frameOf(const QByteArray& jpeg, const Sample& sample) {
    return jpeg.indexOf(sample.isProgressive ? "\xff\xc2" : "\xff\xc0");
}

QByteArray encoded(const Sample& sample, const QSize& size) {
    QImage image(size, sample.pixels);
    if (sample.pixels == QImage::Format_Indexed8)
        image.setColorTable({qRgb(0, 0, 0), qRgb(255, 0, 0), qRgb(0, 255, 0), qRgb(0, 0, 255)});
    for (int y = 0; y < size.height(); ++y) {
        uchar* line = image.scanLine(y);
        for (int i = 0; i < image.bytesPerLine(); ++i)
            line[i] = static_cast<uchar>((i * y / 16) & 3);
    }
    QBuffer buffer;
    QImageWriter writer(&buffer, sample.format);
    writer.setProgressiveScanWrite(sample.isProgressive);
    const bool isTiff = qstrcmp(sample.format, "tiff") == 0;
    if (sample.isTurned && isTiff)
        writer.setTransformation(QImageIOHandler::TransformationRotate90);
    if (!writer.write(image))
        throw std::runtime_error(writer.errorString().toStdString());
    const QByteArray exif = QByteArray::fromHex( // orientation 6 as the only entry
        "ffe1002245786966000049492a0008000000010012010300010000000600000000000000");
    QByteArray bytes = buffer.data();
    // To an arithmetic decoder all bytes make an image.
    if (sample.isArithmetic)
        bytes[frameOf(bytes, sample) + 1] = sample.isProgressive ? '\xca' : '\xc9';
    return sample.isTurned && !isTiff ? bytes.insert(2, exif) : bytes;
}

// All pages, as a series does it. Answers whether one could be decoded. What is refused by its
// header is to take no memory at all.
bool decodeAll(const QString& path, qint64 limit) {
    malloc_trim(0); // What the last one gave back would not show.
    const PeakMemory memory;
    vlr::ImageInfo info;
    const bool isAdmitted = vlr::readImageInfo(path, info, limit).isNull();
    bool isDecoded = false;
    for (int page = 0; page < (isAdmitted ? std::min(info.pages, 3) : 1); ++page) {
        QImage image;
        isDecoded = vlr::readImage(path, image, page, limit).isNull() || isDecoded;
    }
    const qint64 growth = memory.growth() - (isAdmitted ? limit : 0);
    const char* const figure =
        isAdmitted ? "memory beyond the limit, MiB" : "memory for what is refused, MiB";
    if (PeakMemory::isMeasurable()) // To ask that ends the measurement.
        reportAtMost(figure, growth / mebibyte, slack);
    return isDecoded;
}

// --- images that claim to be of another size than they are

quint32 crc32(const QByteArray& bytes) {
    quint32 crc = 0xffffffffU;
    for (const char byte : bytes) {
        crc ^= static_cast<uchar>(byte);
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xedb88320U : 0);
    }
    return ~crc;
}

template <class T>
void put(QByteArray& bytes, int at, T number) {
    bytes.replace(at, sizeof number, reinterpret_cast<const char*>(&number), sizeof number);
}

// Where the size stands depends on the format.
QByteArray claiming(const Sample& sample, const QSize& size) {
    QByteArray image = encoded(sample, QSize(24, 16));
    const QByteArray format = sample.format;
    const auto width = static_cast<quint32>(size.width());
    const auto height = static_cast<quint32>(size.height());
    if (format == "png") {
        put(image, 16, qToBigEndian(width));
        put(image, 20, qToBigEndian(height));
        put(image, 29, qToBigEndian(crc32(image.mid(12, 17))));
    } else if (format == "bmp") {
        put(image, 18, qToLittleEndian(width));
        put(image, 22, qToLittleEndian(height));
    } else if (format == "jpeg") {
        const int frame = frameOf(image, sample);
        put(image, frame + 5, qToBigEndian(static_cast<quint16>(height)));
        put(image, frame + 7, qToBigEndian(static_cast<quint16>(width)));
    } else { // The tags ImageWidth and ImageLength come first: tag, type, count, value.
        const int tags = static_cast<int>(qFromLittleEndian<quint32>(image.constData() + 4)) + 2;
        for (const int tag : {0, 1}) {
            put(image, tags + 12 * tag + 2, qToLittleEndian<quint16>(4));
            put(image, tags + 12 * tag + 8, qToLittleEndian(tag == 0 ? width : height));
        }
    }
    return image;
}

// --- what is decoded

const QSize claims[] = {{20000, 20000},           {0, 16},   {24, 0}, {0, 0},
                        {0x7fffffff, 0x7fffffff}, {65535, 1}};
constexpr int claimCount = static_cast<int>(std::size(claims));

// The least limit that lets the image through, beginning with its pixels alone.
qint64 leastLimit(const QString& path, qint64 pixels) {
    qint64 limit = pixels;
    vlr::ImageInfo info;
    while (limit < 4 * pixels && vlr::readImageInfo(path, info, limit).id() == "Image::tooLarge")
        limit += pixels / 4;
    return limit;
}

// The first cases of a sample are the claims, the last one is an image as large as its limit.
std::string tryLarge(const QString& path, const Sample& sample, int claim, int side) {
    const bool isClaim = claim < claimCount;
    nameCase(std::string(sample.name) +
             (isClaim ? " claiming " + std::to_string(claims[claim].width()) + " x " +
                            std::to_string(claims[claim].height())
                      : ""));
    writeInput(path,
               isClaim ? claiming(sample, claims[claim]) : encoded(sample, QSize(side, side)));
    const qint64 pixels =
        qint64(side) * side * QImage::toPixelFormat(sample.pixels).bitsPerPixel() / 8;
    const qint64 limit = isClaim ? vlr::defaultImageLimit : leastLimit(path, pixels);
    return decodeAll(path, limit) || isClaim ? "" : "cannot be decoded";
}

// The cases of each sample, and behind them mutations.
constexpr int largeCount = sampleCount * (claimCount + 1);

} // namespace

void faultImage(Report& report) {
    const long count = largeCount + report.extent(300, 10000);
    const QString side = QString::number(report.extent(2000, 4000));
    const long begun = judgeCases(report, QStringLiteral("images"), count,
                                  "images that cannot be decoded", {side});
    report.count("images that are large, or claim to be, or claim to be empty", largeCount);
    report.count("mutations", begun - largeCount, count - largeCount);
    if (!PeakMemory::isMeasurable())
        report.notRun("memory: needs Linux and a build without sanitizers");
}

int actImages(const QStringList& arguments) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image"));
    return doCases(arguments, [&](long number) {
        if (number < largeCount) {
            const Sample& sample = samples[number / (claimCount + 1)];
            return tryLarge(path, sample, static_cast<int>(number % (claimCount + 1)),
                            sample.scale * arguments.value(2).toInt());
        }
        const QByteArray image = encoded(samples[number % sampleCount], QSize(24, 16));
        const QByteArray bytes = mutated(image, static_cast<quint32>(number));
        writeInput(path, bytes);
        (void)decodeAll(path, smallLimit);
        QImage screenshot; // as one in the list of them
        (void)vlr::readPng(bytes, QStringLiteral("screenshot"), screenshot, QSize(8, 8));
        return std::string();
    });
}
