#pragma once

#include "Error/CaError.h"
#include "Files/vlrURI.h"

#include <QtCore/QByteArray>

#include <functional>

/// Reads and writes the bytes behind a URI: a file, or a binary part in the patient repository.
class VLR_CORE_EXPORT IOManager {
public:
    /// Most bytes that are read or written at once: 1 GiB.
    static constexpr qint64 limit = qint64(1) << 30;

    /// The error names the URI and the cause; `bytes` is set on success only.
    static CaError read(const vlr::URI& uri, QByteArray& bytes);
    /// Files are written durably. More than `limit` bytes are refused, and for a binary part, which
    /// belongs to a stored patient, what the repository does not take: 1,000,000,000 bytes in an
    /// SQLite file, 256 MiB less 16 bytes on a server, or more than there is memory for. What was
    /// stored before stays then.
    static CaError write(const vlr::URI& uri, const QByteArray& bytes);

    /// As long as it lives, what would be written to the repository is handed to it instead. For
    /// who keeps a patient in another place.
    ///
    ///     const IOManager::PartsElsewhere collected([&](const vlr::URI& part, auto& bytes) { ...
    ///     }); CaError error = patient->saveBinaryParts();
    class VLR_CORE_EXPORT PartsElsewhere {
    public:
        using Take = std::function<CaError(const vlr::URI& part, const QByteArray& bytes)>;
        explicit PartsElsewhere(Take take);
        ~PartsElsewhere();
        PartsElsewhere(const PartsElsewhere&) = delete;
        PartsElsewhere& operator=(const PartsElsewhere&) = delete;

    private:
        friend class IOManager;
        Take m_take;
        PartsElsewhere* m_former;
    };

private:
    static PartsElsewhere* s_elsewhere; // The newest one.
};
