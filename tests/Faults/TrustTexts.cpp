// Ids and names that look alike.

#include "Cases.h"
#include "Trust.h"

#include "Data/PatientText.h"
#include "IO/DataIOManager.h"

#include <QtCore/QElapsedTimer>

#include <tuple>

namespace {

struct Text {
    const char* given;
    const char* normalized;
    const char* visible;
};

constexpr Text texts[] = {
    {"0001", "0001", "0001"},
    {" 0001\u2003", "0001", "\\u00200001\\u2003"},
    {"00\u200b01", "0001", "00\\u200B01"},
    {"\u202e1000", "1000", "\\u202E1000"},
    {"00\u316401", "0001", "00\\u316401"},
    {"A\tB\n", "A B", "A\\u0009B\\u000A"},
    {"\ue000\U000e0001x\U0010ffff", "x", "\\uE000\\U000E0001x\\U0010FFFF"},
    {"Nu\u0303ez \u845b\U000e0100", "N\u0169ez \u845b", "Nu\u0303ez \u845b\U000e0100"},
    {"\u0627\u0644 \U0001f600", "\u0627\u0644 \U0001f600", "\u0627\u0644 \U0001f600"},
    {"0001\u2800", "0001", "0001\\u2800"},
    {"0001\U0001d159", "0001", "0001\\U0001D159"},
    {"\U00016fe40001", "0001", "\\U00016FE40001"},
    {"\u200b ", "", "\\u200B\\u0020"},
};

std::string textsAreNormalized() {
    for (const Text& text : texts) {
        const QString given = QString::fromUtf8(text.given);
        const QString id = vlr::normalizedId(given);
        const bool isGood = !id.isEmpty() && id == given;
        if (id != QString::fromUtf8(text.normalized) || vlr::normalizedId(id) != id ||
            vlr::visibleText(given) != QString::fromUtf8(text.visible) ||
            vlr::idProblem(given).isEmpty() != isGood)
            return std::string(text.visible) + " gives " + id.toStdString() + " and " +
                   vlr::visibleText(given).toStdString() + ": " +
                   vlr::idProblem(given).toStdString();
    }
    const QString name = QString::fromUtf8("\u845b\U000e0100");
    if (vlr::normalizedText(name) != name)
        return "a name loses its variant";
    const char* const alike[][2] = {
        {"O1 p", "0lP"}, {"rnI", "mi"}, {"\uff10\uff10\uff101", "0001"}, {"P\u04301", "pa1"}};
    for (const auto& [one, other] : alike)
        if (vlr::idSkeleton(QString::fromUtf8(one)) != vlr::idSkeleton(QString::fromUtf8(other)))
            return std::string(one) + " is not taken for " + other;
    return vlr::idSkeleton(QStringLiteral("0001")) == vlr::idSkeleton(QStringLiteral("0002"))
               ? "all ids are alike"
               : "";
}

std::string storing(const char* id, const char* name = "Somebody") {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QString::fromUtf8(id));
    patient->setName(QString::fromUtf8(name));
    const CaError error = DataIOManager::storePatient(patient);
    return error == CaError::nullError
               ? patient->patientId().toStdString() + ", " + patient->name().toStdString()
               : error.id();
}

std::string anIdIsStoredOnce() {
    const std::tuple<const char*, const char*, std::string> cases[] = {
        {" 0001 ", "Doe\u200b", "0001, Doe"},
        {"0001\u200b", "", DataIOManager::idTakenError},
        {"\u202e0001", "", DataIOManager::idTakenError},
        {"\u202e1000", "", "1000, "},
        {"\u200b", "", "DataIOManager::storePatient"},
    };
    for (const auto& [id, name, expected] : cases)
        if (storing(id, name) != expected)
            return vlr::visibleText(QString::fromUtf8(id)).toStdString() + " is stored as " +
                   storing(id, name);
    return {};
}

// As it was stored before ids were normalized.
std::string anOldIdStaysAndIsTaken() {
    (void)storing("0001");
    (void)trustSql("UPDATE patient SET patient_id = '0001' || char(8203)");
    (void)trustSql(
        "UPDATE document SET content = CAST(replace(CAST(content AS TEXT), '0001', '0001' || "
        "char(8203)) AS BLOB)");
    if (storing("0001") != DataIOManager::idTakenError)
        return "an id that differs in nothing that is seen is free";
    std::vector<MetaInformation> patients;
    DataPointer<Patient> old;
    if (DataIOManager::patientMetaInfoList(patients) != CaError::nullError ||
        DataIOManager::loadPatient(patients.at(0).uri(), old) != CaError::nullError)
        return "he cannot be read any more";
    old->setName(QStringLiteral("Other"));
    const CaError error = DataIOManager::storePatient(old);
    return old->patientId() == QString::fromUtf8("0001\u200b") ? error.text() : "he has another id";
}

std::string lookalikesAreFoundInTime() {
    (void)storing("OOO1", "Doe");
    (void)trustSql(
        "INSERT INTO patient (uid, patient_id, name, sex, birth_date, changed, revision) "
        "WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < 100000) "
        "SELECT i, 'P' || i || CASE i % 10 WHEN 0 THEN char(228) ELSE '' END, '', 0, '', '', "
        "1 FROM n");
    QElapsedTimer time;
    time.start();
    std::vector<MetaInformation> alike;
    (void)DataIOManager::patientsLike(QStringLiteral("0001"), alike);
    const qint64 taken = time.elapsed();
    if (alike.size() != 1 || alike[0].value(QStringLiteral("name")) != QLatin1String("Doe"))
        return std::to_string(alike.size()) + " of 1 are found";
    if (storing("P1") != DataIOManager::idTakenError || storing("Q1") != "Q1, Somebody")
        return "ids are taken or free as they are not";
    constexpr qint64 most = 5000;
    return isSanitized || taken < most ? "" : "it takes " + std::to_string(taken) + " ms";
}

} // namespace

std::vector<TrustCase> trustTexts() {
    return {
        {"texts that look alike", &textsAreNormalized},
        {"an id in several forms", &anIdIsStoredOnce},
        {"an id of before", &anOldIdStaysAndIsTaken},
        {"one that looks alike among 100,000", &lookalikesAreFoundInTime},
    };
}
