#include "AppBase/Settings/SettingsConflictDialog.h"

#include "Base/PlainText.h"
#include "Base/WheelGuard.h"

#include <QtWidgets/QComboBox>
#include <QtWidgets/QDialogButtonBox>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTableWidget>
#include <QtWidgets/QVBoxLayout>

namespace vlr {

namespace {

enum Column { Key, Was, Theirs, Mine, Choice, ColumnCount };
enum Answer { KeepTheirs, TakeMine };

} // namespace

SettingsConflictDialog::SettingsConflictDialog(const SettingsEdits& edits,
                                               std::vector<SettingsConflict> conflicts,
                                               QWidget* parent)
    : QDialog(parent, Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint),
      m_conflicts(std::move(conflicts)),
      m_table(new QTableWidget(static_cast<int>(m_conflicts.size()), ColumnCount)) {
    setWindowTitle(tr("Settings Changed Meanwhile"));
    auto* text = new QLabel(tr("Another program changed these settings while they were edited "
                               "here. Nothing has been stored yet. Choose what shall hold."));
    text->setWordWrap(true);
    m_table->setAccessibleName(tr("Settings that others changed"));
    m_table->setHorizontalHeaderLabels(
        {tr("Setting"), tr("Was"), tr("Theirs"), tr("Mine"), tr("What shall hold")});
    m_table->verticalHeader()->hide();
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setSelectionMode(QAbstractItemView::NoSelection);
    m_table->setFocusPolicy(Qt::NoFocus); // The choices take it.
    m_table->horizontalHeader()->setDefaultAlignment(Qt::AlignLeading | Qt::AlignVCenter);
    m_table->horizontalHeader()->setHighlightSections(false);
    for (int row = 0; row < m_table->rowCount(); ++row)
        addConflict(edits, m_conflicts[static_cast<size_t>(row)], row);
    m_table->resizeColumnsToContents();
    m_table->resizeRowsToContents();
    m_table->horizontalHeader()->setSectionResizeMode(Key, QHeaderView::Stretch);

    auto* buttons = new QDialogButtonBox;
    auto* store = buttons->addButton(tr("&Store"), QDialogButtonBox::AcceptRole);
    store->setDefault(true);
    buttons->addButton(tr("&Back to the Editor"), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &SettingsConflictDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &SettingsConflictDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addWidget(m_table);
    layout->addWidget(buttons);
    resize(fontMetrics().averageCharWidth() * 120, fontMetrics().lineSpacing() * 14);
    new WheelGuard(this);
}

void SettingsConflictDialog::addConflict(const SettingsEdits& edits,
                                         const SettingsConflict& conflict, int row) {
    const QString& key = conflict.change.key;
    const auto show = [&](Column column, const QString& text) {
        auto* item = new QTableWidgetItem(text);
        item->setToolTip(plainToolTip(text));
        m_table->setItem(row, column, item);
    };
    show(Key, key);
    show(Was, edits.describe(key, conflict.change.expected));
    show(Theirs, edits.describe(key, conflict.theirs));
    show(Mine, edits.describe(key, conflict.change.value));
    auto* choice = new QComboBox;
    choice->addItem(tr("Keep theirs"));
    choice->addItem(tr("Take mine"));
    choice->setAccessibleName(tr("What shall hold for %1").arg(key));
    m_table->setCellWidget(row, Choice, choice);
    connect(choice, QOverload<int>::of(&QComboBox::currentIndexChanged), this,
            [this, row](int answer) {
                m_conflicts[static_cast<size_t>(row)].takeMine = answer == TakeMine;
            });
}

std::vector<SettingsConflict> SettingsConflictDialog::conflicts() const {
    return m_conflicts;
}

} // namespace vlr
