#include "Image/ImageFile.h"

#include "Files/DurableFile.h"
#include "Image/TiffSamples.h"

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QtEndian>
#include <QtGui/QImageReader>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vlr {

namespace {

// What errors call an image file.
QString nameOf(const QString& path) {
    return QStringLiteral("image \"%1\"").arg(path);
}

CaError imageError(const char* id, const QString& name, const QString& text) {
    return CaError(std::string("Image::") + id,
                   QStringLiteral("The %1 %2.").arg(name, text).toStdString());
}

// What was a file when one looked may be a pipe when it is opened. The number of the error or 0.
int openWithoutWaiting(QFile& file) {
    const int descriptor = ::open(QFile::encodeName(file.fileName()).constData(),
                                  O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    struct stat status = {};
    if (descriptor >= 0 && fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) &&
        file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle))
        return 0;
    const int error = descriptor < 0 ? errno : EINVAL;
    if (descriptor >= 0)
        close(descriptor);
    return error;
}

CaError openRegular(QFile& file) {
    const QFileInfo info(file.fileName());
    if (!info.exists())
        return CaError(
            fileNotFoundError,
            QStringLiteral("The image \"%1\" does not exist.").arg(file.fileName()).toStdString());
    if (!info.isFile()) // A pipe would keep us waiting.
        return imageError("notAFile", nameOf(file.fileName()),
                          QStringLiteral("is not a regular file"));
    const bool isResource = file.fileName().startsWith(QLatin1Char(':'));
    int error = 0;
    if (!isResource)
        error = openWithoutWaiting(file);
    else if (!file.open(QIODevice::ReadOnly))
        error = EIO;
    return error == 0
               ? CaError::nullError
               : imageError(
                     "readFailed", nameOf(file.fileName()),
                     QStringLiteral("cannot be opened: %1")
                         .arg(QString::fromStdString(std::generic_category().message(error))));
}

bool isKnownFormat(const QByteArray& format) {
    return format == "png" || format == "jpeg" || format == "bmp" || format == "tiff";
}

// Saturates: a header can claim more than 64 bits hold.
qint64 decodedBytes(const QSize& size, QImage::Format format) {
    const qint64 bits =
        format == QImage::Format_Invalid ? 64 : QImage::toPixelFormat(format).bitsPerPixel();
    const qint64 line = (size.width() * bits + 31) / 32 * 4;
    const qint64 most = std::numeric_limits<qint64>::max();
    return line > most / size.height() ? most : line * size.height();
}

QString megabytes(qint64 bytes) {
    return QString::number(static_cast<double>(bytes) / (1 << 20), 'f', 1) + QLatin1String(" MiB");
}

// What a PNG holds beside its pixels is decompressed whole as soon as its header is asked for.
// The walk ends at the chunk of the given type and leaves the file where it was.
struct PngChunks {
    bool isWhole = false; ///< The last chunk was there, up to its end.
    int compressed = 0;
    qint64 compressedBytes = 0;
};

PngChunks walkPng(QIODevice& file, const char* lastType) {
    constexpr int mostChunks = 1000000; // Nothing real comes near; a flood of empty ones does.
    PngChunks found;
    const qint64 start = file.pos();
    qint64 position = 8;
    for (int i = 0; i < mostChunks && !found.isWhole; ++i) {
        const QByteArray header = file.seek(position) ? file.read(8) : QByteArray();
        if (header.size() != 8)
            break;
        const qint64 size = qFromBigEndian<quint32>(header.constData());
        position += 12 + size;
        if (header.endsWith("zTXt") || header.endsWith("iTXt") || header.endsWith("iCCP")) {
            ++found.compressed;
            found.compressedBytes += size;
        }
        found.isWhole = header.endsWith(lastType) && position <= file.size();
    }
    file.seek(start);
    return found;
}

CaError checkTexts(const PngChunks& chunks, const QString& name) {
    constexpr int mostTexts = 16;
    constexpr qint64 mostBytes = qint64(4) << 20;
    if (chunks.compressed <= mostTexts && chunks.compressedBytes <= mostBytes)
        return CaError::nullError;
    return imageError("tooLarge", name,
                      QStringLiteral("has more compressed texts or profiles than an image needs"));
}

