#pragma once

#include "Child.h"
#include "Fault.h"
#include "Victims.h"

#include <memory>

/// A process that stores versions of a victim, one after the other, some of them under a fault.
/// What came of it is looked at from this process, which remembers nothing of the other one's.
///
///     Storer storer(victim, report);
///     storer.store("limit 1000");
///     report.atMost("silent failures", storer.silent(), 0);
///
/// A fault is a text: "" for none, "limit BYTES" for the size that no file may exceed, "call N
/// ERROR" for the N-th system call that fails, with " lasting" for all from there on; the error 0
/// kills the process. These need the environment of shimEnvironment(). With " closed" behind it the
/// store begins with opening the repository.
class Storer {
public:
    /// Stores one version without a fault. With `isOrdinary` the process is that of a user who may
    /// not write everywhere, and what came of a store is read by such a process too.
    Storer(const Victim& victim, Report& report, const QStringList& environment = {},
           bool isOrdinary = false);

    /// Stores the next version; false when no call failed since there are fewer.
    bool store(const QByteArray& fault);
    /// The version in the file.
    [[nodiscard]] int version() const { return m_version; }

    [[nodiscard]] long stores() const { return m_stores; }
    [[nodiscard]] long refused() const { return m_refused; }
    /// Acknowledged and yet something else in the file, or refused and the old version gone.
    [[nodiscard]] long silent() const { return m_silent; }
    /// Refused, and in the file all the same.
    [[nodiscard]] long late() const { return m_late; }
    [[nodiscard]] long crashes() const { return m_crashes; }
    [[nodiscard]] long kills() const { return m_kills; }

private:
    void start();
    void buryChild(const QByteArray& fault);
    void judge(bool isAcknowledged, const QByteArray& what);
    int load();

    const Victim& m_victim;
    Report& m_report;
    QStringList m_environment;
    bool m_isOrdinary;
    std::unique_ptr<Child> m_child;
    int m_version = 0;
    int m_next = 1000; // of four digits for long enough
    long m_stores = 0;
    long m_refused = 0;
    long m_silent = 0;
    long m_late = 0;
    long m_crashes = 0;
    long m_kills = 0;
};

/// The lines that preload the shim; empty where there is none.
QStringList shimEnvironment();
/// From now on this process is one of a user who is not root.
void becomeOrdinary();
