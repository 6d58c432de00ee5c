#pragma once

#include "AppBase/Settings/SettingsEdits.h"

#include <QtCore/QAbstractItemModel>

#include <memory>

namespace vlr {

/// The settings as a tree with the columns "Setting" and "Value", grouped by the slashes of
/// their keys and sorted by name. A row may be a group, a setting or both. Values are edited as
/// text. Rows that differ from what is stored, or are defaults, say so by font and in words.
class VLR_GUI_EXPORT SettingsModel : public QAbstractItemModel {
    Q_OBJECT

public:
    enum Column { SettingColumn, ValueColumn };
    enum Role {
        KeyRole = Qt::UserRole, ///< the full path, also of a group
        IsSettingRole           ///< whether it is more than a group
    };

    explicit SettingsModel(SettingsSource& source, QObject* parent = nullptr);
    ~SettingsModel() override;

    const SettingsEdits& edits() const { return m_edits; }
    QModelIndex indexOf(const QString& key) const; ///< Of a group, too; invalid when absent.
    QString key(const QModelIndex& index) const;   ///< Empty for a row that is only a group.
    /// Whether the setting's key or value contains the text in any case.
    bool matches(const QModelIndex& index, const QString& text) const;

    void add(const QString& key, const SettingsType& type);
    void rename(const QString& key, const QString& newKey);
    void remove(const QString& key);
    using QAbstractItemModel::revert;
    void revert(const QString& key);
    CaError apply(std::vector<SettingsConflict>& conflicts);
    void resolve(const std::vector<SettingsConflict>& conflicts);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& child) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

signals:
    void edited(); ///< Something differs from what was stored before, or does so no more.

private:
    struct Node;

    Node* node(const QModelIndex& index) const;
    QModelIndex indexOf(const Node* node) const;
    void insert(const QString& key, bool notify);
    void prune(Node* node);
    void refresh(const QString& key);
    void refreshAll();
    QString displayText(const Node& node, int column) const;
    QString accessibleText(const Node& node, int column) const;
    QVariant font(const Node& node) const;

    SettingsEdits m_edits;
    std::unique_ptr<Node> m_root;
    QHash<QString, Node*> m_nodes; // by path
};

} // namespace vlr
