#pragma once

#include "Error/CaError.h"
#include "IO/vlrURI.h"

#include <QtCore/QByteArray>

/// Reads and writes the bytes behind a URI: a file, or a binary part in the patient repository.
class VLR_CORE_EXPORT IOManager {
public:
    /// Most bytes that are read or written at once: 1 GiB.
    static constexpr qint64 limit = qint64(1) << 30;

    /// The error names the URI and the cause; `bytes` is set on success only.
    static CaError read(const vlr::URI& uri, QByteArray& bytes);
    /// Files are written durably. More than `limit` bytes are refused. A binary part belongs to a
    /// stored patient.
    static CaError write(const vlr::URI& uri, const QByteArray& bytes);
};
