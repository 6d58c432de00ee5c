#include "Images/PhantomFiles.h"
#include "Images/SheppLoganPhantom.h"
#include "Navigator/NavigatorTest.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <gmock/gmock.h>

using namespace vlrTest;
using testing::HasSubstr;

namespace {

int phantomFiles() {
    return QDir(phantomFolder()).entryList(QDir::Files).size();
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
        {0.675, 0, 0, 1, "skull, at the side"},
        {0, 0.9, 0, 1, "skull, in front"},
        {0, -0.4, 0, 0.2, "brain"},
        {0, 0.35, 0, 0.4, "frontal body"},
        {0, 0.09, -0.25, 0.4, "small body"},
        {-0.328, 0.333, -0.25, 0, "tip of the left, longer ventricle"},
        {0.328, 0.333, -0.25, 0.2, "its mirror image lies beyond the right one"},
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
TEST(PhantomFiles, AreMadeOnceWithTheTumourInItsPlace) {
    ASSERT_EQ(providePhantom(), CaError::nullError);
    EXPECT_EQ(phantomFiles(), 128);
    EXPECT_EQ(foldersBesidePhantom(), QStringList(QStringLiteral("phantom")));
    const QString name = phantomFolder() + QStringLiteral("/slice_%1.png");
    const auto grey = [&](const char* slice, int x, int y) {
        const QImage image(name.arg(QLatin1String(slice)));
        EXPECT_EQ(image.size(), QSize(128, 128));
        return qGray(image.pixel(x, y));
    };
    EXPECT_EQ(grey("048", 58, 105), 77); // 0.3 of 255
    EXPECT_EQ(grey("048", 58, 22), 51);  // the other way up
    EXPECT_EQ(grey("048", 69, 105), 51); // left for right
    EXPECT_EQ(grey("079", 58, 105), 51); // top for bottom
    const QString first = name.arg(QStringLiteral("000"));
    writeFile(first, "mine");
    ASSERT_EQ(providePhantom(), CaError::nullError);
    EXPECT_EQ(readFile(first), "mine");
}

TEST(PhantomFiles, AreAllThereOrNone) {
    {
        const FullDisk full;
        EXPECT_THAT(providePhantom().text(), HasSubstr("slice_000.png"));
    }
    EXPECT_TRUE(foldersBesidePhantom().isEmpty());
    CaProgressMonitor::setInstance(new CancellingMonitor);
    EXPECT_THAT(providePhantom().text(), HasSubstr("cancelled"));
    CaProgressMonitor::setInstance(nullptr);
    EXPECT_TRUE(foldersBesidePhantom().isEmpty());
    ASSERT_EQ(providePhantom(), CaError::nullError);
    ASSERT_TRUE(QFile::remove(phantomFolder() + QStringLiteral("/slice_127.png")));
    ASSERT_EQ(providePhantom(), CaError::nullError);
    EXPECT_EQ(phantomFiles(), 128);
}
