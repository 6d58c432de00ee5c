#include "AppBase/SettingsView.h"

#include <QtGui/QKeyEvent>
#include <QtWidgets/QHeaderView>

namespace vlr {

SettingsView::SettingsView(SettingsModel& model, QWidget* parent)
    : QTreeView(parent), m_model(model), m_delegate(new SettingsDelegate(model, this)) {
    setModel(&model);
    setItemDelegate(m_delegate);
    setUniformRowHeights(true);
    setAlternatingRowColors(true);
    setAllColumnsShowFocus(true);
    setEditTriggers(NoEditTriggers); // editCurrent() knows the column
    setExpandsOnDoubleClick(true);
    header()->setStretchLastSection(true);
    expandToDepth(1);
    connect(this, &QTreeView::doubleClicked, this, &SettingsView::editCurrent);
}

QString SettingsView::currentKey() const {
    return m_model.key(currentIndex());
}

void SettingsView::setCurrentKey(const QString& key) {
    const QModelIndex index = m_model.indexOf(key);
    if (!index.isValid())
        return;
    for (QModelIndex row = index; row.isValid(); row = row.parent())
        setRowHidden(row.row(), row.parent(), false); // whatever is searched for
    setCurrentIndex(index);
    scrollTo(index);
}

void SettingsView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTreeView::currentChanged(current, previous);
    emit currentKeyChanged();
}

void SettingsView::keyPressEvent(QKeyEvent* event) {
    const int key = event->key();
    const bool isEnter = key == Qt::Key_Return || key == Qt::Key_Enter;
    const QModelIndex group = currentIndex().siblingAtColumn(0);
    if (isEnter && !hasFocus())
        return; // It was meant for the editor, which lets it pass.
    if (isEnter && group.isValid() && currentKey().isEmpty())
        setExpanded(group, !isExpanded(group));
    else if (isEnter || key == Qt::Key_F2)
        editCurrent();
    else
        QTreeView::keyPressEvent(event);
}

// What one works on stays in sight while panes around the tree come and go.
void SettingsView::resizeEvent(QResizeEvent* event) {
    QTreeView::resizeEvent(event);
    if (currentIndex().isValid())
        scrollTo(currentIndex());
}

// --- search

int SettingsView::setSearch(const QString& text) {
    const bool begins = m_search.isEmpty() && !text.isEmpty();
    const bool ends = !m_search.isEmpty() && text.isEmpty();
    m_search = text;
    if (begins)
        rememberExpanded({});
    const int count = narrow({}, text);
    if (ends)
        restoreExpanded();
    if (isIndexHidden(currentIndex()) || !m_model.matches(currentIndex(), text))
        selectFirstMatch(text);
    if (currentIndex().isValid())
        scrollTo(currentIndex());
    return count;
}

int SettingsView::narrow(const QModelIndex& parent, const QString& text) {
    const QString edited = m_delegate->editedKey();
    int count = 0;
    for (int row = 0; row < m_model.rowCount(parent); ++row) {
        const QModelIndex index = m_model.index(row, 0, parent);
        const int below = narrow(index, text);
        const bool isMatch = m_model.matches(index, text);
        const bool isEdited = !edited.isEmpty() && m_model.key(index) == edited;
        setRowHidden(row, parent, below == 0 && !isMatch && !isEdited);
        if (below > 0 && !text.isEmpty())
            expand(index);
        count += below + (isMatch ? 1 : 0);
    }
    return count;
}

void SettingsView::rememberExpanded(const QModelIndex& parent) {
    if (!parent.isValid())
        m_expanded.clear();
    else if (isExpanded(parent))
        m_expanded.insert(parent.data(SettingsModel::KeyRole).toString());
    for (int row = 0; row < m_model.rowCount(parent); ++row)
        rememberExpanded(m_model.index(row, 0, parent));
}

void SettingsView::restoreExpanded() {
    collapseAll();
    for (const QString& path : qAsConst(m_expanded))
        expand(m_model.indexOf(path));
}

void SettingsView::selectFirstMatch(const QString& text) {
    if (text.isEmpty())
        return;
    for (QModelIndex row = m_model.index(0, 0); row.isValid(); row = indexBelow(row))
        if (m_model.matches(row, text))
            return setCurrentIndex(row);
    setCurrentIndex({});
}

// --- editing

void SettingsView::editCurrent() {
    const QModelIndex value = currentIndex().siblingAtColumn(SettingsModel::ValueColumn);
    if (!finishEditing() || !(m_model.flags(value) & Qt::ItemIsEditable))
        return;
    scrollTo(value);
    edit(value);
}

bool SettingsView::finishEditing() {
    QWidget* const editor = m_delegate->editor();
    if (!editor)
        return true;
    if (m_delegate->isRefused()) {
        m_delegate->showRefusal();
        editor->setFocus();
        return false;
    }
    commitData(editor);
    QTreeView::closeEditor(editor, QAbstractItemDelegate::NoHint);
    return true;
}

void SettingsView::cancelEditing() {
    if (QWidget* const editor = m_delegate->editor())
        QTreeView::closeEditor(editor, QAbstractItemDelegate::RevertModelCache);
}

void SettingsView::closeEditor(QWidget* editor, QAbstractItemDelegate::EndEditHint hint) {
    if (hint != QAbstractItemDelegate::RevertModelCache && m_delegate->isRefused())
        return m_delegate->showRefusal();
    // Tab ends editing; it does not start the next.
    const bool isRevert = hint == QAbstractItemDelegate::RevertModelCache;
    QTreeView::closeEditor(editor, isRevert ? hint : QAbstractItemDelegate::NoHint);
}

} // namespace vlr
