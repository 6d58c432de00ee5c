#include "Image/ImageFile.h"
#include "CoreTest.h"
#include "Image/ImageSeries.h"

#include <QtCore/QBuffer>
#include <QtCore/QDataStream>

#include <array>

using namespace vlrTest;

namespace {

const char* const formats[] = {"png", "jpeg", "bmp", "tiff"};

QImage picture(int width = 40, int height = 30) {
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            image.setPixel(x, y, qRgb(x * 37 % 256, y * 91 % 256, x * y * 53 % 256));
    return image;
}

QByteArray encoded(const char* format, const QImage& image = picture()) {
    QBuffer buffer;
    EXPECT_TRUE(buffer.open(QIODevice::WriteOnly) && image.save(&buffer, format));
    return buffer.data();
}

// A grey TIFF with one strip of eight bits a pixel per page: header, then directories and pixels.
using Samples = std::array<int, 3>; // their format, bits, number
QByteArray tiff(const std::vector<QSize>& pages, const std::vector<Samples>& samples = {},
                const QByteArray& written = {}, int photometric = 1,
                QDataStream::ByteOrder order = QDataStream::LittleEndian) {
    QByteArray bytes(order == QDataStream::LittleEndian ? "II*\0" : "MM\0*", 4);
    QDataStream stream(&bytes, QIODevice::Append);
    stream.setByteOrder(order);
    stream << quint32(8);
    for (const QSize& page : pages) {
        const auto index = static_cast<std::size_t>(&page - &pages.front());
        const Samples how = samples.empty() ? Samples{1, 8, 1} : samples[index];
        const int pixels = std::min(page.width(), 30) * std::min(page.height(), 30) *
                           std::max(1, how[1] / 8 * how[2]);
        const int data = bytes.size() + 2 + 10 * 12 + 4;
        const std::pair<int, int> fields[] = {
            {256, page.width()}, {257, page.height()}, {258, how[1]}, {259, 1},
            {262, photometric},  {273, data},          {277, how[2]}, {278, page.height()},
            {279, pixels},       {339, how[0]},
        };
        stream << quint16(10);
        for (const auto& [tag, value] : fields)
            stream << quint16(tag) << quint16(4) << quint32(1) << quint32(value);
        stream << quint32(&page == &pages.back() ? 0 : data + pixels);
        const QByteArray content = written.isEmpty() ? QByteArray(pixels, 0x55) : written;
        stream.writeRawData(content.constData(), pixels);
    }
    return bytes;
}

// What makes a JPEG one that is to be turned: orientation 6 as the only entry.
const QByteArray turned =
    QByteArray::fromHex("ffe1002245786966000049492a0008000000010012010300010000000600000000000000");

void expectUnreadable(const QString& path, const char* cause, int page = 0) {
    QImage image;
    const CaError error = vlr::readImage(path, image, page);
    EXPECT_THAT(error.description(), HasSubstr(path.toStdString()));
    EXPECT_THAT(error.description(), HasSubstr(cause));
    EXPECT_TRUE(image.isNull()) << path.toStdString();
}

} // namespace

// The content decides, not the name; what follows the end of the image does no harm.
TEST(ImageFile, ReadsEveryFormat) {
    const QString path = inFolder("image.jpg");
    vlr::ImageInfo info;
    QImage image;
    for (const char* format : formats) {
        writeFile(path, encoded(format) + "more");
        ASSERT_EQ(vlr::readImageInfo(path, info), CaError::nullError) << format;
        EXPECT_EQ(info.size, QSize(40, 30));
        EXPECT_EQ(info.format, format);
        EXPECT_EQ(info.pages, 1);
        ASSERT_EQ(vlr::readImage(path, image), CaError::nullError) << format;
        EXPECT_LE(image.sizeInBytes(), info.bytes);
        EXPECT_TRUE(info.format == "jpeg" ||
                    image.convertToFormat(QImage::Format_RGB32) == picture());
    }
    writeFile(path, encoded("jpeg").insert(2, turned));
    ASSERT_EQ(vlr::readImageInfo(path, info), CaError::nullError);
    ASSERT_EQ(vlr::readImage(path, image), CaError::nullError);
    EXPECT_EQ(info.size, QSize(30, 40));
    EXPECT_EQ(image.size(), info.size);
}

