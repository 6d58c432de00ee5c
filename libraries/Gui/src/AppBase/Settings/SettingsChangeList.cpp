#include "AppBase/Settings/SettingsChangeList.h"

#include "AppBase/Settings/SettingsEdits.h"
#include "Base/PlainText.h"

#include <QtWidgets/QListWidget>
#include <QtWidgets/QToolButton>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace vlr {

namespace {

constexpr int mostRows = 4; // at once, so that enough is left for the tree

} // namespace

SettingsChangeList::SettingsChangeList(QWidget* parent)
    : QWidget(parent), m_line(new QToolButton), m_list(new QListWidget) {
    m_line->setAutoRaise(true);
    m_line->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    m_line->setFocusPolicy(Qt::StrongFocus);
    m_list->setAccessibleName(tr("Changes"));
    m_list->setAlternatingRowColors(true);
    m_list->setUniformItemSizes(true);
    m_list->setTextElideMode(Qt::ElideMiddle);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins({});
    layout->addWidget(m_line);
    layout->addWidget(m_list);
    connect(m_line, &QToolButton::clicked, this, [this] {
        m_isOpen = !m_isOpen;
        updateFolding();
    });
    connect(m_list, &QListWidget::itemActivated, this, &SettingsChangeList::choose);
    connect(m_list, &QListWidget::itemClicked, this, &SettingsChangeList::choose);
}

void SettingsChangeList::show(const SettingsEdits& edits) {
    m_list->clear();
    for (const SettingsChange& change : edits.changes()) {
        const QString text = tr("%1: %2 \u2192 %3")
                                 .arg(change.key, edits.describe(change.key, change.expected),
                                      edits.describe(change.key, change.value));
        auto* item = new QListWidgetItem(QString(text).replace(QLatin1Char('\n'), QChar(0x21b5)));
        item->setData(Qt::UserRole, change.key);
        item->setToolTip(plainToolTip(text));
        m_list->addItem(item);
    }
    const int count = m_list->count();
    m_line->setText(count == 0   ? tr("No chan&ges")
                    : count == 1 ? tr("1 chan&ge")
                                 : tr("%1 chan&ges").arg(count));
    m_line->setEnabled(count > 0);
    updateFolding();
}

void SettingsChangeList::updateFolding() {
    const int rows = std::min(m_list->count(), mostRows);
    const bool isOpen = m_isOpen && rows > 0;
    m_list->setFixedHeight(m_list->sizeHintForRow(0) * rows + 2 * m_list->frameWidth());
    m_list->setVisible(isOpen);
    m_line->setArrowType(isOpen ? Qt::DownArrow : Qt::RightArrow);
    m_line->setToolTip(isOpen ? tr("Hide the changes") : tr("Show the changes"));
}

void SettingsChangeList::choose(QListWidgetItem* item) {
    emit chosen(item->data(Qt::UserRole).toString());
}

} // namespace vlr
