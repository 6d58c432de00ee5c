#pragma once

#include "vlrGuiExport.h"

#include <QtWidgets/QWidget>

class QListWidget;
class QListWidgetItem;
class QToolButton;

namespace vlr {

class SettingsEdits;

/// A line such as "3 changes" with the list of them below, which the line folds and unfolds.
class VLR_GUI_EXPORT SettingsChangeList : public QWidget {
    Q_OBJECT

public:
    explicit SettingsChangeList(QWidget* parent = nullptr);
    void show(const SettingsEdits& edits);
    using QWidget::show;

signals:
    void chosen(const QString& key); ///< The user wants to see it.

private:
    void updateFolding();
    void choose(QListWidgetItem* item);

    bool m_isOpen = true;
    QToolButton* m_line;
    QListWidget* m_list;
};

} // namespace vlr
