#pragma once

#include "Error/CaError.h"
#include "File/PrivateFile.h"

#include <QtCore/QString>

#include <functional>

namespace vlr {

/// Copies of a patient repository that is a file. A copy of the file alone, made with the means of
/// the system, lacks what other files beside it hold, and may lack all patients.
///
///     QString summary;
///     CaError error = vlr::backUpRepository(repository, "/media/stick/monday.vlr-backup", {},
///     summary);
///
/// A backup is one file: the repository as it was at one moment, and a checksum of all that is in
/// it. It may be made while programs store patients. `isWanted` is asked every now and then, with
/// the share that is done from 0 to 1; when it answers false, the work ends with an error of the id
/// backupCancelledError and nothing is left of it. Without one the work goes on to its end. Any
/// thread; the files are given by absolute paths. Texts are for people.

/// Writes the backup, which must not exist yet; it is for the user alone. `summary` says what it
/// holds.
VLR_CORE_EXPORT CaError backUpRepository(const QString& repository, const QString& backup,
                                         const std::function<bool(double)>& isWanted,
                                         QString& summary);

/// Puts the content of the backup in the place of the repository. Before anything is touched the
/// backup is checked: that it is whole, of this program and not newer, and that its content has the
/// checksum that it had. The repository that was there is kept beside its place under the name
/// "<name>.replaced-<date and time>", with what lies beside it; `summary` names it. An error where
/// another program has the repository open. After an error the old repository is where it was. What
/// is made has the `rights`: those of patientDataRights(), which the GUI thread knows.
VLR_CORE_EXPORT CaError restoreRepository(const QString& backup, const QString& repository,
                                          const std::function<bool(double)>& isWanted,
                                          QString& summary, const FileRights& rights = {});

/// The id of the error of a cancelled work, "Backup::cancelled".
extern VLR_CORE_EXPORT const char* const backupCancelledError;

} // namespace vlr
