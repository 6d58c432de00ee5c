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
#include <QtCore/QSet>
#include <QtCore/QStandardPaths>
#include <QtCore/QUrl>
#include <QtCore/QUuid>

#include <memory>

const char* const DataIOManager::idTakenError = "DataIOManager::idTakenError";
const char* const DataIOManager::changedElsewhereError = "DataIOManager::changedElsewhereError";

namespace {

const vlr::TreeLimits patientLimits{qint64(64) << 20, 64, 1000000, 4096};

void registerCoreData() {
    createPatientFactory();
    createStudyFactory();
    createDataItemFactory();
    createProcessDataFactory();
    createChildItemFactory();
}

// --- configurations

// Damaged files that could not be moved away; overwriting them would lose what they hold.
QSet<QString>& untouchableFiles() {
    static QSet<QString> files;
    return files;
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
    return CaError("DataIOManager::damagedConfiguration", path.toStdString() + ": " + cause.text());
}

// --- patients

struct Repository {
    QString url;
    std::unique_ptr<vlr::PatientStore> store;
};

Repository& openRepository() {
    static Repository repository;
    return repository;
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

void collectKeys(const DataTreeNode& node, QStringList& keys) {
    if (!node.key().isEmpty())
        keys << node.key();
    for (const auto& child : node.children())
        collectKeys(*child, keys);
}

vlr::StoredPatient storedForm(const Patient& patient, const DataTreeNode& node) {
    vlr::StoredPatient stored;
    stored.uid = patient.storageUri().patientUid();
    stored.patientId = patient.patientId();
    stored.name = patient.name();
    stored.sex = patient.sex();
    stored.birthDate = patient.birthDate().toString(Qt::ISODate);
    stored.document = vlr::writeTree(node);
    stored.revision = patient.storageRevision();
    collectKeys(node, stored.itemKeys);
    return stored;
}

} // namespace

QString DataIOManager::configurationPath(const QString& name) {
    return QStandardPaths::writableLocation(QStandardPaths::AppConfigLocation) +
           QStringLiteral("/configurations/") + QString::fromLatin1(QUrl::toPercentEncoding(name)) +
           QStringLiteral(".xml");
}

CaError DataIOManager::loadConfiguration(const QString& name,
                                         const DataPointer<Configuration>& configuration) {
    if (name.isEmpty() || !configuration)
        return CaError("DataIOManager::loadConfiguration", "No name or no configuration given.");
    const QString path = configurationPath(name);
    QByteArray document;
    CaError error = vlr::readWhole(path, vlr::TreeLimits().bytes, document);
    if (error.id() == vlr::fileNotFoundError)
        return error;
    createConfigurationFactory();
    DataTreeNode root;
    if (error == CaError::nullError)
        error = vlr::readTree(document, root);
    if (error == CaError::nullError)
        error = configuration->load(root);
    if (error != CaError::nullError)
        return keepDamagedFile(path, error);
    return CaError::nullError;
}

CaError DataIOManager::storeConfiguration(const QString& name,
                                          const DataPointer<Configuration>& configuration) {
    if (name.isEmpty() || !configuration)
        return CaError("DataIOManager::storeConfiguration", "No name or no configuration given.");
    const QString path = configurationPath(name);
    if (untouchableFiles().contains(path))
        return CaError("DataIOManager::storeConfiguration",
                       path.toStdString() + " is damaged and could not be kept aside.");
    DataTreeNode root;
    const CaError error = configuration->save(root);
    if (error != CaError::nullError)
        return error;
    const QByteArray document = vlr::writeTree(root);
    QByteArray stored;
    const CaError readError = vlr::readWhole(path, vlr::TreeLimits().bytes, stored);
    if (readError == CaError::nullError && stored == document)
        return CaError::nullError;
    return vlr::writeDurably(path, document);
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
    error = store->load(uri.patientUid(), stored);
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
    CaError error;
    vlr::PatientStore* store = repository(error);
    if (!store)
        return error;
    if (!patient->storageUri().isValid())
        patient->setStorage(vlr::URI::patient(QUuid::createUuid().toString(QUuid::WithoutBraces)),
                            0);
    DataTreeNode root;
    error = patient->save(root);
    if (error != CaError::nullError)
        return error;
    vlr::StoredPatient stored = storedForm(*patient, root);
    if (stored.document.size() > patientLimits.bytes)
        return CaError("DataIOManager::storePatient",
                       "The data of the patient are too large to be stored.");
    error = store->store(stored, [&] { return patient->saveBinaryParts(); });
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
