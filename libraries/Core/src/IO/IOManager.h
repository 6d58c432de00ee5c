#pragma once

#include "Error/CaError.h"
#include "IO/vlrURI.h"

#include <QtCore/QByteArray>

/// Reads and writes the bytes behind a URI: a file, or a binary part in the patient repository.
class VLR_CORE_EXPORT IOManager {
public:
    /// Most bytes that one read returns: 256 MiB.
    static constexpr qint64 limit = qint64(256) << 20;

    /// The error names the URI and the cause; `bytes` is set on success only.
    static CaError read(const vlr::URI& uri, QByteArray& bytes);
    /// Files are written durably. A binary part belongs to a stored patient.
    static CaError write(const vlr::URI& uri, const QByteArray& bytes);
};
