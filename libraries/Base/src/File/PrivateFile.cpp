#include "File/PrivateFile.h"

#include <QtCore/QFile>

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vlr {

namespace {

bool isFolder(const QByteArray& path) {
    struct stat status = {};
    return stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

// The umask may have taken away what the user needs, too.
int giveRightsToFolder(const QByteArray& path, const FileRights& rights) {
    const int descriptor = open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0)
        return errno;
    const int error = giveRights(descriptor, rights.folder, rights);
    close(descriptor);
    return error;
}

gid_t groupOf(const FileRights& rights) {
    return rights.group < 0 ? static_cast<gid_t>(-1) : static_cast<gid_t>(rights.group);
}

} // namespace

int giveRights(int descriptor, unsigned mode, const FileRights& rights) {
    if (rights.group >= 0 && fchown(descriptor, static_cast<uid_t>(-1), groupOf(rights)) != 0)
        return errno;
    struct stat status = {};
    if (fstat(descriptor, &status) != 0)
        return errno;
    // Some file systems give every file the same rights and refuse to set them.
    const bool isRight = (status.st_mode & 07777U) == mode;
    return isRight || fchmod(descriptor, mode) == 0 ? 0 : errno;
}

int limitRights(const QString& path, const FileRights& rights) {
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (stat(name.constData(), &status) != 0)
        return errno == ENOENT ? 0 : errno;
    if (status.st_uid != geteuid() || !S_ISREG(status.st_mode))
        return 0;
    if (rights.group >= 0 && status.st_gid != groupOf(rights) &&
        chown(name.constData(), static_cast<uid_t>(-1), groupOf(rights)) != 0)
        return errno;
    const unsigned own = status.st_mode & 0600U;
    const unsigned mode = (own | (own >> 3U)) & rights.file;
    return mode == (status.st_mode & 07777U) || chmod(name.constData(), mode) == 0 ? 0 : errno;
}

int makePrivateFolder(const QString& path, const FileRights& rights) {
    const QByteArray name = QFile::encodeName(path);
    for (int end = 0; end >= 0;) {
        end = name.indexOf('/', end + 1);
        const QByteArray part = name.mid(0, end);
        if (mkdir(part.constData(), 0700) == 0) {
            const int error = rights.folder == 0700 ? 0 : giveRightsToFolder(part, rights);
            if (error != 0)
                return error;
            continue;
        }
        // Above a folder in which nothing may be made the number tells nothing of the folder.
        const int error = errno;
        if (!isFolder(part))
            return error == EEXIST ? ENOTDIR : error;
    }
    return 0;
}

int renameToFree(const QString& from, const QString& to) {
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) ==
        0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // Network file systems do not know RENAME_NOREPLACE.
    struct stat status = {};
    if (lstat(target.constData(), &status) == 0)
        return EEXIST;
    return std::rename(source.constData(), target.constData()) == 0 ? 0 : errno;
}

int makePrivateFile(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (stat(name.constData(), &status) == 0)
        return S_ISREG(status.st_mode) ? 0 : EINVAL;
    if (errno != ENOENT)
        return errno;
    const int descriptor =
        open(name.constData(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600);
    if (descriptor < 0)
        return errno;
    close(descriptor);
    return 0;
}

} // namespace vlr
