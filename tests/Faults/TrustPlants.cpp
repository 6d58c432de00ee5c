// What others plant beside a repository, and in the place of sockets, certificates and pictures.

#include "Cases.h"
#include "PeakMemory.h"
#include "Storer.h"
#include "Trust.h"

#include "AppBase/Dialogs/SplashScreen.h"
#include "Files/PatientFile.h"
#include "IO/DataIOManager.h"
#include "IO/PatientStore.h"
#include "IO/RepositoryBackup.h"
#include "IO/ServerGuard.h"
#include "Log/vlrLog.h"
#include "SelfCheck/SelfCheck.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QtEndian>
#include <QtGui/QImage>

#include <cstring>
#include <functional>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

QByteArray encoded(const QString& path) {
    return QFile::encodeName(path);
}

QString home(const char* name) {
    return QDir::homePath() + QLatin1Char('/') + QLatin1String(name);
}

void need(bool isDone) {
    if (!isDone)
        throw std::runtime_error("The test's own files cannot be made.");
}

void put(const QString& path, const QByteArray& bytes, unsigned mode = 0755) {
    QFile file(path);
    need(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() &&
         fchmod(file.handle(), mode) == 0);
}

void give(const QString& path, uid_t user) {
    need(lchown(encoded(path).constData(), user, static_cast<gid_t>(-1)) == 0);
}

void storeOne(const char* id) {
    const DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QLatin1String(id));
    const CaError error = DataIOManager::storePatient(patient);
    DataIOManager::closeRepository();
    if (error != CaError::nullError)
        throw std::runtime_error(error.text());
}

// What each way to open the repository says.
std::vector<std::string> openings() {
    std::vector<QString> ids;
    std::vector<std::string> said{DataIOManager::patientIds(ids).text()};
    DataIOManager::closeRepository();
    CaError error;
    (void)DataIOManager::repositoryToLookAt(error);
    said.push_back(error.text());
    DataIOManager::closeRepository();
    QString summary;
    said.push_back(vlr::backUpRepository(trustRepository(), home("another"), {}, summary).text());
    said.push_back(vlr::restoreRepository(home("backup"), trustRepository(), {}, summary).text());
    return said;
}

std::string whatLiesBesideIsNotBelieved() {
    storeOne("1");
    QString summary;
    need(vlr::backUpRepository(trustRepository(), home("backup"), {}, summary).isNull());
    const QString victim = home("victim");
    const struct {
        const char* name;
        std::function<void(const QString&)> plant;
        const char* said;
        bool needsRoot;
    } plants[] = {
        {"a link", [&](const QString& path) { need(QFile::link(victim, path)); },
         "is not a regular file", false},
        {"a pipe", [](const QString& path) { need(mkfifo(encoded(path).constData(), 0600) == 0); },
         "is not a regular file", false},
        {"another name",
         [&](const QString& path) {
             need(link(encoded(victim).constData(), encoded(path).constData()) == 0);
         },
         "has another name", false},
        {"another user's",
         [](const QString& path) {
             put(path, QByteArray());
             give(path, nobody);
         },
         "belongs to the user", true},
    };
    for (const auto& one : plants)
        for (const char* suffix : {"-wal", "-shm", "-journal"}) {
            if (one.needsRoot && geteuid() != 0)
                continue;
            put(victim, "precious");
            const QString path = trustRepository() + QLatin1String(suffix);
            QFile::remove(path);
            one.plant(path);
            for (const std::string& said : openings())
                if (said.find(one.said) == std::string::npos ||
                    said.find(suffix) == std::string::npos)
                    return std::string(one.name) + ' ' + suffix + ": " + said;
            struct stat status = {};
            if (stat(encoded(victim).constData(), &status) != 0 ||
                (status.st_mode & 07777U) != 0755U || status.st_size != 8)
                return std::string(one.name) + ' ' + suffix + ": the other file is changed";
            QFile::remove(path);
        }
    storeOne("2");
    return {};
}

// Also where they come between a look and the change.
std::string rightsStayWithTheirFile() {
    const QString victim = home("victim");
    put(victim, "precious");
    need(QFile::link(victim, home("link")) &&
         link(encoded(victim).constData(), encoded(home("name")).constData()) == 0);
    for (const char* name : {"link", "name"}) {
        vlr::limitPatientFile(home(name));
        struct stat status = {};
        if (stat(encoded(victim).constData(), &status) != 0 || (status.st_mode & 07777U) != 0755U)
            return std::string(name) + " leads to another file";
    }
    return {};
}

