#pragma once

#include "Error/CaError.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace vlr {

/// The one way in which this library writes files: afterwards the file holds either all of the
/// new bytes or, after an error, exactly what it held before.
///
///     const CaError error = writeDurably(path, document);
///
/// The folder is created where it is missing. The bytes go to a temporary file beside the
/// target, are flushed and synchronised (a full disk shows up here), renamed over the target,
/// and the folder is synchronised, so that a power failure leaves one version or the other.
/// A symbolic link is followed: its target is replaced, not the link.
/// The error names the file and the system's reason.
VLR_CORE_EXPORT CaError writeDurably(const QString& path, const QByteArray& bytes);

/// Reads a regular file of at most `limit` bytes. A missing file gives an error with the id
/// "File::notFound"; a larger one, one that is not a regular file, or one that cannot be read
/// gives another error that names the file and the cause. `bytes` is set on success only.
VLR_CORE_EXPORT CaError readWhole(const QString& path, qint64 limit, QByteArray& bytes);

/// Renames a file that could not be understood to "<name>.damaged-<date and time>", with a
/// number where that is taken, and writes its new path to `keptAs`. Nothing is overwritten.
VLR_CORE_EXPORT CaError keepAside(const QString& path, QString& keptAs);

/// Removes what interrupted writeDurably() calls left in the folder: regular files older than an
/// hour named like "study.xml.qWeRtY" or "settings.ini.qWeRtY", that is with six letters of which
/// a capital follows a small one. Names that people choose ("study.xml.backup") are left alone,
/// and so is the rare temporary file that looks like one.
VLR_CORE_EXPORT void sweepTemporaryFiles(const QString& folder);

/// The id of the error readWhole() gives for a file that does not exist.
extern VLR_CORE_EXPORT const char* const fileNotFoundError;

} // namespace vlr