TEST(ImageFile, NoCutFileGivesHalfAnImage) {
    for (const char* format : formats) {
        QByteArray whole = encoded(format, picture(39, 30)); // a BMP has padding then
        if (qstrcmp(format, "jpeg") == 0) // a comment with the end marker, as previews have it
            whole.insert(2, QByteArray::fromHex("fffe0004ffd9"));
        for (int size = 0; size < whole.size(); ++size) {
            const QString path = inFolder("cut");
            writeFile(path, whole.left(size));
            QImage image;
            const CaError error = vlr::readImage(path, image);
            EXPECT_THAT(error.description(), HasSubstr(path.toStdString()));
            ASSERT_TRUE(image.isNull()) << format << " cut to " << size << " bytes";
        }
        if (qstrcmp(format, "jpeg") == 0) // a marker that is no segment
            whole.insert(whole.size() - 2, QByteArray::fromHex("ffd0"));
        writeFile(inFolder("whole"), whole);
        vlr::ImageInfo info;
        ASSERT_EQ(vlr::readImageInfo(inFolder("whole"), info), CaError::nullError);
        const qint64 needed = qstrcmp(format, "tiff") == 0 ? 3 * info.bytes : info.bytes;
        QImage image;
        EXPECT_EQ(vlr::readImage(inFolder("whole"), image, 0, needed), CaError::nullError);
        EXPECT_EQ(vlr::readImage(inFolder("whole"), image, 0, info.bytes - 1).id(),
                  "Image::tooLarge");
    }
}

TEST(ImageFile, SaysWhyAFileIsNoImage) {
    const QString path = inFolder("image.png");
    for (const char* content : {"Not an image.", "", "GIF89a\1\0\1\0\0\0\0;",
                                "<svg xmlns=\"http://www.w3.org/2000/svg\"/>"}) {
        writeFile(path, content);
        expectUnreadable(path, "is not a PNG, JPEG, BMP or TIFF file");
    }
    writeFile(path, tiff({QSize(60000, 60000)}));
    expectUnreadable(path, "60000 x 60000 pixels needs 3433.2 MiB");
    writeFile(path, tiff({QSize(2147483647, 2147483647)}));
    expectUnreadable(path, "2147483647 x 2147483647");
    expectUnreadable(inFolder("missing.png"), "does not exist");
    expectUnreadable(inFolder("image"), "does not exist"); // nor is image.png tried
    ASSERT_EQ(mkfifo(QFile::encodeName(inFolder("pipe.png")).constData(), 0600), 0);
    for (const char* name : {"pipe.png", "."})
        expectUnreadable(inFolder(name), "not a regular file");
}

TEST(ImageFile, ReadsThePagesOfATiff) {
    const QString path = inFolder("pages.tif");
    writeFile(path, tiff({{4, 3}, {20, 10}, {100000, 100000}}));
    vlr::ImageInfo info;
    ASSERT_EQ(vlr::readImageInfo(path, info), CaError::nullError);
    EXPECT_EQ(info.pages, 3);
    QImage image;
    ASSERT_EQ(vlr::readImage(path, image, 1), CaError::nullError);
    EXPECT_EQ(image.size(), QSize(20, 10));
    EXPECT_EQ(qGray(image.pixel(19, 9)), 0x55);
    expectUnreadable(path, "100000 x 100000", 2);
    expectUnreadable(path, "page 4", 3);
    expectUnreadable(path, "page 0", -1);
}

// -1000, -1, 0 and 3000, as a CT has them.
TEST(ImageFile, SignedGreysKeepTheirOrderAndAreKnownAsSigned) {
    const QByteArray greys = QByteArray::fromHex("18fcffff0000b80b");
    const Samples isSigned{2, 16, 1};
    const Samples isUnsigned{1, 16, 1};
    const QString path = inFolder("signed.tif");
    for (const bool isFirst : {true, false}) {
        writeFile(path, tiff({{2, 2}, {2, 2}}, {isFirst ? isSigned : isUnsigned, isSigned}, greys));
        vlr::ImageInfo info;
        ASSERT_EQ(vlr::readImageInfo(path, info), CaError::nullError);
        EXPECT_EQ(info.zeroGrey, isFirst ? -32768 : 0);
        if (!isFirst) {
            expectUnreadable(path, "signed and unsigned grey values on its pages", 1);
            continue;
        }
        for (const int page : {0, 1}) {
            QImage image;
            ASSERT_EQ(vlr::readImage(path, image, page), CaError::nullError);
            ASSERT_EQ(image.format(), QImage::Format_Grayscale16);
            int index = 0;
            for (const int grey : {-1000, -1, 0, 3000}) {
                const auto* const line =
                    reinterpret_cast<const quint16*>(image.constScanLine(index / 2));
                EXPECT_EQ(line[index % 2] + info.zeroGrey, grey);
                ++index;
            }
        }
    }
}

