#include "IO/RepositoryBackup.h"

#include "File/PrivateFile.h"
#include "Files/DurableFile.h"
#include "Files/TemporaryFile.h"
#include "IO/KeptRepository.h"
#include "IO/RepositoryFiles.h"
#include "IO/RepositorySchema.h"
#include "IO/SqliteChain.h"
#include "IO/SqliteDatabase.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QtEndian>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace vlr {

const char* const backupCancelledError = "Backup::cancelled";

namespace {

using IsWanted = std::function<bool(double)>;

CaError backupError(const QString& text, const char* id = "Backup::failed") {
    return CaError(id, text.toStdString());
}

CaError systemError(const QString& what, const QString& path, int number) {
    return backupError(
        QStringLiteral("%1 \"%2\": %3.")
            .arg(what, path, QString::fromStdString(std::generic_category().message(number))));
}

CaError cancelled() {
    return backupError(QStringLiteral("It was cancelled."), backupCancelledError);
}

// The part of the work from one share to another.
IsWanted between(const IsWanted& isWanted, double from, double to) {
    return [isWanted, from, to](double share) {
        return !isWanted || isWanted(from + (to - from) * share);
    };
}

// --- a file in the making

// In a folder beside the file that it shall be, which goes with the object.
class Draft {
public:
    Draft(const QString& target, const FileRights& rights)
        : m_target(target), m_parent(QFileInfo(target).absolutePath()), m_rights(rights) {
        sweepTemporaryFiles(m_parent);
        m_folder.emplace(m_parent);
        m_path = m_folder->path() + QStringLiteral("/draft");
        m_error = m_folder->error() != 0 ? m_folder->error() : makePrivateFile(m_path);
    }

    [[nodiscard]] CaError open(std::unique_ptr<SqliteDatabase>& database) const {
        return m_error == 0 ? SqliteDatabase::open(m_path, SqliteDatabase::Mode::Writing, database)
                            : systemError(QStringLiteral("Could not write"), m_target, m_error);
    }

