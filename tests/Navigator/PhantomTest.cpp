#include "Images/PhantomFiles.h"
#include "Images/SheppLoganPhantom.h"
#include "Navigator/NavigatorTest.h"
#include "Progress/CaProgressMonitor.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtGui/QImage>

#include <gmock/gmock.h>

using namespace vlrTest;

namespace {

QStringList phantomFiles() {
    return QDir(phantomFolder()).entryList(QDir::Files);
}

QStringList foldersBesidePhantom() {
    return QDir(QFileInfo(phantomFolder()).path())
        .entryList({QStringLiteral("phantom*")}, QDir::Dirs);
}

} // namespace

TEST(SheppLoganPhantom, HasThePublishedValues) {
    const struct {
        double x, y, z, value;
        const char* place;
    } points[] = {
        {0.95, 0, 0, 0, "outside, at the side"},
        {0, 0, 0.95, 0, "outside, above"},
        {0.675, 0, 0, 1, "skull, at the side"},
        {0, 0.9, 0, 1, "skull, in front"},
        {0, 0, -0.89, 1, "skull, below"},
        {0, -0.4, 0, 0.2, "brain"},
        {0, 0.35, 0, 0.4, "frontal body"},
        {0, 0.09, -0.25, 0.4, "small body"},
        {-0.22, 0, -0.25, 0, "left ventricle"},
        {0.22, 0, -0.25, 0, "right ventricle"},
        {-0.328, 0.333, -0.25, 0, "tip of the left, longer ventricle"},
        {0.328, 0.333, -0.25, 0.2, "its mirror image lies beyond the right one"},
        {-0.08, -0.65, -0.25, 0.3, "first tumour"},
        {-0.04, -0.65, -0.25, 0.3, "first tumour, which is long from left to right"},
        {0.06, -0.69, -0.25, 0.3, "second tumour, which is turned"},
        {0.09, -0.65, -0.25, 0.2, "beside the second tumour"},
        {0.06, -0.105, 0.625, 0.4, "upper body"},
        {0, 0.1, 0.625, 0, "upper cavity"},
    };
    for (const auto& point : points)
        EXPECT_NEAR(sheppLoganValue(point.x, point.y, point.z), point.value, 1e-9) << point.place;
}

// The first tumour is small and lies off every axis: no other order of axes finds it.
TEST(SheppLoganPhantom, VolumeHasTheTumourInItsPlace) {
    const int size = 128;
    const std::vector<float> volume = sheppLoganVolume(size);
    const auto at = [&](std::size_t x, std::size_t y, std::size_t z) {
        return volume.at((z * size + y) * size + x);
    };
    EXPECT_FLOAT_EQ(at(58, 105, 48), 0.3F);
    EXPECT_FLOAT_EQ(at(58, 22, 48), 0.2F);  // the other way up
    EXPECT_FLOAT_EQ(at(69, 105, 48), 0.2F); // left for right
    EXPECT_FLOAT_EQ(at(58, 105, 79), 0.2F); // top for bottom
}

TEST(PhantomFiles, AreMadeOnce) {
    ASSERT_EQ(providePhantom(), CaError::nullError);
    EXPECT_EQ(phantomFiles().size(), 128);
    EXPECT_EQ(phantomFiles().first(), QLatin1String("slice_000.png"));
    EXPECT_EQ(foldersBesidePhantom(), QStringList(QStringLiteral("phantom")));
    const QImage slice(phantomFolder() + QStringLiteral("/slice_048.png"));
    EXPECT_EQ(slice.size(), QSize(128, 128));
    EXPECT_NEAR(qGray(slice.pixel(58, 105)), 0.3 * 255, 1);

    const QString first = phantomFolder() + QStringLiteral("/slice_000.png");
    writeFile(first, "mine");
    ASSERT_EQ(providePhantom(), CaError::nullError);
    EXPECT_EQ(readFile(first), "mine");
}

TEST(PhantomFiles, FullDiskLeavesNoHalfPhantom) {
    {
        const FullDisk full;
        EXPECT_THAT(providePhantom().text(), testing::HasSubstr("slice_000.png"));
    }
    EXPECT_TRUE(foldersBesidePhantom().isEmpty());
    ASSERT_EQ(providePhantom(), CaError::nullError);
    ASSERT_TRUE(QFile::remove(phantomFolder() + QStringLiteral("/slice_127.png")));
    ASSERT_EQ(providePhantom(), CaError::nullError);
    EXPECT_EQ(phantomFiles().size(), 128);
}

TEST(PhantomFiles, CancellingLeavesNoHalfPhantom) {
    struct CancellingMonitor : CaProgressMonitor {
        void tick() override { notify(CANCELLED); }
    };
    CaProgressMonitor::setInstance(new CancellingMonitor);
    EXPECT_THAT(providePhantom().text(), testing::HasSubstr("cancelled"));
    EXPECT_TRUE(foldersBesidePhantom().isEmpty());
    CaProgressMonitor::setInstance(nullptr);
    EXPECT_EQ(providePhantom(), CaError::nullError);
}
