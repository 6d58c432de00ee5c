#include "IO/RecoveryFile.h"

#include "Data/DataIterator.h"
#include "Documents/PatientDocument.h"
#include "Files/DurableFile.h"
#include "IO/DataIOManager.h"
#include "IO/IOManager.h"
#include "Log/vlrLog.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDataStream>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QRegularExpression>
#include <QtCore/QStandardPaths>
#include <QtCore/QUuid>

#include <algorithm>
#include <fcntl.h>
#include <new>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace vlr {

const char* const damagedRecoveryError = "Recovery::damaged";

namespace {

// The file: this, the content, and the SHA-256 of both. Another number for another content.
const QByteArray magic = QByteArrayLiteral("vlr recovery 1\n");
constexpr int checksumSize = 32;
constexpr qint64 mostBytes = qint64(1) << 30;
constexpr quint32 mostParts = 1000000;

struct Part {
    QString item;
    QString name;
    QByteArray bytes;
};

struct Content {
    QString repository;
    QString when;
    QString uid;
    qint32 revision = 0;
    QByteArray document;
    std::vector<Part> parts;
};

CaError failure(const QString& text, const char* id = "Recovery::failed") {
    return CaError(id, text.toStdString());
}

CaError damaged(const QString& path, const QString& why) {
    return failure(QStringLiteral("The recovery file \"%1\" is damaged: %2").arg(path, why),
                   damagedRecoveryError);
}

// --- the content as bytes

QByteArray checksumOf(const QByteArray& bytes) {
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha256);
}

QByteArray toBytes(const Content& content) {
    QByteArray bytes = magic;
    QDataStream stream(&bytes, QIODevice::WriteOnly | QIODevice::Append);
    stream.setVersion(QDataStream::Qt_5_15);
    stream << content.repository << content.when << content.uid << content.revision
           << content.document << static_cast<quint32>(content.parts.size());
    for (const Part& part : content.parts)
        stream << part.item << part.name << part.bytes;
    return bytes + checksumOf(bytes);
}

// What is wrong with the bytes; empty where they are in order.
QString fromBytes(const QByteArray& bytes, Content& content) {
    if (!bytes.startsWith(magic) || bytes.size() < magic.size() + checksumSize)
        return QStringLiteral("it is cut off, or of another version of this program.");
    const QByteArray body = bytes.left(bytes.size() - checksumSize);
    if (checksumOf(body) != bytes.right(checksumSize))
        return QStringLiteral("its checksum is another one.");
    QDataStream stream(body);
    stream.setVersion(QDataStream::Qt_5_15);
    (void)stream.skipRawData(magic.size());
    quint32 count = 0;
    stream >> content.repository >> content.when >> content.uid >> content.revision >>
        content.document >> count;
    for (quint32 i = 0; i < std::min(count, mostParts) && stream.status() == QDataStream::Ok; ++i) {
        Part part;
        stream >> part.item >> part.name >> part.bytes;
        content.parts.push_back(part);
    }
    const bool isWhole = stream.status() == QDataStream::Ok && stream.atEnd() &&
                         content.parts.size() == count && content.revision >= 0;
    return isWhole ? QString() : QStringLiteral("its content makes no sense.");
}

// --- the patient as content

CaError collectParts(const DataPointer<Patient>& patient, std::vector<Part>& parts) {
    qint64 size = 0;
    const IOManager::PartsElsewhere collected([&](const URI& uri, const QByteArray& bytes) {
        size += bytes.size();
        if (size > mostBytes)
            return failure(QStringLiteral("There are more than %1 bytes to keep.").arg(mostBytes));
        parts.push_back({uri.itemKey(), uri.partName(), bytes});
        return CaError();
    });
    return patient->saveBinaryParts();
}

// The parts come first, as when it is stored: items may make new ones meanwhile.
CaError toContent(const DataPointer<Patient>& patient, Content& content) {
    if (!patient || patient->parent())
        return failure(QStringLiteral("There is no patient by itself to keep."));
    if (!patient->storage().uri.isValid())
        patient->setStorage(
            {URI::patient(QUuid::createUuid().toString(QUuid::WithoutBraces)), 0, {}});
    content.repository = DataIOManager::repositoryName();
    content.when = QDateTime::currentDateTimeUtc().toString(Qt::ISODate);
    content.uid = patient->storage().uri.patientUid();
    content.revision = patient->storage().revision;
    const CaError error = collectParts(patient, content.parts);
    return error == CaError::nullError ? writePatient(*patient, content.document) : error;
}

CaError giveParts(const DataPointer<Patient>& patient, const std::vector<Part>& parts) {
    // Only these have a key for certain; asking another one would make one.
    QHash<QString, DataPointer<Data>> items;
    const auto add = [&](const DataPointer<Data>& item) {
        if (!item->binaryParts().isEmpty())
            items.insert(item->key(), item);
    };
    add(patient);
    DataIterator it(patient);
    while (const DataPointer<Data> item = it.next())
        add(item);
    for (const Part& part : parts) {
        const DataPointer<Data> item = items.value(part.item);
        if (!item)
            return failure(QStringLiteral("the part \"%1\" belongs to no item.").arg(part.name));
        item->setBinaryPart(part.name, part.bytes);
    }
    return CaError::nullError;
}

// --- where the files are

struct Place {
    QString folder;
    QString name; ///< The beginning of the files' names.
};

