#include "AppBase/Settings/SettingsModel.h"

#include "Base/PlainText.h"

#include <QtGui/QFont>
#include <QtGui/QGuiApplication>
#include <QtGui/QPalette>

#include <algorithm>

namespace vlr {

struct SettingsModel::Node {
    Node* parent = nullptr;
    QString path;
    QString name;
    bool isSetting = false;
    std::vector<std::unique_ptr<Node>> children; // sorted, so that a row is found by its name

    static bool isLess(const QString& a, const QString& b) {
        const int order = QString::compare(a, b, Qt::CaseInsensitive);
        return order != 0 ? order < 0 : a < b;
    }
    int rowFor(const QString& childName) const {
        const auto place =
            std::lower_bound(children.begin(), children.end(), childName,
                             [](const std::unique_ptr<Node>& child, const QString& wanted) {
                                 return isLess(child->name, wanted);
                             });
        return static_cast<int>(place - children.begin());
    }
};

SettingsModel::SettingsModel(SettingsSource& source, QObject* parent)
    : QAbstractItemModel(parent), m_edits(source), m_root(std::make_unique<Node>()) {
    QStringList keys = m_edits.keys();
    std::sort(keys.begin(), keys.end(), &Node::isLess); // so that rows are mostly appended
    for (const QString& key : keys)
        insert(key, false);
}

SettingsModel::~SettingsModel() = default;

// --- the tree

SettingsModel::Node* SettingsModel::node(const QModelIndex& index) const {
    return index.isValid() ? static_cast<Node*>(index.internalPointer()) : m_root.get();
}

QModelIndex SettingsModel::indexOf(const Node* node) const {
    if (!node || node == m_root.get())
        return {};
    return createIndex(node->parent->rowFor(node->name), 0, const_cast<Node*>(node));
}

QModelIndex SettingsModel::indexOf(const QString& key) const {
    return indexOf(m_nodes.value(key));
}

QString SettingsModel::key(const QModelIndex& index) const {
    const Node* const found = node(index);
    return found->isSetting ? found->path : QString();
}

void SettingsModel::insert(const QString& key, bool notify) {
    Node* parent = m_root.get();
    int end = 0;
    while (end < key.size()) {
        const int begin = end == 0 ? 0 : end + 1;
        end = key.indexOf(QLatin1Char('/'), begin);
        end = end < 0 ? key.size() : end;
        const QString path = key.left(end);
        Node*& known = m_nodes[path];
        if (!known) {
            auto created = std::make_unique<Node>();
            known = created.get();
            known->parent = parent;
            known->path = path;
            known->name = key.mid(begin, end - begin);
            const int row = parent->rowFor(known->name);
            if (notify)
                beginInsertRows(indexOf(parent), row, row);
            parent->children.insert(parent->children.begin() + row, std::move(created));
            if (notify)
                endInsertRows();
        }
        parent = known;
    }
    parent->isSetting = true;
}

// Removes a row without setting or children, and the groups that it leaves empty.
void SettingsModel::prune(Node* node) {
    while (node != m_root.get() && !node->isSetting && node->children.empty()) {
        Node* const parent = node->parent;
        const int row = parent->rowFor(node->name);
        beginRemoveRows(indexOf(parent), row, row);
        m_nodes.remove(node->path);
        parent->children.erase(parent->children.begin() + row);
        endRemoveRows();
        node = parent;
    }
}

// Brings the tree up to date with what became of the key.
void SettingsModel::refresh(const QString& key) {
    const bool isListed = m_edits.isListed(key);
    if (isListed)
        insert(key, true);
    Node* const changed = m_nodes.value(key);
    if (!changed)
        return;
    changed->isSetting = isListed;
    const QModelIndex index = indexOf(changed);
    emit dataChanged(index, index.siblingAtColumn(ValueColumn));
    prune(changed);
}

void SettingsModel::refreshAll() {
    QStringList keys = m_edits.keys();
    for (auto known = m_nodes.cbegin(); known != m_nodes.cend(); ++known)
        if ((*known)->isSetting && !m_edits.isListed(known.key()))
            keys << known.key();
    for (const QString& key : qAsConst(keys))
        refresh(key);
    emit edited();
}

// --- commands

void SettingsModel::add(const QString& key, const SettingsType& type) {
    m_edits.add(key, type);
    refresh(key);
    emit edited();
}

void SettingsModel::rename(const QString& key, const QString& newKey) {
    m_edits.rename(key, newKey);
    refresh(newKey);
    refresh(key);
    emit edited();
}

void SettingsModel::remove(const QString& key) {
    m_edits.remove(key);
    refresh(key);
    emit edited();
}

void SettingsModel::revert(const QString& key) {
    const QString partner = m_edits.renamePartner(key);
    m_edits.revert(key);
    refresh(key);
    if (!partner.isEmpty())
        refresh(partner);
    emit edited();
}

CaError SettingsModel::apply(std::vector<SettingsConflict>& conflicts) {
    const CaError error = m_edits.apply(conflicts);
    if (error.isNull() && conflicts.empty())
        refreshAll();
    return error;
}

void SettingsModel::resolve(const std::vector<SettingsConflict>& conflicts) {
    m_edits.resolve(conflicts);
    refreshAll();
}

// --- what views ask

bool SettingsModel::matches(const QModelIndex& index, const QString& text) const {
    const Node& found = *node(index);
    return found.isSetting && (found.path.contains(text, Qt::CaseInsensitive) ||
                               m_edits.text(found.path).contains(text, Qt::CaseInsensitive));
}

QModelIndex SettingsModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent))
        return {};
    return createIndex(row, column, node(parent)->children[static_cast<size_t>(row)].get());
}