// How many coefficients the decoder keeps for each pixel: one for each colour of a JPEG that comes
// in several scans, as a progressive one does, otherwise none. The walk ends at the first scan and
// leaves the file where it was.
int coefficientsPerPixel(QIODevice& file) {
    const qint64 start = file.pos();
    int colours = 0;
    bool isKept = false;
    for (qint64 position = 2; file.seek(position);) {
        const QByteArray segment = file.read(10);
        if (segment.size() < 10 || segment.at(0) != '\xff')
            break;
        const auto marker = static_cast<uchar>(segment.at(1));
        if (marker == 0xff) { // a fill byte
            ++position;
            continue;
        }
        // 0xc4, 0xc8 and 0xcc among them are something else.
        if ((marker & 0xf0U) == 0xc0 && (marker & 0x03U) <= 2 && (marker & 0x07U) != 4 &&
            marker != 0xc8) {
            colours = static_cast<uchar>(segment.at(9));
            isKept = (marker & 0x03U) == 2; // progressive
        } else if (marker == 0xda) {
            isKept = isKept || static_cast<uchar>(segment.at(4)) < colours;
            break;
        }
        position += 2 + qFromBigEndian<quint16>(segment.constData() + 2);
    }
    file.seek(start);
    return isKept ? colours : 0;
}

// What decoding takes beside the image: the JPEG decoder's coefficients, the TIFF decoder's strip,
// which may be the whole image, as it is stored and decoded, and an image that is to be turned.
qint64 bytesBesideImage(const ImageInfo& info, int coefficients, qint64 fileSize, bool isTurned) {
    constexpr qint64 coefficientBytes = 2;
    const qint64 kept = info.format == "jpeg" ? coefficientBytes * coefficients *
                                                    info.size.width() * info.size.height()
                        : info.format == "tiff" ? info.bytes + std::min(info.bytes, fileSize)
                                                : 0;
    return kept + (isTurned ? info.bytes : 0);
}

QString samplesText(const TiffSamples& samples) {
    const QString kind =
        samples.format == TiffSamples::Signed     ? QStringLiteral("signed numbers")
        : samples.format == TiffSamples::Floating ? QStringLiteral("floating point numbers")
        : samples.format > TiffSamples::Untyped && samples.format <= TiffSamples::Complex
            ? QStringLiteral("complex numbers")
        : samples.format == TiffSamples::Unsigned || samples.format == TiffSamples::Untyped
            ? QStringLiteral("unsigned numbers")
            : QStringLiteral("numbers of an unknown kind");
    return QStringLiteral("has %1 of %2 bits as pixels, which cannot be shown")
        .arg(kind)
        .arg(samples.bits);
}

bool isSignedGrey(const TiffSamples& samples) {
    return samples.format == TiffSamples::Signed && samples.bits == 16 && samples.perPixel == 1 &&
           samples.isBlackZero;
}

// Qt takes all samples for unsigned whole numbers, in which the air of a signed CT is white.
CaError checkSamples(QIODevice& file, const QString& name, int page, int& zeroGrey) {
    TiffSamples samples;
    TiffSamples first;
    if (!readTiffSamples(file, page, samples) || !readTiffSamples(file, 0, first))
        return imageError("damaged", name, QStringLiteral("has a damaged header"));
    const bool isUnsigned =
        samples.format == TiffSamples::Unsigned || samples.format == TiffSamples::Untyped;
    const bool isWidthKnown = samples.bits == 1 || samples.bits == 2 || samples.bits == 4 ||
                              samples.bits == 8 || samples.bits == 16;
    if ((!isUnsigned && !isSignedGrey(samples)) || !isWidthKnown)
        return imageError("unknownSamples", name, samplesText(samples));
    if (isSignedGrey(samples) != isSignedGrey(first))
        return imageError("unknownSamples", name,
                          QStringLiteral("has signed and unsigned grey values on its pages"));
    zeroGrey = isSignedGrey(samples) ? std::numeric_limits<qint16>::min() : 0;
    return CaError::nullError;
}

