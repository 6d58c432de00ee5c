#include "Widgets/GreyScaler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <vector>

using vlr::scaleGrey;

namespace {

// Neighbours differ as much as they can.
QImage noise(const QSize& size) {
    std::mt19937 random(1);
    QImage image(size, QImage::Format_Grayscale8);
    for (int y = 0; y < size.height(); ++y)
        std::generate_n(image.scanLine(y), size.width(),
                        [&random] { return static_cast<uchar>(random()); });
    return image;
}

QImage scaled(const QImage& image, const QSize& size, Qt::TransformationMode transformation) {
    QImage result;
    scaleGrey(image, size, transformation, result);
    return result;
}

// The largest difference of two images in any channel.
int difference(const QImage& left, const QImage& right) {
    int largest = left.size() == right.size() ? 0 : 256;
    for (int y = 0; y < left.height() && largest < 256; ++y)
        for (int x = 0; x < left.width(); ++x)
            for (const unsigned channel : {0U, 8U, 16U}) {
                const int level = static_cast<int>(left.pixel(x, y) >> channel & 255U);
                const int other = static_cast<int>(right.pixel(x, y) >> channel & 255U);
                largest = std::max(largest, std::abs(level - other));
            }
    return largest;
}

QImage smoothByQt(const QImage& image, const QSize& size) {
    return image.convertToFormat(QImage::Format_RGB32)
        .scaled(size, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

QImage atTheCentres(const QImage& image, const QSize& size) {
    QImage result(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            result.setPixel(x, y,
                            image.pixel(((2 * x + 1) * image.width() - 1) / (2 * size.width()),
                                        ((2 * y + 1) * image.height() - 1) / (2 * size.height())));
    return result;
}

} // namespace

TEST(GreyScaler, SmoothIsAsWithQtFastTakesThePixelAtTheCentreAndWhiteStaysWhite) {
    const QSize imageSizes[] = {{1, 1}, {1, 9}, {7, 1}, {2, 3}, {5, 4}, {61, 47}, {256, 200}};
    const QSize targetSizes[] = {{1, 1},    {1, 20},   {3, 2},     {4, 5},    {61, 47},
                                 {59, 100}, {122, 30}, {128, 101}, {243, 188}};
    for (const QSize& imageSize : imageSizes)
        for (const QSize& size : targetSizes) {
            SCOPED_TRACE(testing::Message() << imageSize.width() << "x" << imageSize.height()
                                            << " to " << size.width() << "x" << size.height());
            const QImage image = noise(imageSize);
            const QImage smooth = scaled(image, size, Qt::SmoothTransformation);
            const bool grows = size.width() > image.width() || size.height() > image.height();
            EXPECT_LE(difference(smooth, smoothByQt(image, size)), grows ? 3 : 1);
            EXPECT_EQ(scaled(image, size, Qt::FastTransformation), atTheCentres(image, size));
            QImage white(imageSize, QImage::Format_Grayscale8);
            white.fill(255);
            QImage expected(size, QImage::Format_RGB32);
            expected.fill(Qt::white);
            EXPECT_EQ(scaled(white, size, Qt::SmoothTransformation), expected);
        }
}

TEST(GreyScaler, UsesTheBufferAgainUnlessSomebodyElseDoes) {
    QImage target = scaled(noise({8, 8}), {5, 5}, Qt::FastTransformation);
    const uchar* buffer = target.constBits();
    scaleGrey(noise({9, 7}), {5, 5}, Qt::SmoothTransformation, target);
    EXPECT_EQ(target.constBits(), buffer);

    const QImage shared = target;
    const QImage before = target.copy();
    scaleGrey(noise({3, 3}), {5, 5}, Qt::FastTransformation, target);
    EXPECT_EQ(shared, before);
    EXPECT_EQ(target, scaled(noise({3, 3}), {5, 5}, Qt::FastTransformation));
}