std::string linksToTheRepository() {
    const QString repository = trustRepository();
    need(QDir().mkpath(QFileInfo(repository).path()) && QDir().mkpath(home("far")));
    need(QFile::link(home("far/patients"), repository)); // One's own, to what is not there yet.
    storeOne("1");
    if (!QFile::exists(home("far/patients")))
        return "one's own link is not followed";
    if (geteuid() != 0)
        return {};
    for (const bool isThere : {true, false}) {
        if (!isThere)
            QFile::remove(home("far/patients"));
        give(repository, nobody);
        std::vector<QString> ids;
        const std::string said = DataIOManager::patientIds(ids).text();
        DataIOManager::closeRepository();
        if (said.find("is a symbolic link that belongs to the user") == std::string::npos ||
            QFile::exists(home("far/patients")) != isThere)
            return "another user's link is followed: " + said;
    }
    return {};
}

std::string secondNamesGo() {
    storeOne("1");
    const QByteArray path = encoded(trustRepository());
    const QByteArray kept = path + ".replaced-20200101-000000";
    const QByteArray other = path + ".other";
    need(link(path.constData(), kept.constData()) == 0 &&
         link(path.constData(), other.constData()) == 0);
    std::string told;
    const int listener =
        vlr::Log::addListener([&](const vlr::LogRecord& record) { told += record.text + '\n'; });
    storeOne("2");
    if (access(kept.constData(), F_OK) == 0 || told.find("was interrupted") == std::string::npos)
        return "the rest of a restore stays: " + told;
    if (access(other.constData(), F_OK) != 0 || told.find("has another name") == std::string::npos)
        return "another name is not told: " + told;
    // One with changes that the repository has not is more than a name.
    need(link(path.constData(), kept.constData()) == 0);
    put(QFile::decodeName(kept + "-wal"), "changes");
    storeOne("3");
    vlr::Log::removeListener(listener);
    return access(kept.constData(), F_OK) == 0 ? "" : "what is more than a name goes";
}

// A file of recent changes with a header and a size, and nothing in it.
std::string changesHaveNoEnd() {
    storeOne("1");
    QByteArray header(32, 0);
    qToBigEndian<quint32>(0x377f0682, header.data());
    qToBigEndian<quint32>(3007000, header.data() + 4);
    qToBigEndian<quint32>(512, header.data() + 8);
    quint32 first = 0;
    quint32 second = 0;
    for (int i = 0; i < 24; i += 8) {
        first += qFromLittleEndian<quint32>(header.constData() + i) + second;
        second += qFromLittleEndian<quint32>(header.constData() + i + 4) + first;
    }
    qToBigEndian(first, header.data() + 24);
    qToBigEndian(second, header.data() + 28);
    const QString changes = trustRepository() + QStringLiteral("-wal");
    put(changes, header, 0600);
    need(QFile::resize(changes, qint64(200) << 30));
    std::vector<QString> ids;
    const CaError error = DataIOManager::patientIds(ids);
    return ids.size() == 1 ? "" : "the patient is lost: " + error.text();
}

std::string rootLeavesTheRepositoryOfAUserAlone() {
    if (geteuid() != 0) {
        reportDone("not run: a user's repository as an ordinary user: needs root");
        return {};
    }
    storeOne("1");
    if (!foreignRepositoryProblem(trustRepository()).isEmpty())
        return "one's own is refused";
    give(trustRepository(), nobody);
    return foreignRepositoryProblem(trustRepository()).isEmpty() ? "a user's is touched" : "";
}

// --- servers

// It takes a connection at a local socket, and says nothing.
std::string aLocalServerIsSilent() {
    const QByteArray before = encoded(QDir::currentPath());
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strcpy(address.sun_path, "./.s.PGSQL.7"); // The folder's name may be too long for it.
    const auto* const where = reinterpret_cast<const sockaddr*>(&address);
    need(chdir(encoded(QDir::homePath()).constData()) == 0 &&
         bind(listener, where, sizeof address) == 0 && listen(listener, 1) == 0);
    vlr::ServerGuard guard(7, std::chrono::milliseconds(50));
    char byte = 0;
    {
        const vlr::ServerGuard::Opening opening(guard);
        const int client = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        need(connect(client, where, sizeof address) == 0);
        need(recv(client, &byte, 1, 0) <= 0);
        close(client);
    }
    close(listener);
    need(chdir(before.constData()) == 0);
    return guard.reason().contains(QLatin1String("does not answer")) ? "" : "it is not cut";
}

