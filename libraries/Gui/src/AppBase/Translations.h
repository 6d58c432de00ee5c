#pragma once

#include "vlrGuiExport.h"

#include <QtCore/QStringList>

class QCoreApplication;

namespace vlr {

/// The translated texts that come with the program: files "<name>_<language>.qm", made by Qt's
/// lrelease, in the resource folder ":/translations" and in "../share/<program>/translations"
/// beside the program. Without them all texts are English.
VLR_GUI_EXPORT QStringList translationFiles();

/// Installs those for the user's language ("_de", "_de_AT"), and with them Qt's own texts. Called
/// by the application object. A file that cannot be read is told at "WARNING".
VLR_GUI_EXPORT void installTranslations(QCoreApplication* application);

} // namespace vlr
