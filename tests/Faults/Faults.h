#pragma once

#include "Fault.h"
#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QDir>
#include <QtCore/QStringList>

#include <algorithm>
#include <stdexcept>

/// The entry of the table with this name; throws for none.
template <class Table>
const auto& named(const Table& table, const QString& name) {
    for (const auto& entry : table)
        if (name == QLatin1String(entry.name))
            return entry;
    throw std::runtime_error("There is no \"" + name.toStdString() + "\".");
}

// The kinds of fault, one file each. Their names and what they do are listed in main.cpp.

void faultKill(Report& report);
void faultRange(Report& report);
void faultDamage(Report& report);
void faultGiant(Report& report);
void faultImage(Report& report);
void faultFullDisk(Report& report);
void faultSyscalls(Report& report);
void faultReadOnly(Report& report);
void faultTwo(Report& report);
void faultOrder(Report& report);
void faultRepository(Report& report);
void faultTracker(Report& report);
void faultOwners(Report& report);
void faultDialogs(Report& report);
void faultFlood(Report& report);
void faultTrust(Report& report);

// What they run in processes of their own, by the name given to Child. The result is the exit code.

int actStart(const QStringList& arguments);
int actDamage(const QStringList& arguments);
int actGiant(const QStringList& arguments);
int actImages(const QStringList& arguments);
int actRange(const QStringList& arguments);
int actStore(const QStringList& arguments);
int actTwo(const QStringList& arguments);
int actTrack(const QStringList& arguments);
int actOwners(const QStringList& arguments);
int actRepository(const QStringList& arguments);
int actDialog(const QStringList& arguments);
int actFlood(const QStringList& arguments);
int actTrust(const QStringList& arguments);
int actCopy(const QStringList& arguments);
int actLeave(const QStringList& arguments);
int actRace(const QStringList& arguments);
