#include "Files/TemporaryFile.h"

#include <QtCore/QDateTime>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vlr {

namespace {

constexpr int mostAttempts = 100;
constexpr int longestUse = 3600; // seconds, where nothing better is known

enum class Lock { Mine, Others, Unknown };

Lock tryLock(int descriptor) {
    if (flock(descriptor, LOCK_EX | LOCK_NB) == 0)
        return Lock::Mine;
    return errno == EWOULDBLOCK ? Lock::Others : Lock::Unknown;
}

// Whether the path still names what is open; a lock tells nothing of a name that is gone.
bool isNamed(int descriptor, const QByteArray& path) {
    struct stat opened = {};
    struct stat named = {};
    return fstat(descriptor, &opened) == 0 && lstat(path.constData(), &named) == 0 &&
           opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

// A sweep may see what is new before it is locked, and take it away.
bool claim(int descriptor, const QByteArray& path) {
    return tryLock(descriptor) != Lock::Others && isNamed(descriptor, path);
}

QByteArray pattern(const QByteArray& folder) {
    return folder + "/.vlr-XXXXXX";
}

int openFolder(const QByteArray& path) {
    return open(path.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOFOLLOW);
}

void remove(const QFileInfo& file) {
    if (file.isDir())
        QDir(file.filePath()).removeRecursively();
    else
        QFile::remove(file.filePath());
}

void sweep(const QFileInfo& file) {
    const QByteArray path = QFile::encodeName(file.filePath());
    // Network file systems lock only what is open for writing.
    const int descriptor =
        file.isDir() ? openFolder(path)
                     : open(path.constData(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK);
    const Lock lock = descriptor < 0 ? Lock::Unknown : tryLock(descriptor);
    const bool isOld = file.lastModified().secsTo(QDateTime::currentDateTimeUtc()) > longestUse;
    if (lock == Lock::Mine ? isNamed(descriptor, path) : lock == Lock::Unknown && isOld)
        remove(file);
    if (descriptor >= 0)
        close(descriptor);
}

} // namespace

int openTemporaryFile(const QByteArray& folder, QByteArray& path) {
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        path = pattern(folder);
        const int descriptor = mkostemp(path.data(), O_CLOEXEC);
        if (descriptor < 0 || claim(descriptor, path))
            return descriptor;
        close(descriptor);
    }
    errno = EBUSY;
    return -1;
}

ScratchFolder::ScratchFolder() : ScratchFolder(QDir::tempPath()) {}

ScratchFolder::ScratchFolder(const QString& parent) {
    for (int attempt = 0; attempt < mostAttempts; ++attempt) {
        m_path = pattern(QFile::encodeName(parent));
        if (!mkdtemp(m_path.data())) {
            m_error = errno;
            m_path.clear();
            return;
        }
        m_descriptor = openFolder(m_path);
        m_error = m_descriptor < 0 ? errno : 0;
        // Where locks are not known it may be swept in an hour, which is far away.
        if (m_descriptor >= 0 && claim(m_descriptor, m_path))
            return;
        rmdir(m_path.constData());
        if (m_descriptor >= 0) {
            close(std::exchange(m_descriptor, -1));
        } else if (m_error != ENOENT) { // Nobody else could tell that it is in use.
            m_path.clear();
            return;
        }
    }
    m_path.clear();
    m_error = EBUSY;
}

ScratchFolder::~ScratchFolder() {
    if (!m_path.isEmpty())
        QDir(path()).removeRecursively();
    if (m_descriptor >= 0)
        close(m_descriptor);
}

QString ScratchFolder::path() const {
    return QFile::decodeName(m_path);
}

void sweepTemporaryFiles(const QString& folder) {
    static const QRegularExpression temporary(QStringLiteral("\\A\\.vlr-[A-Za-z0-9]{6}\\z"));
    const QFileInfoList files = QDir(folder).entryInfoList(
        {QStringLiteral(".vlr-*")}, QDir::Files | QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot);
    for (const QFileInfo& file : files)
        if (!file.isSymLink() && file.ownerId() == geteuid() &&
            temporary.match(file.fileName()).hasMatch())
            sweep(file);
}

} // namespace vlr
