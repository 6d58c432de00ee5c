// Damaged images, and images made to exhaust whoever decodes them.

#include "Faults.h"

#include "Child.h"
#include "Mutation.h"
#include "PeakMemory.h"

#include "AppBase/QtScreenShotData.h"
#include "Data/Patient.h"
#include "IO/DataIOManager.h"
#include "IO/IOManager.h"
#include "Image/ImageFile.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtCore/QtEndian>
#include <QtGui/QImageWriter>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

namespace {

constexpr qint64 smallLimit = qint64(64) << 20;
constexpr qint64 slack = qint64(8) << 20; // for the decoders themselves

struct Sample {
    const char* name;
    const char* format;
    QImage::Format pixels;
    bool isProgressive = false;
    bool isTurned = false;
};

constexpr Sample samples[] = {
    {"PNG", "png", QImage::Format_RGB32},
    {"PNG, 16 bits", "png", QImage::Format_RGBA64},
    {"PNG, two colours", "png", QImage::Format_Mono},
    {"JPEG", "jpeg", QImage::Format_RGB32},
    {"JPEG, grey", "jpeg", QImage::Format_Grayscale8},
    {"JPEG, progressive", "jpeg", QImage::Format_RGB32, true},
    {"JPEG, turned", "jpeg", QImage::Format_RGB32, false, true},
    {"BMP", "bmp", QImage::Format_RGB32},
    {"BMP, palette", "bmp", QImage::Format_Indexed8},
    {"TIFF", "tiff", QImage::Format_RGB32},
    {"TIFF, grey", "tiff", QImage::Format_Grayscale8},
    {"TIFF, two colours", "tiff", QImage::Format_Mono},
    {"TIFF, turned", "tiff", QImage::Format_RGB32, false, true},
};
constexpr int sampleCount = static_cast<int>(std::size(samples));

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
    return sample.isTurned && !isTiff ? bytes.insert(2, exif) : bytes;
}

void write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("The image cannot be written.");
}

// All pages, as a series does it.
void decodeAll(const QString& path, qint64 limit) {
    vlr::ImageInfo info;
    if (!vlr::readImageInfo(path, info, limit).isNull())
        info.pages = 1;
    for (int page = 0; page < std::min(info.pages, 3); ++page) {
        QImage image;
        (void)vlr::readImage(path, image, page, limit);
    }
}

// A screenshot of a stored patient, whose bytes can be replaced.
DataPointer<QtScreenShotData> storedScreenshot() {
    createQtScreenShotDataFactory();
    const DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QStringLiteral("Images"));
    DataPointer<QtScreenShotData> screenshot(new QtScreenShotData);
    screenshot->setBinaryPart(QStringLiteral("screenShot"), "bytes");
    CaError error = patient->addChild(screenshot, false);
    if (error == CaError::nullError)
        error = DataIOManager::storePatient(patient);
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
    static const DataPointer<Patient> owner = patient;
    return screenshot;
}

void decodeScreenshot(const QtScreenShotData& screenshot, const QByteArray& bytes) {
    const CaError error =
        IOManager::write(screenshot.binaryPartUri(QStringLiteral("screenShot")), bytes);
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
    QImage image;
    (void)screenshot.readImage(image);
    (void)screenshot.readImage(image, QSize(8, 8));
}

// --- mutations

struct Worst {
    long crashes = 0;
    qint64 memory = 0;
};

