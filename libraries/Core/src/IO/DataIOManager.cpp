#include "IO/DataIOManager.h"

#include "Data/DataTreeNode.h"
#include "Data/PatientText.h"
#include "Documents/PatientDocument.h"
#include "Documents/TreeXml.h"
#include "Files/TemporaryFile.h"
#include "IO/ConfigurationFiles.h"
#include "IO/PatientStore.h"
#include "Log/vlrLog.h"
#include "Site/SiteChoices.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QScopedValueRollback>
#include <QtCore/QSet>
#include <QtCore/QStandardPaths>
#include <QtCore/QUrl>
#include <QtCore/QUuid>

#include <algorithm>
#include <iterator>
#include <memory>

const char* const DataIOManager::idTakenError = vlr::PatientStore::idTakenError;
const char* const DataIOManager::changedElsewhereError = vlr::PatientStore::changedElsewhereError;

namespace {

struct Repository {
    QString url;
    std::unique_ptr<vlr::PatientStore> store;
    bool isStoring = false; // It must not be opened anew then.
    bool isLookedAt = false;
};

Repository& openRepository() {
    // Never destroyed: when static objects are, the database driver may be gone already.
    static auto* const repository = new Repository;
    return *repository;
}

void warnOfReadOnly(const std::string& reason) {
    if (!reason.empty())
        VLR_LOG(Warning) << "The patients can be read but not stored. " << reason;
}

QString repositoryUrl() {
    const QString url = vlr::SiteChoices::current().patientRepository();
    if (!url.isEmpty())
        return url;
    QUrl file;
    file.setScheme(QStringLiteral("sqlite"));
    file.setPath(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                 QStringLiteral("/patients.sqlite"));
    return file.toString(QUrl::FullyEncoded);
}

enum class Use { Reading, Listing, Storing };

// The repository as it is now: not the one that somebody has taken away meanwhile, and not for
// ever the one that was locked when it was opened.
vlr::PatientStore* usableRepository(Use use, CaError& error) {
    Repository& repository = openRepository();
    if (repository.isStoring)
        return repository.store.get();
    if (repository.store && repository.store->isTakenAway()) {
        VLR_LOG(Warning) << "The patient repository was renamed, replaced or removed, or its "
                            "server disconnected, while this program had it open. It is opened "
                            "anew.";
        repository.store.reset();
    }
    const std::string whyReadOnly = repository.store ? repository.store->whyReadOnly() : "";
    if (!whyReadOnly.empty() && use != Use::Reading && repository.url == repositoryUrl()) {
        CaError reason;
        auto again = vlr::PatientStore::open(repository.url, reason);
        if (again && again->whyReadOnly() != whyReadOnly)
            warnOfReadOnly(again->whyReadOnly());
        if (again)
            repository.store = std::move(again);
    }
    return DataIOManager::repository(error);
}

CaError unstorable(const QString& where, const QString& problem) {
    return CaError("DataIOManager::storePatient",
                   (vlr::visibleText(where) + QStringLiteral(" contains ") + problem +
                    QStringLiteral(", which cannot be stored."))
                       .toStdString());
}

// Every text of the tree: one store would cut what another one refuses.
CaError checkTexts(const DataTreeNode& node) {
    std::vector<std::pair<QString, const QString*>> texts = {
        {QStringLiteral("class"), &node.className()},
        {QStringLiteral("id"), &node.id()},
        {QStringLiteral("key"), &node.key()}};
    for (const auto& [name, value] : node.attributes()) {
        texts.emplace_back(QStringLiteral("name of an attribute"), &name);
        texts.emplace_back(name, &value);
    }
    for (const QString& part : node.binaryParts())
        texts.emplace_back(QStringLiteral("name of a part"), &part);
    for (const auto& [name, value] : texts) {
        const QString problem = vlr::storageProblem(*value);
        if (!problem.isEmpty())
            return unstorable(
                QStringLiteral("The text \"%1\" of the item \"%2\"").arg(name, node.id()), problem);
    }
    CaError error;
    for (const auto& child : node.children())
        if (error == CaError::nullError)
            error = checkTexts(*child);
    return error;
}

// The columns of the listing are written before the tree is known.
CaError checkIdentity(const Patient& patient) {
    for (const auto& [name, value] : {std::make_pair("The patient id", patient.patientId()),
                                      std::make_pair("The patient name", patient.name())}) {
        const QString problem = vlr::storageProblem(value);
        if (!problem.isEmpty())
            return unstorable(QLatin1String(name), problem);
    }
    return CaError::nullError;
}

// What is stored stays as it is until somebody changes it: nobody is to be given another id or
// name unasked.
CaError normalizeIdentity(Patient& patient, vlr::PatientStore& store) {
    const QString id = vlr::normalizedId(patient.patientId());
    const QString name = vlr::normalizedText(patient.name());
    if (id == patient.patientId() && name == patient.name())
        return CaError::nullError;
    MetaInformation stored;
    if (patient.storage().revision > 0) {
        const CaError error = store.metaInformation(patient.storage().uri.patientUid(), stored);
        if (error != CaError::nullError && error.id() != vlr::PatientStore::unknownPatientError)
            return error;
    }
    if (stored.value(QStringLiteral("id")) != patient.patientId())
        patient.setPatientId(id);
    if (stored.value(QStringLiteral("name")) != patient.name())
        patient.setName(name);
    return CaError::nullError;
}

CaError withoutId() {
    return CaError("DataIOManager::storePatient", "A patient without an id cannot be stored.");
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
    stored.uid = patient.storage().uri.patientUid();
    stored.patientId = patient.patientId();
    stored.name = patient.name();
    stored.sex = patient.sex();
    stored.birthDate = patient.birthDate().toString(Qt::ISODate);
    stored.revision = patient.storage().revision;
    return stored;
}

QByteArray digestOf(const QByteArray& document) {
    return QCryptographicHash::hash(document, QCryptographicHash::Sha256);
}

// Of the patient as it is now; empty where it cannot be written.
QByteArray digestOf(const Patient& patient) {
    DataTreeNode root;
    if (patient.save(root) != CaError::nullError)
        return {};
    return digestOf(vlr::writeTree(root));
}

// To be called inside of the store's transaction. The parts come first: while they are written,
// items may still make new ones, which the tree then has to name.
CaError storeContent(Patient& patient, vlr::StoredPatient& stored) {
    CaError error = patient.saveBinaryParts();
    DataTreeNode root;
    if (error == CaError::nullError)
        error = vlr::writePatient(patient, root, stored.document);
    if (error == CaError::nullError)
        error = checkTexts(root);
    QSet<QString> keys;
    if (error == CaError::nullError)
        error = collectParts(root, keys, stored);
    return error;
}

// 0 for a patient that is not, or no longer, in the repository.
CaError storedRevision(const Patient& patient, int& revision) {
    revision = 0;
    CaError error;
    vlr::PatientStore* store = usableRepository(Use::Reading, error);
    MetaInformation information;
    if (store)
        error = store->metaInformation(patient.storage().uri.patientUid(), information);
    if (error.id() == vlr::PatientStore::unknownPatientError)
        return CaError::nullError;
    revision = information.value(QStringLiteral("revision")).toInt();
    return error;
}

} // namespace

