// Much of the same kind, made by chance: files, servers and ids. The seeds are always the same.

#include "Cases.h"
#include "Mutation.h"
#include "PeakMemory.h"
#include "Trust.h"

#include "Data/PatientText.h"
#include "IO/DataIOManager.h"
#include "IO/PatientStore.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QRandomGenerator>
#include <QtCore/QtEndian>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>

#include <arpa/inet.h>
#include <stdexcept>
#include <sys/socket.h>
#include <thread>
#include <tuple>
#include <unistd.h>

namespace {

quint32 extent(quint32 inShort, quint32 inLong) {
    return isLongForm() ? inLong : inShort;
}

template <class Table>
const auto& anyOf(const Table& table, QRandomGenerator& random) {
    return table[random.bounded(static_cast<int>(std::size(table)))];
}

// --- files

void put(const QByteArray& bytes) {
    for (const char* suffix : {"", "-wal", "-shm", "-journal"})
        QFile::remove(trustRepository() + QLatin1String(suffix));
    QFile file(trustRepository());
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        throw std::runtime_error("The test's own files cannot be written.");
}

// Those that cannot be executed make no harm.
void execute(const QStringList& statements) {
    {
        auto database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("harm"));
        database.setDatabaseName(trustRepository());
        (void)database.open();
        for (const QString& statement : statements)
            QSqlQuery(database).exec(statement);
    }
    QSqlDatabase::removeDatabase(QStringLiteral("harm"));
}

QStringList otherValue(QRandomGenerator& random) {
    constexpr const char* columns[] = {
        "patient SET uid",        "patient SET patient_id", "patient SET name",
        "patient SET sex",        "patient SET birth_date", "patient SET changed",
        "patient SET revision",   "document SET uid",       "document SET content",
        "binary_part SET item",   "binary_part SET name",   "binary_part SET content",
        "repository SET version", "chain SET previous",     "chain SET current"};
    constexpr const char* values[] = {"''",
                                      "x'00'",
                                      "x'ffd8ff'",
                                      "-1",
                                      "-9223372036854775808",
                                      "1e300",
                                      "'nan'",
                                      "randomblob(1000)",
                                      "CAST(randomblob(1000) AS TEXT)",
                                      "zeroblob(30000000)",
                                      "CAST('a' || x'00' || zeroblob(30000000) AS TEXT)"};
    QStringList statements;
    for (int i = random.bounded(1, 4); i > 0; --i)
        statements << QStringLiteral("UPDATE %1 = %2")
                          .arg(QLatin1String(anyOf(columns, random)),
                               QLatin1String(anyOf(values, random)));
    return statements;
}

QStringList otherSchema(QRandomGenerator& random) {
    constexpr const char* tables[] = {"repository", "patient", "document", "binary_part", "chain"};
    constexpr const char* changes[] = {
        "UPDATE sqlite_master SET rootpage = abs(random() % 20) WHERE name = '%1'",
        "UPDATE sqlite_master SET rootpage = (SELECT rootpage FROM sqlite_master WHERE name = "
        "'document') WHERE name = '%1'",
        "UPDATE sqlite_master SET sql = replace(sql, 'TEXT', 'BLOB') WHERE name = '%1'",
        "UPDATE sqlite_master SET sql = replace(sql, 'NOT NULL', 'DEFAULT (random())') WHERE name "
        "= '%1'",
        "UPDATE sqlite_master SET type = 'view', rootpage = 0, sql = 'CREATE VIEW %1 AS SELECT * "
        "FROM %1' WHERE name = '%1'",
        "UPDATE sqlite_master SET sql = CAST(randomblob(100) AS TEXT) WHERE name = '%1'",
        "UPDATE sqlite_master SET sql = 'CREATE VIRTUAL TABLE %1 USING fts3(a)', rootpage = 0 "
        "WHERE "
        "name = '%1'",
        "UPDATE sqlite_master SET name = upper(name) WHERE name = '%1'",
        "INSERT INTO sqlite_master SELECT * FROM sqlite_master WHERE name = '%1'",
        "INSERT INTO sqlite_master VALUES ('trigger', 't', '%1', 0, 'CREATE TRIGGER t AFTER INSERT "
        "ON %1 BEGIN DELETE FROM patient; END')",
        "INSERT INTO sqlite_master VALUES ('index', 'i', '%1', 2, 'CREATE UNIQUE INDEX i ON %1 "
        "(random())')",
        "DELETE FROM sqlite_master WHERE name = '%1'"};
    QStringList statements{QStringLiteral("PRAGMA writable_schema = ON")};
    for (int i = random.bounded(1, 3); i > 0; --i)
        statements << QString::fromLatin1(anyOf(changes, random))
                          .arg(QLatin1String(anyOf(tables, random)));
    return statements;
}

