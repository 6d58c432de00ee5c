// Every system call of a save that changes or reads a file, failing once, or from there on.

#include "Faults.h"

#include "Storer.h"

#include <QtCore/QFile>

#include <cerrno>

namespace {

constexpr long mostCalls = 2000;

// All calls of a save, one after the other. Answers whether the save without a fault, to which that
// leads, was refused.
bool sweep(Storer& storer, const QByteArray& rest, const Victim& victim, Report& report) {
    long call = 1;
    long refused = 0;
    for (; call <= mostCalls; ++call) {
        refused = storer.refused();
        if (!storer.store("call " + QByteArray::number(qlonglong(call)) + rest))
            break;
        // What a lock that can be neither filled nor removed costs is its two seconds each time.
        if (rest.contains("lasting"))
            QFile::remove(victim.file() + QStringLiteral(".lock"));
    }
    if (call > mostCalls)
        report.problem(std::string(victim.name) + ": the calls have no end");
    report.atLeast(std::string(victim.name) + rest.toStdString() + ": calls", call - 1, 5);
    return storer.refused() > refused;
}

} // namespace

void faultSyscalls(Report& report) {
    const QStringList shim = shimEnvironment();
    if (shim.isEmpty()) {
        report.done("not run: needs the preloaded library");
        return;
    }
    long saves = 0;
    long refused = 0;
    long late = 0;
    long silent = 0;
    long crashes = 0;
    long blocked = 0;
    for (const Victim& victim : victims()) {
        Storer storer(victim, report, shim);
        for (const int error : {ENOSPC, EIO, EMFILE})
            for (const char* rest : {"", " closed", " lasting", " lasting closed"})
                if (report.isLong() || (error == EIO && rest == std::string_view(" closed")) ||
                    (error == ENOSPC && rest == std::string_view(" lasting")))
                    blocked += sweep(storer, ' ' + QByteArray::number(error) + rest, victim, report)
                                   ? 1
                                   : 0;
        saves += storer.stores();
        refused += storer.refused();
        late += storer.late();
        silent += storer.silent();
        crashes += storer.crashes();
    }
    report.done(std::to_string(saves) + " saves, one of their calls failing; " +
                std::to_string(refused) + " refused, of which " + std::to_string(late) +
                " were in the file all the same");
    report.atMost("silent failures", silent, 0);
    report.atMost("crashes", crashes, 0);
    report.atMost("saves refused when all works again", blocked, 0);
}
