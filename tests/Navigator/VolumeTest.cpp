#include "Volume/Volume.h"
#include "Navigator/NavigatorTest.h"
#include "Volume/SliceCache.h"

using namespace vlrTest;
using testing::Gt;
using testing::Lt;

namespace {

using Grey = std::function<int(int x, int y, int z)>;

vlr::ImageSeries seriesOf(const std::vector<QByteArray>& files) {
    static int number = 0;
    const QString folder = writeImages(("series" + std::to_string(++number)).c_str(), files);
    vlr::ImageSeries series;
    EXPECT_EQ(vlr::ImageSeries::open({folder}, series), CaError::nullError);
    return series;
}

Volume volumeOf(const std::vector<QByteArray>& files) {
    Volume volume;
    EXPECT_EQ(Volume::load(seriesOf(files), volume), CaError::nullError);
    return volume;
}

Volume volumeOf(const Voxel& size, QImage::Format format, const Grey& grey) {
    std::vector<QByteArray> files;
    for (int z = 0; z < size[2]; ++z) {
        QImage image(size[0], size[1], format);
        for (int y = 0; y < size[1]; ++y)
            for (int x = 0; x < size[0]; ++x)
                if (format == QImage::Format_Grayscale16)
                    reinterpret_cast<quint16*>(image.scanLine(y))[x] =
                        static_cast<quint16>(grey(x, y, z));
                else
                    image.scanLine(y)[x] = static_cast<uchar>(grey(x, y, z));
        files.push_back(png(image));
    }
    return volumeOf(files);
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
    const QByteArray good = png(30, 20);
    const QByteArray deep = png(30, 20, QImage::Format_Grayscale16);
    const QByteArray undecodable = good.chopped(12); // its last chunk is missing
    const QByteArray large = png(3000, 2000).chopped(12);
    const QByteArray damaged = good.left(20);
    constexpr qint64 enough = Volume::defaultLimit;
    // No reasons: it is taken.
    const std::tuple<std::vector<QByteArray>, qint64, std::vector<const char*>> cases[] = {
        {{good, good}, enough, {}},
        {{good}, enough, {"more than one"}},
        {{good, good, png(20, 30), png(9, 9)}, enough, {"Slice 3", "3.png", "20 x 30", "30 x 20"}},
        {{good, undecodable}, enough, {}},
        {{damaged, damaged}, enough, {"can be read"}},
        {{undecodable, undecodable}, enough, {"1.png"}},
        {{good, good}, 2 * 32 * 20 - 1, {"30 x 20 x 2", "of memory"}},
        {{good, deep}, 2 * 32 * 20, {"30 x 20 x 2", "of memory"}},
        // By the headers alone: decoding would have found that the files are cut off.
        {{large, large, large}, 10 << 20, {"3000 x 2000 x 3 voxels needs 17.2 MiB", "10.0 MiB"}},
    };
    int index = 0;
    for (const auto& [files, limit, reasons] : cases) {
        const auto trace = testing::Message() << "case " << index++;
        SCOPED_TRACE(trace);
        Volume volume;
        const CaError error = Volume::load(seriesOf(files), volume, limit);
        EXPECT_EQ(error == CaError::nullError, reasons.empty()) << error.text();
        EXPECT_EQ(volume.isEmpty(), !reasons.empty());
        for (const char* reason : reasons)
            EXPECT_THAT(error.text(), HasSubstr(reason));
    }
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
}

TEST(Volume, SixteenBitsAreWindowedOverAllSlices) {
    const Volume volume = volumeOf(smallSize, QImage::Format_Grayscale16, [](int x, int y, int z) {
        return 1000 + 51 * (numbered(x, y, z) - 1);
    });
    EXPECT_EQ(volume.bitsPerVoxel(), 16);
    EXPECT_EQ(volume.darkest(), 1000);
    EXPECT_EQ(volume.brightest(), 1000 + 51 * 59);
    EXPECT_EQ(volume.grey({2, 0, 0}), 1102);
    for (const Plane plane : allPlanes)
        EXPECT_THAT(values(volume.slice(plane, 1)), Each(AllOf(Gt(0), Lt(255))));
    EXPECT_EQ(values(volume.slice(Plane::Axial, 0)).front(), 0);
    EXPECT_EQ(values(volume.slice(Plane::Axial, 3)).back(), 255);
}

TEST(Volume, SignedGreysAreShownAndToldAsTheyAre) {
    const QByteArray low = signedTiff({-1000, -1, 0, 40});
    const Volume volume = volumeOf({low, signedTiff({0, 0, 0, 3080})});
    EXPECT_EQ(volume.darkest(), -1000);
    EXPECT_EQ(volume.brightest(), 3080);
    EXPECT_EQ(volume.grey({1, 0, 0}), -1);
    EXPECT_EQ(volume.grey({1, 2, 0}), 0);
    EXPECT_THAT(values(volume.slice(Plane::Axial, 0)), ElementsAre(0, 62, 62, 65));
    EXPECT_THAT(values(volume.slice(Plane::Axial, 1)), ElementsAre(62, 62, 62, 255));
    Volume mixed;
    const auto deep = png(2, 2, QImage::Format_Grayscale16);
    EXPECT_THAT(Volume::load(seriesOf({low, deep}), mixed).text(),
                AllOf(HasSubstr("Slice 2"), HasSubstr("2.png"), HasSubstr("signed")));
}

TEST(SliceCache, SixteenBitsOfOneImageAreSpreadAsThoseOfAVolume) {
    QImage deep(2, 2, QImage::Format_Grayscale16);
    deep.fill(0);
    reinterpret_cast<quint16*>(deep.scanLine(1))[0] = 1000;
    reinterpret_cast<quint16*>(deep.scanLine(1))[1] = 4095;
    SliceCache cache;
    cache.setSeries(seriesOf({png(deep), signedTiff({-1000, 0, 0, 3080}), png(2, 2)}));
    EXPECT_THAT(values(cache.slice(0).image), ElementsAre(0, 0, 62, 255));
    EXPECT_EQ(cache.slice(0).greys, std::make_pair(0, 4095));
    EXPECT_EQ(cache.slice(1).greys, std::make_pair(-1000, 3080));
    EXPECT_THAT(values(cache.slice(2).image), Each(100));
    EXPECT_FALSE(cache.slice(2).greys);
}

TEST(Volume, ColoursBecomeGreyAndAnUnreadableSliceAGapInItsPlace) {
    QImage image(6, 4, QImage::Format_RGB32);
    image.fill(Qt::red);
    const QByteArray red = png(image);
    const Volume volume = volumeOf({red, red.chopped(12), red});
    EXPECT_EQ(volume.bitsPerVoxel(), 8);
    EXPECT_EQ(volume.count(Plane::Axial), 3);
    EXPECT_EQ(volume.problem(0), CaError::nullError);
    EXPECT_THAT(volume.problem(1).text(), HasSubstr("2.png"));
    const int grey = volume.grey({1, 1, 0});
    EXPECT_NEAR(grey, qGray(255, 0, 0), 1);
    EXPECT_THAT(values(volume.slice(Plane::Sagittal, 5)),
                ElementsAre(grey, grey, grey, grey, 0, 0, 0, 0, grey, grey, grey, grey));
}

TEST(Volume, CancellingLeavesTheVolumeThatWas) {
    const vlr::ImageSeries series = seriesOf({png(6, 4), png(6, 4), png(6, 4)});
    Volume volume = volumeOf(smallSize, QImage::Format_Grayscale8, numbered);
    CaProgressMonitor::setInstance(new CancellingMonitor(2));
    EXPECT_EQ(Volume::load(series, volume).id(), Volume::cancelledError);
    CaProgressMonitor::setInstance(nullptr);
    EXPECT_EQ(volume.size(), smallSize);
}

TEST(Volume, SpacingThatCannotBeIsNotKnown) {
    Volume volume;
    EXPECT_FALSE(volume.isSpacingKnown());
    volume.setSpacing({0.5, 2, 3});
    EXPECT_TRUE(volume.isSpacingKnown());
    EXPECT_FALSE(volume.isRegistered());
    volume.setSpacing({0.5, 0, -3});
    EXPECT_FALSE(volume.isSpacingKnown());
    EXPECT_THAT(volume.spacing(), ElementsAre(0.5, 1, 1));
    volume.setSpacing({std::nan(""), 2, HUGE_VAL});
    EXPECT_THAT(volume.spacing(), ElementsAre(1, 2, 1));
}
