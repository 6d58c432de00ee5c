#pragma once

#include "Fault.h"

#include <QtCore/QStringList>

// The kinds of fault, one file each. Their names and what they do are listed in main.cpp.

void faultKill(Report& report);
void faultDamage(Report& report);

// What they run in processes of their own, by the name given to Child. The result is the exit code.

int actSave(const QStringList& arguments);
int actDamage(const QStringList& arguments);
