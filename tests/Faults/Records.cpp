#include "Records.h"

#include "Victims.h"

#include "Data/Study.h"
#include "IO/DataIOManager.h"
#include "IO/DurableFile.h"
#include "IO/TreeXml.h"
#include "Settings/vlrSettings.h"
#include "Tools/ToolGeometry.h"
#include "Tracking/RecordingPlayer.h"

#include <QtCore/QStandardPaths>
#include <QtCore/QThread>

#include <atomic>
#include <stdexcept>

namespace {

void check(const CaError& error) {
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
}

Record::Found soundIf(bool isSound) {
    return isSound ? Record::Sound : Record::Torn;
}

// --- trees of items

int items(const DataTreeNode& node) {
    int count = 1;
    for (const auto& child : node.children())
        count += items(*child);
    return count;
}

// Whether the tree comes back from its document as it is, with all the items.
template <class Root>
bool comesBack(const Root& root, int expectedItems) {
    DataTreeNode saved;
    check(root.save(saved));
    const QByteArray document = vlr::writeTree(saved);
    DataTreeNode read;
    check(vlr::readTree(document, read, {qint64(64) << 20, 64, 1000000, 4096}));
    const DataPointer<Root> again(new Root);
    check(again->load(read));
    DataTreeNode savedAgain;
    check(again->save(savedAgain));
    return vlr::writeTree(savedAgain) == document && items(saved) == expectedItems;
}

Record::Found lookAtConfiguration() {
    QByteArray document;
    check(vlr::readWhole(victims().front().file(), qint64(4) << 20, document));
    DataTreeNode root;
    check(vlr::readTree(document, root));
    const DataPointer<Configuration> configuration(new Configuration);
    check(configuration->load(root));
    return soundIf(comesBack(*configuration, items(root)));
}

Record::Found lookAtPatients() {
    std::vector<vlr::URI> patients;
    check(DataIOManager::patientList(patients));
    for (const vlr::URI& uri : patients) {
        DataPointer<Patient> patient;
        // Refused by itself is as good as in order.
        if (DataIOManager::loadPatient(uri, patient) == CaError::nullError) {
            DataTreeNode root;
            check(patient->save(root));
            if (!comesBack(*patient, items(root)))
                return Record::Torn;
        }
    }
    return patients.empty() ? Record::Nothing : Record::Sound;
}

// --- settings

QHash<QString, QVariant> storedSettings() {
    QHash<QString, QVariant> values;
    const QStringList keys = vlr::Settings::keys();
    for (const QString& key : keys)
        values.insert(key, vlr::Settings::value(key));
    return values;
}

Record::Found lookAtSettings() {
    const QString key = QStringLiteral("Damage/Another");
    const QHash<QString, QVariant> before = storedSettings();
    if (before.isEmpty())
        return Record::Nothing;
    const CaError error = vlr::Settings::set(key, 1);
    // Some of what was read the format cannot write again. Then nothing is written.
    if (error != CaError::nullError && error.id() != "Settings::notStorable")
        return Record::Torn;
    vlr::Settings::reload();
    if (error == CaError::nullError)
        check(vlr::Settings::remove(key));
    vlr::Settings::reload();
    return soundIf(storedSettings() == before);
}

// --- what Navigation reads

QString dataFile(const char* name) {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) + QLatin1Char('/') +
           QLatin1String(name);
}

QString toolFile() {
    return dataFile("Pointer.xml");
}

void storeTool() {
    check(vlr::writeDurably(toolFile(), "<tool version=\"1\" name=\"Pointer\">\n"
                                        "  <marker x=\"0\" y=\"0\" z=\"0\"/>\n"
                                        "  <marker x=\"50\" y=\"0\" z=\"0\"/>\n"
                                        "  <marker x=\"0\" y=\"35.5\" z=\"0\"/>\n"
                                        "</tool>\n"));
}

Record::Found readTool() {
    vlr::ToolGeometry geometry;
    if (!vlr::readToolGeometry(toolFile(), geometry).isNull())
        return geometry.markers.empty() ? Record::Refused : Record::Torn;
    const std::vector<Vector3d> markers{{0, 0, 0}, {50, 0, 0}, {0, 35.5, 0}};
    if (geometry.name == "Pointer" && geometry.markers == markers)
        return Record::Whole;
    return vlr::checkGeometry(geometry).isNull() ? Record::Sound : Record::Torn;
}

constexpr int recordedLines = 60;

QString recordingFile() {
    return dataFile("Damage.tracking");
}

void storeRecording() {
    QByteArray bytes = "vlr-tracking 1\n0 state connected\n";
    for (int i = 1; i < recordedLines; ++i)
        bytes += QByteArray::number(i * 1000) + (i % 2 ? " markers Pointer 1.5 2 3 - " : " pose ") +
                 (i % 2 ? "4 5 6\n" : "Probe 1 0 0 0 1 0 0 0 1 10 20 30\n");
    check(vlr::writeDurably(recordingFile(), bytes));
}

struct Played : vlr::TrackingListener {
    void received(const vlr::TrackingMeasurement&) override { ++lines; }
    void conditionChanged(const vlr::TrackingCondition&, vlr::TrackingTime) override { ++lines; }
    std::atomic<int> lines{0};
};

// Every line is a record of its own: those in front of the damage are played, and the problem
// names the line where it ends.
Record::Found readRecording() {
    const auto played = std::make_shared<Played>();
    vlr::RecordingPlayer player(recordingFile(), vlr::RecordingPlayer::Fast);
    player.setListener(played);
    if (!player.start().isNull())
        return Record::Refused;
    while (!player.hasEnded())
        QThread::usleep(20);
    if (!player.latest()->problem.empty())
        return Record::Refused;
    return played->lines == recordedLines ? Record::Whole : Record::Sound;
}

} // namespace

const std::vector<Record>& records() {
    static const std::vector<Record> all = [] {
        std::vector<Record> made{
            {"tool", &toolFile, &storeTool, &readTool},
            {"recording", &recordingFile, &storeRecording, &readRecording, true}};
        Record::Found (*const looks[])() = {&lookAtConfiguration, &lookAtSettings, &lookAtPatients};
        for (std::size_t i = 0; i < victims().size(); ++i) {
            const Victim& victim = victims()[i];
            // Its own check knows its versions; what is none of them may be sound all the same.
            const auto read = [&victim, look = looks[i]] {
                int version = 0;
                if (victim.load(version) != CaError::nullError)
                    return Record::Refused;
                return version == 1 ? Record::Whole : look();
            };
            made.push_back({victim.name, victim.file, [&victim] { check(victim.store(1)); }, read});
        }
        return made;
    }();
    return all;
}
