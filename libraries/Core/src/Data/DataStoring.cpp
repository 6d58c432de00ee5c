// How an item and its children become nodes and parts, and come back.

#include "Data/Data.h"
#include "Data/DataError.h"
#include "Data/DataTreeNode.h"
#include "Data/PartStorage.h"
#include "Data/PlaceholderData.h"
#include "Log/vlrLog.h"

#include <QtCore/QSet>

#include <algorithm>
#include <utility>

using vlr::dataError;

namespace {

// A record that lacks a value has its default there; that is no reason to lose the rest.
bool isFaultOfAttribute(const CaError& error) {
    return error.id() == missingAttributeError || error.id() == malformedAttributeError;
}

// Another program's or version's items are no fault, but the missing line of a program of one's
// own is found by this. A file may name any number of classes.
void reportUnknown(const QString& className) {
    constexpr int most = 100;
    static auto* const reported = new QSet<QString>;
    if (reported->contains(className) || reported->size() >= most)
        return;
    reported->insert(className);
    VLR_LOG(Info) << "Items of the class \"" << className << "\" are kept unread: create"
                  << className << "Factory() was not called.";
}

} // namespace

CaError Data::save(DataTreeNode& node) const {
    QMap<QString, QString> references;
    return doSave(&node, references);
}

CaError Data::load(DataTreeNode& node) {
    if (node.className() != getClassId().toQString())
        return dataError("Data::load", "This is a \"", node.className(), "\" and not a \"",
                         getClassId(), "\".");
    QMap<QString, Data*> references;
    return loadItem(node, references);
}

CaError Data::saveValues(DataTreeNode& node) {
    auto children = std::exchange(m_children, {});
    m_childIndex.reset();
    const CaError error = save(node);
    m_children = std::move(children);
    m_childIndex.reset();
    return error;
}

CaError Data::restoreValues(DataTreeNode& node) {
    auto children = std::exchange(m_children, {});
    auto parts = std::exchange(m_binaryParts, {});
    const bool wasStored = m_isStored;
    m_childIndex.reset();
    const CaError error = load(node);
    m_isStored = wasStored;
    m_children = std::move(children);
    m_childIndex.reset();
    m_binaryParts = std::move(parts);
    return error;
}

// What the classes of the item leave unread is kept, also where one of them found a fault.
CaError Data::loadItem(DataTreeNode& node, QMap<QString, Data*>& references) {
    node.forgetReads();
    const CaError error = doLoad(&node, references);
    if (error == CaError::nullError || isFaultOfAttribute(error)) {
        m_unreadAttributes = node.unreadAttributes();
        m_isStored = true;
    }
    return error;
}

CaError Data::doSave(DataTreeNode* node, QMap<QString, QString>& references) const {
    node->setClassName(getClassId().toQString());
    node->setId(m_id);
    node->setKey(m_key);
    node->setBinaryParts(m_binaryParts.keys());
    node->setAttributes(m_unreadAttributes);
    if (!m_key.isEmpty())
        references.insert(m_key, node->className());
    for (const auto& child : m_children) {
        const CaError error =
            child->doSave(node->addChild(child->getClassId().toQString()), references);
        if (error != CaError::nullError)
            return error;
    }
    return CaError::nullError;
}

CaError Data::doLoad(DataTreeNode* node, QMap<QString, Data*>& references) {
    std::vector<DataPointer<Data>> children;
    const CaError error = loadChildren(*node, references, children);
    if (error != CaError::nullError)
        return error;

    setId(node->id());
    m_key = node->key();
    if (!m_key.isEmpty())
        references.insert(m_key, this);
    m_binaryParts.clear();
    for (const QString& part : node->binaryParts())
        m_binaryParts.insert(part, {});
    for (const auto& child : m_children)
        child->leaveTree();
    m_children = std::move(children);
    m_childIndex.reset();
    for (const auto& child : m_children)
        child->m_parent = this;
    return CaError::nullError;
}

CaError Data::loadChildren(const DataTreeNode& node, QMap<QString, Data*>& references,
                           std::vector<DataPointer<Data>>& children) {
    QSet<QString> ids;
    bool hasTwins = false;
    for (const auto& childNode : node.children()) {
        hasTwins = hasTwins || ids.contains(childNode->id());
        if (!childNode->id().isEmpty())
            ids.insert(childNode->id());
        DataPointer<Data> child(createInstance(childNode->className()));
        if (!child) {
            reportUnknown(childNode->className());
            child = DataPointer<Data>(new PlaceholderData(childNode->className()));
        }
        const CaError error = child->loadItem(*childNode, references);
        if (error != CaError::nullError && !isFaultOfAttribute(error))
            return error;
        children.push_back(child);
    }
    if (hasTwins)
        VLR_LOG(Warning) << "The " << node.className() << " \"" << node.id()
                         << "\" has several children with the same id. All are kept.";
    return CaError::nullError;
}

CaError Data::saveBinaryParts() {
    CaError error = doBinSave();
    for (std::size_t i = 0; error == CaError::nullError && i < m_children.size(); ++i)
        error = m_children[i]->saveBinaryParts();
    return error;
}

bool Data::doHasUnstoredBinaryParts() const {
    return std::any_of(m_binaryParts.begin(), m_binaryParts.end(),
                       [](const BinaryPart& part) { return part.changed; });
}

bool Data::hasUnstoredBinaryParts() const {
    return doHasUnstoredBinaryParts() ||
           std::any_of(m_children.begin(), m_children.end(),
                       [](const auto& child) { return child->hasUnstoredBinaryParts(); });
}

void Data::markBinaryPartsStored() {
    m_isStored = true;
    for (auto& part : m_binaryParts)
        part.changed = false;
    for (const auto& child : m_children)
        child->markBinaryPartsStored();
}

CaError Data::doBinSave() {
    for (auto part = m_binaryParts.constBegin(); part != m_binaryParts.constEnd(); ++part) {
        if (!part->changed)
            continue;
        const vlr::URI uri = binaryPartUri(part.key());
        if (!uri.isValid())
            return dataError("Data::doBinSave", "Data: No URI found.");
        const CaError error = vlr::PartStorage::current().write(uri, part->bytes);
        if (error != CaError::nullError)
            return error;
    }
    return CaError::nullError;
}
