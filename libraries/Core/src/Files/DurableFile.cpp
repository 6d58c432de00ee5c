#include "Files/DurableFile.h"

#include "File/PrivateFile.h"
#include "Files/FileTrust.h"
#include "Files/TemporaryFile.h"
#include "Log/vlrLog.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vlr {

const char* const fileNotFoundError = "File::notFound";
const char* const passingReadError = "File::passingReadError";
const char* const untrustedError = "File::untrusted";

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

QByteArray folderOf(const QByteArray& path) {
    const int slash = path.lastIndexOf('/');
    return slash <= 0 ? QByteArray("/") : path.left(slash);
}

// What the link says, read from the folder in which it really is; empty for what is no link.
QByteArray followed(const QByteArray& path) {
    char buffer[4096]; // the most that a link can hold
    const ssize_t size = readlink(path.constData(), buffer, sizeof buffer);
    if (size <= 0)
        return {};
    const QByteArray text(buffer, static_cast<int>(size));
    const std::unique_ptr<char, decltype(&std::free)> folder(
        realpath(folderOf(path).constData(), nullptr), &std::free);
    if (text.startsWith('/'))
        return text;
    return folder ? QByteArray(folder.get()) + '/' + text : path;
}

// Where the bytes of the path are or would be: links are followed, also to a target that does
// not exist yet, which QFileInfo::canonicalFilePath() does not do. `problem` says why one must not
// be: somebody else's would lead a program that may write more to what he may not.
QString linkTarget(const QString& path, std::string& problem) {
    problem.clear();
    QByteArray target = QFile::encodeName(QFileInfo(path).absoluteFilePath());
    for (int links = 0; links < 40; ++links) {
        const QByteArray next = followed(target);
        if (next.isEmpty())
            break;
        if (problem.empty())
            problem = whyNotFollowed(target, next);
        target = next;
    }
    return QFile::decodeName(target);
}

// Makes the missing folders above the file. `changed` gets every folder that has a new entry when
// the file is added.
CaError makeFolder(const QFileInfo& file, const QString& path, const FileRights& rights,
                   QStringList& changed) {
    changed = QStringList(file.path());
    while (!QFileInfo::exists(changed.last()))
        changed << QFileInfo(changed.last()).path();
    if (const int error = makePrivateFolder(file.path(), rights))
        return fileError(writeFailed, "write", path,
                         "the folder cannot be created: " + std::generic_category().message(error),
                         error);
    return CaError::nullError;
}

int synchronise(int descriptor) {
    int result = 0;
    do
        result = fsync(descriptor);
    while (result != 0 && errno == EINTR);
    return result == 0 ? 0 : errno;
}

int writeAll(int descriptor, const QByteArray& bytes) {
    for (int written = 0; written < bytes.size();) {
        const ssize_t count =
            write(descriptor, bytes.constData() + written,
                  static_cast<std::size_t>(bytes.size()) - static_cast<std::size_t>(written));
        if (count < 0 && errno != EINTR)
            return errno;
        if (count > 0)
            written += static_cast<int>(count);
    }
    return 0;
}

// Everything has to be on the disk before the temporary file takes the name of the good one, and
// the rights are set before there is anything to read. The number of the error or 0.
int fill(int descriptor, const QByteArray& bytes, unsigned mode, const FileRights& rights) {
    int error = giveRights(descriptor, mode, rights);
    if (error == 0)
        error = writeAll(descriptor, bytes);
    return error == 0 ? synchronise(descriptor) : error;
}

// Replaces the file, by way of a temporary one beside it. Without rights it keeps those that it
// has. The number of the error or 0.
int replace(const QByteArray& target, const QByteArray& bytes, const FileRights* rights) {
    struct stat status = {};
    const bool exists = stat(target.constData(), &status) == 0;
    if (exists && faccessat(AT_FDCWD, target.constData(), W_OK, AT_EACCESS) != 0)
        return errno; // Who protects a file from writing means its content.
    QByteArray temporary;
    const int descriptor = openTemporaryFile(folderOf(target), temporary);
    if (descriptor < 0)
        return errno;
    const FileRights given = rights ? *rights : FileRights();
    int error =
        fill(descriptor, bytes, exists && !rights ? status.st_mode & 0777U : given.file, given);
    if (error == 0 && std::rename(temporary.constData(), target.constData()) != 0)
        error = errno;
    if (error != 0)
        unlink(temporary.constData());
    // Not before: as long as it is open nobody sweeps it away. What close() could tell of the bytes
    // the synchronisation has told already.
    close(descriptor);
    return error;
}

