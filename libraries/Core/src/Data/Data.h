#pragma once

#include "ClassId/StringMixer.h"
#include "Data/DataPointer.h"
#include "Data/StoragePlace.h"
#include "Error/CaError.h"
#include "Observer/CaSubject.h"

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <atomic>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

class CaFactory;
class DataTreeNode;

/// The base of everything that is stored: a node of a reference-counted tree with an id,
/// children, observers and binary parts.
///
///     DataPointer<Patient> patient(new Patient);
///     (void)patient->addChild(new Study, true);
///     patient->attach(Data::CHANGED, this, &View::refresh);
///
/// Items are made on the heap and held by DataPointer; an item dies with its last reference and
/// its children with it, unless somebody else holds them. A parent holds its children; a child
/// only knows its parent. Ids need not be unique in a tree, but two children of one parent never
/// share an id that is not empty. GUI thread only; the reference count alone may be used from any.
class VLR_CORE_EXPORT Data : public CaSubject {
public:
    /// Events for CaSubject::attach(): a value of the item changed; a child was added or removed
    /// (event data: the child, a Data*); the item is being destroyed (only its address may be
    /// used any more).
    static const char* const CHANGED;
    static const char* const CHILD_ADDED;
    static const char* const CHILD_REMOVED;
    static const char* const DELETED;

    /// Levels a tree may have. Deeper ones are refused, so that every tree that can be built can
    /// be stored and read again.
    static constexpr int maximumDepth = 60;

    Data();
    explicit Data(const QString& id);
    /// A copy has the id, the values (in derived classes) and the attributes of other versions
    /// of its class. Children, binary parts, parent, observers, key and place in the repository
    /// stay with the original.
    Data(const Data& other);
    /// Assigns the id and, in derived classes, the values.
    Data& operator=(const Data& other);

    void ref() noexcept;
    /// Destroys the item with the last reference. References that are taken while it is being
    /// destroyed, as by an observer of DELETED, do not keep it; one that is not given back until
    /// the end points nowhere, which is logged at "ERROR".
    void unref();

    static _vlr::StringMixer classId();
    virtual _vlr::StringMixer getClassId() const;
    /// True for the item's own class id and those of its base classes.
    virtual bool isA(const _vlr::StringMixer& id) const;

    const QString& id() const noexcept { return m_id; }
    /// Does not look at the siblings. Where two children of one parent get the same id that way,
    /// both are stored and loaded, and hasChildAndGet() finds the first.
    void setId(const QString& id);

    // --- the tree

    Data* parent() const noexcept { return m_parent; }
    int childCount() const noexcept { return static_cast<int>(m_children.size()); }
    DataPointer<Data> child(int index) const; ///< Null for an index out of range.
    /// The first child with the id, or null.
    DataPointer<Data> hasChildAndGet(const QString& id) const;

    /// Appends the child, taking a reference; a child of another parent moves here. With `notify`
    /// the observers are told CHILD_ADDED. A child from another tree brings its binary parts
    /// along: those not read yet are read now. Refused, with the reason: a null child, the item
    /// itself or one of its ancestors, an id that another child has, a tree of more than
    /// maximumDepth levels, a child from another tree one of whose parts cannot be read.
    CaError addChild(const DataPointer<Data>& child, bool notify);
    /// The binary parts of the removed child can be read until the tree is stored without it.
    CaError removeChild(const QString& id);
    CaError removeChild(const Data* child);

    // --- binary parts: named bytes stored beside the item's attributes

    void setBinaryPart(const QString& name, const QByteArray& bytes);
    void removeBinaryPart(const QString& name);
    QStringList binaryParts() const;
    /// The bytes, from memory or, for a part not read yet, from the repository.
    CaError binaryPart(const QString& name, QByteArray& bytes) const;
    /// Where the part is or will be kept; invalid while the tree has no place in the repository.
    vlr::URI binaryPartUri(const QString& name) const;

    /// A text that identifies the item for its whole life, unlike the id, which may be changed.
    /// Made when it is first needed.
    const QString& key();

