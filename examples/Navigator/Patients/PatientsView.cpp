#include "Patients/PatientsView.h"

#include "Base/Icons.h"
#include "Base/QtMessageLine.h"
#include "IO/DataIOManager.h"
#include "Patients/PatientTableModel.h"

#include <QtCore/QSortFilterProxyModel>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QAction>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QHeaderView>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QStyledItemDelegate>
#include <QtWidgets/QTableView>

namespace {

constexpr int markWidth = 30;
constexpr int columnGap = 12;
constexpr int widthForAllColumns = 600;
constexpr int pageIconSize = 48;
constexpr int pageTextWidth = 420;

struct PageLabels {
    QVBoxLayout* column;
    QLabel* text;
};

// Columns as wide as their contents need air between them.
class RoomyDelegate : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;
    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        return QStyledItemDelegate::sizeHint(option, index) + QSize(columnGap, 0);
    }
};

// An icon and a text in the middle of the page.
PageLabels fillPage(QWidget* page, const char* iconName, const QString& text) {
    auto* icon = new QLabel(page);
    icon->setPixmap(vlr::icon(QString::fromLatin1(iconName)).pixmap(pageIconSize, pageIconSize));
    auto* label = new QLabel(text, page);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    label->setWordWrap(true);
    label->setAlignment(Qt::AlignCenter);
    label->setMaximumWidth(pageTextWidth);
    label->setMinimumWidth(pageTextWidth / 2);
    auto* row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(label, 100);
    row->addStretch(1);
    auto* column = new QVBoxLayout(page);
    column->addStretch(1);
    column->addWidget(icon, 0, Qt::AlignHCenter);
    column->addSpacing(6);
    column->addLayout(row);
    return {column, label};
}

} // namespace

PatientsView::PatientsView(QWidget* parent)
    : QWidget(parent), m_model(new PatientTableModel(this)),
      m_sorted(new QSortFilterProxyModel(this)) {
    createTable();
    m_message = new QtMessageLine(this);
    m_pages = new QStackedWidget(this);
    m_pages->addWidget(m_table);
    m_pages->addWidget(createEmptyPage());
    m_pages->addWidget(createErrorPage());

    auto* column = new QVBoxLayout(this);
    column->addLayout(createSearchLine());
    column->addWidget(m_message);
    column->addWidget(m_pages, 1);
    setFocusProxy(m_table);
}

void PatientsView::createTable() {
    m_sorted->setSourceModel(m_model);
    m_sorted->setSortRole(PatientTableModel::SortRole);
    m_sorted->setSortLocaleAware(true);
    m_sorted->setSortCaseSensitivity(Qt::CaseInsensitive);
    m_sorted->setFilterKeyColumn(-1);
    m_sorted->setFilterCaseSensitivity(Qt::CaseInsensitive);

    m_table = new QTableView(this);
    m_table->setAccessibleName(tr("Stored patients"));
    m_table->setModel(m_sorted);
    m_table->setItemDelegate(new RoomyDelegate(m_table));
    m_table->setSortingEnabled(true);
    m_table->sortByColumn(PatientTableModel::Id, Qt::AscendingOrder);
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::SingleSelection);
    m_table->setAlternatingRowColors(true);
    m_table->setShowGrid(false);
    m_table->setTabKeyNavigation(false);
    m_table->setWordWrap(false);
    m_table->verticalHeader()->hide();
    QHeaderView* const header = m_table->horizontalHeader();
    header->setHighlightSections(false);
    header->setMinimumSectionSize(markWidth);
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(PatientTableModel::Mark, QHeaderView::Fixed);
    header->resizeSection(PatientTableModel::Mark, markWidth);
    header->setSectionResizeMode(PatientTableModel::Name, QHeaderView::Stretch);

    m_table->installEventFilter(this);
    connect(m_table, &QTableView::doubleClicked, this, &PatientsView::makeCurrentRequested);
    connect(m_table->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &PatientsView::selectionChanged);
}

