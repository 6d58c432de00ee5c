#include "Files/DurableFile.h"
#include "CoreTest.h"
#include "Files/TemporaryFile.h"

#include <functional>
#include <sys/syscall.h>
#include <unistd.h>

using namespace vlrTest;

namespace {

std::function<void(const QString& path)> whenSynchronised;

QStringList entries(const QString& folder) {
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System |
                                  QDir::NoDotAndDotDot);
}

void expectFailure(const QString& path, const QByteArray& bytes) {
    const CaError error = vlr::writeDurably(path, bytes);
    EXPECT_EQ(error.id(), "File::writeFailed");
    EXPECT_THAT(error.description(), HasSubstr(path.toStdString()));
}

} // namespace

// Stands before that of the C library, also for the libraries of this program.
extern "C" __attribute__((visibility("default"))) int fsync(int descriptor) {
    if (whenSynchronised)
        whenSynchronised(QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(descriptor)));
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}

// After a power failure a name must not stand for bytes that never reached the disk.
TEST(DurableFile, TheBytesAreOnTheDiskBeforeTheirNameAndBothWhenItReturns) {
    const QString path = inFolder("made/a.xml");
    for (const QByteArray& old : {QByteArray("none"), QByteArray("old")}) {
        std::vector<QString> seen;
        whenSynchronised = [&](const QString& synchronised) {
            const bool isFolder = QFileInfo(synchronised).isDir();
            seen.push_back(isFolder ? synchronised : QString::fromLatin1(readFile(synchronised)));
            EXPECT_EQ(QFile::exists(path) ? readFile(path) : "none", isFolder ? "new" : old);
        };
        ASSERT_EQ(vlr::writeDurably(path, "new"), CaError::nullError);
        whenSynchronised = nullptr;
        std::vector<QString> expected{QStringLiteral("new"), inFolder("made")};
        if (old == "none") // The folder is new as well.
            expected.push_back(testFolder());
        EXPECT_THAT(seen, testing::UnorderedElementsAreArray(expected));
        EXPECT_EQ(seen.at(0), QStringLiteral("new"));
        writeFile(path, "old");
    }
}

TEST(DurableFile, CreatesFoldersForTheUserAloneAndReplacesLongerContent) {
    const QString path = inFolder("a/b/c.xml");
    for (const QByteArray& bytes : {QByteArray(100000, 'x'), QByteArray("short"), QByteArray()}) {
        ASSERT_EQ(vlr::writeDurably(path, bytes), CaError::nullError);
        EXPECT_EQ(readFile(path), bytes);
        EXPECT_EQ(entries(inFolder("a/b")), QStringList(QStringLiteral("c.xml")));
    }
    const auto others = QFile::ReadGroup | QFile::WriteGroup | QFile::ExeGroup | QFile::ReadOther |
                        QFile::WriteOther | QFile::ExeOther;
    for (const char* made : {"a", "a/b", "a/b/c.xml"})
        EXPECT_EQ(QFile::permissions(inFolder(made)) & others, QFile::Permissions()) << made;
}

// The sizes lie on both sides of Qt's write buffer, whose last part only flush() writes.
TEST(DurableFile, FullDiskLeavesTheOldFile) {
    const QString path = inFolder("a.xml");
    ASSERT_EQ(vlr::writeDurably(path, "old"), CaError::nullError);
    for (const int size : {1, 100, 16384, 20000, 300000})
        for (const int room : {0, size / 2, size - 1}) {
            SCOPED_TRACE(testing::Message() << size << " bytes with room for " << room);
            {
                const FullDisk disk(static_cast<unsigned long>(room));
                expectFailure(path, QByteArray(size, 'n'));
            }
            EXPECT_EQ(readFile(path), "old");
            EXPECT_EQ(entries(testFolder()).size(), 1);
        }
}

TEST(DurableFile, FailsWhereNothingCanOrMayBeWritten) {
    writeFile(inFolder("file"), "old");
    writeFile(inFolder("open/protected"), "old");
    chmod(QFile::encodeName(inFolder("open")).constData(), 0777);
    chmod(QFile::encodeName(inFolder("open/protected")).constData(), 0444);
    ASSERT_TRUE(QFile::link(inFolder("loop"), inFolder("loop")));
    ASSERT_EQ(mkfifo(QFile::encodeName(inFolder("pipe")).constData(), 0600), 0);
    for (const char* name : {"file/below", "loop", "pipe", ".", "no/such/../folder/"})
        expectFailure(inFolder(name), "new");
    expectFailure(QString(), "new");
    QDir(testFolder()).mkdir(QStringLiteral("closed"));
    const ReadOnlyFolder closed(inFolder("closed"));
    for (const char* name : {"closed/a.xml", "closed/sub/a.xml", "open/protected"})
        expectFailure(inFolder(name), "new");
}