TEST(ImageFile, SamplesThatCannotBeShownAreRefusedByName) {
    const QString path = inFolder("samples.tif");
    // No reason: it is taken.
    const std::tuple<Samples, int, const char*> cases[] = {
        {{1, 8, 1}, 1, nullptr},
        {{1, 16, 1}, 1, nullptr},
        {{4, 16, 1}, 1, nullptr},
        {{1, 8, 3}, 2, nullptr},
        {{3, 32, 1}, 1, "floating point numbers of 32 bits"},
        {{3, 16, 1}, 1, "floating point numbers of 16 bits"},
        {{5, 64, 1}, 1, "complex numbers of 64 bits"},
        {{6, 16, 1}, 1, "complex numbers"},
        {{7, 16, 1}, 1, "unknown kind"},
        {{1, 32, 1}, 1, "unsigned numbers of 32 bits"},
        {{1, 12, 1}, 1, "of 12 bits"},
        {{2, 8, 1}, 1, "signed numbers of 8 bits"},
        {{2, 16, 3}, 2, "signed numbers of 16 bits"},
        {{2, 16, 1}, 0, "signed numbers of 16 bits"}, // white is zero
    };
    for (const auto& [samples, photometric, reason] : cases) {
        for (const auto order : {QDataStream::LittleEndian, QDataStream::BigEndian}) {
            writeFile(path, tiff({{4, 3}}, {samples}, {}, photometric, order));
            vlr::ImageInfo info;
            QImage image;
            EXPECT_EQ(vlr::readImageInfo(path, info).isNull(), reason == nullptr);
            if (reason)
                expectUnreadable(path, reason);
            else
                EXPECT_EQ(vlr::readImage(path, image), CaError::nullError) << samples[0];
        }
    }
}

TEST(ImageSeries, OrdersAsAPersonAndKeepsGaps) {
    for (const char* name : {"slice_10.png", "slice_9.PNG", "Slice_1.png", "notes.txt"})
        writeFile(inFolder(name), encoded("png"));
    writeFile(inFolder("slice_2.png"), "no image");
    writeFile(inFolder("slice_3.tif"), tiff({{4, 3}, {5, 3}}));
    writeFile(inFolder("slice_4.jpg"), encoded("jpeg").left(700)); // only its header is whole
    writeFile(inFolder("inside/slice_5.png"), encoded("png"));

    vlr::ImageSeries series;
    ASSERT_EQ(vlr::ImageSeries::open({testFolder()}, series), CaError::nullError);
    QStringList places;
    for (int i = 0; i < series.count(); ++i)
        places << QFileInfo(series.path(i)).fileName() + QLatin1Char(':') +
                      QString::number(series.page(i));
    EXPECT_EQ(places.join(QLatin1Char(' ')).toStdString(),
              "Slice_1.png:0 slice_2.png:0 slice_3.tif:0 slice_3.tif:1 slice_4.jpg:0 "
              "slice_9.PNG:0 slice_10.png:0");
    EXPECT_EQ(series.errorCount(), 1);

    QImage image;
    EXPECT_EQ(series.read(3, image), CaError::nullError);
    EXPECT_EQ(image.size(), QSize(5, 3));
    EXPECT_EQ(series.read(1, image), series.error(1));
    for (const int index : {1, 4, -1, 7})
        EXPECT_NE(series.read(index, image), CaError::nullError) << index;
    EXPECT_EQ(image.size(), QSize(5, 3));
    EXPECT_EQ(series.path(7), QString());
}

TEST(ImageSeries, StaysAsItWasWhereAPathHasNoImages) {
    vlr::ImageSeries series;
    writeFile(inFolder("a.tif"), tiff({{4, 3}, {4, 3}, {4, 3}}));
    writeFile(inFolder("empty/notes.txt"), "");
    for (const char* bad : {"missing", "empty"}) {
        const CaError error = vlr::ImageSeries::open({inFolder(bad), inFolder("a.tif")}, series);
        EXPECT_THAT(error.description(), HasSubstr(inFolder(bad).toStdString()));
        EXPECT_EQ(series.count(), 3);
    }
}
