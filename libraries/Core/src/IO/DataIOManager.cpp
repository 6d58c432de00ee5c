#include "IO/DataIOManager.h"

#include "Data/ChildItem.h"
#include "Data/DataItem.h"
#include "Data/DataTreeNode.h"
#include "Data/ProcessData.h"
#include "Data/Study.h"
#include "IO/DurableFile.h"
#include "IO/PatientStore.h"
#include "IO/TreeXml.h"
#include "Log/vlrLog.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QCryptographicHash>
#include <QtCore/QSet>
#include <QtCore/QStandardPaths>
#include <QtCore/QUrl>
#include <QtCore/QUuid>

#include <memory>

const char* const DataIOManager::idTakenError = "DataIOManager::idTakenError";
const char* const DataIOManager::changedElsewhereError = "DataIOManager::changedElsewhereError";

namespace {

const vlr::TreeLimits configurationLimits;
const vlr::TreeLimits patientLimits{qint64(64) << 20, 64, 1000000, 4096};

void registerCoreData() {
    createPatientFactory();
    createStudyFactory();
    createDataItemFactory();
    createProcessDataFactory();
    createChildItemFactory();
}

// --- configurations

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
    const CaError error = vlr::keepAside(path, keptAs);
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

// Makes sure that nothing is lost when the file is written, unless it holds the document already.
CaError clearTheWay(const QString& path, const QByteArray& document, bool& isWritten) {
    QByteArray stored;
    CaError error = vlr::readWhole(path, configurationLimits.bytes, stored);
    isWritten = error == CaError::nullError && stored == document;
    if (isWritten || error.id() == vlr::fileNotFoundError)
        return CaError::nullError;
    if (error.id() == vlr::passingReadError)
        return leaveUnreadFile(path, error);
    DataTreeNode root;
    if (error == CaError::nullError)
        error = vlr::readTree(stored, root, configurationLimits);
    if (error != CaError::nullError)
        (void)keepDamagedFile(path, error);
    return untouchableFiles().contains(path) ? unusable(path, error) : CaError::nullError;
}

// --- patients

struct Repository {
    QString url;
    std::unique_ptr<vlr::PatientStore> store;
};

Repository& openRepository() {
    // Never destroyed: when static objects are, the database driver may be gone already.
    static auto* const repository = new Repository;
    return *repository;
}

QString repositoryUrl() {
    const QString url =
        vlr::Settings::get(QStringLiteral("Velora/Application/PatientRepository"), "");
    if (!url.isEmpty())
        return url;
    QUrl file;
    file.setScheme(QStringLiteral("sqlite"));
    file.setPath(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                 QStringLiteral("/patients.sqlite"));
    return file.toString(QUrl::FullyEncoded);
}

// The parts are kept under the keys of their items, which therefore must differ.
CaError collectParts(const DataTreeNode& node, QSet<QString>& keys, vlr::StoredPatient& stored) {
    if (!node.key().isEmpty() && keys.contains(node.key()))
        return CaError("DataIOManager::storePatient",
                       "\"" + node.id().toStdString() + "\" has the key of another item.");
    keys.insert(node.key());
    for (const QString& part : node.binaryParts())
        stored.parts.insert({node.key(), part});
    for (const auto& child : node.children()) {
        const CaError error = collectParts(*child, keys, stored);
        if (error != CaError::nullError)
            return error;
    }
    return CaError::nullError;
}

vlr::StoredPatient storedForm(const Patient& patient) {
    vlr::StoredPatient stored;
    stored.uid = patient.storageUri().patientUid();
    stored.patientId = patient.patientId();
    stored.name = patient.name();
    stored.sex = patient.sex();
    stored.birthDate = patient.birthDate().toString(Qt::ISODate);
    stored.revision = patient.storageRevision();
    return stored;
}

// Writes the tree; what could not be read again is refused.
CaError makeDocument(const Data& data, const vlr::TreeLimits& limits, DataTreeNode& root,
                     QByteArray& document) {
    const CaError error = data.save(root);
    if (error != CaError::nullError)
        return error;
    document = vlr::writeTree(root);
    DataTreeNode check;
    return vlr::readTree(document, check, limits);
}

// To be called inside of the store's transaction. The parts come first: while they are written,
// items may still make new ones, which the tree then has to name.
CaError storeContent(Patient& patient, vlr::StoredPatient& stored) {
    CaError error = patient.saveBinaryParts();
    DataTreeNode root;
    if (error == CaError::nullError)
        error = makeDocument(patient, patientLimits, root, stored.document);
    QSet<QString> keys;
    if (error == CaError::nullError)
        error = collectParts(root, keys, stored);
    return error;
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

QString DataIOManager::configurationPath(const QString& name) {
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
           QStringLiteral("/configurations/") + fileName(name);
}

CaError DataIOManager::loadConfiguration(const QString& name,
                                         const DataPointer<Configuration>& configuration) {
    if (name.isEmpty() || !configuration)
        return CaError("DataIOManager::loadConfiguration", "No name or no configuration given.");
    const QString path = configurationPath(name);
    QByteArray document;
    CaError error = vlr::readWhole(path, configurationLimits.bytes, document);
    if (error.id() == vlr::fileNotFoundError)
        return error;
    if (error.id() == vlr::passingReadError)
        return leaveUnreadFile(path, error);
    createConfigurationFactory();
    DataTreeNode root;
    if (error == CaError::nullError)
        error = vlr::readTree(document, root, configurationLimits);
    if (error == CaError::nullError)
        error = configuration->load(root);
    if (error != CaError::nullError)
        return keepDamagedFile(path, error);
    untouchableFiles().remove(path);
    return CaError::nullError;
}

CaError DataIOManager::storeConfiguration(const QString& name,
                                          const DataPointer<Configuration>& configuration) {
    if (name.isEmpty() || !configuration)
        return CaError("DataIOManager::storeConfiguration", "No name or no configuration given.");
    const QString path = configurationPath(name);
    if (untouchableFiles().contains(path))
        return CaError("DataIOManager::storeConfiguration",
                       path.toStdString() + " could neither be read nor kept aside.");
    DataTreeNode root;
    QByteArray document;
    CaError error = makeDocument(*configuration, configurationLimits, root, document);
    if (error != CaError::nullError)
        return error;
    bool isWritten = false;
    error = clearTheWay(path, document, isWritten);
    return isWritten || error != CaError::nullError ? error : vlr::writeDurably(path, document);
}

vlr::PatientStore* DataIOManager::repository(CaError& error) {
    Repository& repository = openRepository();
    const QString url = repositoryUrl();
    if (!repository.store || repository.url != url) {
        // Again for every store: an application object calls its routines once and forgets them.
        qAddPostRoutine(&DataIOManager::closeRepository);
        repository.store = vlr::PatientStore::open(url, error);
        repository.url = url;
    }
    return repository.store.get();
}

void DataIOManager::closeRepository() {
    openRepository() = {};
}

CaError DataIOManager::patientList(std::vector<vlr::URI>& uris) {
    std::vector<MetaInformation> patients;
    const CaError error = patientMetaInfoList(patients);
    if (error != CaError::nullError)
        return error;
    uris.clear();
    for (const MetaInformation& patient : patients)
        uris.push_back(patient.uri());
    return CaError::nullError;
}

CaError DataIOManager::patientMetaInfoList(std::vector<MetaInformation>& patients) {
    CaError error;
    vlr::PatientStore* store = repository(error);
    return store ? store->list(patients) : error;
}

CaError DataIOManager::patientIds(std::vector<QString>& ids) {
    ids.clear();
    CaError error;
    vlr::PatientStore* store = repository(error);
    return store ? store->patientIds(ids) : error;
}

CaError DataIOManager::loadPatientMetaInfo(const vlr::URI& uri, MetaInformation& information) {
    CaError error;
    vlr::PatientStore* store = repository(error);
    return store ? store->metaInformation(uri.patientUid(), information) : error;
}

CaError DataIOManager::loadPatient(const vlr::URI& uri, DataPointer<Patient>& patient) {
    CaError error;
    vlr::PatientStore* store = repository(error);
    if (!store)
        return error;
    registerCoreData();
    vlr::StoredPatient stored;
    error = store->load(uri.patientUid(), patientLimits.bytes, stored);
    DataTreeNode root;
    if (error == CaError::nullError)
        error = vlr::readTree(stored.document, root, patientLimits);
    const DataPointer<Patient> loaded(new Patient);
    if (error == CaError::nullError)
        error = loaded->load(root);
    if (error != CaError::nullError)
        return error;
    loaded->setStorage(vlr::URI::patient(stored.uid), stored.revision);
    patient = loaded;
    return CaError::nullError;
}

CaError DataIOManager::storePatient(const DataPointer<Patient>& patient) {
    if (!patient)
        return CaError("DataIOManager::storePatient", "No patient given.");
    if (patient->patientId().isEmpty())
        return CaError("DataIOManager::storePatient", "A patient without an id cannot be stored.");
    if (patient->parent())
        return CaError("DataIOManager::storePatient",
                       "A patient that is a part of another item cannot be stored by itself.");
    CaError error;
    vlr::PatientStore* store = repository(error);
    if (!store)
        return error;
    if (!patient->storageUri().isValid())
        patient->setStorage(vlr::URI::patient(QUuid::createUuid().toString(QUuid::WithoutBraces)),
                            0);
    vlr::StoredPatient stored = storedForm(*patient);
    error = store->store(stored, [&] { return storeContent(*patient, stored); });
    if (error != CaError::nullError)
        return error;
    patient->setStorage(patient->storageUri(), stored.revision);
    patient->markBinaryPartsStored();
    return CaError::nullError;
}

CaError DataIOManager::removePatient(const vlr::URI& uri) {
    CaError error;
    vlr::PatientStore* store = repository(error);
    return store ? store->remove(uri.patientUid()) : error;
}