QString DataIOManager::configurationPath(const QString& name) {
    return vlr::configurationFile(name);
}

CaError DataIOManager::loadConfiguration(const QString& name,
                                         const DataPointer<Configuration>& configuration) {
    if (name.isEmpty() || !configuration)
        return CaError("DataIOManager::loadConfiguration", "No name or no configuration given.");
    return vlr::readConfiguration(vlr::configurationFile(name), *configuration);
}

CaError DataIOManager::storeConfiguration(const QString& name,
                                          const DataPointer<Configuration>& configuration) {
    if (name.isEmpty() || !configuration)
        return CaError("DataIOManager::storeConfiguration", "No name or no configuration given.");
    return vlr::writeConfiguration(vlr::configurationFile(name), *configuration);
}

void DataIOManager::sweepTemporaryFiles() {
    const QString settings = vlr::SiteChoices::current().folder();
    const QString configurations = QFileInfo(configurationPath(QString())).path();
    for (const QString& folder : {settings, configurations, QDir::tempPath()})
        vlr::sweepTemporaryFiles(folder);
}

vlr::PatientStore* DataIOManager::repository(CaError& error) {
    Repository& repository = openRepository();
    const QString url = repositoryUrl();
    if (!repository.isStoring && (!repository.store || repository.url != url)) {
        // Again for every store: an application object calls its routines once and forgets them.
        qAddPostRoutine(&DataIOManager::closeRepository);
        repository.store = repository.isLookedAt ? vlr::PatientStore::look(url, error)
                                                 : vlr::PatientStore::open(url, error);
        repository.url = url;
        if (repository.store)
            warnOfReadOnly(repository.store->whyReadOnly());
    }
    return repository.store.get();
}

