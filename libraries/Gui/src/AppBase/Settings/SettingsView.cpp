#include "AppBase/Settings/SettingsView.h"

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
    connect(&m_model, &SettingsModel::edited, this, &SettingsView::narrowAgain);
}

QString SettingsView::currentKey() const {
    return m_model.key(currentIndex());
}

void SettingsView::setCurrentKey(const QString& key) {
    const QModelIndex index = m_model.indexOf(key);
    if (!index.isValid())
        return;
    m_askedFor.insert(key);
    reveal(index);
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

void SettingsView::setSearch(const QString& text) {
    const bool begins = m_search.isEmpty() && !text.isEmpty();
    const bool ends = !m_search.isEmpty() && text.isEmpty();
    m_search = text;
    m_askedFor.clear();
    if (begins)
        rememberExpanded({});
    const int count = narrow({});
    if (ends)
        restoreExpanded();
    if (edited().isValid()) {
        reveal(edited());
        setCurrentIndex(edited());
    } else if (isIndexHidden(currentIndex()) || !m_model.matches(currentIndex(), text)) {
        selectFirstMatch();
    }
    if (currentIndex().isValid())
        scrollTo(currentIndex());
    emit found(count);
}

// Answers how many settings below the row are found.
int SettingsView::narrow(const QModelIndex& parent) {
    int count = 0;
    for (int row = 0; row < m_model.rowCount(parent); ++row) {
        const QModelIndex index = m_model.index(row, 0, parent);
        const int below = narrow(index);
        const bool isMatch = m_model.matches(index, m_search);
        setRowHidden(row, parent, below == 0 && !isMatch);
        if (below > 0 && !m_search.isEmpty())
            expand(index);
        count += below + (isMatch ? 1 : 0);
    }
    return count;
}

// New rows are visible at first, and a new value may be one that is searched for.
void SettingsView::narrowAgain() {
    if (m_search.isEmpty())
        return;
    const int count = narrow({});
    for (const QString& key : qAsConst(m_askedFor))
        reveal(m_model.indexOf(key));
    reveal(currentIndex());
    reveal(edited());
    emit found(count);
}

void SettingsView::reveal(const QModelIndex& index) {
    for (QModelIndex row = index; row.isValid(); row = row.parent()) {
        setRowHidden(row.row(), row.parent(), false);
        if (row != index)
            expand(row);
    }
}

// An open editor whose row is hidden, or folded away, could neither be mended nor given up.
QModelIndex SettingsView::edited() const {
    return m_model.indexOf(m_delegate->editedKey());
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

void SettingsView::selectFirstMatch() {
    if (m_search.isEmpty())
        return;
    for (QModelIndex row = m_model.index(0, 0); row.isValid(); row = indexBelow(row))
        if (m_model.matches(row, m_search))
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
