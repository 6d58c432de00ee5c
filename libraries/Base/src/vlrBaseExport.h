#pragma once

#include <QtCore/QtGlobal>

#ifdef VLR_BASE_LIBRARY
#define VLR_BASE_EXPORT Q_DECL_EXPORT
#else
#define VLR_BASE_EXPORT Q_DECL_IMPORT
#endif
