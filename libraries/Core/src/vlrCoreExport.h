#pragma once

#include <QtCore/QtGlobal>

#ifdef VLR_CORE_LIBRARY
#define VLR_CORE_EXPORT Q_DECL_EXPORT
#else
#define VLR_CORE_EXPORT Q_DECL_IMPORT
#endif
