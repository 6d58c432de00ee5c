#include "IO/ConfigurationFiles.h"

#include "Data/DataTreeNode.h"
#include "Documents/TreeXml.h"
#include "Files/DurableFile.h"
#include "Log/vlrLog.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QHash>
#include <QtCore/QSet>
#include <QtCore/QStandardPaths>
#include <QtCore/QUrl>

namespace vlr {

namespace {

const TreeLimits configurationLimits;

// Files that must not be overwritten, since what they hold may be good or could not be saved from
// it.
QSet<QString>& untouchableFiles() {
    static QSet<QString> files;
    return files;
}

CaError unusable(const QString& path, const CaError& cause) {
    return CaError("DataIOManager::damagedConfiguration", path.toStdString() + ": " + cause.text());
}

CaError keepDamagedFile(const QString& path, const CaError& cause) {
    QString keptAs;
    const CaError error = keepUnusableAside(path, keptAs);
    if (error == CaError::nullError) {
        VLR_LOG(Warning) << "The configuration " << path << " cannot be used (" << cause
                         << "). It is kept as " << keptAs << '.';
    } else {
        untouchableFiles().insert(path);
        VLR_LOG(Warning) << "The configuration " << path << " cannot be used (" << cause
                         << ") and cannot be kept aside (" << error
                         << "). It will not be overwritten.";
    }
    return unusable(path, cause);
}

CaError leaveUnreadFile(const QString& path, const CaError& cause) {
    untouchableFiles().insert(path);
    VLR_LOG(Warning) << "The configuration " << path << " cannot be read at present (" << cause
                     << "). It will not be overwritten.";
    return unusable(path, cause);
}

// What the files were when they were last read well or written. A file that still is need not be
// parsed before it is replaced.
QHash<QString, QByteArray>& readableDocuments() {
    static QHash<QString, QByteArray> documents;
    return documents;
}

// Makes sure that nothing is lost when the file is written, unless it holds the document already.
CaError clearTheWay(const QString& path, const QByteArray& document, bool& isWritten) {
    QByteArray stored;
    CaError error = readTrusted(path, configurationLimits.bytes, stored);
    isWritten = error == CaError::nullError && stored == document;
    if (isWritten || error.id() == fileNotFoundError)
        return CaError::nullError;
    if (error.id() == passingReadError)
        return leaveUnreadFile(path, error);
    const auto known = readableDocuments().constFind(path);
    const bool isKnown =
        error == CaError::nullError && known != readableDocuments().constEnd() && *known == stored;
    DataTreeNode root;
    if (error == CaError::nullError && !isKnown)
        error = readTree(stored, root, configurationLimits);
    if (error != CaError::nullError)
        (void)keepDamagedFile(path, error);
    return untouchableFiles().contains(path) ? unusable(path, error) : CaError::nullError;
}

QString fileName(const QString& name) {
    // File systems take 255 bytes, of which a damaged file needs some for its new name.
    constexpr int most = 200;
    QByteArray encoded = QUrl::toPercentEncoding(name);
    if (encoded.size() > most)
        encoded = encoded.left(most - 41) + '-' +
                  QCryptographicHash::hash(encoded, QCryptographicHash::Sha1).toHex();
    return QString::fromLatin1(encoded) + QStringLiteral(".xml");
}

} // namespace

QString configurationFile(const QString& name) {
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
           QStringLiteral("/configurations/") + fileName(name);
}

CaError readConfiguration(const QString& path, Configuration& configuration) {
    QByteArray document;
    CaError error = readTrusted(path, configurationLimits.bytes, document);
    if (error.id() == fileNotFoundError)
        return error;
    if (error.id() == passingReadError)
        return leaveUnreadFile(path, error);
    createConfigurationFactory();
    DataTreeNode root;
    if (error == CaError::nullError)
        error = readTree(document, root, configurationLimits);
    if (error == CaError::nullError)
        error = configuration.load(root);
    if (error != CaError::nullError)
        return keepDamagedFile(path, error);
    untouchableFiles().remove(path);
    readableDocuments().insert(path, document);
    return CaError::nullError;
}

CaError writeConfiguration(const QString& path, const Configuration& configuration) {
    if (untouchableFiles().contains(path))
        return CaError("DataIOManager::storeConfiguration",
                       path.toStdString() + " could neither be read nor kept aside.");
    DataTreeNode root;
    QByteArray document;
    CaError error = configuration.save(root);
    if (error == CaError::nullError)
        error = writeTree(root, document, configurationLimits);
    if (error != CaError::nullError)
        return error;
    bool isWritten = false;
    error = clearTheWay(path, document, isWritten);
    if (error == CaError::nullError && !isWritten)
        error = writeDurably(path, document);
    if (error == CaError::nullError)
        readableDocuments().insert(path, document);
    return error;
}

} // namespace vlr
