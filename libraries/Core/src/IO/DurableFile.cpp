#include "IO/DurableFile.h"

#include "Log/vlrLog.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QSaveFile>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <limits>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vlr {

const char* const fileNotFoundError = "File::notFound";

namespace {

const char* const writeFailed = "File::writeFailed";
const char* const readFailed = "File::readFailed";
const char* const keepAsideFailed = "File::keepAsideFailed";

CaError fileError(const char* id, const char* action, const QString& path,
                  const std::string& reason, int code = 0) {
    return CaError(
        id, std::string("Could not ") + action + " \"" + path.toStdString() + "\": " + reason + '.',
        {}, 0, code);
}

CaError systemError(const char* id, const char* action, const QString& path, int number) {
    return fileError(id, action, path, std::generic_category().message(number), number);
}

bool isUsable(const QString& path) {
    return !path.isEmpty() && !path.contains(QChar(0));
}

// Where the bytes of the path are or would be: links are followed, also to a target that does
// not exist yet, which QFileInfo::canonicalFilePath() does not do.
QString linkTarget(const QString& path) {
    QString target = QFileInfo(path).absoluteFilePath();
    for (int links = 0; links < 40 && QFileInfo(target).isSymLink(); ++links)
        target = QFileInfo(target).symLinkTarget();
    return target;
}

// Makes the missing folders above the file. `changed` gets every folder that has a new entry when
// the file is added.
CaError makeFolder(const QFileInfo& file, const QString& path, QStringList& changed) {
    const QString folder = file.path();
    changed = QStringList(folder);
    while (!QFileInfo::exists(changed.last()))
        changed << QFileInfo(changed.last()).path();
    std::error_code error;
    std::filesystem::create_directories(QFile::encodeName(folder).toStdString(), error);
    if (error)
        return fileError(writeFailed, "write", path,
                         "the folder cannot be created: " + error.message(), error.value());
    return CaError::nullError;
}

int synchronise(int descriptor) {
    int result = 0;
    do
        result = fsync(descriptor);
    while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

// The file has its new content when this runs: a failure is a doubt about the next power
// failure, not a failed write. Some file systems know no synchronised folders (EINVAL).
void synchroniseFolder(const QString& folder) {
    const int descriptor =
        open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const int error = descriptor < 0 ? errno : synchronise(descriptor);
    if (descriptor >= 0)
        close(descriptor);
    if (error != 0 && error != EINVAL)
        VLR_LOG(Warning) << systemError(writeFailed, "synchronise", folder, error);
}

// QSaveFile::commit() takes no notice when its own last flush meets a full disk, and would
// replace the good file by a cut one: everything has to be on the disk before.
CaError fill(QSaveFile& file, const QByteArray& bytes, const QString& path) {
    if (file.write(bytes) != bytes.size() || !file.flush())
        return fileError(writeFailed, "write", path, file.errorString().toStdString());
    if (const int error = synchronise(file.handle()))
        return systemError(writeFailed, "write", path, error);
    return CaError::nullError;
}

CaError readAll(int descriptor, qint64 limit, const QString& path, QByteArray& bytes) {
    QByteArray content;
    char block[65536];
    for (;;) {
        const ssize_t count = read(descriptor, block, sizeof block);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return systemError(readFailed, "read", path, errno);
        if (count > limit - content.size())
            return fileError(readFailed, "read", path,
                             "it is larger than " + std::to_string(limit) + " bytes");
        if (count == 0)
            break;
        content.append(block, static_cast<int>(count));
    }
    bytes = content;
    return CaError::nullError;
}

// Renames unless the new name is taken; the number of the error or 0.
int renameToFree(const QString& from, const QString& to) {
    const QByteArray source = QFile::encodeName(from);
    const QByteArray target = QFile::encodeName(to);
    if (renameat2(AT_FDCWD, source.constData(), AT_FDCWD, target.constData(), RENAME_NOREPLACE) ==
        0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    // Network file systems do not know RENAME_NOREPLACE.
    if (QFileInfo::exists(to) || QFileInfo(to).isSymLink())
        return EEXIST;
    return std::rename(source.constData(), target.constData()) == 0 ? 0 : errno;
}

} // namespace

CaError writeDurably(const QString& path, const QByteArray& bytes) {
    if (!isUsable(path))
        return fileError(writeFailed, "write", path, "it is not a file name");
    const QString target = linkTarget(path);
    const QFileInfo info(target);
    if (info.isSymLink())
        return systemError(writeFailed, "write", path, ELOOP);
    if (info.exists() && !info.isFile())
        return fileError(writeFailed, "write", path, "it is not a regular file");

    QStringList changed;
    CaError error = makeFolder(info, path, changed);
    if (!error.isNull())
        return error;
    QSaveFile file(target);
    if (!file.open(QIODevice::WriteOnly))
        return fileError(writeFailed, "write", path, file.errorString().toStdString());
    error = fill(file, bytes, path);
    if (!error.isNull()) {
        file.cancelWriting();
        return error;
    }
    if (!file.commit())
        return fileError(writeFailed, "write", path, file.errorString().toStdString());
    for (const QString& folder : qAsConst(changed))
        synchroniseFolder(folder);
    return CaError::nullError;
}

CaError readWhole(const QString& path, qint64 limit, QByteArray& bytes) {
    if (!isUsable(path))
        return fileError(readFailed, "read", path, "it is not a file name");
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (stat(name.constData(), &status) != 0)
        return systemError(errno == ENOENT || errno == ENOTDIR ? fileNotFoundError : readFailed,
                           "read", path, errno);
    if (!S_ISREG(status.st_mode))
        return fileError(readFailed, "read", path, "it is not a regular file");
    limit = std::min<qint64>(limit, std::numeric_limits<int>::max() / 2);
    if (status.st_size > limit)
        return fileError(readFailed, "read", path,
                         "it has " + std::to_string(status.st_size) + " bytes, more than " +
                             std::to_string(limit));
    // Not to wait should a pipe have taken the name just now.
    const int descriptor = open(name.constData(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK);
    if (descriptor < 0)
        return systemError(readFailed, "read", path, errno);
    const CaError error = readAll(descriptor, limit, path, bytes);
    close(descriptor);
    return error;
}

CaError keepAside(const QString& path, QString& keptAs) {
    if (!isUsable(path))
        return fileError(keepAsideFailed, "rename", path, "it is not a file name");
    const QString source = linkTarget(path);
    const QString base = source + QStringLiteral(".damaged-") +
                         QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    int error = EEXIST;
    for (int number = 1; error == EEXIST && number < 10000; ++number) {
        const QString name = number == 1 ? base : base + QLatin1Char('-') + QString::number(number);
        error = renameToFree(source, name);
        if (error == 0)
            keptAs = name;
    }
    return error == 0 ? CaError::nullError : systemError(keepAsideFailed, "rename", path, error);
}

void sweepTemporaryFiles(const QString& folder) {
    // QSaveFile appends a dot and six random letters. People append such endings as well, above
    // all "backup": a capital after a small letter, which nearly every random name has, is asked
    // for, since to leave a file behind is better than to remove one of theirs.
    static const QRegularExpression temporary(
        QStringLiteral("\\A.+\\.(?:xml|ini)\\.(?=[A-Za-z]{6}\\z).*[a-z][A-Z]"),
        QRegularExpression::DotMatchesEverythingOption);
    const QDateTime newest = QDateTime::currentDateTimeUtc().addSecs(-3600);
    const QFileInfoList files = QDir(folder).entryInfoList(QDir::Files | QDir::Hidden);
    for (const QFileInfo& file : files)
        if (!file.isSymLink() && file.lastModified() < newest &&
            temporary.match(file.fileName()).hasMatch())
            QFile::remove(file.filePath());
}

} // namespace vlr
