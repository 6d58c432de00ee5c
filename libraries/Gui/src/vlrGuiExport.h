#pragma once

#include <QtCore/QtGlobal>

#ifdef VLR_GUI_LIBRARY
#define VLR_GUI_EXPORT Q_DECL_EXPORT
#else
#define VLR_GUI_EXPORT Q_DECL_IMPORT
#endif