// From signed values to unsigned ones in the same order.
CaError moveUp(QImage& image, const QString& name) {
    if (image.format() != QImage::Format_Grayscale16)
        return imageError("unknownSamples", name,
                          QStringLiteral("has signed grey values that cannot be decoded"));
    for (int y = 0; y < image.height(); ++y) {
        auto* const line = reinterpret_cast<quint16*>(image.scanLine(y));
        std::transform(line, line + image.width(), line,
                       [](quint16 grey) { return static_cast<quint16>(grey ^ 0x8000U); });
    }
    return CaError::nullError;
}

// What the reader says of the page, on which it stands afterwards. The order of the questions is
// not free: once Qt's TIFF reader has been asked for a size, it knows format and pages no more.
CaError inspect(QImageReader& reader, const QString& name, int page, qint64 limit,
                ImageInfo& info) {
    reader.setDecideFormatFromContent(true);
    reader.setAutoTransform(true);
    ImageInfo found;
    found.format = reader.format();
    if (!isKnownFormat(found.format))
        return imageError("unknownFormat", name,
                          QStringLiteral("is not a PNG, JPEG, BMP or TIFF file"));
    if (found.format == "tiff")
        found.pages = std::max(1, reader.imageCount());
    if (page < 0 || page >= found.pages || (page > 0 && !reader.jumpToImage(page)))
        return imageError(
            "noSuchPage", name,
            QStringLiteral("has %1 pages, but not a page %2").arg(found.pages).arg(page + 1));
    if (found.format == "png") {
        const CaError error = checkTexts(walkPng(*reader.device(), "IDAT"), name);
        if (!error.isNull())
            return error;
    }
    if (found.format == "tiff") {
        const CaError error = checkSamples(*reader.device(), name, page, found.zeroGrey);
        if (!error.isNull())
            return error;
    }
    const int coefficients = found.format == "jpeg" ? coefficientsPerPixel(*reader.device()) : 0;
    found.size = reader.size();
    if (found.size.isEmpty())
        return imageError("damaged", name, QStringLiteral("has a damaged header"));
    found.bytes = decodedBytes(found.size, reader.imageFormat());
    const bool isTurned = reader.transformation() & QImageIOHandler::TransformationRotate90;
    qint64 needed = found.bytes;
    if (needed <= limit)
        needed += bytesBesideImage(found, coefficients, reader.device()->size(), isTurned);
    if (needed > limit)
        return imageError("tooLarge", name,
                          QStringLiteral("of %1 x %2 pixels needs %3 of memory, more than %4")
                              .arg(found.size.width())
                              .arg(found.size.height())
                              .arg(megabytes(needed), megabytes(limit)));
    if (isTurned)
        found.size.transpose();
    info = found;
    return CaError::nullError;
}

// Qt takes a PNG whose last chunk is cut, and a JPEG cut anywhere behind its header: the lines
// that are missing come out grey. Where the image ends is therefore looked up in the file.

bool endsAsJpeg(const QByteArray& bytes) {
    int position = 2; // behind the start marker
    for (;;) {
        position = bytes.indexOf('\xff', position);
        if (position < 0 || position + 1 >= bytes.size())
            return false;
        const auto marker = static_cast<uchar>(bytes.at(++position));
        if (marker == 0xd9)
            return true;
        const bool isRestart = marker >= 0xd0 && marker <= 0xd8;
        if (marker == 0x00 || marker == 0x01 || marker == 0xff || isRestart)
            continue; // coded data, fill bytes and markers without a segment
        if (position + 2 >= bytes.size())
            return false;
        position += 1 + qFromBigEndian<quint16>(bytes.constData() + position + 1);
    }
}

// For a BMP without compression the length is known; Qt leaves the lines missing from it black.
bool endsAsBmp(QIODevice& file) {
    const QByteArray header = file.seek(0) ? file.read(34) : QByteArray();
    if (header.size() < 34)
        return false;
    const auto number = [&](int at) { return qFromLittleEndian<qint32>(header.constData() + at); };
    const bool isOldHeader = number(14) < 40;
    if (!isOldHeader && (number(30) == 1 || number(30) == 2))
        return true; // run lengths: Qt notices
    const qint64 width =
        isOldHeader ? qFromLittleEndian<quint16>(header.constData() + 18) : number(18);
    const qint64 height =
        isOldHeader ? qFromLittleEndian<quint16>(header.constData() + 20) : std::llabs(number(22));
    const qint64 bits = qFromLittleEndian<quint16>(header.constData() + (isOldHeader ? 24 : 28));
    return quint32(number(10)) + (width * bits + 31) / 32 * 4 * height <= file.size();
}

