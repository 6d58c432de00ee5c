#pragma once

#include "Error/CaError.h"
#include "File/PrivateFile.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace vlr {

/// Files with data of patients: screenshots, recordings, exported images, the repository. Whatever
/// the umask, they are for the user alone (0600, folders 0700). The setting
/// "Velora/Application/PatientDataGroup" opens them to a group of the system (0660, folders that
/// are made 2770). A group that does not exist, or that the user is no member of, opens nothing,
/// with a "WARNING". GUI thread only, since settings are.

/// As writeDurably(), but a file that is there already does not keep rights beyond these, and gets
/// the group.
VLR_CORE_EXPORT CaError writePatientFile(const QString& path, const QByteArray& bytes);

/// Makes a file that is not there yet, not even as a link, and opens it for writing: its
/// descriptor, or -1 with errno.
VLR_CORE_EXPORT int createPatientFile(const QString& path);

/// Makes the folder and those above it where they are missing. The system's error number, or 0.
VLR_CORE_EXPORT int makePatientFolder(const QString& path);

/// Takes from a file what is beyond these rights, and gives it the group, where it is the user's
/// own. A failure is logged at "WARNING".
VLR_CORE_EXPORT void limitPatientFile(const QString& path);

/// The rights as they are now.
VLR_CORE_EXPORT FileRights patientDataRights();

} // namespace vlr
