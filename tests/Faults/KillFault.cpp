// A workstation that is switched off in the middle of a save.

#include "Faults.h"

#include "Child.h"
#include "Victims.h"

#include "IO/DurableFile.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QRandomGenerator>
#include <QtCore/QThread>

#include <algorithm>
#include <cstdio>

namespace {

constexpr int savesBeforeKill = 3; // on average

struct Losses {
    long torn = 0;
    long lost = 0;
};

// The last version that the process acknowledged before it was killed.
int acknowledgedBy(Child& child, QRandomGenerator& random) {
    int acknowledged = 0;
    const int wait = static_cast<int>(random.bounded(1, 2 * savesBeforeKill));
    for (int i = 0; i < wait; ++i)
        acknowledged = child.readLine().trimmed().toInt();
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

// What a start does to the folder, and what then is in it beside the files that belong there.
long orphansAfterStart(const Victim& victim) {
    const QFileInfo file(victim.file());
    vlr::sweepTemporaryFiles(file.path());
    long orphans = 0;
    const QStringList names = QDir(file.path()).entryList(QDir::Files | QDir::Hidden);
    for (const QString& name : names)
        orphans += name.startsWith(QLatin1String(".vlr-")) ? 1 : 0;
    return orphans;
}

} // namespace

void faultKill(Report& report) {
    const long saves = report.extent(50, 1000);
    QRandomGenerator random(1);
    Losses losses;
    long kills = 0;
    long orphans = 0;
    for (const Victim& victim : victims()) {
        int acknowledged = 0;
        while (acknowledged < saves) {
            Child child(QStringLiteral("save"),
                        {QLatin1String(victim.name), QString::number(acknowledged + 1)});
            acknowledged = std::max(acknowledged, acknowledgedBy(child, random));
            ++kills;
            check(victim, acknowledged, losses, report);
        }
        orphans += orphansAfterStart(victim);
    }
    report.done(std::to_string(saves) + " saves each of configuration, settings and patient, " +
                std::to_string(kills) + " kills");
    report.atMost("torn files", losses.torn, 0);
    report.atMost("acknowledged saves lost", losses.lost, 0);
    report.atMost("orphans after the next start", orphans, 0);
}

// Stores one version after the other and acknowledges each on its standard output, for ever.
int actSave(const QStringList& arguments) {
    const Victim& saved = victim(arguments.value(0));
    for (int version = arguments.value(1).toInt();; ++version) {
        const CaError error = saved.store(version);
        if (error != CaError::nullError) {
            std::fprintf(stderr, "%s\n", error.text().c_str());
            return 1;
        }
        std::printf("%d\n", version);
        std::fflush(stdout);
    }
}