// Whatever it answers, it comes back, and what it says to have stored is there.
std::string use(const vlr::URI& known) {
    QElapsedTimer timer;
    timer.start();
    std::vector<MetaInformation> patients;
    std::vector<QString> ids;
    DataPointer<Patient> loaded;
    QByteArray part;
    (void)DataIOManager::patientMetaInfoList(patients);
    (void)DataIOManager::patientIds(ids);
    if (DataIOManager::loadPatient(known, loaded) == CaError::nullError)
        (void)loaded->binaryPart(QStringLiteral("part"), part);
    const DataPointer<Patient> added(new Patient);
    added->setPatientId(QStringLiteral("added"));
    if (DataIOManager::storePatient(added) == CaError::nullError) {
        DataIOManager::closeRepository();
        const CaError error = DataIOManager::loadPatient(added->storage().uri, loaded);
        if (error != CaError::nullError || loaded->patientId() != added->patientId())
            return "what was stored is not there: " + error.text();
    }
    DataIOManager::closeRepository();
    constexpr qint64 most = 20000;
    return timer.elapsed() < most ? "" : "it takes " + std::to_string(timer.elapsed()) + " ms";
}

std::string filesByChance() {
    const DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QStringLiteral("1"));
    patient->setBinaryPart(QStringLiteral("part"), QByteArray(5000, 'p'));
    if (DataIOManager::storePatient(patient) != CaError::nullError)
        return "there is nothing to change";
    DataIOManager::closeRepository();
    QFile file(trustRepository());
    (void)file.open(QIODevice::ReadOnly);
    const QByteArray whole = file.readAll();
    const PeakMemory memory;
    const quint32 count = extent(60, 5000);
    for (quint32 seed = 0; seed < count; ++seed) {
        nameCase("file " + std::to_string(seed));
        QRandomGenerator random(seed);
        put(seed % 3 == 0 ? mutated(whole, seed) : whole);
        if (seed % 3 == 1)
            execute(otherValue(random));
        if (seed % 3 == 2)
            execute(otherSchema(random));
        const std::string wrong = use(patient->storage().uri);
        if (!wrong.empty())
            return "file " + std::to_string(seed) + ": " + wrong;
    }
    reportDone(std::to_string(count) + " changed database files");
    constexpr qint64 most = 256 << 20; // A value of 30 MB, a few times.
    return !PeakMemory::isMeasurable() || memory.growth() < most
               ? ""
               : "it takes " + std::to_string(memory.growth() >> 20) + " MiB";
}

// --- servers

QByteArray number(int value, int bytes) {
    QByteArray text(4, 0);
    qToBigEndian(value, text.data());
    return text.right(bytes);
}

QByteArray message(char type, const QByteArray& body) {
    return type + number(body.size() + 4, 4) + body;
}

// All that a server says to one who opens the repository and lists it, whatever is asked.
QByteArray conversation() {
    const QByteArray ready = message('Z', "I");
    QByteArray names = number(7, 2);
    QByteArray row = names;
    for (int i = 0; i < 7; ++i) {
        names += QByteArray("c", 2) + number(0, 4) + number(0, 2) + number(25, 4) + number(-1, 2) +
                 number(-1, 4) + number(0, 2);
        row += number(1, 4) + '1';
    }
    const QByteArray answer =
        message('T', names) + message('D', row) + message('C', QByteArray("SELECT 1", 9)) + ready;
    QByteArray all = message('R', number(0, 4)) +
                     message('S', QByteArray("server_version\0"
                                             "15.1",
                                             20)) +
                     ready;
    for (int i = 0; i < 12; ++i)
        all += i % 2 == 0 ? answer : message('C', QByteArray("SET", 4)) + ready;
    return all;
}

// Says that to whoever comes, and then nothing more.
class Babbler {
public:
    explicit Babbler(QByteArray words) : m_words(std::move(words)) {
        std::tie(m_listener, m_port) = listenOnThisMachine();
        m_thread = std::thread([this] { serve(); });
    }
    ~Babbler() {
        shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        close(m_listener);
    }
    Babbler(const Babbler&) = delete;
    Babbler& operator=(const Babbler&) = delete;
    [[nodiscard]] QString url() const {
        return QStringLiteral("postgresql://u@127.0.0.1:%1/d").arg(m_port);
    }

private:
    void serve() {
        for (int peer = 0; (peer = accept(m_listener, nullptr, nullptr)) >= 0; close(peer)) {
            char bytes[4096];
            if (recv(peer, bytes, sizeof bytes, 0) <= 0)
                continue;
            (void)send(peer, m_words.constData(), static_cast<std::size_t>(m_words.size()),
                       MSG_NOSIGNAL);
            shutdown(peer, SHUT_WR);
            while (recv(peer, bytes, sizeof bytes, 0) > 0) {
            }
        }
    }

