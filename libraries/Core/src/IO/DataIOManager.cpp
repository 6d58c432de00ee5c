#include "IO/DataIOManager.h"

#include "Data/DataTreeNode.h"
#include "Data/PatientText.h"
#include "IO/DurableFile.h"
#include "IO/PatientDocument.h"
#include "IO/PatientStore.h"
#include "IO/TreeXml.h"
#include "Log/vlrLog.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>
#include <QtCore/QScopedValueRollback>
#include <QtCore/QSet>
#include <QtCore/QStandardPaths>
#include <QtCore/QUrl>
#include <QtCore/QUuid>

#include <algorithm>
#include <iterator>
#include <memory>

const char* const DataIOManager::idTakenError = "DataIOManager::idTakenError";
const char* const DataIOManager::changedElsewhereError = "DataIOManager::changedElsewhereError";

namespace {

const vlr::TreeLimits configurationLimits;
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
    const CaError error = vlr::keepUnusableAside(path, keptAs);
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
    CaError error = vlr::readTrusted(path, configurationLimits.bytes, stored);
    isWritten = error == CaError::nullError && stored == document;
    if (isWritten || error.id() == vlr::fileNotFoundError)
        return CaError::nullError;
    if (error.id() == vlr::passingReadError)
        return leaveUnreadFile(path, error);
    const auto known = readableDocuments().constFind(path);
    const bool isKnown =
        error == CaError::nullError && known != readableDocuments().constEnd() && *known == stored;
    DataTreeNode root;
    if (error == CaError::nullError && !isKnown)
        error = vlr::readTree(stored, root, configurationLimits);
    if (error != CaError::nullError)
        (void)keepDamagedFile(path, error);
    return untouchableFiles().contains(path) ? unusable(path, error) : CaError::nullError;
}

// --- patients

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

enum class Use { Reading, Listing, Storing };

// The repository as it is now: not the one that somebody has taken away meanwhile, and not for
// ever the one that was locked when it was opened.
vlr::PatientStore* currentRepository(Use use, CaError& error) {
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
    if (patient.storageRevision() > 0) {
        const CaError error = store.metaInformation(patient.storageUri().patientUid(), stored);
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
    return error == CaError::nullError ? vlr::writeTree(root, document, limits) : error;
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
        error = makeDocument(patient, vlr::patientLimits, root, stored.document);
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
    vlr::PatientStore* store = currentRepository(Use::Reading, error);
    MetaInformation information;
    if (store)
        error = store->metaInformation(patient.storageUri().patientUid(), information);
    if (error.id() == vlr::PatientStore::unknownPatientError)
        return CaError::nullError;
    revision = information.value(QStringLiteral("revision")).toInt();
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

void DataIOManager::sweepTemporaryFiles() {
    const QString settings = QFileInfo(vlr::Settings::filePath()).path();
    const QString configurations = QFileInfo(configurationPath(QString())).path();
    for (const QString& folder : {settings, configurations, QDir::tempPath()})
        vlr::sweepTemporaryFiles(folder);
}

CaError DataIOManager::loadConfiguration(const QString& name,
                                         const DataPointer<Configuration>& configuration) {
    if (name.isEmpty() || !configuration)
        return CaError("DataIOManager::loadConfiguration", "No name or no configuration given.");
    const QString path = configurationPath(name);
    QByteArray document;
    CaError error = vlr::readTrusted(path, configurationLimits.bytes, document);
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
    readableDocuments().insert(path, document);
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
    if (error == CaError::nullError && !isWritten)
        error = vlr::writeDurably(path, document);
    if (error == CaError::nullError)
        readableDocuments().insert(path, document);
    return error;
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

vlr::PatientStore* DataIOManager::repositoryAsItIs(CaError& error) {
    return currentRepository(Use::Reading, error);
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
    vlr::PatientStore* store = currentRepository(Use::Listing, error);
    return store ? store->list(patients) : error;
}

CaError DataIOManager::patientIds(std::vector<QString>& ids) {
    ids.clear();
    CaError error;
    vlr::PatientStore* store = currentRepository(Use::Reading, error);
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
    vlr::PatientStore* store = currentRepository(Use::Reading, error);
    return store ? store->metaInformation(uri.patientUid(), information) : error;
}

CaError DataIOManager::loadPatient(const vlr::URI& uri, DataPointer<Patient>& patient) {
    CaError error;
    vlr::PatientStore* store = currentRepository(Use::Reading, error);
    if (!store)
        return error;
    vlr::StoredPatient stored;
    error = store->load(uri.patientUid(), vlr::patientLimits.bytes, stored);
    DataPointer<Patient> loaded;
    if (error == CaError::nullError)
        error = vlr::readPatient(stored.document, loaded);
    if (error != CaError::nullError)
        return error;
    loaded->setStorage(vlr::URI::patient(stored.uid), stored.revision, digestOf(*loaded));
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
    vlr::PatientStore* store = currentRepository(Use::Storing, error);
    if (store)
        error = normalizeIdentity(*patient, *store);
    if (error != CaError::nullError || !store)
        return error;
    if (patient->patientId().isEmpty())
        return withoutId();
    if (!patient->storageUri().isValid())
        patient->setStorage(vlr::URI::patient(QUuid::createUuid().toString(QUuid::WithoutBraces)),
                            0);
    vlr::StoredPatient stored = storedForm(*patient);
    const QScopedValueRollback<bool> storing(openRepository().isStoring, true);
    error = store->store(stored, [&] { return storeContent(*patient, stored); });
    if (error != CaError::nullError)
        return error;
    patient->setStorage(patient->storageUri(), stored.revision, digestOf(stored.document));
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
    const int revision = patient->storageRevision();
    patient->setStorage(patient->storageUri(), stored, patient->storageDigest());
    error = storePatient(patient);
    if (error != CaError::nullError)
        patient->setStorage(patient->storageUri(), revision, patient->storageDigest());
    return error;
}

bool DataIOManager::hasUnstoredChanges(const DataPointer<Patient>& patient) {
    return patient && (patient->storageDigest().isEmpty() || patient->hasUnstoredBinaryParts() ||
                       digestOf(*patient) != patient->storageDigest());
}

CaError DataIOManager::isChangedElsewhere(const DataPointer<Patient>& patient, bool& isChanged) {
    isChanged = false;
    if (!patient || patient->storageRevision() == 0)
        return CaError::nullError;
    int stored = 0;
    const CaError error = storedRevision(*patient, stored);
    isChanged = error == CaError::nullError && stored != patient->storageRevision();
    return error;
}

CaError DataIOManager::removePatient(const vlr::URI& uri) {
    CaError error;
    vlr::PatientStore* store = currentRepository(Use::Storing, error);
    return store ? store->remove(uri.patientUid()) : error;
}
