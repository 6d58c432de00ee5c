#include "Data/Data.h"

#include "Data/CaFactory.h"
#include "Data/DataTreeNode.h"
#include "Data/PlaceholderData.h"
#include "IO/IOManager.h"
#include "Log/vlrLog.h"
#include "Stream/QtStream.h"

#include <QtCore/QSet>
#include <QtCore/QUuid>

#include <algorithm>
#include <iterator>
#include <limits>
#include <sstream>

const char* const Data::CHANGED = "Data::CHANGED";
const char* const Data::CHILD_ADDED = "Data::CHILD_ADDED";
const char* const Data::CHILD_REMOVED = "Data::CHILD_REMOVED";
const char* const Data::DELETED = "Data::DELETED";

const char* const missingAttributeError = "DataTreeNode::missingAttribute";
const char* const malformedAttributeError = "DataTreeNode::malformedAttribute";

namespace {

template <class... Parts>
CaError dataError(const char* id, const Parts&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return CaError(id, text.str());
}

int height(const Data& item) {
    int highest = 0;
    for (int i = 0; i < item.childCount(); ++i)
        highest = std::max(highest, height(*item.child(i)));
    return highest + 1;
}

// The count while an item is being destroyed: so far from 0 that it does not get there again.
constexpr int goingReferences = std::numeric_limits<int>::min() / 2;

int depth(const Data* item) {
    int levels = 0;
    for (; item; item = item->parent())
        ++levels;
    return levels;
}

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

Data::Data() = default;

Data::Data(const QString& id) : m_id(id) {}

Data::Data(const Data& other)
    : CaSubject(other), m_id(other.m_id), m_unreadAttributes(other.m_unreadAttributes) {}

Data& Data::operator=(const Data& other) {
    setId(other.m_id);
    return *this;
}

Data::~Data() {
    notify(DELETED);
    for (const auto& child : m_children)
        child->leaveTree();
    const int references = m_references.load(std::memory_order_relaxed);
    if (references > goingReferences && references < 0)
        VLR_LOG(Error) << "The item \"" << m_id << "\" was destroyed, but "
                       << references - goingReferences
                       << " pointers that were made meanwhile still point to it.";
}

void Data::ref() noexcept {
    m_references.fetch_add(1, std::memory_order_relaxed);
}

void Data::unref() {
    if (m_references.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    // Whoever hears of the deletion may take references and give them back.
    m_references.store(goingReferences, std::memory_order_relaxed);
    delete this;
}

_vlr::StringMixer Data::classId() {
    return "Data";
}

_vlr::StringMixer Data::getClassId() const {
    return Data::classId();
}

bool Data::isA(const _vlr::StringMixer& id) const {
    return id == Data::classId() || id == getClassId();
}

void Data::setId(const QString& id) {
    auto* const index = m_parent ? m_parent->m_childIndex.get() : nullptr;
    if (index)
        index->remove(m_id, this);
    m_id = id;
    if (index && !id.isEmpty())
        index->insert(id, this);
}

DataPointer<Data> Data::child(int index) const {
    if (index < 0 || index >= childCount())
        return {};
    return m_children[static_cast<std::size_t>(index)];
}

DataPointer<Data> Data::hasChildAndGet(const QString& id) const {
    constexpr std::size_t few = 16;
    if (id.isEmpty() || m_children.size() <= few)
        return findAmongAll(id);
    const auto& index = childIndex();
    const auto found = index.constFind(id);
    if (found == index.constEnd())
        return {};
    const auto next = std::next(found);
    const bool hasTwins = next != index.constEnd() && next.key() == id;
    return hasTwins ? findAmongAll(id) : DataPointer<Data>(found.value());
}

DataPointer<Data> Data::findAmongAll(const QString& id) const {
    for (const auto& child : m_children)
        if (child->id() == id)
            return child;
    return {};
}

const QMultiHash<QString, Data*>& Data::childIndex() const {
    if (!m_childIndex) {
        m_childIndex = std::make_unique<QMultiHash<QString, Data*>>();
        m_childIndex->reserve(childCount());
        for (const auto& child : m_children)
            if (!child->id().isEmpty())
                m_childIndex->insert(child->id(), child.get());
    }
    return *m_childIndex;
}

CaError Data::addChild(const DataPointer<Data>& child, bool notify) {
    if (!child)
        return dataError("Data::addChild", "There is no child to add to \"", m_id, "\".");
    if (child->m_parent == this)
        return CaError::nullError;
    for (const Data* ancestor = this; ancestor; ancestor = ancestor->m_parent)
        if (ancestor == child.get())
            return dataError("Data::addChild", "\"", child->id(),
                             "\" cannot become a part of itself.");
    if (!child->id().isEmpty() && hasChildAndGet(child->id()))
        return dataError("Data::addChild", "\"", m_id, "\" already has a child \"", child->id(),
                         "\".");
    if (depth(this) + height(*child) > maximumDepth)
        return dataError("Data::addChild", "The tree would have more than ", maximumDepth,
                         " levels.");
    if (child->root() != root()) {
        const CaError error = child->takePartsAlong();
        if (error != CaError::nullError)
            return error;
    }
    if (child->m_parent)
        (void)child->m_parent->removeChild(child.get());
    child->m_parent = this;
    child->m_formerStorageUri = {};
    m_children.push_back(child);
    if (m_childIndex && !child->id().isEmpty())
        m_childIndex->insert(child->id(), child.get());
    if (notify)
        this->notify(CHILD_ADDED, child.get());
    return CaError::nullError;
}

void Data::eraseChild(std::size_t index) {
    const DataPointer<Data> child = m_children[index];
    m_children.erase(m_children.begin() + static_cast<std::ptrdiff_t>(index));
    if (m_childIndex)
        m_childIndex->remove(child->id(), child.get());
    child->leaveTree();
    notify(CHILD_REMOVED, child.get());
}

const Data* Data::root() const {
    const Data* item = this;
    while (item->m_parent)
        item = item->m_parent;
    return item;
}

// In the other tree the parts have another place, where each of them has to be written.
CaError Data::takePartsAlong() {
    for (auto part = m_binaryParts.begin(); part != m_binaryParts.end(); ++part) {
        QByteArray bytes;
        const CaError error = binaryPart(part.key(), bytes);
        if (error != CaError::nullError)
            return dataError("Data::addChild", "\"", m_id, "\" cannot move: ", error);
        part.value() = {bytes, true, true};
    }
    for (const auto& child : m_children) {
        const CaError error = child->takePartsAlong();
        if (error != CaError::nullError)
            return error;
    }
    return CaError::nullError;
}

// Remembers where the parts of the item and its descendants are, as long as they are there.
void Data::leaveTree() {
    const Data* const old = root();
    m_formerStorageUri = old->m_storageUri.isValid() ? old->m_storageUri : old->m_formerStorageUri;
    m_parent = nullptr;
}

CaError Data::removeChild(const QString& id) {
    return removeChild(hasChildAndGet(id).get());
}

CaError Data::removeChild(const Data* child) {
    for (std::size_t i = 0; child && i < m_children.size(); ++i)
        if (m_children[i].get() == child) {
            eraseChild(i);
            return CaError::nullError;
        }
    return dataError("Data::removeChild", "\"", m_id, "\" has no such child.");
}

void Data::setBinaryPart(const QString& name, const QByteArray& bytes) {
    (void)key(); // The key is a part of where the bytes will be kept.
    m_binaryParts[name] = {bytes, true, true};
}

void Data::removeBinaryPart(const QString& name) {
    m_binaryParts.remove(name);
}

QStringList Data::binaryParts() const {
    return m_binaryParts.keys();
}

CaError Data::binaryPart(const QString& name, QByteArray& bytes) const {
    const auto part = m_binaryParts.constFind(name);
    if (part == m_binaryParts.constEnd())
        return dataError("Data::binaryPart", "\"", m_id, "\" has no part \"", name, "\".");
    if (!part->inMemory) {
        const Data* const top = root();
        const vlr::URI& place =
            top->m_storageUri.isValid() ? top->m_storageUri : top->m_formerStorageUri;
        return IOManager::read(place.part(m_key, name), bytes);
    }
    bytes = part->bytes;
    return CaError::nullError;
}

vlr::URI Data::binaryPartUri(const QString& name) const {
    return root()->m_storageUri.part(m_key, name);
}

const QString& Data::key() {
    if (m_key.isEmpty())
        m_key = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return m_key;
}

void Data::setStorage(const vlr::URI& uri, int revision, const QByteArray& digest) {
    m_storageUri = uri;
    m_storageRevision = revision;
    m_storageDigest = digest;
}

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
        const CaError error = IOManager::write(uri, part->bytes);
        if (error != CaError::nullError)
            return error;
    }
    return CaError::nullError;
}

void Data::createFactory() {
    (void)getFactory();
}

std::map<std::string, CaFactory*>& Data::getFactory() {
    // Factories of other libraries enter and leave during static construction and destruction.
    static auto* const registry = new std::map<std::string, CaFactory*>;
    return *registry;
}

Data* Data::createInstance(const QString& classId) {
    const auto found = getFactory().find(classId.toStdString());
    return found == getFactory().end() ? nullptr : found->second->createInstance();
}
