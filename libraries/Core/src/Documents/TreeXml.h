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
/// gives the same bytes. Nothing is checked: readTree() may refuse the result.
VLR_CORE_EXPORT QByteArray writeTree(const DataTreeNode& root);

/// The same for a document that will be read again: a tree that readTree() would refuse with these
/// limits, or in which an item has two attributes of one name, gives an error that says why.
/// `document` is set on success only.
VLR_CORE_EXPORT CaError writeTree(const DataTreeNode& root, QByteArray& document,
                                  const TreeLimits& limits);

/// Reads such a document, which must be UTF-8 without a document type, and elements of which have
/// 16 attributes and 4 MiB at most. The error says what is wrong and in which line; `root` is set
/// on success only. Whatever the document says, no more is kept of it than the limits allow.
VLR_CORE_EXPORT CaError readTree(const QByteArray& document, DataTreeNode& root,
                                 const TreeLimits& limits = {});

} // namespace vlr
