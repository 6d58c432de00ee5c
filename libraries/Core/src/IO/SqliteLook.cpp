#include "IO/SqliteLook.h"

#include "IO/SqliteChain.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QThread>
#include <QtCore/QUrl>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vlr {

namespace {

constexpr int patience = 5000; // milliseconds

// The bytes that SQLite locks, see os.h, wal.c and os_unix.c of it. A lock for reading on the first
// ones keeps the last program that closes the file from removing what lies beside it. One on the
// two others, in the file's index, keeps changes from being brought into the file, and those that
// were from being overwritten. Storing goes on behind them.
constexpr long sharedBytes = 0x40000002;
constexpr long sharedCount = 510;
constexpr long readerBytes = 123;
constexpr long readerCount = 2;

// A lock of the open file, not of the process. The number of the error or 0.
int lockForReading(int descriptor, long start, long bytes) {
    struct flock lock = {};
    lock.l_type = F_RDLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = start;
    lock.l_len = bytes;
    return fcntl(descriptor, F_OFD_SETLK, &lock) == 0 ? 0 : errno;
}

} // namespace

SqliteLook::SqliteLook(const QString& path) : m_path(path) {
    const QString index = path + QStringLiteral("-shm");
    int error = SqliteUse::isInUseHere(path) ? EBUSY : lock(m_file, path, sharedBytes, sharedCount);
    if (error == 0)
        error = lock(m_index, index, readerBytes, readerCount);
    m_changes = identityOf(path + QStringLiteral("-wal"));
    m_indexOfChanges = identityOf(index);
    if (error != 0 && error != ENOENT)
        m_problem = QString::fromStdString(std::generic_category().message(error));
    else if (QFileInfo(path + QStringLiteral("-journal")).size() > 0)
        m_problem = QStringLiteral("a change was interrupted, which the next start of the program "
                                   "takes back");
    else
        m_hasForeignChanges = SqliteChain::isForeignWal(path);
}

SqliteLook::~SqliteLook() {
    for (const int descriptor : {m_file, m_index})
        if (descriptor >= 0)
            close(descriptor);
}

int SqliteLook::lock(int& descriptor, const QString& path, long start, long bytes) {
    constexpr int pause = 10; // milliseconds
    descriptor =
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return errno;
    const QDeadlineTimer deadline(patience);
    int error = 0;
    do
        error = lockForReading(descriptor, start, bytes);
    while ((error == EAGAIN || error == EACCES) && !deadline.hasExpired() &&
           (QThread::msleep(pause), true));
    return error;
}

// Changes beside the file are read without SQLite's own locks, which it keeps in a file. Without
// any the file is as if on a medium that cannot be written, or they would be made.
QString SqliteLook::name() const {
    return QStringLiteral("file:") + QString::fromLatin1(QUrl::toPercentEncoding(m_path, "/")) +
           (m_changes && !m_hasForeignChanges ? QStringLiteral("?mode=ro&vfs=unix-none")
                                              : QStringLiteral("?immutable=1"));
}

bool SqliteLook::isDisturbed() const {
    return identityOf(m_path + QStringLiteral("-wal")) != m_changes ||
           identityOf(m_path + QStringLiteral("-shm")) != m_indexOfChanges;
}

SqliteLook::Identity SqliteLook::identityOf(const QString& path) {
    struct stat status = {};
    if (stat(QFile::encodeName(path).constData(), &status) != 0)
        return std::nullopt;
    return std::make_pair(status.st_dev, status.st_ino);
}

} // namespace vlr