    // Takes the name of the target once all of it is on the disk; when it must be new, only where
    // nothing has that name.
    CaError becomeTarget(bool mustBeNew) {
        const QByteArray draft = QFile::encodeName(m_path);
        const QByteArray target = QFile::encodeName(m_target);
        const int descriptor = ::open(draft.constData(), O_RDONLY | O_CLOEXEC);
        int error = descriptor >= 0 ? giveRights(descriptor, m_rights.file, m_rights) : errno;
        if (error == 0 && fsync(descriptor) != 0)
            error = errno;
        if (descriptor >= 0)
            close(descriptor);
        if (error == 0 && mustBeNew)
            error = renameToFree(m_path, m_target);
        else if (error == 0)
            error = std::rename(draft.constData(), target.constData()) == 0 ? 0 : errno;
        if (error != 0)
            return systemError(QStringLiteral("Could not write"), m_target, error);
        synchroniseFolder(m_parent);
        return CaError::nullError;
    }

private:
    QString m_target;
    QString m_parent;
    FileRights m_rights;
    std::optional<ScratchFolder> m_folder;
    QString m_path;
    int m_error = 0;
};

// --- the checksum

void add(QCryptographicHash& hash, char kind, const QByteArray& bytes) {
    const quint64 size = qToBigEndian(static_cast<quint64>(bytes.size()));
    hash.addData(&kind, 1);
    hash.addData(reinterpret_cast<const char*>(&size), sizeof size);
    hash.addData(bytes);
}

CaError countRows(SqliteDatabase& database, const char* sql, qint64& count) {
    return database.rows(sql, [&](const SqliteRow& row) {
        count += row.number(0);
        return true;
    });
}

// Of the time of the backup, and of every value of every table, with its kind, in the order of the
// keys. The chain is left out: a
// copy begins one of its own.
CaError checksumOf(SqliteDatabase& database, const QString& made, const IsWanted& isWanted,
                   QByteArray& checksum) {
    constexpr const char* contents[] = {
        "SELECT * FROM repository",
        "SELECT * FROM patient ORDER BY uid",
        "SELECT * FROM document ORDER BY uid",
        "SELECT * FROM binary_part ORDER BY uid, item, name",
    };
    qint64 all = 1;
    CaError error = countRows(database, "SELECT count(*) FROM patient", all);
    if (error == CaError::nullError)
        error = countRows(database, "SELECT count(*) FROM document", all);
    if (error == CaError::nullError)
        error = countRows(database, "SELECT count(*) FROM binary_part", all);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    add(hash, 'M', made.toUtf8());
    qint64 done = 0;
    bool isGoingOn = true;
    for (const char* content : contents) {
        if (error != CaError::nullError || !isGoingOn)
            break;
        add(hash, 'T', content);
        error = database.rows(content, [&](const SqliteRow& row) {
            for (int column = 0; column < row.columns(); ++column)
                add(hash, row.kind(column), row.bytes(column));
            isGoingOn =
                isWanted(static_cast<double>(++done) / static_cast<double>(std::max(all, done)));
            return isGoingOn;
        });
    }
    checksum = hash.result().toHex();
    return error == CaError::nullError && !isGoingOn ? cancelled() : error;
}

CaError runAll(SqliteDatabase& database, const QStringList& statements) {
    CaError error;
    for (const QString& statement : statements)
        if (error == CaError::nullError)
            error = database.run(statement.toUtf8().constData());
    return error;
}

// A copy is another file from now on; what lies beside the first one is none of its.
QStringList newChain() {
    return {RepositorySchema::chainStatement(), QStringLiteral("DELETE FROM chain"),
            QLatin1String(SqliteChain::begin)};
}

CaError copy(SqliteDatabase& source, SqliteDatabase& target, const IsWanted& isWanted) {
    const CaError error = source.copyTo(target, isWanted);
    return error.id() == SqliteDatabase::cancelledError ? cancelled() : error;
}

// Why what was asked of a file of unknown origin came to nothing: the user may have lost patience.
CaError endOf(const CaError& error, const IsWanted& isWanted) {
    return error.id() == SqliteDatabase::cancelledError && !isWanted(0) ? cancelled() : error;
}

std::function<bool()> goesOn(const IsWanted& isWanted) {
    return [isWanted] { return isWanted(0); };
}

QString patientCount(qint64 patients) {
    return patients == 1 ? QStringLiteral("1 patient")
                         : QStringLiteral("%1 patients").arg(patients);
}

// --- backing up

CaError checkRepository(SqliteDatabase& database, const QString& repository,
                        const IsWanted& isWanted) {
    database.distrust();
    const SqliteBounds bounds(database, goesOn(isWanted));
    int version = 0;
    const CaError error = RepositorySchema::check(database, version);
    if (error == CaError::nullError && version == 0)
        return backupError(QStringLiteral("\"%1\" holds nothing.").arg(repository));
    return endOf(error, isWanted);
}

CaError sealBackup(SqliteDatabase& database, const IsWanted& isWanted, qint64& patients) {
    const QString made = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    QByteArray checksum;
    // A file of its own: without what would lie beside it.
    CaError error = runAll(database, {QStringLiteral("PRAGMA journal_mode=DELETE")});
    if (error == CaError::nullError)
        error = checksumOf(database, made, isWanted, checksum);
    if (error == CaError::nullError)
        error = countRows(database, "SELECT count(*) FROM patient", patients);
    if (error != CaError::nullError)
        return error;
    const QString row = QStringLiteral("INSERT INTO backup VALUES ('%1', %2, '%3')")
                            .arg(made)
                            .arg(patients)
                            .arg(QLatin1String(checksum));
    return runAll(database, newChain() + QStringList{RepositorySchema::backupStatement(), row});
}

// --- restoring

struct Seal {
    QString made;
    qint64 patients = 0;
    QByteArray checksum;
};

CaError readSeal(SqliteDatabase& database, const QString& backup, const IsWanted& isWanted,
                 Seal& seal) {
    database.distrust();
    const SqliteBounds bounds(database, goesOn(isWanted));
    int version = 0;
    CaError error = RepositorySchema::check(database, version, RepositorySchema::backupStatement());
    int seals = 0;
    if (error == CaError::nullError)
        error = database.rows("SELECT made, patients, checksum FROM backup LIMIT 2",
                              [&](const SqliteRow& row) {
                                  seal = {row.text(0), row.number(1), row.bytes(2)};
                                  seal.checksum.detach();
                                  ++seals;
                                  return true;
                              });
    error = endOf(error, isWanted);
    if (error.id() == backupCancelledError)
        return error;
    if (error != CaError::nullError || seals != 1)
        return backupError(
            QStringLiteral("\"%1\" is no backup of this program%2")
                .arg(backup, error == CaError::nullError
                                 ? QStringLiteral(".")
                                 : QStringLiteral(": ") + QString::fromStdString(error.text())));
    return error;
}

CaError checkCopy(SqliteDatabase& copy, const QString& backup, const Seal& seal,
                  const IsWanted& isWanted) {
    QByteArray checksum;
    QString integrity;
    CaError error;
    {
        const SqliteBounds bounds(copy, goesOn(isWanted), std::numeric_limits<int>::max(),
                                  std::chrono::hours(24));
        error = endOf(copy.rows("PRAGMA integrity_check(1)",
                                [&](const SqliteRow& row) {
                                    integrity = row.text(0);
                                    return true;
                                }),
                      isWanted);
    }
    if (error == CaError::nullError && integrity != QLatin1String("ok"))
        error = backupError(integrity);
    if (error == CaError::nullError)
        error = checksumOf(copy, seal.made, isWanted, checksum);
    qint64 patients = 0;
    if (error == CaError::nullError)
        error = countRows(copy, "SELECT count(*) FROM patient", patients);
    if (error.id() == backupCancelledError)
        return error;
    if (error != CaError::nullError)
        return backupError(QStringLiteral("The backup \"%1\" is damaged: %2")
                               .arg(backup, QString::fromStdString(error.text())));
    if (checksum != seal.checksum || patients != seal.patients)
        return backupError(
            QStringLiteral("The backup \"%1\" is damaged: its checksum is another one.")
                .arg(backup));
    return error;
}

CaError inUse(const QString& repository) {
    return backupError(
        QStringLiteral("The repository \"%1\" is in use by another program.").arg(repository));
}

// The old repository, with nobody else in it. What lies beside it is brought into it, so that all
// of it is one file. A damaged one cannot be asked for that: `occupied` stays empty then.
CaError occupy(const QString& repository, std::unique_ptr<SqliteDatabase>& occupied) {
    CaError error = SqliteDatabase::open(repository, SqliteDatabase::Mode::Writing, occupied);
    if (error == CaError::nullError)
        occupied->distrust();
    if (error == CaError::nullError)
        error = runAll(*occupied, {QStringLiteral("PRAGMA busy_timeout=500"),
                                   QStringLiteral("PRAGMA locking_mode=EXCLUSIVE")});
    if (error == CaError::nullError) {
        const SqliteBounds bounds(*occupied);
        error = runAll(*occupied, {QStringLiteral("SELECT count(*) FROM sqlite_master"),
                                   QStringLiteral("PRAGMA journal_mode=DELETE"),
                                   QStringLiteral("BEGIN EXCLUSIVE")});
    }
    if (error == CaError::nullError)
        return error;
    occupied.reset();
    if (error.id() == SqliteDatabase::damagedError || error.id() == SqliteDatabase::cancelledError)
        return CaError::nullError;
    return backupError(QStringLiteral("The repository \"%1\" cannot be replaced: %2")
                           .arg(repository, QString::fromStdString(error.text())));
}

// Keeps the old repository under another name and lets the new one take its place. At each moment
// the old one has a name, and nothing of it lies beside the new one.
CaError replaceBy(Draft& draft, const QString& repository, QString& keptAs) {
    // Before anything of it is opened, which would end the locks of this process.
    if (SqliteUse::isInUse(repository))
        return inUse(repository);
    KeptRepository kept(repository);
    if (const int number = kept.keep())
        return systemError(QStringLiteral("Could not keep"), repository, number);
    CaError error;
    std::unique_ptr<SqliteDatabase> occupied;
    if (QFileInfo::exists(repository))
        error = occupy(repository, occupied);
    if (error != CaError::nullError) {
        kept.removeKept();
        return error;
    }
    if (occupied)
        kept.takeAsOne();
    for (const char* suffix : SqliteDatabase::filesBeside)
        QFile::remove(repository + QLatin1String(suffix));
    error = draft.becomeTarget(false);
    if (error == CaError::nullError)
        keptAs = kept.name();
    else
        kept.bringBack();
    return error;
}

// To be called under the repository's OpeningLock.
CaError prepare(const QString& path, const QString& repository, const OpeningLock& opening) {
    if (opening.isTaken())
        return inUse(repository);
    removeSecondNames(repository);
    const QString problem = whyNotOpened(path);
    if (!problem.isEmpty())
        return backupError(QStringLiteral("\"%1\" cannot be opened: %2.").arg(repository, problem));
    return SqliteChain::setForeignWalAside(repository);
}

CaError backUp(const QString& path, const QString& backup, const IsWanted& isWanted,
               QString& summary) {
    const QString repository = realFile(path);
    if (QFileInfo::exists(backup) || QFileInfo(backup).isSymLink())
        return backupError(QStringLiteral("\"%1\" exists already.").arg(backup));
    if (!QFileInfo(repository).isFile())
        return backupError(QStringLiteral("There is no repository \"%1\".").arg(repository));
    std::optional<OpeningLock> opening(repository);
    CaError error = prepare(path, repository, *opening);
    const SqliteUse use(repository);
    std::unique_ptr<SqliteDatabase> source;
    if (error == CaError::nullError)
        error = SqliteDatabase::open(repository, SqliteDatabase::Mode::Reading, source);
    // As it is at this moment, however long the copy takes.
    if (error == CaError::nullError)
        error = runAll(*source, {QStringLiteral("BEGIN")});
    if (error == CaError::nullError)
        error = checkRepository(*source, repository, isWanted);
    opening.reset();
    if (error != CaError::nullError)
        return error;
    Draft draft(backup, {});
    std::unique_ptr<SqliteDatabase> target;
    error = draft.open(target);
    qint64 patients = 0;
    if (error == CaError::nullError)
        error = copy(*source, *target, between(isWanted, 0, 0.5));
    if (error == CaError::nullError)
        error = sealBackup(*target, between(isWanted, 0.5, 1), patients);
    target.reset();
    if (error == CaError::nullError)
        error = draft.becomeTarget(true);
    if (error == CaError::nullError)
        summary = QStringLiteral("%1 in \"%2\".").arg(patientCount(patients), backup);
    return error;
}

// As the program will find it.
CaError checkDraft(const Draft& draft, const QString& repository, const IsWanted& isWanted) {
    std::unique_ptr<SqliteDatabase> database;
    const CaError error = draft.open(database);
    return error == CaError::nullError ? checkRepository(*database, repository, isWanted) : error;
}

CaError restore(const QString& backup, const QString& path, const IsWanted& isWanted,
                const FileRights& rights, QString& summary) {
    const QString repository = realFile(path);
    if (!QFileInfo(backup).isFile())
        return backupError(QStringLiteral("There is no file \"%1\".").arg(backup));
    std::unique_ptr<SqliteDatabase> source;
    CaError error = SqliteDatabase::open(backup, SqliteDatabase::Mode::AsItLies, source);
    Seal seal;
    if (error == CaError::nullError)
        error = readSeal(*source, backup, isWanted, seal);
    if (error != CaError::nullError)
        return error;
    if (const int number = makePrivateFolder(QFileInfo(repository).absolutePath(), rights))
        return systemError(QStringLiteral("Could not write"), repository, number);
    Draft draft(repository, rights);
    std::unique_ptr<SqliteDatabase> target;
    error = draft.open(target);
    if (error == CaError::nullError)
        error = copy(*source, *target, between(isWanted, 0, 0.5));
    if (error == CaError::nullError)
        error = readSeal(*target, backup, between(isWanted, 0.5, 0.5), seal); // What was copied.
    if (error == CaError::nullError)
        error = checkCopy(*target, backup, seal, between(isWanted, 0.5, 1));
    if (error == CaError::nullError)
        error = runAll(*target, newChain() + QStringList{QStringLiteral("DROP TABLE backup")});
    target.reset();
    if (error == CaError::nullError)
        error = checkDraft(draft, repository, between(isWanted, 1, 1));
    QString keptAs;
    const OpeningLock opening(repository);
    if (error == CaError::nullError)
        error = prepare(path, repository, opening);
    if (error == CaError::nullError)
        error = replaceBy(draft, repository, keptAs);
    if (error == CaError::nullError)
        summary = QStringLiteral("%1, as of %2.%3")
                      .arg(patientCount(seal.patients), seal.made,
                           keptAs.isEmpty() ? QString()
                                            : QStringLiteral(" What was there before is kept as "
                                                             "\"%1\".")
                                                  .arg(keptAs));
    return error;
}

// Of a thread nobody catches it.
CaError withMemory(const std::function<CaError()>& work) {
    try {
        return work();
    } catch (const std::bad_alloc&) {
        return backupError(QStringLiteral("There is not enough memory for it."));
    }
}

} // namespace

CaError backUpRepository(const QString& repository, const QString& backup, const IsWanted& isWanted,
                         QString& summary) {
    return withMemory([&] { return backUp(repository, backup, between(isWanted, 0, 1), summary); });
}

CaError restoreRepository(const QString& backup, const QString& repository,
                          const IsWanted& isWanted, QString& summary, const FileRights& rights) {
    return withMemory(
        [&] { return restore(backup, repository, between(isWanted, 0, 1), rights, summary); });
}

} // namespace vlr
