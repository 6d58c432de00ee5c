#pragma once

#include "Fault.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <functional>

/// Numbered cases, done by an act in a process of its own. One that crashes the process or does not
/// end is reported by its number, and another process goes on behind it.
///
///     int actOwners(const QStringList& arguments) { return doCases(arguments, &schedule); }
///     ...
///     const CaseResults results = runCases(report, QStringLiteral("owners"), 300);
struct CaseResults {
    long begun = 0;
    long crashes = 0;
    long stuck = 0; ///< A case that took longer than a minute.
    long bad = 0;   ///< Cases that ended with a text saying what was wrong.
};

/// All of `count` cases. Sanitizers' reports count as crashes.
CaseResults runCases(Report& report, const QString& act, long count,
                     const QStringList& environment = {}, const QStringList& arguments = {});
/// The same with a figure for each way to fail, that for the bad ones under this name. Answers how
/// many were begun.
long judgeCases(Report& report, const QString& act, long count, const std::string& bad,
                const QStringList& arguments = {});

/// What the act does: the cases from the one given as the first argument to the one before the
/// second; the arguments given to runCases() follow them. The function says what is wrong with a
/// case, or nothing.
int doCases(const QStringList& arguments, const std::function<std::string(long)>& run);

/// Says on standard output what case is at work, for the report of its crash.
void nameCase(const std::string& name);
/// Whether the case belongs to a long form.
bool isLongForm();
/// From inside of a case, for the report: a figure with the most that it may be, or only what was
/// done.
void reportAtMost(const std::string& name, long value, long bound);
void reportDone(const std::string& text);
/// The same for a part that needs what this system or this user does not have.
void reportNotRun(const std::string& text);

/// Whether this program is slowed down by a sanitizer, so that its times mean nothing.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif
