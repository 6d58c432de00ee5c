// A workstation that is switched off in the middle of a save.

#include "Faults.h"

#include "Storer.h"

#include "AppBase/AppBase.h"
#include "Support/CommandLine.h"

#include <QtCore/QDirIterator>
#include <QtCore/QRandomGenerator>
#include <QtCore/QSet>
#include <QtCore/QThread>
#include <QtCore/QTimer>

namespace {

// Saves one version after the other until it is killed. Answers the last one it acknowledged.
int saveUntilKilled(const Victim& victim, int first, QRandomGenerator& random) {
    constexpr int most = 100;          // more than it has time for
    constexpr int savesBeforeKill = 3; // on average
    Child child(QStringLiteral("store"), Storer::arguments(victim));
    for (int version = first; version < first + most; ++version)
        child.process().write(QByteArray::number(version) + " next\n");
    QByteArray answers;
    for (int wait = random.bounded(1, 2 * savesBeforeKill); wait > 0; --wait)
        answers += child.readLine();
    QThread::usleep(random.bounded(3000U)); // somewhere inside of a save
    answers += child.kill();
    const int acknowledged = answers.count("acknowledged\t");
    if (acknowledged == 0)
        throw std::runtime_error("A process did not save: " + child.standardError().toStdString());
    return first - 1 + acknowledged;
}

void check(const Victim& victim, int acknowledged, Report& report) {
    int version = 0;
    const CaError error = victim.load(version);
    const std::string what = std::string(victim.name) + ", acknowledged " +
                             std::to_string(acknowledged) + ", found " + std::to_string(version);
    const bool isTorn = error != CaError::nullError || version < 0;
    report.never("torn files", isTorn, what + ". " + error.text());
    report.never("acknowledged saves lost", !isTorn && version < acknowledged, what);
}

// What is in the user's folders after a program has been started and left.
QSet<QString> filesAfterStart() {
    DataIOManager::closeRepository();
    if (Child(QStringLiteral("start")).wait() != 0)
        throw std::runtime_error("A program cannot be started.");
    QSet<QString> found;
    QDirIterator files(QDir::homePath(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (files.hasNext())
        found << files.next();
    return found;
}

} // namespace

void faultKill(Report& report) {
    const auto saves = static_cast<int>(report.extent(50, 1000));
    const QStringList shim = shimEnvironment(report);
    QRandomGenerator random(1);
    for (const Victim& victim : victims())
        Storer(victim, report);
    const QSet<QString> belonging = filesAfterStart();
    for (const Victim& victim : victims()) {
        // A process makes a few saves before its end.
        const long kills = 3L * saves / 10;
        for (int acknowledged = 0; acknowledged < saves;
             report.count("kills at any time", 1, kills)) {
            acknowledged = saveUntilKilled(victim, acknowledged + 1, random);
            check(victim, acknowledged, report);
        }
        if (shim.isEmpty())
            continue;
        // The next process has to get along with what was left.
        Storer storer(victim, report, shim);
        const long step = report.extent(5, 1);
        report.count("pairs of kills before a call of a save",
                     storer.sweepCalls(Storer::killed, step) / step, report.extent(10, 100));
        report.never("saves blocked by what was left", storer.refused());
    }
    const QSet<QString> left = filesAfterStart() - belonging;
    for (const QString& file : left)
        report.problem("left: " + file.toStdString());
    report.never("orphans after the next start", left.size());
}

// A program that is started, looks for its patients and quits.
int actStart(const QStringList&) {
    vlrTest::CommandLine line;
    AppBase application(line.count, line.words);
    application.launchSplashScreen();
    QTimer::singleShot(0, &application, [&application] {
        std::vector<vlr::URI> patients;
        (void)DataIOManager::patientList(patients);
        application.exitApplication();
    });
    return application.run();
}
