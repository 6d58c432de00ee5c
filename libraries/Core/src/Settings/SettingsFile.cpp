#include "Settings/SettingsFile.h"

#include "File/PrivateFile.h"
#include "Files/DurableFile.h"
#include "Files/FileTrust.h"
#include "Files/TemporaryFile.h"
#include "Log/vlrLog.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDeadlineTimer>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QSettings>
#include <QtCore/QSysInfo>
#include <QtCore/QThread>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <system_error>
#include <unistd.h>

namespace vlr {

namespace {

// A file that is as large as this may take 10 MiB and 50 milliseconds.
constexpr qint64 fileLimit = qint64(512) << 10;
constexpr int mostLines = 10000;
constexpr int lockTimeout = 2000; // milliseconds
const char* const damagedError = "Settings::damaged";
const char* const noScratchError = "Settings::noScratch"; // It may be right the next time.

using Values = SettingsValues;

// A beginning of a settings file is a settings file, too, which only knows less. What is written
// here therefore says where it ends; a file written by hand need not.
const QByteArray firstLine = "; This file is whole if it has a last line \"; end\".\n";
const QByteArray lastLine = "; end\n";

bool isCutOff(const QByteArray& bytes) {
    const QByteArray mark = firstLine.trimmed();
    return !bytes.isEmpty() && mark.startsWith(bytes.left(mark.size())) &&
           !bytes.contains('\n' + lastLine.trimmed());
}

// QSettings keeps the low 16 bits of a number, however long it is.
ushort characterCode(const QString& digits, uint base) {
    uint code = 0;
    for (const QChar digit : digits)
        code = code * base + static_cast<uint>(QString(digit).toUShort(nullptr, 16));
    return static_cast<ushort>(code & 0xffffU);
}

// QSettings hands the rest of a value that starts with "@Variant(" or "@DateTime(" to QDataStream,
// which allocates and constructs whatever it is told to. Nothing here writes such values, and
// they are to be found before QSettings sees them: also where quotes and escapes hide them.
bool holdsSerialisedObject(const QByteArray& bytes) {
    static const QRegularExpression escape(
        QStringLiteral("\\\\x([0-9A-Fa-f]+)|\\\\([0-7]+)|\\\\(?:\r\n|\n\r|.)|\""),
        QRegularExpression::DotMatchesEverythingOption);
    static const QRegularExpression object(QStringLiteral("[=,]\\s*@(?:Variant|DateTime)\\("));
    // The codec drops a byte order mark, also where a value begins with it.
    const QString text = QString::fromLatin1(QByteArray(bytes).replace("\xEF\xBB\xBF", ""));
    QString plain;
    int end = 0;
    auto matches = escape.globalMatch(text);
    while (matches.hasNext()) {
        const auto match = matches.next();
        plain += text.midRef(end, match.capturedStart() - end);
        end = match.capturedEnd();
        const ushort code = match.capturedLength(1) > 0 ? characterCode(match.captured(1), 16)
                                                        : characterCode(match.captured(2), 8);
        if (code != 0)
            plain += QChar(code);
    }
    plain += text.midRef(end);
    return object.match(plain).hasMatch();
}

bool holdsAssignment(const QByteArray& bytes) {
    const QList<QByteArray> lines = bytes.split('\n');
    return std::any_of(lines.begin(), lines.end(), [](const QByteArray& line) {
        const QByteArray text = line.trimmed();
        return text.indexOf('=') > 0 && text.front() != ';' && text.front() != '[';
    });
}

// QSettings takes a read that fails for the end of the file. Where it finds nothing in bytes that
// look as if they held something, a copy is to say the same.
bool isWithoutSettings(const QString& iniFile, const QByteArray& bytes) {
    if (!holdsAssignment(bytes))
        return true;
    QByteArray read;
    const ScratchFolder scratch;
    const QString copy = scratch.path() + QStringLiteral("/copy.ini");
    if (scratch.error() != 0 || !readWhole(iniFile, fileLimit, read).isNull() || read != bytes ||
        !QFile::copy(iniFile, copy))
        return false;
    const QSettings again(copy, QSettings::IniFormat);
    return again.allKeys().isEmpty() && again.status() != QSettings::AccessError;
}

// Reads the file, which holds these bytes.
CaError parse(const QString& iniFile, const QByteArray& bytes, Values& values) {
    if (std::max(bytes.count('\n'), bytes.count('\r')) > mostLines)
        return settingsError("damaged", QStringLiteral("it has more than %1 lines").arg(mostLines));
    if (holdsSerialisedObject(bytes))
        return settingsError("damaged", QStringLiteral("it holds a serialised object"));
    if (isCutOff(bytes))
        return settingsError("damaged", QStringLiteral("it is cut off"));
    QSettings ini(iniFile, QSettings::IniFormat);
    ini.setIniCodec("UTF-8"); // for files written by hand; QSettings itself writes ASCII
    Values read;
    const QStringList keys = ini.allKeys();
    for (const QString& key : keys)
        if (isSettingsKey(key))
            read.insert(key, ini.value(key));
    // Too many open files, for example, say nothing about what the file holds.
    if (ini.status() == QSettings::AccessError ||
        (keys.isEmpty() && !isWithoutSettings(iniFile, bytes)))
        return settingsError(
            "noScratch",
            QStringLiteral("The settings file \"%1\" cannot be read at present.").arg(iniFile));
    if (ini.status() != QSettings::NoError)
        return settingsError("damaged", QStringLiteral("it is not a settings file"));
    values = read;
    return CaError::nullError;
}

// The same by way of a copy. QSettings remembers files by name, size and time, so that a file
// another process has just replaced might be taken for the known one.
CaError parseCopy(const QString& copy, const QByteArray& bytes, Values& values) {
    QFile file(copy);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        return settingsError(
            "noScratch",
            QStringLiteral("Could not write \"%1\": %2.").arg(copy, file.errorString()));
    return parse(copy, bytes, values);
}

// The values as the bytes of a settings file. QSettings tells nothing of a disk that is full at
// the last moment; reading the bytes again does, and shows what the format cannot keep, too.
CaError format(const QDir& scratch, const Values& values, QByteArray& bytes) {
    const QString path = scratch.filePath(QStringLiteral("written.ini"));
    {
        QSettings ini(path, QSettings::IniFormat);
        for (auto value = values.cbegin(); value != values.cend(); ++value)
            ini.setValue(value.key(), value.value());
    }
    Values check;
    bytes.clear();
    if (!values.isEmpty()) { // QSettings makes no file for nothing.
        const qint64 most = fileLimit - firstLine.size() - lastLine.size();
        CaError error =
            QFileInfo(path).size() > most
                ? settingsError("damaged",
                                QStringLiteral("it has more than %1 bytes").arg(fileLimit))
                : readWhole(path, most, bytes);
        bytes = firstLine + bytes + lastLine;
        if (error.isNull())
            error = parseCopy(scratch.filePath(QStringLiteral("check.ini")), bytes, check);
        if (error.id() == damagedError)
            return settingsError("notStorable",
                                 QStringLiteral("The settings could not be put into a file: %1.")
                                     .arg(QString::fromStdString(error.text())));
        if (!error.isNull())
            return error;
    }
    if (check != values)
        return settingsError("notStorable",
                             QStringLiteral("The settings could not be put into a file."));
    return CaError::nullError;
}

QString damageText(const QString& path, const CaError& reason) {
    return QStringLiteral("The settings in \"%1\" cannot be used (%2).")
        .arg(path, QString::fromStdString(reason.text()));
}

CaError setAside(const QString& path, const CaError& reason) {
    const QString damage = damageText(path, reason);
    QString keptAs;
    const CaError error = keepUnusableAside(path, keptAs);
    if (!error.isNull())
        return settingsError("damaged",
                             damage + QLatin1Char(' ') + QString::fromStdString(error.text()));
    VLR_LOG(Warning) << damage << " The file is kept as \"" << keptAs << "\".";
    return CaError::nullError;
}

// Held while a lock file is made, or that of somebody else removed, so that none that is just being
// made is taken for one that nobody holds. The system lets go of it when a process ends.
class FolderLock {
public:
    explicit FolderLock(const QString& folder)
        : m_descriptor(
              open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)),
          m_error(m_descriptor >= 0 && flock(m_descriptor, LOCK_EX | LOCK_NB) == 0 ? 0 : errno) {}
    ~FolderLock() {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    [[nodiscard]] bool isHeld() const { return m_error == 0; }
    /// By another process. Otherwise this file system does not know such locks.
    [[nodiscard]] bool isTaken() const { return m_error == EWOULDBLOCK; }

private:
    int m_descriptor;
    int m_error;
};

// A process that was ended just when it had made its lock file left an empty one, which says of
// nobody that he is gone.
bool namesNobody(const QLockFile& file) {
    qint64 process = 0;
    QString host;
    QString application;
    return file.error() == QLockFile::LockFailedError &&
           !file.getLockInfo(&process, &host, &application);
}

// Where a lock file could not be removed it looks like that of a process that works. While it is
// really in use the system's lock on it keeps it from being removed.
void removeOwnRest(QLockFile& file) {
    qint64 process = 0;
    QString host;
    QString application;
    if (file.getLockInfo(&process, &host, &application) &&
        process == QCoreApplication::applicationPid() && host == QSysInfo::machineHostName())
        (void)file.removeStaleLockFile();
}

// Where folders cannot be locked a file that names nobody may be in the making. One that still is
// when the time is over is not.
bool tryLock(QLockFile& file, const QString& path, bool isLast) {
    const FolderLock making(QFileInfo(path).path());
    if (making.isTaken())
        return false;
    // QLockFile makes it to remove the lock of a process that is gone. Whoever was ended meanwhile
    // has left it empty, and it would count for 30 seconds.
    if (making.isHeld())
        QFile::remove(path + QStringLiteral(".lock.rmlock"));
    removeOwnRest(file);
    return file.tryLock(0) || (namesNobody(file) && (making.isHeld() || isLast) &&
                               file.removeStaleLockFile() && file.tryLock(0));
}

CaError lock(QLockFile& file, const QString& path) {
    constexpr int pause = 10; // milliseconds
    const QDeadlineTimer deadline(lockTimeout);
    for (bool isLast = false; !isLast; QThread::msleep(pause)) {
        isLast = deadline.hasExpired();
        if (tryLock(file, path, isLast))
            return CaError::nullError;
        if (file.error() == QLockFile::PermissionError || file.error() == QLockFile::UnknownError)
            break;
    }
    const bool isTaken =
        file.error() == QLockFile::LockFailedError || file.error() == QLockFile::NoError;
    return settingsError("locked",
                         QStringLiteral("Could not lock the settings \"%1\": %2.")
                             .arg(path, isTaken ? QStringLiteral("another process is using them")
                                                : QStringLiteral("the lock file beside them "
                                                                 "cannot be written")));
}

// What the file holds now; damagedError for a file that will never be of use.
CaError readNow(const QString& path, const QDir& scratch, Values& values) {
    QByteArray bytes;
    CaError error = readTrusted(path, fileLimit, bytes);
    if (error.id() == fileNotFoundError) {
        values.clear();
        return CaError::nullError;
    }
    if (error.id() == passingReadError)
        return error;
    if (error.isNull()) {
        error = parseCopy(scratch.filePath(QStringLiteral("before.ini")), bytes, values);
        if (error.isNull() || error.id() == noScratchError)
            return error;
    }
    return settingsError("damaged", QString::fromStdString(error.text()));
}

CaError noScratch(const ScratchFolder& folder) {
    const auto reason = QString::fromStdString(std::generic_category().message(folder.error()));
    return settingsError(
        "noScratch", QStringLiteral("Could not make a folder for temporary files in \"%1\": %2.")
                         .arg(QDir::tempPath(), reason));
}

// To be called with the lock held.
CaError change(const QString& path, const SettingsEdit& edit, Values& values) {
    const ScratchFolder scratchFolder;
    if (scratchFolder.error() != 0)
        return noScratch(scratchFolder);
    const QDir scratch(scratchFolder.path());
    CaError error = readNow(path, scratch, values);
    const bool isDamaged = error.id() == damagedError;
    if (isDamaged)
        error = setAside(path, error);
    if (!error.isNull())
        return error;
    if (!edit(values) && !isDamaged)
        return CaError::nullError;
    QByteArray bytes;
    error = format(scratch, values, bytes);
    return error.isNull() ? writeDurably(path, bytes) : error;
}

} // namespace

CaError settingsError(const char* id, const QString& text) {
    return CaError(std::string("Settings::") + id, text.toStdString());
}

bool isSettingsKey(const QString& key) {
    return !key.isEmpty() && !key.startsWith(QLatin1Char('/')) && !key.endsWith(QLatin1Char('/')) &&
           !key.contains(QLatin1String("//"));
}

CaError readSettings(const QString& path, SettingsValues& values) {
    QByteArray bytes;
    CaError error = readTrusted(path, fileLimit, bytes);
    if (error.id() == fileNotFoundError)
        return CaError::nullError;
    if (error.id() == passingReadError)
        return error;
    if (error.isNull())
        error = parse(path, bytes, values);
    return error.isNull() || error.id() == noScratchError ? error : setAside(path, error);
}

CaError lookIntoSettings(const QString& path, SettingsValues& values) {
    const ScratchFolder scratch;
    if (scratch.error() != 0)
        return noScratch(scratch);
    const CaError error = readNow(path, QDir(scratch.path()), values);
    return error.id() == damagedError ? settingsError("damaged", damageText(path, error)) : error;
}

CaError changeSettings(const QString& path, const SettingsEdit& edit, SettingsValues& values) {
    const QString folder = QFileInfo(path).path();
    // Not even a folder or a lock file.
    const std::string problem = whyNotBegun(QFile::encodeName(path));
    if (!problem.empty())
        return settingsError("untrusted", QStringLiteral("Could not write \"%1\": %2.")
                                              .arg(path, QString::fromStdString(problem)));
    if (makePrivateFolder(folder) != 0)
        return settingsError("noFolder",
                             QStringLiteral("Could not create the folder \"%1\".").arg(folder));
    QLockFile lockFile(path + QStringLiteral(".lock"));
    CaError error = lock(lockFile, path);
    SettingsValues changed = values;
    if (error.isNull())
        error = change(path, edit, changed);
    if (error.isNull())
        values = changed;
    return error;
}

} // namespace vlr