// A file that is there and that nobody is allowed to read stays so; all else may be a matter of
// the moment: too many open files, a disk or network that does not answer.
CaError readError(const QString& path, int number) {
    const char* id = passingReadError;
    if (number == ENOENT || number == ENOTDIR)
        id = fileNotFoundError;
    else if (number == EACCES || number == EPERM || number == ELOOP || number == ENAMETOOLONG)
        id = readFailed;
    return systemError(id, "read", path, number);
}

CaError readAll(int descriptor, qint64 limit, const QString& path, QByteArray& bytes) {
    QByteArray content;
    char block[65536];
    for (;;) {
        const ssize_t count = read(descriptor, block, sizeof block);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return readError(path, errno);
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

CaError writeFile(const QString& path, const QByteArray& bytes, const FileRights* rights) {
    if (!isUsable(path))
        return fileError(writeFailed, "write", path, "it is not a file name");
    std::string problem;
    const QString target = linkTarget(path, problem);
    const QFileInfo info(target);
    if (info.isSymLink())
        return systemError(writeFailed, "write", path, ELOOP);
    if (!problem.empty())
        return fileError(writeFailed, "write", path, problem);
    if (info.exists() && !info.isFile())
        return fileError(writeFailed, "write", path, "it is not a regular file");

    QStringList changed;
    const CaError error = makeFolder(info, path, rights ? *rights : FileRights(), changed);
    if (!error.isNull())
        return error;
    if (const int number = replace(QFile::encodeName(target), bytes, rights))
        return systemError(writeFailed, "write", path, number);
    for (const QString& folder : qAsConst(changed))
        synchroniseFolder(folder);
    return CaError::nullError;
}

// Of what is open, since another file may have taken the name.
CaError checkTrust(int descriptor, const QString& path) {
    struct stat status = {};
    if (fstat(descriptor, &status) != 0)
        return readError(path, errno);
    const std::string problem = whyNotBelieved(QFile::encodeName(path), status);
    return problem.empty() ? CaError::nullError : fileError(untrustedError, "read", path, problem);
}

CaError readFile(const QString& path, qint64 limit, bool mustBeTrusted, QByteArray& bytes) {
    if (!isUsable(path))
        return fileError(readFailed, "read", path, "it is not a file name");
    const QByteArray name = QFile::encodeName(path);
    struct stat status = {};
    if (stat(name.constData(), &status) != 0) {
        const int number = errno;
        const std::string problem = mustBeTrusted ? whyNotBegun(name) : std::string();
        return problem.empty() ? readError(path, number)
                               : fileError(untrustedError, "read", path, problem);
    }
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
        return readError(path, errno);
    CaError error = mustBeTrusted ? checkTrust(descriptor, path) : CaError();
    if (error.isNull())
        error = readAll(descriptor, limit, path, bytes);
    close(descriptor);
    return error;
}

} // namespace

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

CaError writeDurably(const QString& path, const QByteArray& bytes) {
    return writeFile(path, bytes, nullptr);
}

CaError writeDurably(const QString& path, const QByteArray& bytes, const FileRights& rights) {
    return writeFile(path, bytes, &rights);
}

CaError readWhole(const QString& path, qint64 limit, QByteArray& bytes) {
    return readFile(path, limit, false, bytes);
}

CaError readTrusted(const QString& path, qint64 limit, QByteArray& bytes) {
    return readFile(path, limit, true, bytes);
}

CaError keepUnusableAside(const QString& path, QString& keptAs) {
    const QByteArray name = QFile::encodeName(path);
    std::string problem = whyNotBegun(name);
    if (problem.empty())
        problem = closeFolderOf(name);
    return problem.empty() ? keepAside(path, keptAs)
                           : fileError(keepAsideFailed, "rename", path, problem);
}

CaError keepAside(const QString& path, QString& keptAs, const char* why) {
    if (!isUsable(path))
        return fileError(keepAsideFailed, "rename", path, "it is not a file name");
    std::string problem;
    const QString target = linkTarget(path, problem);
    const QString source = problem.empty() ? target : path;
    const QString base = source + QLatin1Char('.') + QLatin1String(why) + QLatin1Char('-') +
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

} // namespace vlr
