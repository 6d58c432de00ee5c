#include "Input.h"
#include "Targets.h"

#include "Data/Study.h"
#include "Documents/TreeXml.h"
#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"
#include "Tracking/RecordingPlayer.h"
#include "Tracking/ToolGeometry.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

#include <algorithm>

namespace {

// A document that is larger once it is indented may go beyond the limit.
const vlr::TreeLimits largeLimits{qint64(64) << 20, 64, 1000000, 4096};

// The file as the only one in a folder that stands for all of the user's. A damaged one is kept
// there.
class OnlyFile {
public:
    OnlyFile(const QByteArray& bytes, const char* name) : m_bytes(bytes) {
        for (const char* place : {"XDG_CONFIG_HOME", "XDG_DATA_HOME"})
            qputenv(place, QFile::encodeName(m_folder.path()));
        QCoreApplication::setApplicationName(QStringLiteral("."));
        DataIOManager::closeRepository();
        vlr::Settings::reload();
        writeInput(m_folder.filePath(QLatin1String(name)), bytes);
    }
    ~OnlyFile() { DataIOManager::closeRepository(); }
    OnlyFile(const OnlyFile&) = delete;
    OnlyFile& operator=(const OnlyFile&) = delete;

    // In its place or beside it. Opening a database may change its first page.
    void demandKept(const QString& below = {}, int mayChange = 0) const {
        const QFileInfoList files =
            QDir(m_folder.filePath(below)).entryInfoList(QDir::Files | QDir::Hidden);
        demand(m_bytes.isEmpty() || std::any_of(files.begin(), files.end(),
                                                [&](const auto& info) {
                                                    QFile file(info.filePath());
                                                    return file.open(QIODevice::ReadOnly) &&
                                                           file.readAll().mid(mayChange).startsWith(
                                                               m_bytes.mid(mayChange));
                                                }),
               "what cannot be used is kept");
    }

private:
    const QTemporaryDir m_folder;
    const QByteArray m_bytes;
};

int items(const DataTreeNode& node) {
    int count = 1;
    for (const auto& child : node.children())
        count += items(*child);
    return count;
}

QByteArray demandComesBack(const DataTreeNode& root) {
    const QByteArray written = vlr::writeTree(root);
    DataTreeNode again;
    demand(vlr::readTree(written, again, largeLimits).isNull(), "what was read can be stored");
    demand(vlr::writeTree(again) == written, "what was stored comes back");
    return written;
}

// The item's document, from which it can be made again.
template <class Root>
QByteArray demandLoads(const DataPointer<Root>& item) {
    DataTreeNode saved;
    demand(item->save(saved).isNull(), "what was loaded can be saved");
    const QByteArray document = demandComesBack(saved);
    DataTreeNode read;
    DataTreeNode savedAgain;
    const DataPointer<Root> again(new Root);
    demand(vlr::readTree(document, read, largeLimits).isNull() && again->load(read).isNull() &&
               again->save(savedAgain).isNull() && vlr::writeTree(savedAgain) == document,
           "an item comes back with all that belongs to it");
    return document;
}

QHash<QString, QVariant> storedSettings() {
    QHash<QString, QVariant> values;
    const QStringList keys = vlr::Settings::keys();
    for (const QString& key : keys)
        values.insert(key, vlr::Settings::value(key));
    return values;
}

// Some of what was read the format cannot write again. Then nothing is written.
void demandStorable(const QHash<QString, QVariant>& values) {
    const QString key = QStringLiteral("Fuzz/Another");
    const CaError error = vlr::Settings::set(key, 1);
    demand(error.isNull() || error.id() == "Settings::notStorable", "settings can be stored");
    vlr::Settings::reload();
    demand(!error.isNull() || vlr::Settings::remove(key).isNull(), "a setting can be removed");
    vlr::Settings::reload();
    demand(storedSettings() == values, "a store leaves the other settings alone");
}

} // namespace

QByteArray fuzzXml(const QByteArray& bytes) {
    DataTreeNode root;
    return vlr::readTree(bytes, root).isNull() ? demandComesBack(root) : QByteArray();
}

QByteArray fuzzConfiguration(const QByteArray& bytes) {
    createStudyFactory();
    const OnlyFile file(bytes, "configurations/Fuzz.xml");
    const DataPointer<Configuration> configuration(new Configuration);
    if (!DataIOManager::loadConfiguration(QStringLiteral("Fuzz"), configuration).isNull()) {
        file.demandKept(QStringLiteral("configurations"));
        return {};
    }
    DataTreeNode read;
    DataTreeNode saved;
    demand(vlr::readTree(bytes, read).isNull() && configuration->save(saved).isNull() &&
               items(read) == items(saved),
           "a configuration has all of its file's items");
    return demandLoads(configuration);
}

QByteArray fuzzPatients(const QByteArray& bytes) {
    constexpr int firstPage = 4096;
    createStudyFactory();
    const OnlyFile file(bytes, "patients.sqlite");
    std::vector<vlr::URI> patients;
    QByteArray read;
    if (DataIOManager::patientList(patients).isNull())
        for (const vlr::URI& uri : patients) {
            DataPointer<Patient> patient;
            if (DataIOManager::loadPatient(uri, patient).isNull())
                read += demandLoads(patient);
        }
    if (patients.empty())
        file.demandKept({}, bytes.size() > firstPage ? firstPage : 0);
    return read;
}

QByteArray fuzzSettings(const QByteArray& bytes) {
    const OnlyFile file(bytes, "settings.ini");
    QByteArray read;
    const QStringList keys = vlr::Settings::keys();
    for (const QString& key : keys) {
        const int integer = vlr::Settings::get(key, 4, 1, 64);
        demand(integer >= 1 && integer <= 64, "a whole number is in its range");
        const double number = vlr::Settings::get(key, 0.5, 0.0, 1.0);
        demand(number >= 0 && number <= 1, "a number is in its range");
        demand(vlr::Settings::get(key, QSize(1, 1)).isValid(), "a size is none below zero");
        demand(vlr::Settings::get(key, Vector3d(1, 2, 3)).allFinite(), "a vector is finite");
        (void)vlr::Settings::get(key, true);
        read += key.toUtf8() + '=' + vlr::Settings::get(key, "").toUtf8() + '\n';
    }
    if (keys.isEmpty())
        file.demandKept();
    else
        demandStorable(storedSettings());
    return read;
}

QByteArray fuzzTool(const QByteArray& bytes) {
    vlr::ToolGeometry geometry;
    const bool isRead = vlr::readToolGeometry(inputFile("tool.xml", bytes), geometry).isNull();
    demand(isRead ? vlr::checkGeometry(geometry).isNull() : geometry.markers.empty(),
           "a tool that was read can be used, and of another one nothing is left");
    QByteArray read = QByteArray::fromStdString(geometry.name);
    for (const Vector3d& marker : geometry.markers)
        for (const double coordinate : {marker.x(), marker.y(), marker.z()})
            read += ' ' + QByteArray::number(coordinate, 'g', 17);
    return read;
}

// Every line is a record of its own: those in front of the damage are played.
QByteArray fuzzRecording(const QByteArray& bytes) {
    vlr::RecordingPlayer player(inputFile("recording", bytes), vlr::RecordingPlayer::Fast);
    if (!player.start().isNull())
        return {};
    while (!player.hasEnded())
        QThread::usleep(20);
    return player.latest()->problem.empty() ? QByteArray("played") : QByteArray();
}
