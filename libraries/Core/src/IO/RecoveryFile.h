#pragma once

#include "Data/Patient.h"
#include "Error/CaError.h"

#include <QtCore/QDateTime>
#include <QtCore/QStringList>

namespace vlr {

/// A patient whose changes could not be stored when the program had to end, in a file from which
/// the next start takes them over.
///
///     QString path;
///     CaError error = vlr::writeRecovery(patient, path);    // on the way out
///     ...
///     for (const QString& file : vlr::waitingRecoveries()) {  // at the next start
///         vlr::Recovery recovery;
///         error = vlr::readRecovery(file, recovery);
///         if (error.isNull())
///             error = DataIOManager::storePatient(recovery.patient);
///         if (error.isNull())
///             vlr::removeRecovery(file);
///     }
///
/// The file holds the document, the binary parts that the repository does not have, the revision
/// that was loaded, and a checksum. It is for the user alone and lies beside the repository under
/// the name "<repository>.recovery-<date>-<time>-<number>"; for a server, and where that folder
/// cannot be written to, in the application's data folder. GUI thread only.
struct Recovery {
    QString repository; ///< DataIOManager::repositoryName() of then.
    QDateTime when;
    /// At the revision that it was loaded with, so that storePatient() refuses to replace what
    /// somebody else stored since.
    DataPointer<Patient> patient;
};

/// Writes the file and its path. The patient stays as it is, unless it had no place in the
/// repository: it is given one. The bytes that are kept may be 1 GiB at the most.
VLR_CORE_EXPORT CaError writeRecovery(const DataPointer<Patient>& patient, QString& path);

/// The files of the repository that is in use, oldest first. Those of other users, and those that
/// others may write, are nobody's patients.
VLR_CORE_EXPORT QStringList waitingRecoveries();

/// A file that is damaged, or was written by a newer version, gives the id damagedRecoveryError;
/// one that cannot be read at present, or belongs to another repository, another one.
VLR_CORE_EXPORT CaError readRecovery(const QString& path, Recovery& recovery);

/// Whether the repository has all of it, as after a process that ended between the two.
VLR_CORE_EXPORT bool isRecoveryStored(const Recovery& recovery);

/// To be called when the patient is stored.
VLR_CORE_EXPORT void removeRecovery(const QString& path);

/// "Recovery::damaged".
extern VLR_CORE_EXPORT const char* const damagedRecoveryError;

} // namespace vlr
