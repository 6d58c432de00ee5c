#include "Images/PhantomFiles.h"
#include "Navigator/NavigatorTest.h"

using namespace vlrTest;

namespace {

int filesInFolder() {
    return QDir(phantomFolder()).entryList(QDir::Files).size();
}

QStringList foldersBesidePhantom() {
    return QDir(QFileInfo(phantomFolder()).path())
        .entryList({QStringLiteral("phantom*")}, QDir::Dirs);
}

} // namespace

// The first tumour is small and lies off every axis: no other order of axes finds it.
TEST(PhantomFiles, AreMadeOnceWithTheTumourInItsPlace) {
    ASSERT_EQ(providePhantom(), CaError::nullError);
    EXPECT_EQ(filesInFolder(), 128);
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
    const QString foreign = phantomFolder() + QStringLiteral("/mine.png");
    writeFile(foreign, "mine");
    for (const int slice : {0, 60, 127}) { // Any that is missing, or leads elsewhere.
        const QString file = phantomFiles().at(slice);
        ASSERT_TRUE(QFile::remove(file) && (slice != 60 || QFile::link(foreign, file)));
        EXPECT_FALSE(isPhantomFile(file));
        ASSERT_EQ(providePhantom(), CaError::nullError);
        EXPECT_TRUE(isPhantomFile(file) && !QFileInfo(file).isSymLink());
        EXPECT_EQ(filesInFolder(), 129);
    }
    EXPECT_FALSE(isPhantomFile(foreign));
    const QString link = testFolder() + QStringLiteral("/link");
    ASSERT_TRUE(QFile::link(phantomFolder(), link));
    EXPECT_TRUE(isPhantomFile(link + QStringLiteral("/slice_000.png")));
    EXPECT_EQ(readFile(foreign), "mine");
}
