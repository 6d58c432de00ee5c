#pragma once

#include "vlrCoreExport.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>
#include <string>

struct stat;

namespace vlr {

/// Who else could have written what this program is about to believe. Any thread.

/// The user as one to show: "the user "bob"", or with the number where it has no name.
VLR_CORE_EXPORT std::string userText(unsigned user);

/// The number of the group of that name, if there is one.
VLR_CORE_EXPORT std::optional<unsigned> systemGroup(const QString& name);

/// Why the content of the file at the path, which is open with this status, is not to be believed:
/// the file, a link to it or the folder belongs to another user, who is not root, or may be written
/// by one. Empty where it is.
VLR_CORE_EXPORT std::string whyNotBelieved(const QByteArray& path, const struct stat& file);

/// Why nothing is to be written at a path where nothing is yet: the folder, or what is above one
/// that is not there either, belongs to another user, who is not root, or others may write to the
/// folder. Empty where it may, and where something is there.
VLR_CORE_EXPORT std::string whyNotBegun(const QByteArray& path);

/// Before a file is replaced that is not believed: takes the others' right to write from its
/// folder. What is wrong where that is not possible, since the folder is somebody else's.
VLR_CORE_EXPORT std::string closeFolderOf(const QByteArray& path);

/// Why a link at the path may not be followed to the target, to write there: both, or the folder of
/// a target that does not exist, have to belong to the user of this process. Empty where it may.
VLR_CORE_EXPORT std::string whyNotFollowed(const QByteArray& link, const QByteArray& target);

} // namespace vlr
