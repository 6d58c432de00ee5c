#pragma once

#include <QtCore/QtGlobal>

#ifdef VLR_NAVIGATION_LIBRARY
#define VLR_NAVIGATION_EXPORT Q_DECL_EXPORT
#else
#define VLR_NAVIGATION_EXPORT Q_DECL_IMPORT
#endif
