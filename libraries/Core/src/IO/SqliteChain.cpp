#include "IO/SqliteChain.h"

#include "Files/DurableFile.h"
#include "IO/SqliteDatabase.h"
#include "Log/vlrLog.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QThread>
#include <QtCore/QtEndian>

#include <cerrno>
#include <fcntl.h>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vlr {

const char* const SqliteChain::advance = "UPDATE chain SET previous = current, current = random()";
const char* const SqliteChain::begin =
    "INSERT INTO chain SELECT random(), random() WHERE NOT EXISTS (SELECT 1 FROM chain)";

namespace {

struct Link {
    qint64 previous = 0;
    qint64 current = 0;
};

// --- the file itself

struct Chain {
    quint32 page = 0;  // on which the table lies
    quint32 pages = 0; // of the file
    Link link;
};

// Nothing for a file without a chain, or one that cannot be read: what is wrong with that the
// opening will say.
std::optional<Chain> chainOf(const QString& path) {
    std::unique_ptr<SqliteDatabase> database;
    if (SqliteDatabase::open(path, SqliteDatabase::Mode::AsItLies, database) != CaError::nullError)
        return std::nullopt;
    database->distrust();
    Chain chain;
    int links = 0;
    CaError error = database->rows("PRAGMA page_count", [&](const SqliteRow& row) {
        chain.pages = static_cast<quint32>(row.number(0));
        return true;
    });
    if (error != CaError::nullError)
        return std::nullopt;
    error = database->rows("SELECT rootpage FROM sqlite_master WHERE name = 'chain' "
                           "AND type = 'table' AND sql LIKE 'CREATE TABLE %'",
                           [&](const SqliteRow& row) {
                               chain.page = static_cast<quint32>(row.number(0));
                               return true;
                           });
    if (error == CaError::nullError && chain.page > 0)
        error = database->rows("SELECT previous, current FROM chain LIMIT 2",
                               [&](const SqliteRow& row) {
                                   chain.link = {row.number(0), row.number(1)};
                                   ++links;
                                   return true;
                               });
    return error == CaError::nullError && links == 1 ? std::make_optional(chain) : std::nullopt;
}

// --- what lies beside it, in the format of https://www.sqlite.org/fileformat2.html

// The bytes of a page, each access checked: the file may be anybody's.
class PageReader {
public:
    explicit PageReader(const QByteArray& page) : m_page(page) {}

    [[nodiscard]] bool isGood() const { return m_isGood; }
    void moveTo(int position) { m_position = position; }
    [[nodiscard]] int position() const { return m_position; }

    // Of that many bytes, the first one the highest.
    qint64 number(int bytes) {
        quint64 value = bytes > 0 && (peek(m_position) & 0x80U) ? ~quint64(0) : 0;
        for (int i = 0; i < bytes; ++i)
            value = value << 8U | next();
        return static_cast<qint64>(value);
    }
    quint32 unsignedNumber(int bytes) {
        quint32 value = 0;
        for (int i = 0; i < bytes; ++i)
            value = value << 8U | next();
        return value;
    }
    // SQLite's number of one to nine bytes.
    quint64 variable() {
        quint64 value = 0;
        for (int i = 0; i < 8; ++i) {
            const quint32 byte = next();
            value = value << 7U | (byte & 0x7fU);
            if (!(byte & 0x80U))
                return value;
        }
        return value << 8U | next();
    }

private:
    [[nodiscard]] quint32 peek(int position) const {
        return position >= 0 && position < m_page.size() ? static_cast<quint8>(m_page[position])
                                                         : 0;
    }
    quint32 next() {
        m_isGood = m_isGood && m_position >= 0 && m_position < m_page.size();
        return peek(m_position++);
    }

