#pragma once

#include "Error/CaError.h"
#include "Files/vlrURI.h"

#include <QtCore/QByteArray>

namespace vlr {

/// From where items get the bytes of their binary parts, and where they put them. The room that
/// knows repositories provides one before main() begins. GUI thread only.
class PartStorage {
public:
    static PartStorage& current();
    static void provide(PartStorage& storage); ///< It stays the caller's and must outlive all.

    PartStorage() = default;
    PartStorage(const PartStorage&) = delete;
    PartStorage& operator=(const PartStorage&) = delete;
    virtual ~PartStorage();

    /// `bytes` is set on success only.
    virtual CaError read(const URI& part, QByteArray& bytes) = 0;
    virtual CaError write(const URI& part, const QByteArray& bytes) = 0;
};

} // namespace vlr
