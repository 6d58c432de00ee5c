#include "Data/Data.h"

#include "Data/CaFactory.h"
#include "Data/DataError.h"
#include "Data/PartStorage.h"
#include "Log/vlrLog.h"

#include <QtCore/QUuid>

#include <algorithm>
#include <iterator>
#include <limits>

const char* const Data::CHANGED = "Data::CHANGED";
const char* const Data::CHILD_ADDED = "Data::CHILD_ADDED";
const char* const Data::CHILD_REMOVED = "Data::CHILD_REMOVED";
const char* const Data::DELETED = "Data::DELETED";

const char* const missingAttributeError = "DataTreeNode::missingAttribute";
const char* const malformedAttributeError = "DataTreeNode::malformedAttribute";

using vlr::dataError;

namespace {

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

} // namespace

Data::Data() = default;

Data::Data(const QString& id) : m_id(id) {}

Data::Data(const Data& other)
    : CaSubject(other), m_id(other.m_id), m_unreadAttributes(other.m_unreadAttributes) {}

// An id that is given to itself stays.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): see above
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
    m_formerStorageUri =
        old->m_storage.uri.isValid() ? old->m_storage.uri : old->m_formerStorageUri;
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
            top->m_storage.uri.isValid() ? top->m_storage.uri : top->m_formerStorageUri;
        return vlr::PartStorage::current().read(place.part(m_key, name), bytes);
    }
    bytes = part->bytes;
    return CaError::nullError;
}

vlr::URI Data::binaryPartUri(const QString& name) const {
    return root()->m_storage.uri.part(m_key, name);
}

const QString& Data::key() {
    if (m_key.isEmpty())
        m_key = QUuid::createUuid().toString(QUuid::WithoutBraces);
    return m_key;
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
