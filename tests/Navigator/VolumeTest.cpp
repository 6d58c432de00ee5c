#include "Images/Volume.h"
#include "Progress/CaProgressMonitor.h"
#include "Support/TestEnvironment.h"

#include <QtCore/QBuffer>

#include <gmock/gmock.h>

#include <functional>

using namespace vlrTest;
using testing::HasSubstr;

namespace {

using Grey = std::function<int(int x, int y, int z)>;

QByteArray png(const QImage& image) {
    QBuffer buffer;
    EXPECT_TRUE(buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG"));
    return buffer.data();
}

QImage slice(const QSize& size, QImage::Format format, const std::function<int(int, int)>& grey) {
    QImage image(size, format);
    for (int y = 0; y < size.height(); ++y)
        for (int x = 0; x < size.width(); ++x)
            if (format == QImage::Format_Grayscale16)
                reinterpret_cast<quint16*>(image.scanLine(y))[x] = static_cast<quint16>(grey(x, y));
            else
                image.setPixelColor(x, y, QColor(grey(x, y), grey(x, y), grey(x, y)));
    return image;
}

QByteArray flat(int width, int height, QImage::Format format = QImage::Format_Grayscale8) {
    return png(slice({width, height}, format, [](int, int) { return 100; }));
}

vlr::ImageSeries seriesOf(const std::vector<QByteArray>& files) {
    static int number = 0;
    const QString folder = testFolder() + QStringLiteral("/series%1").arg(++number);
    int index = 0;
    for (const QByteArray& bytes : files)
        writeFile(QStringLiteral("%1/%2.png").arg(folder).arg(++index), bytes);
    vlr::ImageSeries series;
    EXPECT_EQ(vlr::ImageSeries::open({folder}, series), CaError::nullError);
    return series;
}

Volume volumeOf(const Voxel& size, QImage::Format format, const Grey& grey) {
    std::vector<QByteArray> files;
    for (int z = 0; z < size[2]; ++z)
        files.push_back(
            png(slice({size[0], size[1]}, format, [&](int x, int y) { return grey(x, y, z); })));
    Volume volume;
    EXPECT_EQ(Volume::load(seriesOf(files), volume), CaError::nullError);
    return volume;
}

// Every voxel has a value of its own.
int numbered(int x, int y, int z) {
    return 1 + x + 3 * y + 15 * z;
}

constexpr Voxel smallSize{3, 5, 4};

std::vector<int> values(const QImage& image) {
    std::vector<int> result;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            result.push_back(qGray(image.pixel(x, y)));
    return result;
}

} // namespace

TEST(Volume, RefusesWhatIsNoneAndNamesTheReason) {
    const QByteArray good = flat(30, 20);
    const QByteArray deep = flat(30, 20, QImage::Format_Grayscale16);
    const QByteArray undecodable = good.left(good.size() - 12); // its last chunk is missing
    const QByteArray damaged = good.left(20);
    constexpr qint64 enough = Volume::defaultLimit;
    const struct {
        std::vector<QByteArray> files;
        qint64 limit;
        std::vector<const char*> reasons; // none: it is taken
    } cases[] = {
        {{good, good}, enough, {}},
        {{good}, enough, {"more than one"}},
        {{good, good, flat(20, 30), flat(9, 9)},
         enough,
         {"Slice 3", "3.png", "20 x 30", "30 x 20"}},
        {{damaged, good, flat(31, 20)}, enough, {"Slice 3", "31 x 20", "30 x 20"}},
        {{damaged, good, good}, enough, {}},
        {{good, undecodable}, enough, {}},
        {{damaged, damaged}, enough, {"can be read"}},
        {{undecodable, undecodable}, enough, {"1.png"}},
        {{good, good}, 2 * 32 * 20, {}},
        {{good, good}, 2 * 32 * 20 - 1, {"30 x 20 x 2", "of memory"}},
        {{good, deep}, 2 * 32 * 20, {"30 x 20 x 2", "of memory"}},
        {{good, deep}, 2 * 60 * 20, {}},
    };
    int index = 0;
    for (const auto& each : cases) {
        const auto trace = testing::Message() << "case " << index++;
        SCOPED_TRACE(trace);
        Volume volume;
        const CaError error = Volume::load(seriesOf(each.files), volume, each.limit);
        EXPECT_EQ(error == CaError::nullError, each.reasons.empty()) << error.text();
        EXPECT_EQ(volume.isEmpty(), !each.reasons.empty());
        for (const char* reason : each.reasons)
            EXPECT_THAT(error.text(), HasSubstr(reason));
    }
}

// Decoding would have found that the files are cut off.
TEST(Volume, IsRefusedForItsSizeByTheHeadersAlone) {
    QByteArray cut = flat(3000, 2000);
    cut.chop(12);
    Volume volume;
    const CaError error = Volume::load(seriesOf({cut, cut, cut}), volume, qint64(10) << 20);
    EXPECT_EQ(error.id(), "Volume::tooLarge");
    EXPECT_THAT(error.text(), HasSubstr("3000 x 2000 x 3 voxels needs 17.2 MiB"));
    EXPECT_THAT(error.text(), HasSubstr("10.0 MiB"));
}

TEST(Volume, PlanesAreTurnedAsDocumented) {
    const Volume volume = volumeOf(smallSize, QImage::Format_Grayscale8, numbered);
    const auto expected = [](Plane plane, int index) {
        std::vector<int> result;
        for (int row = 0; row < (plane == Plane::Axial ? 5 : 4); ++row)
            for (int column = 0; column < (plane == Plane::Sagittal ? 5 : 3); ++column)
                result.push_back(plane == Plane::Axial     ? numbered(column, row, index)
                                 : plane == Plane::Coronal ? numbered(column, index, 3 - row)
                                                           : numbered(index, column, 3 - row));
        return result;
    };
    for (const Plane plane : allPlanes) {
        for (int index = 0; index < volume.count(plane); ++index)
            EXPECT_EQ(values(volume.slice(plane, index)), expected(plane, index)) << index;
        EXPECT_TRUE(volume.slice(plane, -1).isNull());
        EXPECT_TRUE(volume.slice(plane, volume.count(plane)).isNull());
    }
    EXPECT_EQ(volume.grey({2, 4, 3}), numbered(2, 4, 3));
    EXPECT_EQ(volume.grey({3, 4, 3}), 0);
}

TEST(Volume, SixteenBitsAreWindowedOverAllSlices) {
    const Volume volume = volumeOf(smallSize, QImage::Format_Grayscale16, [](int x, int y, int z) {
        return 1000 + 51 * (numbered(x, y, z) - 1);
    });
    EXPECT_EQ(volume.bitsPerVoxel(), 16);
    EXPECT_EQ(volume.darkest(), 1000);
    EXPECT_EQ(volume.brightest(), 1000 + 51 * 59);
    EXPECT_EQ(volume.grey({2, 0, 0}), 1102);
    for (const Plane plane : allPlanes) {
        const auto shown = values(volume.slice(plane, 1));
        for (int value : shown)
            EXPECT_TRUE(value > 0 && value < 255);
    }
    EXPECT_EQ(values(volume.slice(Plane::Axial, 0)).front(), 0);
    EXPECT_EQ(values(volume.slice(Plane::Axial, 3)).back(), 255);
}

TEST(Volume, ColoursBecomeGrey) {
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::red);
    Volume volume;
    ASSERT_EQ(Volume::load(seriesOf({png(image), png(image)}), volume), CaError::nullError);
    EXPECT_EQ(volume.bitsPerVoxel(), 8);
    EXPECT_NEAR(volume.grey({1, 1, 1}), qGray(255, 0, 0), 1);
}

