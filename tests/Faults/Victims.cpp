#include "Victims.h"

#include "Faults.h"

#include "Data/DataItem.h"
#include "Data/Study.h"
#include "Files/DurableFile.h"

#include <QtCore/QStandardPaths>

namespace {

constexpr int parts = 20; // enough for a file of several blocks

const QString configurationName = QStringLiteral("Victim");

QString content(int version, int part) {
    return QStringLiteral("Version %1, part %2: ").arg(version).arg(part) +
           QString(200, QChar('a' + part));
}

int versionIn(const QString& text) {
    const QString number = text.section(QLatin1Char(','), 0, 0).section(QLatin1Char(' '), 1);
    bool isNumber = false;
    const int version = number.toInt(&isNumber);
    return isNumber ? version : -1;
}

// --- a tree, as a configuration and as a patient

void fill(Data& root, int version) {
    createStudyFactory();
    for (int part = 0; part < parts; ++part) {
        const QString id = QStringLiteral("Study%1").arg(part);
        DataPointer<Study> study = dataCast<Study>(root.hasChildAndGet(id));
        if (!study) {
            study = DataPointer<Study>(new Study);
            study->setId(id);
            (void)root.addChild(study, false); // A missing one is noticed by versionOf().
        }
        study->setInstitution(content(version, part));
    }
}

// The version of the first part if all the others have it too.
int versionOf(const Data& root) {
    int version = -1;
    for (int part = 0; part < parts; ++part) {
        const auto study =
            dataCast<Study>(root.hasChildAndGet(QStringLiteral("Study%1").arg(part)));
        if (part == 0 && study)
            version = versionIn(study->institution());
        if (!study || study->institution() != content(version, part))
            return -1;
    }
    return root.childCount() == parts ? version : -1;
}

CaError storeConfiguration(int version) {
    const DataPointer<Configuration> configuration(new Configuration);
    fill(*configuration, version);
    return DataIOManager::storeConfiguration(configurationName, configuration);
}

CaError loadConfiguration(int& version) {
    createStudyFactory();
    const DataPointer<Configuration> configuration(new Configuration);
    const CaError error = DataIOManager::loadConfiguration(configurationName, configuration);
    version = error == CaError::nullError ? versionOf(*configuration) : 0;
    return error.id() == vlr::fileNotFoundError ? CaError::nullError : error;
}

// --- settings, all keys in one change, after one of a key of its own that has to spare them

QString settingsKey(int part) {
    return QStringLiteral("Victim/Part%1").arg(part);
}

CaError storeSettings(int version) {
    std::vector<vlr::SettingsChange> changes;
    for (int part = 0; part < parts; ++part)
        changes.push_back(
            {settingsKey(part), vlr::Settings::value(settingsKey(part)), content(version, part)});
    QStringList conflicts;
    CaError error = vlr::Settings::set(QStringLiteral("Victim/Alone"), version);
    if (error == CaError::nullError)
        error = vlr::Settings::apply(changes, conflicts);
    if (!conflicts.isEmpty())
        return CaError("Victims::conflict",
                       "Others than expected: " + conflicts.join(QLatin1Char(' ')).toStdString());
    return error;
}

CaError loadSettings(int& version) {
    vlr::Settings::reload(); // also the place of the file
    QHash<QString, QVariant> values;
    const CaError error = vlr::Settings::look(values);
    const QString first = values.value(settingsKey(0)).toStringList().join(QLatin1String(", "));
    version = first.isEmpty() ? 0 : versionIn(first);
    for (int part = 0; part < parts && version > 0; ++part)
        if (vlr::Settings::get(settingsKey(part), "") != content(version, part))
            version = -1;
    return error;
}

// --- patient

const QString patientId = QStringLiteral("Victim");

CaError storePatient(int version) {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(patientId);
    const CaError error = loadPatientOf(patientId, patient);
    if (error != CaError::nullError)
        return error;
    fill(*patient, version);
    return DataIOManager::storePatient(patient);
}

CaError loadPatient(int& version) {
    DataIOManager::closeRepository();
    createStudyFactory();
    DataPointer<Patient> patient;
    const CaError error = loadPatientOf(patientId, patient);
    version = patient ? versionOf(*patient) : 0;
    return error;
}

} // namespace

const std::vector<Victim>& victims() {
    static const std::vector<Victim> all = {
        {"configuration", [] { return DataIOManager::configurationPath(configurationName); },
         &storeConfiguration, &loadConfiguration},
        {"settings", [] { return vlr::Settings::filePath(); }, &storeSettings, &loadSettings},
        {"patient",
         [] {
             return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                    QStringLiteral("/patients.sqlite");
         },
         &storePatient, &loadPatient},
    };
    return all;
}

const Victim& victim(const QString& name) {
    return named(victims(), name);
}

CaError loadPatientOf(const QString& id, DataPointer<Patient>& patient) {
    std::vector<MetaInformation> patients;
    const CaError error = DataIOManager::patientMetaInfoList(patients);
    for (const MetaInformation& known : patients)
        if (known.value(QStringLiteral("id")) == id)
            return DataIOManager::loadPatient(known.uri(), patient);
    return error;
}
