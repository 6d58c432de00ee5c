#include "Files/UserFolders.h"

#include "Log/vlrLog.h"

#include <QtCore/QByteArray>

#include <sys/stat.h>

namespace vlr {

namespace {

constexpr const char* places[] = {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME",
                                  "XDG_STATE_HOME", "TMPDIR"};

CaError homeError(const std::string& reason) {
    return CaError("UserFolders::noHome",
                   "The environment variable HOME " + reason +
                       ". It has to name the user's own folder, in which "
                       "settings and patients are kept. Nothing was stored.");
}

// Whatever it is called: "/.", "/../", a link.
bool isRootFolder(const QByteArray& path) {
    struct stat root = {};
    struct stat status = {};
    return stat("/", &root) == 0 && stat(path.constData(), &status) == 0 &&
           status.st_dev == root.st_dev && status.st_ino == root.st_ino;
}

} // namespace

CaError checkUserFolders() {
    for (const char* place : places) {
        const QByteArray path = qgetenv(place);
        if (path.isEmpty() || path.startsWith('/'))
            continue;
        VLR_LOG(Warning) << "The environment variable " << place << " is \"" << path.constData()
                         << "\" and no absolute path. It is ignored.";
        qunsetenv(place);
    }
    const QByteArray home = qgetenv("HOME");
    if (home.isEmpty())
        return homeError("is not set");
    if (!home.startsWith('/'))
        return homeError("is \"" + home.toStdString() + "\", which is no absolute path");
    return isRootFolder(home) ? homeError("is \"" + home.toStdString() + "\", the root folder")
                              : CaError();
}

} // namespace vlr
