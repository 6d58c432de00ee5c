#include "IO/SqliteChain.h"

#include "Files/DurableFile.h"
#include "IO/RepositorySchema.h"
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
    const SqliteBounds bounds(*database);
    Chain chain;
    int links = 0;
    CaError error = database->rows("PRAGMA page_count", [&](const SqliteRow& row) {
        chain.pages = static_cast<quint32>(row.number(0));
        return true;
    });
    if (error != CaError::nullError)
        return std::nullopt;
    error = database->rows(
        "SELECT rootpage, sql FROM sqlite_master WHERE name = 'chain' AND type = 'table' LIMIT 2",
        [&](const SqliteRow& row) {
            if (RepositorySchema::isKept(row.text(1), RepositorySchema::chainStatement()))
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

constexpr int headerSize = 32;
constexpr int frameHeaderSize = 24;

quint32 bigEndian(const QByteArray& bytes, int position) {
    return qFromBigEndian<quint32>(bytes.constData() + position);
}

// Over the words of the file of recent changes, each in the byte order that it begins with.
class Checksum {
public:
    explicit Checksum(bool isBigEndian) : m_isBigEndian(isBigEndian) {}
    void add(const QByteArray& bytes) {
        for (int i = 0; i + 8 <= bytes.size(); i += 8) {
            m_first += word(bytes, i) + m_second;
            m_second += word(bytes, i + 4) + m_first;
        }
    }
    [[nodiscard]] bool isAt(const QByteArray& bytes, int position) const {
        return m_first == bigEndian(bytes, position) && m_second == bigEndian(bytes, position + 4);
    }

private:
    [[nodiscard]] quint32 word(const QByteArray& bytes, int position) const {
        const char* const at = bytes.constData() + position;
        return m_isBigEndian ? qFromBigEndian<quint32>(at) : qFromLittleEndian<quint32>(at);
    }

    bool m_isBigEndian;
    quint32 m_first = 0;
    quint32 m_second = 0;
};

// The frames in the file of recent changes, in their order, up to where SQLite will take nothing
// more from it: those of former rounds, which have other salts, follow them, and a file may have a
// size without having a content.
class WalReader {
public:
    explicit WalReader(const QString& wal) : m_file(wal), m_checksum(false) {
        if (m_file.open(QIODevice::ReadOnly))
            m_header = m_file.read(headerSize);
        m_isGood = readHeader();
    }

    bool next() {
        m_frame = m_isGood ? m_file.read(frameHeaderSize) : QByteArray();
        m_page = m_isGood ? m_file.read(m_pageSize) : QByteArray();
        m_isGood = m_frame.size() == frameHeaderSize && m_page.size() == m_pageSize &&
                   number() != 0 && m_frame.mid(8, 8) == m_header.mid(16, 8);
        if (!m_isGood)
            return false;
        m_checksum.add(m_frame.left(8));
        m_checksum.add(m_page);
        m_isGood = m_checksum.isAt(m_frame, 16);
        return m_isGood;
    }
    [[nodiscard]] quint32 number() const { return bigEndian(m_frame, 0); }
    [[nodiscard]] const QByteArray& page() const { return m_page; }
    // Of the file behind the transaction that ends here; 0 where it goes on.
    [[nodiscard]] quint32 pages() const { return bigEndian(m_frame, 4); }

private:
    bool readHeader() {
        constexpr quint32 magic = 0x377f0682;
        if (m_header.size() != headerSize || (bigEndian(m_header, 0) & ~1U) != magic)
            return false;
        const quint32 size = bigEndian(m_header, 8);
        m_pageSize = static_cast<int>(size);
        m_checksum = Checksum((bigEndian(m_header, 0) & 1U) != 0);
        m_checksum.add(m_header.left(24));
        return size >= 512 && size <= 65536 && (size & (size - 1)) == 0 &&
               m_checksum.isAt(m_header, 24);
    }

    QFile m_file;
    QByteArray m_header;
    QByteArray m_frame;
    QByteArray m_page;
    Checksum m_checksum;
    int m_pageSize = 0;
    bool m_isGood = false;
};

// Only what is committed counts.
bool isForeign(const Chain& chain, const QString& wal) {
    const qint64 state = chain.link.current;
    bool hasCommits = false;
    bool isFirst = true;
    bool follows = false;  // The first link comes behind the state of the file.
    bool hasState = false; // A link of the transaction at hand is that state.
    WalReader reader(wal);
    while (reader.next()) {
        if (reader.number() == chain.page) {
            // What is no link is another table's page, and of another file.
            const Link link = linkOn(reader.page()).value_or(Link{});
            follows = follows || (isFirst && link.previous == state);
            hasState = hasState || link.current == state;
            isFirst = false;
        }
        if (reader.pages() == 0)
            continue;
        // A checkpoint that was cut off has brought the size as well.
        if (follows || (hasState && reader.pages() == chain.pages))
            return false;
        hasCommits = true;
        hasState = false;
    }
    return hasCommits;
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

bool SqliteChain::isForeignWal(const QString& path) {
    const QString wal = path + QStringLiteral("-wal");
    const QFileInfo info(wal);
    if (!info.isFile() || info.size() <= headerSize || SqliteUse::isInUse(path))
        return false;
    const auto chain = chainOf(path);
    return chain && isForeign(*chain, wal);
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
