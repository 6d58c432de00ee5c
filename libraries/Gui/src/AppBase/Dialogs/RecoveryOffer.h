#pragma once

#include "vlrGuiExport.h"

class QWidget;

namespace vlr {

/// Asks, for each patient whose changes a former run could not store, whether to store them now.
/// "Yes" stores him, and never puts him in the place of what somebody else stored since without
/// another question; "No" keeps the file aside under another name; otherwise it is asked again at
/// the next start. A file that is damaged is kept aside, and told. Nobody is asked about what is in
/// the repository already. `parent` may be null.
VLR_GUI_EXPORT void offerRecoveries(QWidget* parent);

} // namespace vlr
