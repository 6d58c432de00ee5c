#include "IO/KeptRepository.h"

#include "File/PrivateFile.h"
#include "Files/DurableFile.h"
#include "Files/TemporaryFile.h"
#include "IO/SqliteDatabase.h"

#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vlr {

namespace {

// As file systems of sticks and some of networks do, or the system for another user's file.
bool knowsNoLinks(int error) {
    return error == EPERM || error == ENOTSUP || error == EMLINK || error == ENOSYS;
}

int copyBytes(int from, int to) {
    std::vector<char> block(std::size_t(1) << 20);
    for (;;) {
        const ssize_t size = read(from, block.data(), block.size());
        if (size <= 0)
            return size == 0 ? 0 : errno;
        for (ssize_t written = 0; written < size;) {
            const ssize_t part =
                write(to, block.data() + written, static_cast<std::size_t>(size - written));
            if (part < 0)
                return errno;
            written += part;
        }
    }
}

// The copy gets its name when it is whole and on the disk. The number of the error or 0.
int copyDurably(const QString& from, const QString& to) {
    const int source = open(QFile::encodeName(from).constData(),
                            O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (source < 0)
        return errno;
    QByteArray temporary;
    const int target =
        openTemporaryFile(QFile::encodeName(QFileInfo(to).absolutePath()), temporary);
    int error = target < 0 ? errno : 0;
    struct stat status = {};
    if (error == 0 && fstat(source, &status) != 0)
        error = errno;
    // Whoever may not give it to the group keeps it to himself.
    const unsigned mode = status.st_mode & 0777U;
    if (error == 0 && giveRights(target, mode, {mode, 0700, qint64(status.st_gid)}) != 0)
        error = giveRights(target, 0600, {});
    if (error == 0)
        error = copyBytes(source, target);
    if (error == 0 && fsync(target) != 0)
        error = errno;
    if (error == 0)
        error = renameToFree(QFile::decodeName(temporary), to);
    if (target >= 0 && error != 0)
        unlink(temporary.constData());
    if (target >= 0)
        close(target);
    close(source);
    return error;
}

// A second name for the file, or a copy under it. The number of the error or 0.
int makeSecond(const QString& from, const QString& to, bool& isCopy) {
    const int error =
        isCopy                                                                              ? EPERM
        : link(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) == 0 ? 0
                                                                                            : errno;
    if (!knowsNoLinks(error))
        return error;
    isCopy = true;
    return copyDurably(from, to);
}

} // namespace

int KeptRepository::keep() {
    const QString base = m_repository + QStringLiteral(".replaced-") +
                         QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss"));
    int error = EEXIST;
    for (int number = 1; error == EEXIST && number < 1000; ++number) {
        m_name = number == 1 ? base : base + QLatin1Char('-') + QString::number(number);
        error = keepAll();
        if (error != 0)
            removeKept();
    }
    if (error == 0)
        synchroniseFolder(QFileInfo(m_repository).absolutePath());
    return error;
}

// What lies beside it first: a second name that has its changes is whole.
int KeptRepository::keepAll() {
    int error = 0;
    for (const char* suffix : SqliteDatabase::filesBeside)
        if (error == 0)
            error = keepFile(QLatin1String(suffix));
    return error == 0 ? keepFile(QString()) : error;
}

int KeptRepository::keepFile(const QString& suffix) {
    const int error = makeSecond(m_repository + suffix, m_name + suffix, m_isCopy);
    if (error == 0)
        m_kept << suffix;
    return error == ENOENT ? 0 : error;
}

void KeptRepository::takeAsOne() {
    m_isOne = true;
    if (m_isCopy)
        return;
    for (const char* suffix : SqliteDatabase::filesBeside)
        if (m_kept.removeAll(QLatin1String(suffix)) > 0)
            QFile::remove(m_name + QLatin1String(suffix));
}

void KeptRepository::removeKept() {
    for (const QString& suffix : qAsConst(m_kept))
        QFile::remove(m_name + suffix);
    m_kept.clear();
}

void KeptRepository::bringBack() {
    for (const QString& suffix : qAsConst(m_kept)) {
        const bool isWanted = !m_isOne || suffix.isEmpty();
        if (!isWanted || QFileInfo::exists(m_repository + suffix) ||
            makeSecond(m_name + suffix, m_repository + suffix, m_isCopy) == 0)
            QFile::remove(m_name + suffix);
    }
    m_kept.clear();
}

} // namespace vlr
