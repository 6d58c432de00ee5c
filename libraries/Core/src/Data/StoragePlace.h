#pragma once

#include "Files/vlrURI.h"

#include <QtCore/QByteArray>

namespace vlr {

/// What a tree knows of where it is kept; its root holds it.
struct StoragePlace {
    URI uri;           ///< Not valid while the tree has no place.
    int revision = 0;  ///< How often it was stored there.
    QByteArray digest; ///< A checksum of what it was then; empty where that is not known.
};

} // namespace vlr
