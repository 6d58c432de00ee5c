// What the self-check says of the repository, and that it leaves it as it is.

#include "Child.h"
#include "Trust.h"

#include "IO/DataIOManager.h"
#include "Log/vlrLog.h"
#include "SelfCheck/CheckList.h"
#include "SelfCheck/SelfCheck.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace {

// The lines of the check.
std::string checkedSite(bool& isGood) {
    const std::ostringstream lines;
    std::streambuf* const former = std::cout.rdbuf(lines.rdbuf());
    vlr::Log::setFileEnabled(false);
    CheckList list;
    checkSite(list);
    vlr::Log::setFileEnabled(true);
    std::cout.rdbuf(former);
    isGood = list.isGood();
    return lines.str();
}

void bringTogether() {
    std::vector<QString> ids;
    (void)DataIOManager::patientIds(ids);
    DataIOManager::closeRepository();
}

std::string theRepositoryIsOnlyLookedAt() {
    std::unique_ptr<Child> program;
    const struct {
        const char* name;
        std::function<void()> make;
        bool hasChangesBeside;
    } states[] = {
        {"in use",
         [&] {
             program = std::make_unique<Child>(QStringLiteral("leave"), QStringList{QString()});
             if (program->readLine() != "ready\n")
                 throw std::runtime_error("The program does not start.");
         },
         true},
        {"what a killed program left", [&] { (void)program->kill(); }, true},
        {"changes without their index",
         [&] { QFile::remove(trustRepository() + QStringLiteral("-shm")); }, true},
        {"one file", &bringTogether, false},
        {"a former release's", [] { (void)trustSql("DROP TABLE chain"); }, false},
    };
    for (const auto& state : states) {
        state.make();
        if (QFile::exists(trustRepository() + QStringLiteral("-wal")) != state.hasChangesBeside)
            return std::string(state.name) + ": it is not in that state";
        const QStringList before = trustInventory();
        bool isGood = false;
        const std::string lines = checkedSite(isGood);
        if (!isGood || lines.find("1 stored") == std::string::npos)
            return std::string(state.name) + ": " + lines;
        if (trustInventory() != before)
            return std::string(state.name) + ": something was changed";
    }
    return {};
}

// A program that stores beside a look goes on, and the look stays at its moment.
std::string storingGoesOnBesideALook() {
    const auto store = [](const char* id) {
        return trustSql((std::string("INSERT INTO patient VALUES ('") + id + "', '" + id +
                         "', '', 0, '', '', 1)")
                            .c_str());
    };
    Child program(QStringLiteral("leave"), {QString()});
    (void)program.readLine();
    CaError error;
    std::vector<QString> ids;
    if (!DataIOManager::repositoryToLookAt(error) ||
        DataIOManager::patientIds(ids) != CaError::nullError || ids.size() != 1)
        return "it cannot be looked at: " + error.text();
    (void)store("2");
    (void)trustSql("PRAGMA wal_checkpoint(TRUNCATE)");
    if (DataIOManager::patientIds(ids) != CaError::nullError || ids.size() != 1)
        return std::to_string(ids.size()) + " patients are seen of another moment";
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QStringLiteral("3"));
    if (DataIOManager::storePatient(patient) == CaError::nullError)
        return "it stores";
    DataIOManager::closeRepository();
    (void)DataIOManager::patientIds(ids);
    return ids.size() == 2 ? "" : std::to_string(ids.size()) + " patients are there in the end";
}

std::string oddNamesAndOpenFoldersAreNoted() {
    const DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QStringLiteral("1"));
    (void)DataIOManager::storePatient(patient);
    DataIOManager::closeRepository();
    const QString folder = QFileInfo(trustRepository()).path();
    const std::string open = "note   patients      " + folder.toStdString();
    const char* const odd = "note   patient name  \\u202EeoD";
    bool isGood = false;
    std::string lines = checkedSite(isGood);
    if (!isGood || lines.find(open) != std::string::npos || lines.find(odd) != std::string::npos)
        return "too much is noted: " + lines;
    (void)trustSql("UPDATE patient SET name = char(8238) || 'eoD'");
    (void)QFile::setPermissions(folder, QFile::permissions(folder) | QFile::ReadOther);
    lines = checkedSite(isGood);
    return isGood && lines.find(open) != std::string::npos && lines.find(odd) != std::string::npos
               ? ""
               : "not all is noted: " + lines;
}

std::string anUnprotectedServerIsNoted() {
    const std::pair<const char*, bool> servers[] = {
        {"postgresql://u@0.0.0.0:1/d?sslmode=disable", true},
        {"postgresql://u@localhost:1/d", false}};
    for (const auto& [url, isNoted] : servers) {
        vlr::Settings::set(QStringLiteral("Velora/Application/PatientRepository"), url);
        bool isGood = false;
        const std::string lines = checkedSite(isGood);
        const bool isThere =
            lines.find("note   patients      the way to the server: ") != std::string::npos &&
            lines.find("nothing is encrypted") != std::string::npos;
        if (isThere != isNoted || isGood)
            return std::string(url) + ": " + lines;
    }
    return {};
}

} // namespace

std::vector<TrustCase> trustSelfCheck() {
    return {
        {"the self-check of a repository", &theRepositoryIsOnlyLookedAt},
        {"a program that stores during the self-check", &storingGoesOnBesideALook},
        {"the self-check of an odd name in an open folder", &oddNamesAndOpenFoldersAreNoted},
        {"the self-check of a server", &anUnprotectedServerIsNoted},
    };
}
