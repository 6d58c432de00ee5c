#include "Review/ReviewView.h"

#include "Review/ScreenshotDelegate.h"
#include "Review/ScreenshotModel.h"
#include "Review/ScreenshotPage.h"

#include <QtGui/QKeyEvent>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListView>

#include <algorithm>

ReviewView::ReviewView(QWidget* parent)
    : QStackedWidget(parent), m_model(new ScreenshotModel(this)), m_page(new ScreenshotPage(this)),
      m_note(new QLabel(this)) {
    createList();
    m_note->setObjectName(QStringLiteral("reviewNote"));
    m_note->setAlignment(Qt::AlignCenter);
    m_note->setWordWrap(true);
    for (QWidget* page : std::initializer_list<QWidget*>{m_note, m_list, m_page})
        addWidget(page);
    connect(m_page, &ScreenshotPage::backRequested, this, &ReviewView::close);
    connect(m_page, &ScreenshotPage::deleteRequested, this, &ReviewView::deleteRequested);
    showPatient(nullptr);
}

void ReviewView::createList() {
    m_list = new QListView(this);
    m_list->setObjectName(QStringLiteral("screenshots"));
    m_list->setAccessibleName(tr("Screenshots of the current patient"));
    m_list->setViewMode(QListView::IconMode);
    m_list->setMovement(QListView::Static);
    m_list->setResizeMode(QListView::Adjust);
    m_list->setUniformItemSizes(true);
    m_list->setSpacing(6);
    m_list->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    m_list->setSelectionMode(QAbstractItemView::SingleSelection);
    m_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_list->setItemDelegate(new ScreenshotDelegate(m_list));
    m_list->setModel(m_model);
    m_list->installEventFilter(this);
    connect(m_list, &QListView::doubleClicked, this, &ReviewView::open);
    connect(m_list->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            &ReviewView::selectionChanged);
}

// QListView::activated() comes with a single click on some desktops, and a click is to select.
bool ReviewView::eventFilter(QObject* watched, QEvent* event) {
    if (watched != m_list || event->type() != QEvent::KeyPress)
        return QStackedWidget::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    const bool opens = key == Qt::Key_Return || key == Qt::Key_Enter;
    if (!opens && key != Qt::Key_Delete)
        return false;
    if (opens)
        open();
    else if (selected())
        emit deleteRequested();
    return true;
}

void ReviewView::showPatient(const DataPointer<Patient>& patient) {
    const DataPointer<QtScreenShotData> previous = selected();
    const int row = m_list->currentIndex().row();
    m_model->setPixelRatio(devicePixelRatioF());
    m_model->setPatient(patient);
    const QModelIndex same = m_model->indexOf(previous.get());
    // In the place of one that went stands the next.
    const int next = std::clamp(row, 0, std::max(0, count() - 1));
    select(same.isValid() ? same : m_model->index(next));
    if (!m_model->indexOf(m_page->screenshot().get()).isValid())
        m_page->clear();
    showSuitablePage(patient);
    emit selectionChanged();
}

void ReviewView::showSuitablePage(const DataPointer<Patient>& patient) {
    m_note->setText(patient ? tr("No screenshots of this patient") : tr("No patient chosen"));
    if (count() == 0)
        setCurrentWidget(m_note);
    else if (!m_page->screenshot())
        setCurrentWidget(m_list);
}

void ReviewView::select(const QModelIndex& index) {
    if (!index.isValid())
        return;
    m_list->setCurrentIndex(index);
    m_list->scrollTo(index);
}

DataPointer<QtScreenShotData> ReviewView::selected() const {
    return m_page->screenshot() ? m_page->screenshot()
                                : m_model->screenshot(m_list->currentIndex());
}

int ReviewView::count() const {
    return m_model->rowCount();
}

void ReviewView::open() {
    const DataPointer<QtScreenShotData> record = selected();
    if (!record)
        return;
    m_page->showScreenshot(record);
    setCurrentWidget(m_page);
    takeFocus();
    emit selectionChanged();
}

void ReviewView::close() {
    m_page->clear();
    setCurrentWidget(count() > 0 ? static_cast<QWidget*>(m_list) : m_note);
    takeFocus();
    emit selectionChanged();
}

void ReviewView::takeFocus() {
    currentWidget()->setFocus();
}
