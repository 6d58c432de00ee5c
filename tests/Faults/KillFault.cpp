// A workstation that is switched off in the middle of a save.

#include "Faults.h"

#include "Child.h"
#include "Storer.h"
#include "Victims.h"

#include "IO/DataIOManager.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QRandomGenerator>
#include <QtCore/QThread>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <stdexcept>

namespace {

constexpr int savesBeforeKill = 3; // on average

struct Losses {
    long torn = 0;
    long lost = 0;
    long blocked = 0;
};

// The last version that the process acknowledged before it was killed.
int acknowledgedBy(Child& child, QRandomGenerator& random) {
    int acknowledged = 0;
    const int wait = static_cast<int>(random.bounded(1, 2 * savesBeforeKill));
    for (int i = 0; i < wait; ++i)
        acknowledged = child.readLine().trimmed().toInt();
    if (acknowledged == 0)
        throw std::runtime_error("A process did not save: " + child.standardError().toStdString());
    QThread::usleep(random.bounded(3000U)); // somewhere inside of a save
    for (const QByteArray& line : child.kill().split('\n'))
        if (!line.isEmpty())
            acknowledged = line.toInt();
    return acknowledged;
}

void check(const Victim& victim, int acknowledged, Losses& losses, Report& report) {
    int version = 0;
    const CaError error = victim.load(version);
    const std::string what = std::string(victim.name) + ", acknowledged " +
                             std::to_string(acknowledged) + ", found " + std::to_string(version);
    if (error != CaError::nullError || version < 0) {
        ++losses.torn;
        report.problem(what + ": torn. " + error.text());
    } else if (version < acknowledged) {
        ++losses.lost;
        report.problem(what + ": lost");
    }
}

// What is in the user's folders after a start beside the files that belong there.
long orphansAfterStart(Report& report) {
    DataIOManager::sweepTemporaryFiles();
    long orphans = 0;
    QDirIterator files(QDir::homePath(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString file = files.next();
        const bool belongs =
            files.fileInfo().isDir()
                ? !files.fileName().startsWith(QLatin1Char('.'))
                : std::any_of(victims().begin(), victims().end(),
                              [&](const Victim& victim) { return victim.file() == file; });
        orphans += belongs ? 0 : 1;
        if (!belongs)
            report.problem("left: " + file.toStdString());
    }
    return orphans;
}

// Killed before its calls, one after the other; the next process has to get along with what
// was left. Answers how many kills that were.
long killAtEveryCall(const Victim& victim, Losses& losses, Report& report) {
    Storer storer(victim, report, shimEnvironment());
    const int step = static_cast<int>(report.extent(5, 1));
    for (int call = 1; storer.store("call " + QByteArray::number(call) + " 0"); call += step)
        (void)storer.store({});
    losses.torn += storer.silent() + storer.crashes();
    losses.blocked += storer.refused();
    return storer.kills();
}

} // namespace

void faultKill(Report& report) {
    const long saves = report.extent(50, 1000);
    QRandomGenerator random(1);
    Losses losses;
    long kills = 0;
    long callKills = 0;
    for (const Victim& victim : victims()) {
        int acknowledged = 0;
        while (acknowledged < saves) {
            Child child(QStringLiteral("save"),
                        {QLatin1String(victim.name), QString::number(acknowledged + 1)});
            acknowledged = std::max(acknowledged, acknowledgedBy(child, random));
            ++kills;
            check(victim, acknowledged, losses, report);
        }
        if (!shimEnvironment().isEmpty())
            callKills += killAtEveryCall(victim, losses, report);
    }
    DataIOManager::closeRepository();
    report.done(std::to_string(saves) + " saves each of configuration, settings and patient, " +
                std::to_string(kills) + " kills at any time, " + std::to_string(callKills) +
                " before a system call of a save, from the first to the last");
    report.atMost("torn files", losses.torn, 0);
    report.atMost("acknowledged saves lost", losses.lost, 0);
    report.atMost("saves blocked by what was left", losses.blocked, 0);
    report.atMost("orphans after the next start", orphansAfterStart(report), 0);
}

// Stores one version after the other and acknowledges each on its standard output: up to one,
// or for ever.
int actSave(const QStringList& arguments) {
    const Victim& saved = victim(arguments.value(0));
    const int last =
        arguments.size() > 2 ? arguments.at(2).toInt() : std::numeric_limits<int>::max();
    for (int version = arguments.value(1).toInt(); version <= last; ++version) {
        const CaError error = saved.store(version);
        if (error != CaError::nullError) {
            std::fprintf(stderr, "%s\n", error.text().c_str());
            return 1;
        }
        std::printf("%d\n", version);
        std::fflush(stdout);
    }
    return 0;
}