    const QByteArray& m_page;
    int m_position = 0;
    bool m_isGood = true;
};

// An integer of the record, by the type that its header gives it.
qint64 recordNumber(PageReader& reader, quint64 type, bool& isNumber) {
    constexpr int sizes[] = {0, 1, 2, 3, 4, 6, 8};
    if (type == 8 || type == 9)
        return type == 9 ? 1 : 0;
    if (type == 0 || type > 6) {
        isNumber = false;
        return 0;
    }
    return reader.number(sizes[type]);
}

// The one row of two numbers on the page of the table; nothing for another kind of page.
std::optional<Link> linkOn(const QByteArray& page) {
    constexpr quint32 leafOfTable = 0x0d;
    PageReader reader(page);
    const bool isLeaf = reader.unsignedNumber(1) == leafOfTable;
    reader.moveTo(3);
    const bool hasOneRow = reader.unsignedNumber(2) == 1;
    if (!isLeaf || !hasOneRow)
        return std::nullopt;
    reader.moveTo(8);
    reader.moveTo(static_cast<int>(reader.unsignedNumber(2)));
    (void)reader.variable(); // size of the record
    (void)reader.variable(); // number of the row
    (void)reader.variable(); // size of the record's header
    const quint64 first = reader.variable();
    const quint64 second = reader.variable();
    bool areNumbers = true;
    Link link;
    link.previous = recordNumber(reader, first, areNumbers);
    link.current = recordNumber(reader, second, areNumbers);
    return reader.isGood() && areNumbers ? std::make_optional(link) : std::nullopt;
}

// A committed transaction.
struct Commit {
    std::vector<Link> links; // those it wrote; none where a former release did
    quint32 pages = 0;       // that the file has behind it
};

constexpr int headerSize = 32;
constexpr int frameHeaderSize = 24;

quint32 bigEndian(const QByteArray& bytes, int position) {
    return qFromBigEndian<quint32>(bytes.constData() + position);
}

bool isHeader(const QByteArray& header) {
    constexpr quint32 magic = 0x377f0682;
    const quint32 pageSize = header.size() == headerSize ? bigEndian(header, 8) : 0;
    return pageSize >= 512 && pageSize <= 65536 && (pageSize & (pageSize - 1)) == 0 &&
           (bigEndian(header, 0) & ~1U) == magic;
}

// The transactions in the file of recent changes, in their order. Frames of former rounds, which
// have other salts, follow them. None where SQLite will take nothing from it.
std::vector<Commit> commitsIn(const QString& wal, quint32 chainPage) {
    std::vector<Commit> commits;
    QFile file(wal);
    QByteArray header;
    if (file.open(QIODevice::ReadOnly))
        header = file.read(headerSize);
    if (!isHeader(header))
        return commits;
    const int pageSize = static_cast<int>(bigEndian(header, 8));
    Commit open;
    for (;;) {
        const QByteArray frame = file.read(frameHeaderSize);
        if (frame.size() < frameHeaderSize || frame.mid(8, 8) != header.mid(16, 8))
            return commits;
        // What is no link is another table's page, and of another file.
        if (bigEndian(frame, 0) == chainPage)
            open.links.push_back(linkOn(file.read(pageSize)).value_or(Link{}));
        else if (!file.seek(file.pos() + pageSize))
            return commits;
        open.pages = bigEndian(frame, 4);
        if (open.pages == 0)
            continue;
        commits.push_back(open);
        open = {};
    }
}

bool isForeign(const Chain& chain, const std::vector<Commit>& commits) {
    const qint64 state = chain.link.current;
    bool isFirst = true;
    for (const Commit& commit : commits)
        for (const Link& link : commit.links) {
            if (isFirst && link.previous == state)
                return false;
            // A checkpoint that was cut off has brought the size as well.
            if (link.current == state && commit.pages == chain.pages)
                return false;
            isFirst = false;
        }
    return !commits.empty();
}

// --- who else is there

using Identity = std::pair<quint64, quint64>;

Identity identityOf(const QString& path) {
    struct stat status = {};
    return stat(QFile::encodeName(path).constData(), &status) == 0
               ? Identity(status.st_dev, status.st_ino)
               : Identity();
}

struct Uses {
    std::mutex mutex;
    std::multiset<Identity> files;
};

Uses& uses() {
    static Uses all;
    return all;
}

// Whoever has the file open by SQLite holds this lock for others to see.
bool isUsedElsewhere(const QString& path) {
    const int descriptor = ::open(QFile::encodeName(path + QStringLiteral("-shm")).constData(),
                                  O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return errno != ENOENT;
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = 128; // UNIX_SHM_DMS in SQLite's os_unix.c
    lock.l_len = 1;
    const bool isUsed = fcntl(descriptor, F_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
    close(descriptor);
    return isUsed;
}

constexpr int patience = 5000; // milliseconds

} // namespace

OpeningLock::OpeningLock(const QString& path)
    : m_descriptor(::open(QFile::encodeName(QFileInfo(path).path()).constData(),
                          O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    constexpr int pause = 10; // milliseconds
    const QDeadlineTimer deadline(patience);
    do
        m_isTaken = m_descriptor >= 0 && flock(m_descriptor, LOCK_EX | LOCK_NB) != 0 &&
                    errno == EWOULDBLOCK;
    while (m_isTaken && !deadline.hasExpired() && (QThread::msleep(pause), true));
}

OpeningLock::~OpeningLock() {
    if (m_descriptor >= 0)
        close(m_descriptor);
}

SqliteUse::SqliteUse(const QString& path) : m_file(identityOf(path)) {
    const std::lock_guard<std::mutex> lock(uses().mutex);
    uses().files.insert(m_file);
}

SqliteUse::~SqliteUse() {
    const std::lock_guard<std::mutex> lock(uses().mutex);
    uses().files.erase(uses().files.find(m_file));
}

bool SqliteUse::isInUseHere(const QString& path) {
    const std::lock_guard<std::mutex> lock(uses().mutex);
    return uses().files.count(identityOf(path)) > 0;
}

bool SqliteUse::isInUse(const QString& path) {
    return isInUseHere(path) || isUsedElsewhere(path);
}

QString realFile(const QString& path) {
    const QString real = QFileInfo(path).canonicalFilePath();
    return real.isEmpty() ? path : real;
}

bool SqliteChain::isForeignWal(const QString& path) {
    const QString wal = path + QStringLiteral("-wal");
    const QFileInfo info(wal);
    if (!info.isFile() || info.size() <= headerSize || SqliteUse::isInUse(path))
        return false;
    const auto chain = chainOf(path);
    return chain && isForeign(*chain, commitsIn(wal, chain->page));
}

CaError SqliteChain::setForeignWalAside(const QString& path) {
    if (!isForeignWal(path))
        return CaError::nullError;
    const QString wal = path + QStringLiteral("-wal");
    QString keptAs;
    const CaError error = keepAside(wal, keptAs, "foreign");
    if (error == CaError::nullError)
        VLR_LOG(UserWarning) << "The changes in \"" << wal.toStdString()
                             << "\" belong to another file than the \"" << path.toStdString()
                             << "\" that lies there now. They are kept as \""
                             << keptAs.toStdString() << "\" and not applied.";
    return error;
}

} // namespace vlr
