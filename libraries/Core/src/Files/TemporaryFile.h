#pragma once

#include "vlrCoreExport.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace vlr {

/// Temporary files and folders are named ".vlr-" and six letters or digits. Whoever makes one holds
/// its lock while it is in use, and the system lets go of the lock of a process that ends in any
/// way: what is not locked is nobody's, and sweepTemporaryFiles() removes it.

/// Makes a file in the folder, locked and open for writing; its path is written to `path`. -1, with
/// errno, where that is impossible. To be closed when it has been renamed or removed.
VLR_CORE_EXPORT int openTemporaryFile(const QByteArray& folder, QByteArray& path);

/// Removes what interrupted writeDurably() calls left in the folder: files and folders of this user
/// named ".vlr-" and six letters or digits that no process has in use. Where the file system knows
/// no locks, only those older than an hour.
VLR_CORE_EXPORT void sweepTemporaryFiles(const QString& folder);

/// A folder below the given one, or the system's one for temporary files, for the user alone. It
/// goes with the object.
class VLR_CORE_EXPORT ScratchFolder {
public:
    ScratchFolder();
    explicit ScratchFolder(const QString& parent);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    /// The system's error number where none could be made, otherwise 0.
    [[nodiscard]] int error() const { return m_error; }
    [[nodiscard]] QString path() const;

private:
    QByteArray m_path;
    int m_descriptor = -1;
    int m_error = 0;
};

} // namespace vlr