// In processes of their own, the next of which goes on behind a crash.
void mutate(long count, Worst& worst, Report& report) {
    long next = 0;
    while (next < count) {
        Child child(QStringLiteral("images"), {QString::number(next), QString::number(count)});
        child.process().closeReadChannel(QProcess::StandardError);
        long last = next;
        for (QByteArray line = child.readLine(); !line.isEmpty(); line = child.readLine()) {
            const QList<QByteArray> words = line.trimmed().split(' ');
            last = words[0].toLong();
            worst.memory = std::max(worst.memory, words.value(1).toLongLong());
        }
        const int status = child.wait();
        next = status == 0 ? count : last + 1;
        if (status == 0)
            continue;
        ++worst.crashes;
        report.problem("mutation " + std::to_string(last) + ": ended with " +
                       std::to_string(status));
    }
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
QByteArray claiming(QByteArray image, const QByteArray& format, quint32 width, quint32 height) {
    if (format == "png") {
        put(image, 16, qToBigEndian(width));
        put(image, 20, qToBigEndian(height));
        put(image, 29, qToBigEndian(crc32(image.mid(12, 17))));
    } else if (format == "bmp") {
        put(image, 18, qToLittleEndian(width));
        put(image, 22, qToLittleEndian(height));
    } else if (format == "jpeg") {
        const int frame = std::max(image.indexOf("\xff\xc0"), image.indexOf("\xff\xc2"));
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

// Where an image is not refused, decoding stays within the least limit that lets it through.
void decodeLarge(const QString& what, const QByteArray& image, qint64 limit, Worst& worst,
                 Report& report) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image"));
    write(path, image);
    Child child(QStringLiteral("image"), {path, QString::number(limit)});
    const qint64 excess = child.readLine().trimmed().toLongLong();
    const int status = child.wait();
    worst.crashes += status == 0 ? 0 : 1;
    worst.memory = std::max(worst.memory, excess);
    if (status != 0 || excess > slack)
        report.problem(what.toStdString() + ": " + std::to_string(excess >> 20) +
                       " MiB beyond its limit, ended with " + std::to_string(status));
}

} // namespace

void faultImage(Report& report) {
    const long mutations = report.extent(300, 10000);
    Worst mutated;
    Worst large;
    mutate(mutations, mutated, report);
    for (const Sample& sample : samples) {
        const QString name = QLatin1String(sample.name);
        const int side = report.isLong() ? 4000 : 2000;
        const qint64 pixels =
            qint64(side) * side * QImage::toPixelFormat(sample.pixels).bitsPerPixel() / 8;
        decodeLarge(name, encoded(sample, QSize(side, side)), pixels, large, report);
        const QByteArray little = encoded(sample, QSize(24, 16));
        for (const QSize& size : {QSize(20000, 20000), QSize(0, 16), QSize(24, 0), QSize(0, 0),
                                  QSize(0x7fffffff, 0x7fffffff), QSize(65535, 1)})
            decodeLarge(QStringLiteral("%1 claiming %2 x %3")
                            .arg(name)
                            .arg(size.width())
                            .arg(size.height()),
                        claiming(little, sample.format, static_cast<quint32>(size.width()),
                                 static_cast<quint32>(size.height())),
                        smallLimit, large, report);
    }
    if (report.isLong())
        decodeLarge(QStringLiteral("a grey PNG of 20,000 x 20,000"),
                    encoded({"", "png", QImage::Format_Grayscale8}, QSize(20000, 20000)),
                    qint64(400) << 20, large, report);
    report.done(std::to_string(mutations) + " mutations of " + std::to_string(sampleCount) +
                " kinds of image, and of screenshots");
    report.done("each kind as large as its limit, and claiming to be larger or empty");
    report.atMost("crashes", mutated.crashes + large.crashes, 0);
    if (PeakMemory::isMeasurable()) {
        report.atMost("memory for a mutation, MiB", mutated.memory >> 20, smallLimit >> 20);
        report.atMost("memory beyond the limit, MiB", large.memory >> 20, slack >> 20);
    } else {
        report.done("memory: not run: needs Linux and a build without sanitizers");
    }
}

// Arguments: the first seed and the end. Tells each before it is tried, and its memory afterwards.
int actImages(const QStringList& arguments) {
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("image"));
    const DataPointer<QtScreenShotData> screenshot = storedScreenshot();
    for (long seed = arguments.value(0).toLong(); seed < arguments.value(1).toLong(); ++seed) {
        std::printf("%ld\n", seed);
        std::fflush(stdout);
        const Sample& sample = samples[seed % sampleCount];
        const QByteArray bytes =
            mutated(encoded(sample, QSize(24, 16)), static_cast<quint32>(seed));
        const PeakMemory memory;
        write(path, bytes);
        decodeAll(path, smallLimit);
        if (qstrcmp(sample.format, "png") == 0)
            decodeScreenshot(*screenshot, bytes);
        std::printf("%ld %lld\n", seed, memory.growth());
    }
    return 0;
}

// Arguments: the file and the size of its pixels. Tells how much memory decoding took beyond the
// least limit that it is not refused for: those pixels, and what the decoder needs.
int actImage(const QStringList& arguments) {
    const qint64 pixels = arguments.value(1).toLongLong();
    qint64 limit = pixels;
    vlr::ImageInfo info;
    while (limit < 4 * pixels &&
           vlr::readImageInfo(arguments.value(0), info, limit).id() == "Image::tooLarge")
        limit += pixels / 4;
    const PeakMemory memory;
    decodeAll(arguments.value(0), limit);
    std::printf("%lld\n", memory.growth() - limit);
    return 0;
}
