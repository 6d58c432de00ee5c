#include "IO/PrivateFile.h"

#include <QtCore/QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vlr {

namespace {

bool isFolder(const QByteArray& path) {
    struct stat status = {};
    return stat(path.constData(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

int makePrivateFolder(const QString& path) {
    const QByteArray name = QFile::encodeName(path);
    for (int end = 0; end >= 0;) {
        end = name.indexOf('/', end + 1);
        const QByteArray part = name.mid(0, end);
        if (mkdir(part.constData(), 0700) == 0)
            continue;
        // Above a folder in which nothing may be made the number tells nothing of the folder.
        const int error = errno;
        if (!isFolder(part))
            return error == EEXIST ? ENOTDIR : error;
    }
    return 0;
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
