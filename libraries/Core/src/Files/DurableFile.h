#pragma once

#include "Error/CaError.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace vlr {

struct FileRights;

/// The one way in which this library writes files: afterwards the file holds either all of the
/// new bytes or, after an error, exactly what it held before.
///
///     const CaError error = writeDurably(path, document);
///
/// The folder is created where it is missing, for the user alone; a new file is for the user alone
/// as well, an old one keeps its rights. The bytes go to a temporary file beside the
/// target, are flushed and synchronised (a full disk shows up here), renamed over the target,
/// and the folder is synchronised, so that a power failure leaves one version or the other.
/// A symbolic link is followed: its target is replaced, not the link. Both, or the folder of a
/// target that is not there yet, have to belong to the user of the process.
/// The error names the file and the system's reason.
VLR_CORE_EXPORT CaError writeDurably(const QString& path, const QByteArray& bytes);
/// With these rights (File/PrivateFile.h), also for a file that is there already.
VLR_CORE_EXPORT CaError writeDurably(const QString& path, const QByteArray& bytes,
                                     const FileRights& rights);

/// Reads a regular file of at most `limit` bytes. A missing file gives an error with the id
/// fileNotFoundError; a larger one, one that is not a regular file, or one that may not be read
/// gives another error that names the file and the cause. The id passingReadError means that the
/// file itself may be in order and a later attempt succeed. `bytes` is set on success only.
VLR_CORE_EXPORT CaError readWhole(const QString& path, qint64 limit, QByteArray& bytes);

/// readWhole() for what the program acts on: also the id untrustedError for a file that belongs to
/// another user, who is not root, that others may write, or whose folder is such a one. A group of
/// which the user is the only member is not others, and a sticky folder may be anybody's. A file
/// that is missing in such a folder, or below a folder of another user, gives that id too.
VLR_CORE_EXPORT CaError readTrusted(const QString& path, qint64 limit, QByteArray& bytes);

/// keepAside() for a file that readTrusted() gave an error for, or whose content is of no use.
/// Before that others lose the right to write into its folder; where the folder is another user's,
/// nothing is renamed and nothing should be written there, and neither where there is no file.
VLR_CORE_EXPORT CaError keepUnusableAside(const QString& path, QString& keptAs);

/// Renames a file that could not be understood to "<name>.damaged-<date and time>", with a
/// number where that is taken, and writes its new path to `keptAs`. Nothing is overwritten. `why`
/// stands in the place of "damaged". A link is followed where writeDurably() follows it, and
/// otherwise renamed itself.
VLR_CORE_EXPORT CaError keepAside(const QString& path, QString& keptAs,
                                  const char* why = "damaged");

/// Makes sure that what was just made or renamed in the folder is there after a power failure. What
/// goes wrong is a doubt, not a failure: it is logged at "WARNING".
VLR_CORE_EXPORT void synchroniseFolder(const QString& folder);

/// The ids of the errors readWhole() gives for a file that does not exist, "File::notFound", and
/// for one that could not be read this time, "File::passingReadError"; and that of readTrusted(),
/// "File::untrusted".
extern VLR_CORE_EXPORT const char* const untrustedError;
extern VLR_CORE_EXPORT const char* const fileNotFoundError;
extern VLR_CORE_EXPORT const char* const passingReadError;

} // namespace vlr
