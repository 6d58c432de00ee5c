// Does on purpose what goes wrong on a clinical workstation, and prints in figures what came of it.
//
//     vlrFaults [FAULT]... [--long]      all kinds without a name; status 1 for a missed bound
//     vlrFaults --act NAME ARGUMENT...   what such a fault runs in a process of its own

#include "Faults.h"

#include <QtCore/QFile>
#include <QtCore/QTemporaryDir>
#include <QtWidgets/QApplication>

#include <chrono>
#include <cstdio>
#include <exception>
#include <stdexcept>
#include <string>

namespace {

struct Entry {
    const char* name;
    const char* what;
    void (*run)(Report&);
};

constexpr Entry faults[] = {
    {"kill", "SIGKILL in loops of saves", &faultKill},
    {"damage", "record files cut and mutated", &faultDamage},
};

struct Act {
    const char* name;
    int (*run)(const QStringList&);
};

constexpr Act acts[] = {
    {"save", &actSave},
    {"damage", &actDamage},
};

int act(const QStringList& arguments) {
    for (const Act& act : acts)
        if (!arguments.isEmpty() && arguments.front() == QLatin1String(act.name))
            return act.run(arguments.mid(1));
    throw std::runtime_error("There is no such act.");
}

// Each kind has user folders of its own, so that none finds what another one left.
bool suffer(const Entry& fault, bool isLong) {
    const QTemporaryDir home;
    const QByteArray folder = QFile::encodeName(home.path());
    qputenv("HOME", folder);
    qputenv("XDG_RUNTIME_DIR", folder);
    for (const char* place : {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME"})
        qputenv(place, folder + '/' + place);
    Report report(isLong);
    const auto start = std::chrono::steady_clock::now();
    try {
        fault.run(report);
    } catch (const std::exception& exception) {
        report.problem(exception.what());
        report.atMost("breakdowns", 1, 0);
    }
    const auto seconds =
        std::chrono::duration_cast<std::chrono::seconds>(std::chrono::steady_clock::now() - start);
    report.print((std::string(fault.name) + ": " + fault.what + " (" +
                  std::to_string(seconds.count()) + " s)")
                     .c_str());
    return report.isGood();
}

int run(QStringList wanted) {
    const bool isLong = wanted.removeAll(QStringLiteral("--long")) > 0;
    bool isGood = true;
    int runs = 0;
    for (const Entry& fault : faults)
        if (wanted.isEmpty() || wanted.contains(QLatin1String(fault.name))) {
            isGood = suffer(fault, isLong) && isGood;
            ++runs;
        }
    if (runs < wanted.size() || runs == 0)
        throw std::runtime_error("There is no such kind of fault.");
    return isGood ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QStringList arguments = QCoreApplication::arguments().mid(1);
    try {
        if (!arguments.isEmpty() && arguments.front() == QLatin1String("--act"))
            return act(arguments.mid(1));
        return run(arguments);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