    // --- storing

    /// Writes the item and its children into the node.
    CaError save(DataTreeNode& node) const;
    /// Reads the item and its children from the node, whose class must be the item's. After an
    /// error the item is as it was. Children of classes nobody registered, and attributes that
    /// the class does not know, are kept and written back unchanged. Two children with one id
    /// are both kept, with a "WARNING" in the log.
    CaError load(DataTreeNode& node);
    /// Writes the values of the item alone, without its children, so that restoreValues() can
    /// bring them back: what an edit changed is taken back by that.
    CaError saveValues(DataTreeNode& node);
    /// Children and binary parts stay as they are. Notifies nobody.
    CaError restoreValues(DataTreeNode& node);
    /// Writes the changed binary parts of the item and its descendants to their URIs. What an
    /// item adds or changes in its doBinSave() is stored as well.
    CaError saveBinaryParts();
    /// Remembers that the item and its descendants are stored, with the binary parts they now have.
    void markBinaryPartsStored();
    /// Whether the item or a descendant has a binary part that saveBinaryParts() would write.
    bool hasUnstoredBinaryParts() const;

    /// Whether the item was loaded, or stored with its patient; not so a new one that was only
    /// added to a tree, and no copy.
    bool isStored() const noexcept { return m_isStored; }
    /// Of the tree whose root this is.
    const vlr::StoragePlace& storage() const noexcept { return m_storage; }
    void setStorage(const vlr::StoragePlace& place) { m_storage = place; }

    // --- classes by name

    /// Makes sure that the registry of factories exists.
    static void createFactory();
    /// Class name to factory. The first factory of a name is kept.
    static std::map<std::string, CaFactory*>& getFactory();
    /// A new item of the class, or null where no factory is registered for it.
    static Data* createInstance(const QString& classId);

protected:
    ~Data() override;

    /// Overridden to write or read more; both call the base class first and stop at its error.
    /// `references` maps the key of every item with a key that was saved or loaded so far in the
    /// same run to its class or to the item, for items that refer to one another.
    virtual CaError doSave(DataTreeNode* node, QMap<QString, QString>& references) const;
    virtual CaError doLoad(DataTreeNode* node, QMap<QString, Data*>& references);
    /// Writes the item's changed binary parts.
    virtual CaError doBinSave();
    /// Overridden where doBinSave() makes parts: whether it would make another one now.
    virtual bool doHasUnstoredBinaryParts() const;

private:
    struct BinaryPart {
        QByteArray bytes;
        bool inMemory = false;
        bool changed = false;
    };

    CaError loadItem(DataTreeNode& node, QMap<QString, Data*>& references);
    CaError loadChildren(const DataTreeNode& node, QMap<QString, Data*>& references,
                         std::vector<DataPointer<Data>>& children);
    DataPointer<Data> findAmongAll(const QString& id) const;
    const QMultiHash<QString, Data*>& childIndex() const;
    void eraseChild(std::size_t index);
    const Data* root() const;
    CaError takePartsAlong();
    void leaveTree();

    std::atomic<int> m_references{0};
    QString m_id;
    QString m_key;
    Data* m_parent = nullptr;
    std::vector<DataPointer<Data>> m_children;
    // The children that have an id, by their ids. Made when one of many is sought; from then on
    // every change of a child or its id is a change here.
    mutable std::unique_ptr<QMultiHash<QString, Data*>> m_childIndex;
    QMap<QString, BinaryPart> m_binaryParts;
    std::vector<std::pair<QString, QString>> m_unreadAttributes;
    vlr::StoragePlace m_storage;
    bool m_isStored = false;
    vlr::URI m_formerStorageUri; // Of the tree that the item was the last to be removed from.
};

/// The ids of the errors that a reader gives for an attribute that is not there, and for one
/// whose text is no value of its type.
extern VLR_CORE_EXPORT const char* const missingAttributeError;
extern VLR_CORE_EXPORT const char* const malformedAttributeError;
