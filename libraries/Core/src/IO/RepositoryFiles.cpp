#include "IO/RepositoryFiles.h"

#include "Files/FileTrust.h"
#include "IO/SqliteDatabase.h"
#include "Log/vlrLog.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

#include <sys/stat.h>
#include <unistd.h>

namespace vlr {

namespace {

constexpr int mostLinks = 40;

bool look(const QString& path, struct stat& status) {
    return lstat(QFile::encodeName(path).constData(), &status) == 0;
}

QString absent(const QString& path) {
    const QFileInfo file(path);
    const QString folder = QFileInfo(file.path()).canonicalFilePath();
    return folder.isEmpty() ? path : QDir(folder).filePath(file.fileName());
}

QString whyNotFollowed(const QString& path) {
    struct stat status = {};
    QString name = path;
    for (int i = 0; i < mostLinks && look(name, status) && S_ISLNK(status.st_mode); ++i) {
        if (status.st_uid != geteuid() && status.st_uid != 0)
            return QStringLiteral("\"%1\" is a symbolic link that belongs to %2")
                .arg(name, QString::fromStdString(userText(status.st_uid)));
        name = QFileInfo(name).symLinkTarget();
    }
    return {};
}

// `main` is the repository's file, where there is one.
QString problemBeside(const QString& path, const struct stat* main) {
    struct stat status = {};
    if (!look(path, status))
        return {};
    if (!S_ISREG(status.st_mode))
        return QStringLiteral("\"%1\" is not a regular file").arg(path);
    if (status.st_nlink != 1)
        return QStringLiteral("\"%1\" has another name, too").arg(path);
    const bool isShared = main && (main->st_mode & (S_IWGRP | S_IWOTH)) != 0;
    const bool isOwn =
        status.st_uid == geteuid() || status.st_uid == 0 || (main && status.st_uid == main->st_uid);
    return isOwn || isShared ? QString()
                             : QStringLiteral("\"%1\" belongs to %2")
                                   .arg(path, QString::fromStdString(userText(status.st_uid)));
}

bool isSame(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

bool isSameFile(const QString& one, const QString& other) {
    struct stat its = {};
    struct stat others = {};
    return look(one, its) && look(other, others) && isSame(its, others);
}

// Takes back what is only a name. Changes that do not lie beside the repository any more may be in
// none of its files: they stay, and so does the name to which they belong.
void takeBack(const QString& kept, const QString& path) {
    bool isTakenBack = false;
    bool isMore = false;
    struct stat status = {};
    for (const char* suffix : SqliteDatabase::filesBeside) {
        const QString beside = kept + QLatin1String(suffix);
        if (isSameFile(beside, path + QLatin1String(suffix)))
            isTakenBack = QFile::remove(beside) || isTakenBack;
        isMore = isMore || look(beside, status);
    }
    if (!isMore && isSameFile(kept, path))
        isTakenBack = QFile::remove(kept) || isTakenBack;
    if (isTakenBack)
        VLR_LOG(Warning) << "A restore of \"" << path << "\" was interrupted. Second names \""
                         << kept << "\" that it left were removed.";
}

// Under which a restore keeps a repository, or what lies beside it.
QStringList keptNames(const QString& path) {
    const QFileInfo file(path);
    const QDir folder(file.path());
    QStringList names;
    for (QString name : folder.entryList(QDir::Files | QDir::Hidden)) {
        if (!name.startsWith(file.fileName() + QStringLiteral(".replaced-")))
            continue;
        for (const char* suffix : SqliteDatabase::filesBeside)
            if (name.endsWith(QLatin1String(suffix)))
                name.chop(static_cast<int>(qstrlen(suffix)));
        names << folder.filePath(name);
    }
    names.removeDuplicates();
    return names;
}

bool hasSecondName(const QString& path) {
    struct stat status = {};
    return look(path, status) && status.st_nlink > 1;
}

} // namespace

QString realFile(const QString& path) {
    const QString real = QFileInfo(path).canonicalFilePath();
    if (!real.isEmpty())
        return real;
    QString name = path;
    for (int i = 0; i < mostLinks && QFileInfo(name).isSymLink(); ++i)
        name = QFileInfo(name).symLinkTarget();
    return absent(name);
}

QString whyNotOpened(const QString& path) {
    QString problem = whyNotFollowed(path);
    const QString real = realFile(path);
    struct stat main = {};
    const bool isThere = look(real, main);
    if (problem.isEmpty() && isThere && !S_ISREG(main.st_mode))
        problem = QStringLiteral("not a regular file");
    for (const char* suffix : SqliteDatabase::filesBeside)
        if (problem.isEmpty())
            problem = problemBeside(real + QLatin1String(suffix), isThere ? &main : nullptr);
    return problem;
}

void removeSecondNames(const QString& path) {
    bool isNeeded = hasSecondName(path);
    for (const char* suffix : SqliteDatabase::filesBeside)
        isNeeded = isNeeded || hasSecondName(path + QLatin1String(suffix));
    if (!isNeeded)
        return;
    for (const QString& kept : keptNames(path))
        takeBack(kept, path);
    if (hasSecondName(path))
        VLR_LOG(Warning) << "The repository \"" << path
                         << "\" has another name in the file system. Programs that open it by "
                            "different names damage it: copy files instead of linking them.";
}

} // namespace vlr
