#pragma once

#include "vlrCoreExport.h"

#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

#include <memory>
#include <utility>
#include <vector>

/// One data item in the form in which it is stored: class, id, key, named text attributes, names
/// of binary parts, and the nodes of its children.
///
///     node.setAttribute(QStringLiteral("m_showMode"), QStringLiteral("1"));
///     DataTreeNode* child = node.addChild(QStringLiteral("MainWindowConfig"));
///
/// Attributes keep the order in which they were first set; all texts may hold any character.
class VLR_CORE_EXPORT DataTreeNode {
public:
    using Attribute = std::pair<QString, QString>;

    explicit DataTreeNode(QString className = {});
    DataTreeNode(const DataTreeNode& other); ///< Copies the whole tree.
    DataTreeNode& operator=(const DataTreeNode& other);
    DataTreeNode(DataTreeNode&&) noexcept = default;
    DataTreeNode& operator=(DataTreeNode&&) noexcept = default;

    const QString& className() const { return m_className; }
    void setClassName(const QString& name) { m_className = name; }
    const QString& id() const { return m_id; }
    void setId(const QString& id) { m_id = id; }
    const QString& key() const { return m_key; } ///< See Data::key().
    void setKey(const QString& key) { m_key = key; }

    /// Sets or replaces the attribute.
    void setAttribute(const QString& name, const QString& value);
    /// Appends the attribute, which the node must not have yet.
    void appendAttribute(const QString& name, const QString& value);
    /// The value, empty where there is no such attribute.
    QString attribute(const QString& name) const;
    bool hasAttribute(const QString& name) const;
    const std::vector<Attribute>& attributes() const { return m_attributes; }
    void setAttributes(std::vector<Attribute> attributes) { m_attributes = std::move(attributes); }

    /// Attributes somebody has read are known to him; the others belong to another version of the
    /// item's class and are kept for it. Also a read-only node remembers what was read.
    void markRead(const QString& name) const { m_read.insert(name); }
    void forgetReads() const { m_read.clear(); }
    std::vector<Attribute> unreadAttributes() const;

    const QStringList& binaryParts() const { return m_binaryParts; }
    void setBinaryParts(const QStringList& names) { m_binaryParts = names; }
    void addBinaryPart(const QString& name) { m_binaryParts << name; }

    /// Appends a child; it stays owned by this node.
    DataTreeNode* addChild(const QString& className);
    const std::vector<std::unique_ptr<DataTreeNode>>& children() const { return m_children; }

private:
    QString m_className;
    QString m_id;
    QString m_key;
    std::vector<Attribute> m_attributes;
    mutable QSet<QString> m_read;
    QStringList m_binaryParts;
    std::vector<std::unique_ptr<DataTreeNode>> m_children;
};