    QByteArray m_words;
    int m_listener;
    int m_port = 0;
    std::thread m_thread;
};

std::string serversByChance() {
    const QByteArray words = conversation();
    const PeakMemory memory;
    const quint32 count = extent(40, 3000);
    quint32 opened = 0;
    for (quint32 seed = 0; seed < count; ++seed) {
        nameCase("server " + std::to_string(seed));
        QElapsedTimer timer;
        timer.start();
        const Babbler server(seed == 0 ? words : mutated(words, seed));
        CaError error;
        const auto store = vlr::PatientStore::open(server.url(), error);
        std::vector<MetaInformation> patients;
        if (store)
            (void)store->list(patients);
        // That such a server gets that far at all is seen by what is asked after the opening.
        opened += error.text().find("connect") == std::string::npos ? 1 : 0;
        constexpr qint64 most = 20000;
        if (timer.elapsed() > most)
            return "server " + std::to_string(seed) + " holds it up";
    }
    reportDone(std::to_string(count) + " servers that say something else");
    constexpr qint64 most = 128 << 20;
    if (opened == 0)
        return "none is heard";
    return !PeakMemory::isMeasurable() || memory.growth() < most
               ? ""
               : "they take " + std::to_string(memory.growth() >> 20) + " MiB";
}

// --- ids

// Of letters in several scripts, and of what cannot be seen.
QString textByChance(QRandomGenerator& random) {
    constexpr uint ranges[][2] = {{0x20, 0x7e},       {0xa0, 0x17f},    {0x300, 0x36f},
                                  {0x370, 0x5ff},     {0x600, 0x6ff},   {0x2000, 0x206f},
                                  {0x3040, 0x30ff},   {0xac00, 0xad00}, {0xfe00, 0xfe0f},
                                  {0xe0000, 0xe007f}, {0xf900, 0xfaff}, {0x1d400, 0x1d7ff}};
    QString text;
    for (int i = random.bounded(12); i > 0; --i) {
        const auto& range = anyOf(ranges, random);
        const uint code = range[0] + random.bounded(range[1] - range[0] + 1);
        text += QString::fromUcs4(&code, 1);
    }
    return text;
}

// The same with what nobody sees put in; not between what may combine.
QString disguised(const QString& text, QRandomGenerator& random) {
    constexpr ushort unseen[] = {0x200b, 0x200e, 0x202e, 0x2060, 0xfeff, 0x00ad, 0x180e};
    constexpr ushort blanks[] = {0x20, 0x09, 0xa0, 0x2003, 0x3000};
    QString other = text;
    other.insert(random.bounded(2) == 0 ? 0 : other.size(), QChar(anyOf(unseen, random)));
    return QString(QChar(anyOf(blanks, random))) + other + QChar(anyOf(blanks, random));
}

std::string idsByChance() {
    QRandomGenerator random(1);
    const quint32 count = extent(3000, 300000);
    for (quint32 i = 0; i < count; ++i) {
        const QString text = textByChance(random);
        const QString id = vlr::normalizedId(text);
        const QString other = disguised(id, random);
        const char* const wrong =
            vlr::normalizedId(id) != id                     ? "changes when it is normalized again"
            : vlr::normalizedId(other) != id                ? "is another one in disguise"
            : !vlr::idProblem(id).isEmpty() != id.isEmpty() ? "is no good id"
            : vlr::visibleText(id) != id                    ? "has what cannot be seen"
            : vlr::visibleText(other) == other              ? "hides its disguise"
            : vlr::idSkeleton(other) != vlr::idSkeleton(id) ? "has another skeleton in disguise"
                                                            : nullptr;
        if (wrong)
            return "the id \"" + vlr::visibleText(text).toStdString() + "\" " + wrong;
    }
    reportDone(std::to_string(count) + " ids");
    return {};
}

} // namespace

std::vector<TrustCase> trustRandom() {
    return {
        {"database files by chance", &filesByChance},
        {"servers by chance", &serversByChance},
        {"ids by chance", &idsByChance},
    };
}
