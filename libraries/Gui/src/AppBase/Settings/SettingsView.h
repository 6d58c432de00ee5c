#pragma once

#include "AppBase/Settings/SettingsDelegate.h"

#include <QtCore/QSet>
#include <QtWidgets/QTreeView>

namespace vlr {

/// The tree of the settings editor: narrows to what a search finds and sees to it that an open
/// editor does not get lost.
class VLR_GUI_EXPORT SettingsView : public QTreeView {
    Q_OBJECT

public:
    explicit SettingsView(SettingsModel& model, QWidget* parent = nullptr);

    QString currentKey() const; ///< Empty on a row that is only a group.
    void setCurrentKey(const QString& key);

    /// Shows the settings whose key or value contains the text, and their groups; all for an
    /// empty text. What is being edited, and what setCurrentKey() asked for since, stays in sight.
    void setSearch(const QString& text);

    void editCurrent();
    bool finishEditing(); ///< False where the open editor holds what does not fit.
    void cancelEditing();

signals:
    void currentKeyChanged();
    void found(int count); ///< After setSearch(), and when the settings changed.

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;
    void closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) override;

private:
    int narrow(const QModelIndex& parent);
    void narrowAgain();
    void reveal(const QModelIndex& index);
    QModelIndex edited() const;
    void rememberExpanded(const QModelIndex& parent);
    void restoreExpanded();
    void selectFirstMatch();

    SettingsModel& m_model;
    SettingsDelegate* m_delegate;
    QString m_search;
    QSet<QString> m_askedFor; // whatever is searched for
    QSet<QString> m_expanded; // before the search
};

} // namespace vlr