vlr::PatientStore* DataIOManager::repositoryToLookAt(CaError& error) {
    closeRepository();
    openRepository().isLookedAt = true;
    return repository(error);
}

vlr::PatientStore* DataIOManager::currentRepository(CaError& error) {
    return usableRepository(Use::Reading, error);
}

std::string DataIOManager::whyUnprotected() {
    const Repository& repository = openRepository();
    const QString url = repositoryUrl();
    return repository.store && repository.url == url ? repository.store->whyUnprotected()
                                                     : vlr::PatientStore::whyUnprotected(url);
}

void DataIOManager::closeRepository() {
    openRepository() = {};
}

QString DataIOManager::repositoryName() {
    return QUrl(repositoryUrl()).toString(QUrl::RemovePassword | QUrl::RemoveQuery);
}

CaError DataIOManager::repositoryFile(QString& path) {
    const QUrl url(repositoryUrl());
    if (url.scheme() == QLatin1String("sqlite") && url.path().startsWith(QLatin1Char('/'))) {
        path = url.path();
        return CaError::nullError;
    }
    if (url.scheme() == QLatin1String("sqlite"))
        return CaError("DataIOManager::repositoryFile",
                       "The patient repository \"" + repositoryName().toStdString() +
                           "\" does not name a file by an absolute path.");
    return CaError("DataIOManager::repositoryFile",
                   "The patients are on a server, \"" + repositoryName().toStdString() +
                       "\", which is backed up by its own means, such as pg_dump.");
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
    vlr::PatientStore* store = usableRepository(Use::Listing, error);
    return store ? store->list(patients) : error;
}

CaError DataIOManager::patientIds(std::vector<QString>& ids) {
    ids.clear();
    CaError error;
    vlr::PatientStore* store = usableRepository(Use::Reading, error);
    return store ? store->patientIds(ids) : error;
}

// The list is read only where there is something to be found in it.
CaError DataIOManager::patientsLike(const QString& patientId,
                                    std::vector<MetaInformation>& patients) {
    patients.clear();
    const QString wanted = vlr::normalizedId(patientId);
    const QString skeleton = vlr::idSkeleton(wanted);
    const auto isAlike = [&](const QString& id) {
        return vlr::idSkeleton(id) == skeleton && vlr::normalizedId(id) != wanted;
    };
    std::vector<QString> ids;
    CaError error = patientIds(ids);
    if (error != CaError::nullError || std::none_of(ids.begin(), ids.end(), isAlike))
        return error;
    std::vector<MetaInformation> all;
    error = patientMetaInfoList(all);
    std::copy_if(
        all.begin(), all.end(), std::back_inserter(patients),
        [&](const MetaInformation& one) { return isAlike(one.value(QStringLiteral("id"))); });
    return error;
}

