#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QString>
#include <QtGui/QIcon>

namespace vlr {

/// The icon of that name in the theme "default": ":/icons/default/<name>.svg". An application
/// may add icons of its own under that path. The file is read when the icon is first painted or
/// measured. A name nobody knows gives a null icon and one "WARNING" log line.
VLR_GUI_EXPORT QIcon icon(const QString& name);

} // namespace vlr
