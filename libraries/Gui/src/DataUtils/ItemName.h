#pragma once

#include <QtCore/QString>

namespace vlr {

/// Whether an item may have the name that a user typed; every name will do.
/// DataFactory::isValidId() is this for applications, and the dialogs that the factory makes ask it
/// here.
inline bool isValidItemName(const QString&) {
    return true;
}

} // namespace vlr
