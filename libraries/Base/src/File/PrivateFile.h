#pragma once

#include "vlrBaseExport.h"

#include <QtCore/QString>

namespace vlr {

/// What this library makes is nobody's business but the user's, or that of a group that a setting
/// names (PatientFile.h). These neither log nor touch the content and rights of what is there
/// already, but for limitRights(); they return the system's error number, or 0.
struct FileRights {
    unsigned file = 0600;
    unsigned folder = 0700;
    qint64 group = -1; ///< The number of the group, or -1 for that of the process.
};

/// Makes the folder and those above it where they are missing, whatever the umask.
VLR_BASE_EXPORT int makePrivateFolder(const QString& path, const FileRights& rights = {});

/// Makes an empty file where there is none. EINVAL for what exists but is no regular file, EEXIST
/// for a link that leads nowhere: nothing is made behind it.
VLR_BASE_EXPORT int makePrivateFile(const QString& path);

/// Renames unless the new name is taken, which is EEXIST.
VLR_BASE_EXPORT int renameToFree(const QString& from, const QString& to);

/// Gives what is open group and mode.
VLR_BASE_EXPORT int giveRights(int descriptor, unsigned mode, const FileRights& rights);

/// Takes from a file of this user what is beyond the rights, and gives the group what the user has.
/// A file that is not there, or somebody else's, stays as it is, and so does what a link leads to.
/// EMLINK for one with a second name, which may be another file of the user that somebody has
/// linked. The file is not opened: to close it again would end the locks that SQLite holds on it.
VLR_BASE_EXPORT int limitRights(const QString& path, const FileRights& rights = {});

} // namespace vlr
