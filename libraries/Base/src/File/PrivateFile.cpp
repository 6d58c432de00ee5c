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

// Of what was opened without its content, whatever has its name by now.
int limitRightsAt(int place, const FileRights& rights) {
    struct stat status = {};
    if (fstat(place, &status) != 0)
        return errno;
    if (status.st_uid != geteuid() || !S_ISREG(status.st_mode))
        return 0;
    const unsigned own = status.st_mode & 0600U;
    const unsigned mode = (own | (own >> 3U)) & rights.file;
    const bool isOfGroup = rights.group < 0 || status.st_gid == groupOf(rights);
    if (isOfGroup && mode == (status.st_mode & 07777U))
        return 0;
    if (status.st_nlink != 1) // The other name may be one of the user's other files.
        return EMLINK;
    if (!isOfGroup &&
        fchownat(place, "", static_cast<uid_t>(-1), groupOf(rights), AT_EMPTY_PATH) != 0)
        return errno;
    const QByteArray open = "/proc/self/fd/" + QByteArray::number(place);
    return chmod(open.constData(), mode) == 0 ? 0 : errno;
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
    const int place = open(name.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC);
    if (place < 0)
        return errno == ENOENT ? 0 : errno;
    const int error = limitRightsAt(place, rights);
    close(place);
    return error;
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
    const int descriptor =
        open(name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor >= 0) {
        close(descriptor);
        return 0;
    }
    const int error = errno;
    struct stat status = {};
    if (error != EEXIST || stat(name.constData(), &status) != 0)
        return error;
    return S_ISREG(status.st_mode) ? 0 : EINVAL;
}

} // namespace vlr