TEST(Volume, UnreadableSliceIsAGapInItsPlace) {
    const QByteArray good = flat(6, 4);
    const QByteArray cut = good.left(good.size() - 12);
    Volume volume;
    ASSERT_EQ(Volume::load(seriesOf({good, cut, good}), volume), CaError::nullError);
    EXPECT_EQ(volume.count(Plane::Axial), 3);
    EXPECT_EQ(volume.problem(0), CaError::nullError);
    EXPECT_THAT(volume.problem(1).text(), HasSubstr("2.png"));
    const auto sagittal = values(volume.slice(Plane::Sagittal, 5));
    EXPECT_THAT(sagittal, testing::ElementsAre(100, 100, 100, 100, 0, 0, 0, 0, 100, 100, 100, 100));
}

TEST(Volume, CancellingLeavesTheVolumeThatWas) {
    struct CancellingMonitor : CaProgressMonitor {
        void tick() override {
            if (++ticks == 2)
                notify(CANCELLED);
        }
        int ticks = 0;
    };
    const vlr::ImageSeries series = seriesOf({flat(6, 4), flat(6, 4), flat(6, 4)});
    Volume volume = volumeOf(smallSize, QImage::Format_Grayscale8, numbered);
    CaProgressMonitor::setInstance(new CancellingMonitor);
    EXPECT_EQ(Volume::load(series, volume).id(), Volume::cancelledError);
    CaProgressMonitor::setInstance(nullptr);
    EXPECT_EQ(volume.size(), smallSize);
}

TEST(Volume, SpacingThatCannotBeIsNotKnown) {
    Volume volume;
    volume.setSpacing({0.5, 0, -3});
    EXPECT_THAT(volume.spacing(), testing::ElementsAre(0.5, 1, 1));
    volume.setSpacing({std::nan(""), 2, HUGE_VAL});
    EXPECT_THAT(volume.spacing(), testing::ElementsAre(1, 2, 1));
}
