#include "Settings/vlrSettings.h"
#include "Support/TestEnvironment.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSysInfo>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

using namespace vlrTest;
using vlr::Settings;

namespace {

bool isSweptAtOnce = false; // what mkdtemp() makes next

} // namespace

// In the place of the system's, for the libraries as well.
extern "C" char* mkdtemp(char* pattern) noexcept {
    using Function = char* (*)(char*);
    static const auto system = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "mkdtemp"));
    char* const path = system(pattern);
    if (path && std::exchange(isSweptAtOnce, false))
        rmdir(path);
    return path;
}

// While another process makes its lock file, which is empty for a moment, it holds the folder's
// lock. Without that an empty one is nobody's, and there is nothing to wait for.
TEST(SettingsFile, AnEmptyLockFileIsSomebodysWhileItIsMade) {
    const QString key = QStringLiteral("Velora/Key");
    ASSERT_EQ(Settings::set(key, 1), CaError::nullError);
    const QString lock = Settings::filePath() + QStringLiteral(".lock");
    const QByteArray folder = QFile::encodeName(QFileInfo(lock).path());
    const int other = open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    writeFile(lock, QByteArray());
    EXPECT_EQ(Settings::set(key, 2).id(), "Settings::locked");
    EXPECT_TRUE(QFile::exists(lock));
    close(other);
    EXPECT_EQ(Settings::set(key, 3), CaError::nullError);
    EXPECT_FALSE(QFile::exists(lock));
}

// One that was ended while it cleared away the lock of one that had been ended before.
TEST(SettingsFile, WhatTwoEndedProcessesLeftIsInNobodysWay) {
    const QString key = QStringLiteral("Velora/Key");
    ASSERT_EQ(Settings::set(key, 1), CaError::nullError);
    const QString lock = Settings::filePath() + QStringLiteral(".lock");
    const QByteArray nobody = "4194305\nVelora\n"; // more than the system's largest process id
    writeFile(lock, nobody + QSysInfo::machineHostName().toUtf8() + '\n');
    writeFile(lock + QStringLiteral(".rmlock"), QByteArray());
    EXPECT_EQ(Settings::set(key, 2), CaError::nullError);
}

TEST(SettingsFile, NoMoreIsStoredThanIsRead) {
    std::vector<vlr::SettingsChange> changes;
    for (int i = 0; i < 10000; ++i)
        changes.push_back({QStringLiteral("Velora/Key%1").arg(i), {}, QStringLiteral("1")});
    QStringList conflicts;
    EXPECT_EQ(Settings::apply(changes, conflicts).id(), "Settings::notStorable");
    EXPECT_FALSE(QFile::exists(Settings::filePath()));
    changes.resize(9990);
    EXPECT_EQ(Settings::apply(changes, conflicts), CaError::nullError);
    Settings::reload();
    EXPECT_EQ(Settings::keys().size(), 9990);
    EXPECT_EQ(Settings::set(QStringLiteral("Velora/Key"), QString(600000, u'x')).id(),
              "Settings::notStorable");
}

// By another process, which cannot tell that the folder is in use before that is locked.
TEST(SettingsFile, AFolderThatIsSweptAtOnceIsMadeAnew) {
    isSweptAtOnce = true;
    EXPECT_EQ(Settings::set(QStringLiteral("Velora/Swept"), 1), CaError::nullError);
    EXPECT_FALSE(isSweptAtOnce);
}
