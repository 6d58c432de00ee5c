#include "Widgets/GreyScaler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <random>
#include <string>
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

// The largest difference of two images in grey levels; a pixel that is not grey counts as 256.
int difference(const QImage& left, const QImage& right) {
    if (left.size() != right.size())
        return 256;
    int largest = 0;
    for (int y = 0; y < left.height(); ++y)
        for (int x = 0; x < left.width(); ++x) {
            const QRgb pixel = left.pixel(x, y);
            const bool isGrey = pixel == qRgb(qRed(pixel), qRed(pixel), qRed(pixel));
            largest =
                std::max(largest, isGrey ? std::abs(qRed(pixel) - qRed(right.pixel(x, y))) : 256);
        }
    return largest;
}

QImage byQt(const QImage& image, const QSize& size, Qt::TransformationMode transformation) {
    return image.convertToFormat(QImage::Format_RGB32)
        .scaled(size, Qt::IgnoreAspectRatio, transformation);
}

const QSize imageSizes[] = {{1, 1}, {1, 9}, {7, 1}, {2, 3}, {5, 4}, {61, 47}, {256, 200}};
const QSize targetSizes[] = {{1, 1},    {1, 20},   {3, 2},     {4, 5},    {61, 47},
                             {59, 100}, {122, 30}, {128, 101}, {243, 188}};

std::string named(const QImage& image, const QSize& size) {
    return std::to_string(image.width()) + "x" + std::to_string(image.height()) + " to " +
           std::to_string(size.width()) + "x" + std::to_string(size.height());
}

// The share of each pixel of a line in a drawn one.
std::vector<double> sharesOf(int drawn, int from, int to) {
    std::vector<double> shares(static_cast<std::size_t>(from));
    const double length = double(from) / to;
    const double centre = (drawn + 0.5) * length - 0.5;
    for (int i = 0; i < from; ++i) {
        const double begin = std::max(drawn * length, double(i));
        const double end = std::min((drawn + 1) * length, i + 1.0);
        const double distance = std::abs(std::clamp(centre, 0.0, from - 1.0) - i);
        shares[static_cast<std::size_t>(i)] =
            std::max(0.0, to < from ? (end - begin) / length : 1 - distance);
    }
    return shares;
}

QImage exactly(const QImage& image, const QSize& size) {
    QImage result(size, QImage::Format_RGB32);
    for (int y = 0; y < size.height(); ++y) {
        const auto rows = sharesOf(y, image.height(), size.height());
        std::vector<double> line(static_cast<std::size_t>(image.width()));
        for (int i = 0; i < image.height(); ++i)
            for (std::size_t x = 0; x < line.size(); ++x)
                line[x] += rows[static_cast<std::size_t>(i)] * image.constScanLine(i)[x];
        for (int x = 0; x < size.width(); ++x) {
            const auto columns = sharesOf(x, image.width(), size.width());
            const int grey =
                qRound(std::inner_product(line.begin(), line.end(), columns.begin(), 0.0));
            result.setPixel(x, y, qRgb(grey, grey, grey));
        }
    }
    return result;
}

} // namespace

TEST(GreyScaler, SmoothIsExactAndLooksAsWithQt) {
    for (const QSize& imageSize : imageSizes)
        for (const QSize& size : targetSizes) {
            const QImage image = noise(imageSize);
            const QImage result = scaled(image, size, Qt::SmoothTransformation);
            EXPECT_LE(difference(result, exactly(image, size)), 1) << named(image, size);
            const bool grows =
                size.width() > imageSize.width() || size.height() > imageSize.height();
            EXPECT_LE(difference(result, byQt(image, size, Qt::SmoothTransformation)),
                      grows ? 3 : 1)
                << named(image, size);
        }
}

TEST(GreyScaler, FastTakesThePixelAtTheCentre) {
    for (const QSize& imageSize : imageSizes)
        for (const QSize& size : targetSizes) {
            const QImage image = noise(imageSize);
            QImage expected(size, QImage::Format_RGB32);
            for (int y = 0; y < size.height(); ++y)
                for (int x = 0; x < size.width(); ++x)
                    expected.setPixel(
                        x, y,
                        image.pixel(((2 * x + 1) * image.width() - 1) / (2 * size.width()),
                                    ((2 * y + 1) * image.height() - 1) / (2 * size.height())));
            EXPECT_EQ(scaled(image, size, Qt::FastTransformation), expected) << named(image, size);
        }
}

TEST(GreyScaler, APlainImageStaysPlain) {
    for (const QSize& imageSize : imageSizes)
        for (const QSize& size : targetSizes)
            for (const int level : {0, 1, 127, 255}) {
                QImage plain(imageSize, QImage::Format_Grayscale8);
                plain.fill(level);
                QImage expected(size, QImage::Format_RGB32);
                expected.fill(qRgb(level, level, level));
                EXPECT_EQ(scaled(plain, size, Qt::SmoothTransformation), expected)
                    << named(plain, size) << ", " << level;
            }
}

TEST(GreyScaler, FastTakesThePixelsQtTakes) {
    const struct {
        QSize from, to;
    } cases[] = {
        // Qt counts in 1/65536 of a pixel; these ratios can be said in that.
        {{64, 48}, {32, 24}},
        {{64, 48}, {128, 192}},
        {{60, 40}, {80, 32}},
        {{2048, 16}, {512, 16}},
    };
    for (const auto& c : cases) {
        const QImage image = noise(c.from);
        EXPECT_EQ(difference(scaled(image, c.to, Qt::FastTransformation),
                             byQt(image, c.to, Qt::FastTransformation)),
                  0)
            << c.to.width();
    }
}

TEST(GreyScaler, ReadsAPartOfALargerImage) {
    const QImage whole = noise({50, 40});
    const QRect part(3, 5, 31, 23);
    const QImage view(whole.constScanLine(part.y()) + part.x(), part.width(), part.height(),
                      whole.bytesPerLine(), whole.format());
    for (const auto transformation : {Qt::FastTransformation, Qt::SmoothTransformation})
        for (const QSize size : {QSize(20, 30), QSize(31, 23), QSize(80, 11)})
            EXPECT_EQ(scaled(view, size, transformation),
                      scaled(whole.copy(part), size, transformation));
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

    scaleGrey(noise({3, 3}), {6, 5}, Qt::FastTransformation, target);
    EXPECT_EQ(target.size(), QSize(6, 5));
}

TEST(GreyScaler, GivesNothingForWhatItCannotScale) {
    const struct {
        QImage image;
        QSize size;
    } cases[] = {
        {{}, {5, 5}},
        {noise({4, 4}), {0, 5}},
        {noise({4, 4}), {5, -1}},
        {noise({4, 4}).convertToFormat(QImage::Format_RGB32), {5, 5}},
    };
    for (const auto transformation : {Qt::FastTransformation, Qt::SmoothTransformation})
        for (const auto& c : cases) {
            QImage target(3, 3, QImage::Format_RGB32);
            scaleGrey(c.image, c.size, transformation, target);
            EXPECT_TRUE(target.isNull()) << &c - cases;
        }
}
