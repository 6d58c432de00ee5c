#pragma once

#include "Data/DataTreeNode.h"
#include "Error/CaError.h"

#include <QtCore/QByteArray>

namespace vlr {

/// What a document may hold at most; more is refused with the reason.
struct TreeLimits {
    qint64 bytes = qint64(4) << 20;
    int depth = 64;
    int nodes = 100000;
    int attributesPerNode = 4096;
};

/// The tree as an XML document: one element per item, one line per attribute.
///
///     <vlr version="1">
///      <data class="AppBaseConfig" id="AppBaseConfiguration">
///       <attribute name="m_showMode" value="1"/>
///
/// Texts may hold any character; those that XML cannot carry are escaped. The same tree always
/// gives the same bytes.
VLR_CORE_EXPORT QByteArray writeTree(const DataTreeNode& root);

/// Reads such a document, which must be UTF-8 without a document type. The error says what is
/// wrong and, where the parser found it, in which line; `root` is set on success only.
VLR_CORE_EXPORT CaError readTree(const QByteArray& document, DataTreeNode& root,
                                 const TreeLimits& limits = {});

} // namespace vlr