// Where a file is written to, the better one first.
std::vector<Place> places() {
    std::vector<Place> all;
    QString repository;
    if (DataIOManager::repositoryFile(repository) == CaError::nullError) {
        const QFileInfo file(repository);
        all.push_back({file.absolutePath(), file.fileName() + QStringLiteral(".recovery-")});
    }
    all.push_back({QStandardPaths::writableLocation(QStandardPaths::AppDataLocation),
                   QStringLiteral("patients.recovery-")});
    return all;
}

bool isRecoveryOf(const Place& place, const QString& fileName) {
    static const QRegularExpression rest(
        QRegularExpression::anchoredPattern(QStringLiteral("\\d{8}-\\d{6}-[0-9a-f]{8}")));
    return fileName.startsWith(place.name) &&
           rest.match(fileName.mid(place.name.size())).hasMatch();
}

// Somebody else's file would put his patients in the place of the user's.
bool isOwn(const struct stat& status) {
    return S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
           (status.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

// No link is followed, and what was checked is what is read.
CaError readOwn(const QString& path, QByteArray& bytes) {
    const int descriptor = open(QFile::encodeName(path).constData(),
                                O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    struct stat status = {};
    CaError error;
    if (descriptor < 0 || fstat(descriptor, &status) != 0 || !isOwn(status))
        error = failure(QStringLiteral("The recovery file \"%1\" cannot be read, or is not of this "
                                       "user alone.")
                            .arg(path));
    else
        error = readWhole(QStringLiteral("/proc/self/fd/%1").arg(descriptor), mostBytes, bytes);
    if (descriptor >= 0)
        close(descriptor);
    return error;
}

} // namespace

CaError writeRecovery(const DataPointer<Patient>& patient, QString& path) {
    try {
        Content content;
        CaError error = toContent(patient, content);
        if (error != CaError::nullError)
            return error;
        const QByteArray bytes = toBytes(content);
        if (bytes.size() > mostBytes)
            return failure(QStringLiteral("There are more than %1 bytes to keep.").arg(mostBytes));
        const QString rest =
            QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd-HHmmss-")) +
            QUuid::createUuid().toString(QUuid::WithoutBraces).left(8);
        for (const Place& place : places()) {
            const QString target = place.folder + QLatin1Char('/') + place.name + rest;
            error = writeDurably(target, bytes);
            if (error != CaError::nullError)
                continue;
            path = target;
            break;
        }
        return error;
    } catch (const std::bad_alloc&) {
        return failure(QStringLiteral("There is not enough memory to keep the patient."));
    }
}

QStringList waitingRecoveries() {
    QStringList waiting;
    for (const Place& place : places()) {
        const QStringList names =
            QDir(place.folder).entryList({QStringLiteral("*.recovery-*")}, QDir::Files);
        for (const QString& name : names) {
            const QString path = place.folder + QLatin1Char('/') + name;
            struct stat status = {};
            if (!isRecoveryOf(place, name) || waiting.contains(path) ||
                lstat(QFile::encodeName(path).constData(), &status) != 0)
                continue;
            if (isOwn(status))
                waiting << path;
            else
                VLR_LOG(Warning) << "The recovery file " << path
                                 << " is not of this user alone. It is not used.";
        }
    }
    const auto age = [](const QString& path) {
        return path.section(QLatin1String(".recovery-"), -1);
    };
    std::sort(waiting.begin(), waiting.end(),
              [&](const QString& a, const QString& b) { return age(a) < age(b); });
    return waiting;
}

CaError readRecovery(const QString& path, Recovery& recovery) {
    try {
        QByteArray bytes;
        CaError error = readOwn(path, bytes);
        if (error != CaError::nullError)
            return error;
        Content content;
        const QString wrong = fromBytes(bytes, content);
        if (!wrong.isEmpty())
            return damaged(path, wrong);
        if (content.repository != DataIOManager::repositoryName())
            return failure(QStringLiteral("The recovery file \"%1\" belongs to the repository "
                                          "\"%2\".")
                               .arg(path, content.repository));
        Recovery read{content.repository, QDateTime::fromString(content.when, Qt::ISODate), {}};
        error = readPatient(content.document, read.patient);
        if (error == CaError::nullError) {
            read.patient->setStorage({URI::patient(content.uid), content.revision, {}});
            error = giveParts(read.patient, content.parts);
        }
        if (error != CaError::nullError)
            return damaged(path, QString::fromStdString(error.text()));
        recovery = read;
        return error;
    } catch (const std::bad_alloc&) {
        return failure(QStringLiteral("There is not enough memory for \"%1\".").arg(path));
    }
}

bool isRecoveryStored(const Recovery& recovery) {
    DataPointer<Patient> stored;
    QByteArray theirs;
    QByteArray ours;
    if (!recovery.patient ||
        DataIOManager::loadPatient(recovery.patient->storage().uri, stored) != CaError::nullError ||
        writePatient(*stored, theirs) != CaError::nullError ||
        writePatient(*recovery.patient, ours) != CaError::nullError || theirs != ours)
        return false;
    const IOManager::PartsElsewhere compared([](const URI& uri, const QByteArray& bytes) {
        QByteArray there;
        const CaError error = IOManager::read(uri, there);
        return error == CaError::nullError && there != bytes
                   ? failure(QStringLiteral("The repository has other bytes."))
                   : error;
    });
    return recovery.patient->saveBinaryParts() == CaError::nullError;
}

void removeRecovery(const QString& path) {
    if (path.isEmpty())
        return;
    if (QFile::remove(path))
        synchroniseFolder(QFileInfo(path).path());
    else if (QFileInfo::exists(path))
        VLR_LOG(Warning) << "The recovery file " << path
                         << " cannot be removed, although its patient is stored.";
}

} // namespace vlr
