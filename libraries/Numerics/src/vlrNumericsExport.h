#pragma once

#include <QtCore/QtGlobal>

#ifdef VLR_NUMERICS_LIBRARY
#define VLR_NUMERICS_EXPORT Q_DECL_EXPORT
#else
#define VLR_NUMERICS_EXPORT Q_DECL_IMPORT
#endif