QLayout* PatientsView::createSearchLine() {
    auto* label = new QLabel(tr("&Find:"), this);
    m_search = new QLineEdit(this);
    m_search->setObjectName(QStringLiteral("searchPatients"));
    m_search->setPlaceholderText(tr("Part of an id, a name or a date"));
    // The line edit's own clear button loses the memory of an animation that runs at the exit, and
    // its icon makes Qt load every image format there is.
    QAction* const clear =
        m_search->addAction(vlr::icon(QStringLiteral("Clear")), QLineEdit::TrailingPosition);
    clear->setToolTip(tr("Clear the search"));
    clear->setVisible(false);
    connect(clear, &QAction::triggered, m_search, &QLineEdit::clear);
    label->setBuddy(m_search);
    m_count = new QLabel(this);
    m_count->setObjectName(QStringLiteral("patientCount"));
    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(m_search, 1);
    row->addWidget(m_count);
    connect(m_search, &QLineEdit::textChanged, this, [this, clear](const QString& text) {
        clear->setVisible(!text.isEmpty());
        m_sorted->setFilterFixedString(text);
        updateCount();
    });
    connect(m_search, &QLineEdit::returnPressed, this, [this] {
        m_table->setFocus();
        if (!selectedPatient().isValid() && m_sorted->rowCount() > 0)
            m_table->selectRow(0);
    });
    return row;
}

QWidget* PatientsView::createEmptyPage() {
    m_emptyPage = new QWidget(this);
    fillPage(m_emptyPage, "Patient",
             tr("There are no patients yet.\nChoose \"New patient...\" to enter the first one."))
        .column->addStretch(2);
    return m_emptyPage;
}

QWidget* PatientsView::createErrorPage() {
    m_errorPage = new QWidget(this);
    const PageLabels labels = fillPage(m_errorPage, "Error", {});
    m_reason = labels.text;
    m_reason->setObjectName(QStringLiteral("repositoryError"));
    auto* again = new QPushButton(vlr::icon(QStringLiteral("Refresh")), tr("Try a&gain"));
    again->setObjectName(QStringLiteral("tryAgain"));
    labels.column->addSpacing(6);
    labels.column->addWidget(again, 0, Qt::AlignHCenter);
    labels.column->addStretch(2);
    connect(again, &QPushButton::clicked, this, &PatientsView::load);
    return m_errorPage;
}

// QTableView::activated() comes with a single click on some desktops; a patient is made current by
// a deliberate act only.
bool PatientsView::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_table && event->type() == QEvent::KeyPress) {
        const int key = static_cast<QKeyEvent*>(event)->key();
        if ((key == Qt::Key_Return || key == Qt::Key_Enter) && selectedPatient().isValid()) {
            emit makeCurrentRequested();
            return true;
        }
    }
    return QWidget::eventFilter(watched, event);
}

void PatientsView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    // In a small window the names need the room.
    m_table->setColumnHidden(PatientTableModel::Changed, width() < widthForAllColumns);
}

void PatientsView::load() {
    m_message->clear();
    std::vector<MetaInformation> patients;
    const CaError error = DataIOManager::patientMetaInfoList(patients);
    if (error != CaError::nullError) {
        showError(error);
        return;
    }
    const vlr::URI selected = selectedPatient();
    m_pages->setCurrentWidget(patients.empty() ? m_emptyPage : m_table);
    m_model->setPatients(std::move(patients));
    select(selected);
    updateCount();
    emit selectionChanged();
}

void PatientsView::showError(const CaError& error) {
    m_model->setPatients({});
    m_reason->setText(vlr::breakable(
        tr("The patients cannot be read.\n\n%1").arg(QString::fromStdString(error.text()))));
    m_pages->setCurrentWidget(m_errorPage);
    m_count->clear();
    emit selectionChanged();
}

void PatientsView::showMessage(const QString& text) {
    m_message->showError(text);
}

void PatientsView::updateCount() {
    const int shown = m_sorted->rowCount();
    const int all = m_model->rowCount();
    m_count->setText(shown == all ? tr("Patients: %1").arg(all)
                                  : tr("Patients: %1 of %2").arg(shown).arg(all));
}

// --- selection

void PatientsView::select(const vlr::URI& uri) {
    const int row = m_model->rowOf(uri);
    if (row >= 0 && !m_sorted->mapFromSource(m_model->index(row, 0)).isValid())
        m_search->clear(); // It is to be seen.
    selectRow(row);
}

void PatientsView::selectId(const QString& patientId) {
    selectRow(m_model->rowOfId(patientId));
}

void PatientsView::selectRow(int sourceRow) {
    if (sourceRow < 0)
        return;
    const QModelIndex index =
        m_sorted->mapFromSource(m_model->index(sourceRow, PatientTableModel::Id));
    m_table->setCurrentIndex(index);
    m_table->scrollTo(index);
}

vlr::URI PatientsView::selectedPatient() const {
    const QModelIndexList rows = m_table->selectionModel()->selectedRows();
    return rows.isEmpty() ? vlr::URI()
                          : m_model->patient(m_sorted->mapToSource(rows.first()).row()).uri();
}

void PatientsView::setCurrentPatient(const vlr::URI& uri) {
    m_model->setCurrentPatient(uri);
}