// `file` is opened for this alone: the reader's own stands where the reader left it.
CaError checkEnd(QIODevice& file, const QString& name, const QByteArray& format) {
    if (format == "jpeg" && file.size() > defaultImageLimit)
        return imageError("tooLarge", name,
                          QStringLiteral("has %1, more than %2")
                              .arg(megabytes(file.size()), megabytes(defaultImageLimit)));
    const QByteArray jpeg = format == "jpeg" ? file.readAll() : QByteArray();
    if (format == "jpeg" && jpeg.size() < file.size())
        return CaError(passingReadError, name.toStdString() + " cannot be read at present.");
    const PngChunks png = format == "png" ? walkPng(file, "IEND") : PngChunks();
    const CaError error = checkTexts(png, name);
    if (!error.isNull())
        return error;
    const bool isComplete = format == "png"    ? png.isWhole
                            : format == "bmp"  ? endsAsBmp(file)
                            : format == "jpeg" ? endsAsJpeg(jpeg)
                                               : true; // libtiff notices
    return isComplete ? CaError::nullError
                      : imageError("damaged", name, QStringLiteral("is cut off"));
}

// Both devices have the same bytes.
CaError decode(QIODevice& device, QIODevice& again, const QString& name, int page, qint64 limit,
               const QSize& bound, QImage& image) {
    QImageReader reader(&device);
    ImageInfo info;
    CaError error = inspect(reader, name, page, limit, info);
    if (error.isNull())
        error = checkEnd(again, name, info.format);
    if (!error.isNull())
        return error;
    const bool isScaled = bound.isValid() && (info.size.width() > bound.width() ||
                                              info.size.height() > bound.height());
    const QSize scaledSize = info.size.scaled(bound, Qt::KeepAspectRatio);
    // Between -1 and 0, as the reader sees signed values, there is no grey to mix.
    if (isScaled && info.zeroGrey == 0)
        reader.setScaledSize(scaledSize);
    QImage decoded = reader.read();
    if (decoded.isNull())
        return imageError("damaged", name,
                          QStringLiteral("cannot be decoded: %1").arg(reader.errorString()));
    if (info.zeroGrey != 0)
        error = moveUp(decoded, name);
    if (error.isNull() && isScaled && info.zeroGrey != 0)
        decoded = decoded.scaled(scaledSize, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                      .convertToFormat(decoded.format());
    if (error.isNull())
        image = decoded;
    return error;
}

} // namespace

CaError readImageInfo(const QString& path, ImageInfo& info, qint64 limit) {
    QFile file(path);
    const CaError error = openRegular(file);
    if (!error.isNull())
        return error;
    QImageReader reader(&file);
    return inspect(reader, nameOf(path), 0, limit, info);
}

CaError readImage(const QString& path, QImage& image, int page, qint64 limit) {
    QFile file(path);
    QFile again(path);
    CaError error = openRegular(file);
    if (error.isNull())
        error = openRegular(again);
    return error.isNull() ? decode(file, again, nameOf(path), page, limit, QSize(), image) : error;
}

CaError readPng(const QByteArray& bytes, const QString& name, QImage& image, const QSize& bound,
                qint64 limit) {
    if (!bytes.startsWith("\x89PNG\r\n\x1a\n"))
        return imageError("unknownFormat", name, QStringLiteral("is no PNG image"));
    QBuffer buffer;
    QBuffer again;
    for (QBuffer* each : {&buffer, &again}) {
        each->setData(bytes);
        each->open(QIODevice::ReadOnly);
    }
    return decode(buffer, again, name, 0, limit, bound, image);
}

QStringList imageNameFilters() {
    return {QStringLiteral("*.png"), QStringLiteral("*.jpg"), QStringLiteral("*.jpeg"),
            QStringLiteral("*.bmp"), QStringLiteral("*.tif"), QStringLiteral("*.tiff")};
}

} // namespace vlr
