#include "BenchmarkMain.h"
#include "Statistics.h"

#include "Data/Patient.h"
#include "DataUtils/FreePatientId.h"
#include "IO/DataIOManager.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>

#include <cstdio>
#include <functional>
#include <stdexcept>

namespace {

constexpr int patientCount = 10000;
constexpr double aim = 0.5;

void check(const CaError& error) {
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
}

// Everybody has the next number, which is where the search for a free one takes longest.
void fillRepository() {
    for (int i = 0; i < patientCount; ++i) {
        const DataPointer<Patient> patient(new Patient);
        patient->setPatientId(QStringLiteral("%1").arg(i, 7, 10, QLatin1Char('0')));
        patient->setName(QStringLiteral("Patient number %1, given names").arg(i));
        patient->setBirthDate(QDate(1950, 1, 1).addDays(i));
        check(DataIOManager::storePatient(patient));
    }
}

double milliseconds(const std::function<void()>& work) {
    QElapsedTimer timer;
    timer.start();
    work();
    return static_cast<double>(timer.nsecsElapsed()) / 1e6;
}

void listAll() {
    std::vector<MetaInformation> patients;
    check(DataIOManager::patientMetaInfoList(patients));
    if (patients.size() != patientCount)
        throw std::runtime_error("The list is not complete.");
}

void findFreeId() {
    std::vector<QString> ids;
    check(DataIOManager::patientIds(ids));
    if (vlr::firstFreePatientId(ids, 1000000) != QLatin1String("0010000"))
        throw std::runtime_error("This is not the free id.");
}

QJsonObject measure(int rounds) {
    fillRepository();
    std::vector<double> listing, searching, ratios;
    listAll();
    for (int i = 0; i < rounds; ++i) {
        listing.push_back(milliseconds(listAll));
        searching.push_back(milliseconds(findFreeId));
        ratios.push_back(searching.back() / listing.back());
    }
    const Summary list(listing), search(searching), ratio(ratios);
    std::printf("A free id among %d patients, %d pairs\n", patientCount, rounds);
    printHead();
    print("Listing, ms", list, 1);
    print("Free id, ms", search, 1);
    print("Ratio of a pair", ratio, 2);
    std::printf("The aim is a ratio of at most %.2f: %s\n", aim,
                ratio.median <= aim ? "reached" : "missed");
    return {{QStringLiteral("benchmark"), QStringLiteral("patientid")},
            {QStringLiteral("patients"), patientCount},
            {QStringLiteral("listingMilliseconds"), list.toJson()},
            {QStringLiteral("freeIdMilliseconds"), search.toJson()},
            {QStringLiteral("ratio"), ratio.toJson()},
            {QStringLiteral("aim"), aim}};
}

} // namespace

int main(int argc, char** argv) {
    // The patients of the person who runs this are not to be touched.
    const QTemporaryDir home;
    for (const char* place : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(place, QFile::encodeName(home.path()));
    return benchmarkMain(argc, argv,
                         "Compares the search for a free patient id with listing the patients.",
                         measure);
}