CaError DataIOManager::loadPatientMetaInfo(const vlr::URI& uri, MetaInformation& information) {
    CaError error;
    vlr::PatientStore* store = usableRepository(Use::Reading, error);
    return store ? store->metaInformation(uri.patientUid(), information) : error;
}

CaError DataIOManager::loadPatient(const vlr::URI& uri, DataPointer<Patient>& patient) {
    CaError error;
    vlr::PatientStore* store = usableRepository(Use::Reading, error);
    if (!store)
        return error;
    vlr::StoredPatient stored;
    error = store->load(uri.patientUid(), vlr::patientLimits.bytes, stored);
    DataPointer<Patient> loaded;
    if (error == CaError::nullError)
        error = vlr::readPatient(stored.document, loaded);
    if (error != CaError::nullError)
        return error;
    loaded->setStorage({vlr::URI::patient(stored.uid), stored.revision, digestOf(*loaded)});
    patient = loaded;
    return CaError::nullError;
}

CaError DataIOManager::storePatient(const DataPointer<Patient>& patient) {
    if (!patient)
        return CaError("DataIOManager::storePatient", "No patient given.");
    if (patient->patientId().isEmpty())
        return withoutId();
    if (patient->parent())
        return CaError("DataIOManager::storePatient",
                       "A patient that is a part of another item cannot be stored by itself.");
    CaError error = checkIdentity(*patient);
    if (error != CaError::nullError)
        return error;
    vlr::PatientStore* store = usableRepository(Use::Storing, error);
    if (store)
        error = normalizeIdentity(*patient, *store);
    if (error != CaError::nullError || !store)
        return error;
    if (patient->patientId().isEmpty())
        return withoutId();
    if (!patient->storage().uri.isValid())
        patient->setStorage(
            {vlr::URI::patient(QUuid::createUuid().toString(QUuid::WithoutBraces)), 0, {}});
    vlr::StoredPatient stored = storedForm(*patient);
    const QScopedValueRollback<bool> storing(openRepository().isStoring, true);
    error = store->store(stored, [&] { return storeContent(*patient, stored); });
    if (error != CaError::nullError)
        return error;
    patient->setStorage({patient->storage().uri, stored.revision, digestOf(stored.document)});
    patient->markBinaryPartsStored();
    return CaError::nullError;
}

CaError DataIOManager::storePatientOverOthers(const DataPointer<Patient>& patient) {
    if (!patient)
        return storePatient(patient);
    int stored = 0;
    CaError error = storedRevision(*patient, stored);
    if (error != CaError::nullError)
        return error;
    const vlr::StoragePlace before = patient->storage();
    patient->setStorage({before.uri, stored, before.digest});
    error = storePatient(patient);
    if (error != CaError::nullError)
        patient->setStorage({patient->storage().uri, before.revision, patient->storage().digest});
    return error;
}

bool DataIOManager::hasUnstoredChanges(const DataPointer<Patient>& patient) {
    return patient && (patient->storage().digest.isEmpty() || patient->hasUnstoredBinaryParts() ||
                       digestOf(*patient) != patient->storage().digest);
}

CaError DataIOManager::isChangedElsewhere(const DataPointer<Patient>& patient, bool& isChanged) {
    isChanged = false;
    if (!patient || patient->storage().revision == 0)
        return CaError::nullError;
    int stored = 0;
    const CaError error = storedRevision(*patient, stored);
    isChanged = error == CaError::nullError && stored != patient->storage().revision;
    return error;
}

CaError DataIOManager::removePatient(const vlr::URI& uri) {
    CaError error;
    vlr::PatientStore* store = usableRepository(Use::Storing, error);
    return store ? store->remove(uri.patientUid()) : error;
}