QModelIndex SettingsModel::parent(const QModelIndex& child) const {
    return child.isValid() ? indexOf(node(child)->parent) : QModelIndex();
}

int SettingsModel::rowCount(const QModelIndex& parent) const {
    return parent.column() > 0 ? 0 : static_cast<int>(node(parent)->children.size());
}

int SettingsModel::columnCount(const QModelIndex&) const {
    return 2;
}

QVariant SettingsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractItemModel::headerData(section, orientation, role);
    return section == SettingColumn ? tr("Setting") : tr("Value");
}

QString SettingsModel::displayText(const Node& node, int column) const {
    if (column == SettingColumn)
        return m_edits.isChanged(node.path) ? node.name + QStringLiteral(" *") : node.name;
    QString text = node.isSetting ? withoutPassword(m_edits.text(node.path)) : QString();
    return text.replace(QLatin1Char('\n'), QChar(0x21b5)); // a row is one line high
}

QString SettingsModel::accessibleText(const Node& node, int column) const {
    if (!node.isSetting)
        return column == SettingColumn ? tr("%1, group").arg(node.name) : QString();
    if (column == SettingColumn) {
        if (m_edits.isDeleted(node.path))
            return tr("%1, will be deleted").arg(node.name);
        return m_edits.isChanged(node.path) ? tr("%1, changed").arg(node.name) : node.name;
    }
    const QString text = withoutPassword(m_edits.text(node.path));
    return m_edits.isDefault(node.path) ? tr("%1, default").arg(text) : text;
}

QVariant SettingsModel::font(const Node& node) const {
    QFont font;
    font.setBold(m_edits.isChanged(node.path));
    font.setStrikeOut(m_edits.isDeleted(node.path));
    font.setItalic(m_edits.isDefault(node.path));
    return font;
}

QVariant SettingsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid())
        return {};
    const Node& found = *node(index);
    switch (role) {
    case Qt::DisplayRole:
        return displayText(found, index.column());
    case Qt::EditRole:
        return index.column() == ValueColumn ? m_edits.text(found.path) : found.name;
    case Qt::AccessibleTextRole:
        return accessibleText(found, index.column());
    case Qt::ToolTipRole:
        return plainToolTip(found.isSetting
                                ? found.path + QLatin1Char('\n') + m_edits.status(found.path)
                                : found.path);
    case Qt::FontRole:
        return found.isSetting ? font(found) : QVariant();
    case Qt::ForegroundRole:
        return m_edits.isDefault(found.path) || m_edits.isDeleted(found.path)
                   ? QGuiApplication::palette().brush(QPalette::PlaceholderText)
                   : QVariant();
    case KeyRole:
        return found.path;
    case IsSettingRole:
        return found.isSetting;
    default:
        return {};
    }
}

bool SettingsModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (role != Qt::EditRole || !(flags(index) & Qt::ItemIsEditable))
        return false;
    const QString path = node(index)->path;
    if (!m_edits.set(path, value.toString()).isEmpty())
        return false;
    refresh(path);
    emit edited();
    return true;
}

Qt::ItemFlags SettingsModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = QAbstractItemModel::flags(index);
    const Node& found = *node(index);
    if (index.column() == ValueColumn && found.isSetting && !m_edits.isDeleted(found.path) &&
        m_edits.type(found.path).kind != SettingsType::Kind::Other)
        flags |= Qt::ItemIsEditable;
    return flags;
}

} // namespace vlr
