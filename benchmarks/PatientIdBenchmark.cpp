#include "Data/Patient.h"
#include "DataUtils/FreePatientId.h"
#include "IO/DataIOManager.h"
#include "Statistics.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QElapsedTimer>
#include <QtCore/QFile>
#include <QtCore/QJsonDocument>
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

void print(const char* what, const Summary& summary, int digits) {
    std::printf("%-18s%8.*f   (%.*f to %.*f)\n", what, digits, summary.median, digits,
                summary.lowerQuartile, digits, summary.upperQuartile);
}

void measure(int pairs, const QString& json) {
    std::vector<double> listing, searching, ratios;
    listAll();
    for (int i = 0; i < pairs; ++i) {
        listing.push_back(milliseconds(listAll));
        searching.push_back(milliseconds(findFreeId));
        ratios.push_back(searching.back() / listing.back());
    }
    const Summary list(listing), search(searching), ratio(ratios);
    std::printf("A free id among %d patients, %d pairs\n%-18s%8s   (quartiles)\n", patientCount,
                pairs, "", "median");
    print("Listing, ms", list, 1);
    print("Free id, ms", search, 1);
    print("Ratio of a pair", ratio, 2);
    std::printf("The aim is a ratio of at most %.2f: %s\n", aim,
                ratio.median <= aim ? "reached" : "missed");
    if (json.isEmpty())
        return;
    const QByteArray text =
        QJsonDocument(QJsonObject{{QStringLiteral("benchmark"), QStringLiteral("patientid")},
                                  {QStringLiteral("patients"), patientCount},
                                  {QStringLiteral("listingMilliseconds"), list.toJson()},
                                  {QStringLiteral("freeIdMilliseconds"), search.toJson()},
                                  {QStringLiteral("ratio"), ratio.toJson()},
                                  {QStringLiteral("aim"), aim}})
            .toJson();
    QFile file(json);
    if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size() || !file.flush())
        throw std::runtime_error((json + QStringLiteral(": ") + file.errorString()).toStdString());
}

int run(const QCoreApplication& application) {
    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Compares the search for a free patient id with listing the patients."));
    parser.addHelpOption();
    const QCommandLineOption pairs(QStringLiteral("pairs"),
                                   QStringLiteral("How many pairs of measurements, at least 1."),
                                   QStringLiteral("N"), QStringLiteral("21"));
    const QCommandLineOption json(QStringLiteral("json"),
                                  QStringLiteral("Writes the numbers to the file as well."),
                                  QStringLiteral("FILE"));
    parser.addOptions({pairs, json});
    parser.process(application);
    const int count = parser.value(pairs).toInt();
    if (count < 1)
        throw std::runtime_error("That is too few pairs; see --help.");
    fillRepository();
    measure(count, parser.value(json));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    // The patients of the person who runs this are not to be touched.
    const QTemporaryDir home;
    for (const char* place : {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(place, QFile::encodeName(home.path()));
    const QCoreApplication application(argc, argv);
    try {
        return run(application);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
