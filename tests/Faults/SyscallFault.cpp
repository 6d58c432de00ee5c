// Every system call of a save that changes or reads a file, failing once, or from there on.

#include "Faults.h"

#include "Storer.h"

#include <cerrno>

void faultSyscalls(Report& report) {
    const QStringList shim = shimEnvironment(report);
    if (shim.isEmpty())
        return;
    for (const Victim& victim : victims()) {
        Storer storer(victim, report, shim);
        for (const int error : {ENOSPC, EIO, EMFILE})
            for (const char* rest : {"", " closed", " lasting", " lasting closed"}) {
                const QByteArray fault = ' ' + QByteArray::number(error) + rest;
                if (!report.isLong() && fault != " 5 closed" && fault != " 28 lasting")
                    continue;
                const long calls = storer.sweepCalls(fault, 1);
                const std::string what = victim.name + fault.toStdString();
                report.atLeast("calls of a save: " + what, calls, 5);
                report.never("refused when all works again", storer.isRefused(), what);
            }
    }
}
