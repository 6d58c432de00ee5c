// What other users of the machine, their files and peers on the wire try.

#include "Cases.h"
#include "Faults.h"
#include "QuietLog.h"
#include "Storer.h"
#include "Trust.h"

#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStandardPaths>

#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr uid_t nobody = 65534;
constexpr const char* folders[] = {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "TMPDIR"};

std::vector<TrustCase> allCases() {
    std::vector<TrustCase> all;
    for (const auto& some :
         {trustCopies(), trustExit(), trustFiles(), trustPlants(), trustRandom(), trustRecordings(),
          trustSelfCheck(), trustStore(), trustTexts(), trustWire()})
        all.insert(all.end(), some.begin(), some.end());
    return all;
}

// A home that belongs to the user of this process.
void makeHome(const QString& home) {
    QDir().mkpath(home);
    qputenv("HOME", QFile::encodeName(home));
    for (const char* folder : folders) {
        const QString path = home + QLatin1Char('/') + QLatin1String(folder);
        QDir().mkpath(path);
        qputenv(folder, QFile::encodeName(path));
    }
    vlr::Settings::reload();
}

void runAs(Report& report, bool isOrdinary) {
    const QString base =
        QDir::homePath() + (isOrdinary ? QStringLiteral("/ordinary") : QStringLiteral("/own"));
    const QByteArray folder = QFile::encodeName(base);
    QDir().mkpath(base);
    if (isOrdinary && geteuid() == 0 && chown(folder.constData(), nobody, nobody) != 0)
        throw std::runtime_error("The rights of the test's own files cannot be set.");
    const auto count = static_cast<long>(allCases().size());
    report.count(isOrdinary ? "cases as an ordinary user" : "cases as root",
                 judgeCases(report, QStringLiteral("trust"), count, "believed",
                            {base, isOrdinary ? QStringLiteral("ordinary") : QString()}),
                 count);
}

} // namespace

void faultTrust(Report& report) {
    chmod(QFile::encodeName(QDir::homePath()).constData(), 0755);
    runAs(report, true);
    if (geteuid() == 0)
        runAs(report, false);
    else
        report.notRun("as root: needs its rights");
}

QString trustRepository() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           QStringLiteral("/patients.sqlite");
}

int actTrust(const QStringList& arguments) {
    const QuietLog quiet;
    if (arguments.value(3) == QLatin1String("ordinary"))
        becomeOrdinary();
    const std::vector<TrustCase> all = allCases();
    return doCases(arguments, [&](long number) {
        const TrustCase& one = all[static_cast<std::size_t>(number)];
        nameCase(one.name);
        makeHome(arguments.value(2) + QStringLiteral("/%1").arg(number));
        std::string wrong = one.run();
        DataIOManager::closeRepository();
        return wrong;
    });
}
