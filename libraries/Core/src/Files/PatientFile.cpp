#include "Files/PatientFile.h"

#include "Files/DurableFile.h"
#include "Files/FileTrust.h"
#include "Log/vlrLog.h"
#include "Site/SiteChoices.h"

#include <QtCore/QFile>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace vlr {

namespace {

// Of this process; what it is no member of it could not give a file to.
bool isMember(gid_t group) {
    if (group == getegid())
        return true;
    std::vector<gid_t> groups(static_cast<std::size_t>(std::max(0, getgroups(0, nullptr))));
    const int count = getgroups(static_cast<int>(groups.size()), groups.data());
    groups.resize(static_cast<std::size_t>(std::max(0, count)));
    return std::find(groups.begin(), groups.end(), group) != groups.end();
}

FileRights rightsOf(const QString& groupName) {
    if (groupName.isEmpty())
        return {};
    const std::optional<unsigned> group = systemGroup(groupName);
    if (group && isMember(*group))
        return {0660, 02770, qint64(*group)};
    VLR_LOG(Warning) << "The setting \"" << SiteChoices::current().patientDataGroupKey()
                     << "\" is \"" << groupName << "\", "
                     << (group ? "a group that this user is no member of"
                               : "and there is no such group")
                     << ". The data of patients stay for this user alone.";
    return {};
}

} // namespace

FileRights patientDataRights() {
    static QString knownName;
    static FileRights known;
    const QString name = SiteChoices::current().patientDataGroup().trimmed();
    if (std::exchange(knownName, name) != name)
        known = rightsOf(name);
    return known;
}

CaError writePatientFile(const QString& path, const QByteArray& bytes) {
    return writeDurably(path, bytes, patientDataRights());
}

int createPatientFile(const QString& path) {
    const FileRights rights = patientDataRights();
    const QByteArray name = QFile::encodeName(path);
    const int descriptor =
        open(name.constData(), O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (descriptor < 0)
        return -1;
    const int error = giveRights(descriptor, rights.file, rights);
    if (error == 0)
        return descriptor;
    unlink(name.constData());
    close(descriptor);
    errno = error;
    return -1;
}

int makePatientFolder(const QString& path) {
    return makePrivateFolder(path, patientDataRights());
}

void limitPatientFile(const QString& path) {
    if (const int error = limitRights(path, patientDataRights()))
        VLR_LOG(Warning) << "The rights of \"" << path
                         << "\" cannot be set: " << std::generic_category().message(error) << '.';
}

} // namespace vlr