TEST(DurableFile, FollowsLinksAndKeepsPermissions) {
    writeFile(inFolder("target"), "old");
    const auto permissions = QFile::ReadOwner | QFile::WriteOwner | QFile::ReadGroup;
    ASSERT_TRUE(QFile::setPermissions(inFolder("target"), permissions));
    ASSERT_TRUE(QFile::link(inFolder("target"), inFolder("link1")));
    ASSERT_TRUE(QFile::link(inFolder("link1"), inFolder("link2")));
    ASSERT_TRUE(QFile::link(inFolder("sub/later"), inFolder("dangling")));

    ASSERT_EQ(vlr::writeDurably(inFolder("link2"), "new"), CaError::nullError);
    EXPECT_EQ(readFile(inFolder("target")), "new");
    EXPECT_TRUE(QFileInfo(inFolder("link1")).isSymLink());
    const auto mask = QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther;
    EXPECT_EQ(QFile::permissions(inFolder("target")) & mask, QFile::ReadGroup);

    ASSERT_EQ(vlr::writeDurably(inFolder("dangling"), "new"), CaError::nullError);
    EXPECT_TRUE(QFileInfo(inFolder("dangling")).isSymLink());
    EXPECT_EQ(readFile(inFolder("sub/later")), "new");
}

TEST(DurableFile, RefusesToRead) {
    writeFile(inFolder("large"), QByteArray(11, 'x'));
    ASSERT_EQ(mkfifo(QFile::encodeName(inFolder("pipe")).constData(), 0600), 0);
    for (const char* name : {"unreadable", "locked"}) {
        writeFile(inFolder(name) + QStringLiteral("/a"), "secret");
        const QString path = inFolder(name) + QLatin1String(name[0] == 'u' ? "/a" : "");
        chmod(QFile::encodeName(path).constData(), 0);
    }
    const ReadOnlyFolder withoutRights(testFolder());
    // Taken for missing, those that are there would be written anew. One states a size of 0.
    const std::pair<const char*, QStringList> cases[] = {
        {vlr::fileNotFoundError, {inFolder("missing"), inFolder("large/below")}},
        {"File::readFailed",
         {inFolder("unreadable/a"), inFolder("locked/a"), inFolder("large"), inFolder("pipe"),
          testFolder(), QStringLiteral("/dev/null"), QStringLiteral("/proc/self/maps"), QString()}},
    };
    for (const auto& [id, paths] : cases)
        for (const QString& path : paths) {
            QByteArray bytes = "untouched";
            const CaError error = vlr::readWhole(path, 10, bytes);
            EXPECT_EQ(error.id(), id) << path.toStdString();
            EXPECT_THAT(error.description(), HasSubstr(path.toStdString()));
            EXPECT_EQ(bytes, "untouched");
        }
}

TEST(DurableFile, KeepsEveryDamagedFile) {
    const QString path = inFolder("a.xml");
    QByteArray kept;
    QString keptAs;
    for (const char* text : {"1", "2", "3"}) {
        writeFile(path, text);
        ASSERT_EQ(vlr::keepAside(path, keptAs), CaError::nullError);
        EXPECT_TRUE(keptAs.startsWith(path + QStringLiteral(".damaged-"))) << keptAs.toStdString();
        EXPECT_FALSE(QFile::exists(path));
        kept += readFile(keptAs);
    }
    EXPECT_EQ(kept, "123");
    EXPECT_EQ(entries(testFolder()).size(), 3);
    EXPECT_THAT(vlr::keepAside(path, keptAs).description(), HasSubstr(path.toStdString()));
}

// What is locked is in use, however old it is; all else was left by a process that is gone.
TEST(DurableFile, SweepsWhatNobodyHasInUse) {
    QByteArray inUse;
    const int descriptor = vlr::openTemporaryFile(QFile::encodeName(testFolder()), inUse);
    ASSERT_GE(descriptor, 0);
    const timespec longAgo[2] = {};
    ASSERT_EQ(futimens(descriptor, longAgo), 0);
    writeFile(inFolder(".vlr-a1B2c3"), "new");
    writeFile(inFolder(".vlr-fo1der/before.ini"), "new");
    for (const char* foreign : {"a.xml", "a.xml.qWeRtY", ".vlr-a1B2c34", ".vlr-folders/a"})
        writeFile(inFolder(foreign), {});
    QStringList expected = entries(testFolder());
    expected.removeAll(QStringLiteral(".vlr-a1B2c3"));
    expected.removeAll(QStringLiteral(".vlr-fo1der"));
    vlr::sweepTemporaryFiles(testFolder());
    EXPECT_EQ(entries(testFolder()), expected);

    close(descriptor);
    vlr::sweepTemporaryFiles(testFolder());
    EXPECT_FALSE(QFile::exists(QFile::decodeName(inUse)));
}
