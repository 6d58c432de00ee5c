#pragma once

#include "Child.h"
#include "Fault.h"
#include "Victims.h"

#include <memory>
#include <sys/types.h>

/// A process that stores versions of a victim, one after the other, some of them under a fault.
/// What came of it is looked at from this process, which remembers nothing of the other one's. It
/// makes the figures "saves", "saves refused", "silent failures", "crashes" and, for what was
/// refused and is in the file all the same, "refused and stored"; and it notes what is lost there.
///
///     Storer storer(victim, report);
///     storer.store("limit 1000");
///
/// A fault is a text: "" for none, "limit BYTES" for the size that no file may exceed, "call N
/// ERROR" for the N-th system call that fails, with " lasting" for all from there on; the error 0
/// kills the process. These need the environment of shimEnvironment(). With " closed" behind it the
/// store begins with opening the repository. "next" stores without a look at what is there.
class Storer {
public:
    /// Stores one version without a fault. With `isOrdinary` the process is that of a user who may
    /// not write everywhere, and what came of a store is read by such a process too.
    Storer(const Victim& victim, Report& report, const QStringList& environment = {},
           bool isOrdinary = false);

    /// Stores the next version; false when no call failed since there are fewer.
    bool store(const QByteArray& fault);
    /// The last store, or all of them.
    [[nodiscard]] bool isRefused() const { return m_isRefused; }
    [[nodiscard]] long refused() const { return m_refused; }

    /// Every `step`-th call of a save with "call N" and this behind it. Answers how many calls a
    /// save has.
    long sweepCalls(const QByteArray& rest, long step);
    /// The rest with which the process is killed. Another one is then killed at the same call, and
    /// a third has to get along with what both left.
    static constexpr const char* killed = " 0";

    /// The arguments of the act behind it.
    static QStringList arguments(const Victim& victim, bool isOrdinary = false);

private:
    void start();
    int load();

    const Victim& m_victim;
    Report& m_report;
    QStringList m_environment;
    bool m_isOrdinary;
    std::unique_ptr<Child> m_child;
    int m_version = 0;
    int m_next = 1000; // of four digits for long enough
    bool m_isRefused = false;
    long m_refused = 0;
};

/// The lines that preload the shim. Where there is none, it is noted that the parts that need it
/// were not run.
QStringList shimEnvironment(Report& report);
constexpr uid_t nobody = 65534; ///< A user who is not root.
/// From now on this process is one of that user.
void becomeOrdinary();
