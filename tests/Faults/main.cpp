// Does on purpose what goes wrong on a clinical workstation, and prints in figures what came of it.
//
//     vlrFaults [FAULT]... [--long]      all kinds without a name; status 1 for a missed bound, and
//                                        3 where a part of the long form could not be run
//     vlrFaults --act NAME ARGUMENT...   what such a fault runs in a process of its own

#include "Faults.h"

#include <QtCore/QTemporaryDir>
#include <QtWidgets/QApplication>

#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>

namespace {

struct Entry {
    const char* name;
    const char* what;
    void (*run)(Report&);
};

constexpr Entry faults[] = {
    {"kill", "SIGKILL in loops of saves", &faultKill},
    {"damage", "record files cut and mutated", &faultDamage},
    {"giant", "documents made to exhaust their reader", &faultGiant},
    {"range", "settings of another type or out of range", &faultRange},
    {"image", "damaged and oversized images", &faultImage},
    {"fulldisk", "a disk that fills up at every byte of a save", &faultFullDisk},
    {"syscalls", "every system call of a save failing", &faultSyscalls},
    {"readonly", "folders and files that may not be written", &faultReadOnly},
    {"two", "two processes with one repository", &faultTwo},
    {"order", "the order in which saves reach the disk", &faultOrder},
    {"repository", "a repository locked, deleted, replaced under a form", &faultRepository},
    {"tracker", "a tracker that goes away, markers that vanish", &faultTracker},
    {"owners", "objects destroyed behind the library's back", &faultOwners},
    {"dialogs", "every dialog left in every way", &faultDialogs},
    {"flood", "floods of pointer moves, resizes and log records", &faultFlood},
    {"trust", "other users, their files, peers on the wire", &faultTrust},
};

struct Act {
    const char* name;
    int (*run)(const QStringList&);
    bool makesApplication = false; ///< It makes the application object itself.
};

constexpr Act acts[] = {
    {"start", &actStart, true},
    {"store", &actStore},
    {"two", &actTwo},
    {"damage", &actDamage},
    {"giant", &actGiant},
    {"images", &actImages},
    {"range", &actRange, true},
    {"track", &actTrack},
    {"owners", &actOwners},
    {"dialog", &actDialog, true},
    {"repository", &actRepository, true},
    {"flood", &actFlood},
    {"race", &actRace},
    {"trust", &actTrust},
    {"copy", &actCopy},
    {"leave", &actLeave, true},
};

int act(const QStringList& arguments, int& argc, char** argv) {
    const Act& act = named(acts, arguments.value(0));
    std::unique_ptr<QApplication> application;
    if (!act.makesApplication)
        application = std::make_unique<QApplication>(argc, argv);
    return act.run(arguments.mid(1));
}

// Each kind has user folders of its own, so that none finds what another one left.
Report suffer(const Entry& fault, bool isLong) {
    const QTemporaryDir home;
    const QByteArray folder = QFile::encodeName(home.path());
    qputenv("HOME", folder);
    qputenv("XDG_RUNTIME_DIR", folder);
    for (const char* place : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(place, folder + '/' + place);
    const QByteArray scratch = folder + "/tmp";
    if (!QDir().mkpath(QFile::decodeName(scratch)))
        throw std::runtime_error("There is no place for temporary files.");
    qputenv("TMPDIR", scratch);
    vlr::Settings::reload(); // from where they are now
    Report report(isLong);
    const auto start = std::chrono::steady_clock::now();
    try {
        fault.run(report);
    } catch (const std::exception& exception) {
        report.never("breakdowns", 1, exception.what());
    }
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start);
    report.print((std::string(fault.name) + ": " + fault.what + " (" +
                  std::to_string(seconds.count()) + " s)")
                     .c_str());
    return report;
}

int run(QStringList wanted) {
    const bool isLong = wanted.removeAll(QStringLiteral("--long")) > 0;
    for (const QString& name : qAsConst(wanted))
        (void)named(faults, name);
    bool isGood = true;
    std::string missing;
    for (const Entry& fault : faults)
        if (wanted.isEmpty() || wanted.contains(QLatin1String(fault.name))) {
            const Report report = suffer(fault, isLong);
            isGood = report.isGood() && isGood;
            for (const std::string& part : report.missing())
                missing += std::string("  ") + fault.name + ": " + part + '\n';
        }
    if (!missing.empty())
        std::printf("Not run, since something is missing here:\n%s", missing.c_str());
    if (!isGood)
        return 1;
    return isLong && !missing.empty() ? 3 : 0;
}

} // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QFile::decodeName(argv[i]);
    try {
        if (!arguments.isEmpty() && arguments.front() == QLatin1String("--act"))
            return act(arguments.mid(1), argc, argv);
        const QApplication application(argc, argv);
        return run(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
