#pragma once

#include "Data/Patient.h"

#include <QtCore/QString>

#include <vector>

/// Something that the library stores and that must survive. A victim is stored in versions: a
/// version is a number from which all of its content follows, so that a mixture of two, or half of
/// one, is noticed.
struct Victim {
    const char* name;
    /// The file it is in.
    QString (*file)();
    /// Stores the version; no error means that it was acknowledged.
    CaError (*store)(int version);
    /// Reads it from the file, past anything this process remembers: 0 for "not there", -1 for
    /// content that no version has. An error is what the library says of a file it cannot use.
    CaError (*load)(int& version);
};

/// Configuration, settings and patient.
const std::vector<Victim>& victims();
const Victim& victim(const QString& name);

/// Loads the patient of that id; `patient` stays as it is where the repository has none.
CaError loadPatientOf(const QString& id, DataPointer<Patient>& patient);
