#pragma once

#include "AppBase/Settings/SettingsModel.h"

#include <QtCore/QPointer>
#include <QtWidgets/QLabel>
#include <QtWidgets/QStyledItemDelegate>

namespace vlr {

/// Edits the values of settings in place: a combo box for what can be chosen, a spin box for a
/// whole number, a line for everything else. A text that does not fit is not taken; the view
/// then keeps the editor open and has the reason shown below it.
class VLR_GUI_EXPORT SettingsDelegate : public QStyledItemDelegate {
    Q_OBJECT

public:
    explicit SettingsDelegate(const SettingsModel& model, QObject* parent = nullptr);

    QWidget* editor() const { return m_editor; } ///< The open one, or null.
    QString editedKey() const;                   ///< The setting that is edited, or empty.
    bool isRefused() const;                      ///< Whether it holds what does not fit.
    void showRefusal() const;

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                          const QModelIndex& index) const override;
    void setEditorData(QWidget* editor, const QModelIndex& index) const override;
    void setModelData(QWidget* editor, QAbstractItemModel* model,
                      const QModelIndex& index) const override;
    void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                              const QModelIndex& index) const override;
    void destroyEditor(QWidget* editor, const QModelIndex& index) const override;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    void finishChoice();
    void updateRefusal();
    QString refusal() const;
    void placeRefusal() const;

    const SettingsModel& m_model;
    const int m_rowHeight;
    mutable QPointer<QWidget> m_editor;
    mutable QPointer<QLabel> m_refusal; // a child of the window
    mutable QString m_key;              // of the setting that is edited
};

} // namespace vlr