std::string filesOfTlsArePipes() {
    const QString pipe = home("pipe");
    const QString usual = home(".postgresql/");
    need(QDir().mkpath(usual) && mkfifo(encoded(pipe).constData(), 0600) == 0);
    const auto isRefused = [](const QString& parameters) {
        CaError error;
        (void)vlr::PatientStore::open(
            QStringLiteral("postgresql://u@0.0.0.0:1/d?sslmode=require") + parameters, error);
        return error.text().find("is not a regular file") != std::string::npos;
    };
    if (isRefused({}))
        return "what is not there is refused";
    for (const char* name : {"&sslrootcert=", "&sslcert=", "&sslkey="})
        if (!isRefused(QLatin1String(name) + pipe))
            return std::string(name) + " is read";
    for (const char* name : {"root.crt", "postgresql.crt", "postgresql.key", "root.crl"}) {
        need(QFile::link(pipe, usual + QLatin1String(name)));
        if (!isRefused({}))
            return std::string(name) + " is read";
        QFile::remove(usual + QLatin1String(name));
    }
    qputenv("PGSSLCRL", encoded(pipe));
    const bool isRead = !isRefused({});
    qunsetenv("PGSSLCRL");
    return isRead ? "the environment's is read" : "";
}

// --- pictures

std::string noPictureKeepsTheStartWaiting() {
    const QString setting = QStringLiteral("Velora/Application/SplashScreen.ResourcePath");
    const QSize builtIn = SplashScreen().pixmap().size();
    mkfifo(encoded(home("pipe")).constData(), 0600);
    QImage good(30, 20, QImage::Format_RGB32);
    good.fill(Qt::red);
    good.save(home("good.png"));
    good.save(home("sparse.png")); // As good as the first one, but for its size.
    QFile(home("sparse.png")).resize(qint64(3) << 30);
    const QImage wide = QImage(9000, 9000, QImage::Format_RGB32);
    wide.save(home("wide.png"));
    const struct {
        QString path;
        QSize size;
    } pictures[] = {
        {home("good.png"), good.size()}, {QStringLiteral(":/icons/default/Lumari_logo"), QSize()},
        {home("pipe"), builtIn},         {QStringLiteral("/dev/zero"), builtIn},
        {QDir::homePath(), builtIn},     {home("sparse.png"), builtIn},
        {home("wide.png"), builtIn}};
    for (const auto& one : pictures) {
        vlr::Settings::set(setting, one.path);
        const TrustWarnings warnings;
        const PeakMemory memory;
        const QSize size = SplashScreen().pixmap().size();
        const bool isRefused = one.size == builtIn;
        if (one.size.isValid() ? size != one.size : size.isEmpty() || size == builtIn)
            return one.path.toStdString() + " gives a picture of another size";
        if (PeakMemory::isMeasurable() && isRefused && memory.growth() > qint64(64) << 20)
            return one.path.toStdString() + " takes " + std::to_string(memory.growth() >> 20) +
                   " MiB";
        if (isRefused != warnings.tell("SplashScreen.ResourcePath"))
            return one.path.toStdString() + ": what is told is wrong";
    }
    return {};
}

} // namespace

std::vector<TrustCase> trustPlants() {
    return {
        {"what is no file of ours beside the repository", &whatLiesBesideIsNotBelieved},
        {"rights of a file with another name", &rightsStayWithTheirFile},
        {"links to the repository", &linksToTheRepository},
        {"second names of the repository", &secondNamesGo},
        {"changes beside the repository that have no end", &changesHaveNoEnd},
        {"root with the repository of a user", &rootLeavesTheRepositoryOfAUserAlone},
        {"a local server that is silent", &aLocalServerIsSilent},
        {"files of certificates that are none", &filesOfTlsArePipes},
        {"what is no picture for the start", &noPictureKeepsTheStartWaiting},
    };
}
