#include "AppBase/Icons.h"

#include "Log/vlrLog.h"

#include <QtCore/QFile>

namespace vlr {

QIcon icon(const QString& name) {
    const QString path = QStringLiteral(":/icons/default/%1.svg").arg(name);
    if (!QFile::exists(path)) {
        VLR_LOG(Warning) << "There is no icon " << path << '.';
        return {};
    }
    return QIcon(path);
}

} // namespace vlr
