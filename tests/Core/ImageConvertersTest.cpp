#include "Image/vlrImageConverters.h"

#include <gtest/gtest.h>

using vlr::Image;
using vlr::ImageConverters;

TEST(ImageConverters, GreyOfSixteenBitsIsSpreadOverTheDisplayRange) {
    const std::tuple<int, int, quint16, int> cases[] = {
        {0, 65535, 4095, 4095}, {0, 4095, 2048, 32776},    {0, 4095, 60000, 65535},
        {1000, 3000, 999, 0},   {1000, 3000, 2000, 32768}, {-1000, 1000, 0, 32768},
        {5, 5, 4095, 4095}, // no range: as if none had been set
    };
    for (const auto& [black, white, sample, expected] : cases) {
        Image image(3, 2, Image::Grey16);
        image.setDisplayRange(black, white);
        reinterpret_cast<quint16*>(image.line(1))[2] = sample;
        const QImage shown = ImageConverters::makeQImage(image);
        ASSERT_EQ(shown.format(), QImage::Format_Grayscale16);
        EXPECT_EQ(reinterpret_cast<const quint16*>(shown.constScanLine(1))[2], expected)
            << black << ".." << white << ": " << sample;
    }
}

TEST(ImageConverters, PixelsSurviveThereAndBack) {
    for (const Image::PixelType type :
         {Image::Grey8, Image::Grey16, Image::Rgb8, Image::Rgba8, Image::Rgb16, Image::Rgba16}) {
        Image image(7, 5, type); // an odd width: Qt's lines are longer than ours
        for (int y = 0; y < 5; ++y)
            for (std::size_t i = 0; i < image.bytesPerLine(); ++i)
                image.line(y)[i] = static_cast<unsigned char>(37 * y + 11 * static_cast<int>(i));
        const Image back = ImageConverters::makeImage(ImageConverters::makeQImage(image));
        ASSERT_EQ(back.type(), type);
        ASSERT_EQ(back.size(), image.size());
        for (int y = 0; y < 5; ++y)
            EXPECT_TRUE(
                std::equal(image.line(y), image.line(y) + image.bytesPerLine(), back.line(y)))
                << type << ' ' << y;
    }
    QImage colour(2, 1, QImage::Format_RGB32);
    colour.setPixel(0, 0, qRgb(1, 2, 3));
    colour.setPixel(1, 0, qRgb(255, 0, 128));
    const Image converted = ImageConverters::makeImage(colour);
    ASSERT_EQ(converted.type(), Image::Rgb8);
    EXPECT_EQ(QByteArray(reinterpret_cast<const char*>(converted.line(0)), 6),
              QByteArray("\1\2\3\xff\0\x80", 6));
}

TEST(ImageConverters, ImagesWithoutPixelsStayWithout) {
    EXPECT_TRUE(ImageConverters::makeQImage(Image()).isNull());
    EXPECT_TRUE(ImageConverters::makeImage(QImage()).isNull());
    for (const QSize& size : {QSize(0, 5), QSize(-1, 5), QSize(2000000000, 2000000000)}) {
        Image image(size.width(), size.height(), Image::Rgba16);
        EXPECT_TRUE(image.isNull()) << size.width();
        EXPECT_EQ(image.line(0), nullptr);
    }
}
