#include "DataUtils/QtDecoratedDataConfigurationWidget.h"

#include "Base/QtMessageLine.h"
#include "Data/Data.h"
#include "Data/DataTreeNode.h"
#include "DataUtils/ItemName.h"
#include "DataUtils/QtDataConfigurationWidget.h"
#include "Log/vlrLog.h"

#include <QtCore/QEvent>
#include <QtCore/QRegularExpression>
#include <QtGui/QGuiApplication>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

QtDecoratedDataConfigurationWidget::QtDecoratedDataConfigurationWidget(
    QtDataConfigurationWidget* widget, QString* name, QWidget* parent, Qt::WindowFlags flags)
    : QWidget(parent, flags), m_widget(widget), m_name(name), m_column(new QVBoxLayout(this)),
      m_message(new QtMessageLine(this)) {
    m_column->setContentsMargins(0, 0, 0, 0);
    m_message->setObjectName(QStringLiteral("storeError"));
    if (!m_widget) {
        VLR_LOG(Error) << "No widget given.";
        m_message->showError(tr("There is nothing to edit here."));
    } else {
        if (m_name)
            createNameField();
        auto* box = new QGroupBox(tr("Item Settings:"), this);
        (new QVBoxLayout(box))->addWidget(m_widget);
        m_column->addWidget(box, 1);
    }
    m_column->addWidget(m_message);
    createButtons();
}

QtDecoratedDataConfigurationWidget::~QtDecoratedDataConfigurationWidget() = default;

void QtDecoratedDataConfigurationWidget::createNameField() {
    auto* box = new QGroupBox(tr("Item Name:"), this);
    m_nameEdit = new QLineEdit(*m_name, box);
    m_nameEdit->setAccessibleName(tr("Item Name"));
    (new QVBoxLayout(box))->addWidget(m_nameEdit);
    m_column->addWidget(box);
}

void QtDecoratedDataConfigurationWidget::createButtons() {
    using Self = QtDecoratedDataConfigurationWidget;
    auto* row = new QHBoxLayout;
    if (m_widget && m_widget->canSaveAsDefault()) {
        auto* defaults = new QPushButton(tr("Save as default"), this);
        defaults->setObjectName(QStringLiteral("saveAsDefault"));
        defaults->setShortcut(tr("Alt+D"));
        defaults->setToolTip(tr("Start new items with these values (Alt+D)"));
        row->addWidget(defaults);
        connect(defaults, &QPushButton::clicked, this, &Self::defaults);
    }
    row->addStretch(1);
    auto* ok = new QPushButton(tr("OK"), this);
    auto* cancel = new QPushButton(tr("Cancel"), this);
    ok->setObjectName(QStringLiteral("ok"));
    cancel->setObjectName(QStringLiteral("cancel"));
    ok->setDefault(true);
    ok->setVisible(m_widget);
    row->addWidget(ok);
    row->addWidget(cancel);
    m_column->addLayout(row);
    connect(ok, &QPushButton::clicked, this, &Self::ok);
    connect(cancel, &QPushButton::clicked, this, &Self::cancel);
}

void QtDecoratedDataConfigurationWidget::setStoreFunction(std::function<CaError()> store) {
    m_store = std::move(store);
}

bool QtDecoratedDataConfigurationWidget::takeName() {
    if (!m_nameEdit)
        return true;
    const QString text = m_nameEdit->text();
    if (text.isEmpty() || !vlr::isValidItemName(text)) {
        // The frame may go while the box is open, and takes it along.
        const QPointer<QMessageBox> box =
            new QMessageBox(QMessageBox::Critical, tr("Invalid Id!"),
                            tr("The id you gave is invalid!"), QMessageBox::Ok, this);
        box->exec();
        delete box.data();
        return false;
    }
    *m_name = text;
    m_name->replace(
        QRegularExpression(QStringLiteral("\\s"), QRegularExpression::UseUnicodePropertiesOption),
        QStringLiteral("_"));
    return true;
}

void QtDecoratedDataConfigurationWidget::ok() {
    if (!m_widget || !takeName() || !takeData())
        return;
    const QPointer<QtDecoratedDataConfigurationWidget> self = this;
    emit accepted();
    if (self)
        emit finished();
}

// Without a store function the data is the caller's matter once it has what was entered.
bool QtDecoratedDataConfigurationWidget::takeData() {
    m_message->clear();
    (void)m_widget->showStoreError(CaError::nullError);
    // Whoever hears of the new values, or is asked while they are stored, may close the dialog.
    const QPointer<QtDecoratedDataConfigurationWidget> self = this;
    const DataPointer<Data> item(m_widget->data());
    const auto storeFunction = m_store;
    if (!storeFunction || !item)
        return m_widget->ok() && self;
    DataTreeNode before;
    CaError error = item->saveValues(before);
    if (error == CaError::nullError) {
        if (!m_widget->ok() || !self)
            return false;
        error = store(storeFunction);
        if (error == CaError::nullError)
            return self;
        const CaError unrestored = item->restoreValues(before);
        if (unrestored != CaError::nullError)
            VLR_LOG(Error) << "Values that were not stored could not be taken back. Reason: "
                           << unrestored;
    }
    if (self)
        showStoreError(error);
    return false;
}

// Another application may hold the repository for some seconds.
CaError QtDecoratedDataConfigurationWidget::store(const std::function<CaError()>& function) {
    QGuiApplication::setOverrideCursor(Qt::WaitCursor);
    const CaError error = function();
    QGuiApplication::restoreOverrideCursor();
    return error;
}

void QtDecoratedDataConfigurationWidget::showStoreError(const CaError& error) {
    if (!m_widget || !m_widget->showStoreError(error))
        m_message->showError(
            tr("This was not stored. %1").arg(QString::fromStdString(error.text())));
}

bool QtDecoratedDataConfigurationWidget::event(QEvent* event) {
    const bool isHandled = QWidget::event(event);
    if (event->type() == QEvent::LayoutRequest)
        makeRoom();
    return isHandled;
}

// A window does not grow by itself for texts that need more lines, here or in the form.
void QtDecoratedDataConfigurationWidget::makeRoom() {
    QWidget* const top = window();
    QLayout* const layout = top->layout();
    if (!layout || !top->isVisible())
        return;
    layout->activate();
    QSize wanted = top->size().expandedTo(layout->totalMinimumSize());
    if (layout->hasHeightForWidth())
        wanted.setHeight(std::max(wanted.height(), layout->totalHeightForWidth(wanted.width())));
    top->resize(wanted);
}

void QtDecoratedDataConfigurationWidget::cancel() {
    const QPointer<QtDecoratedDataConfigurationWidget> self = this;
    emit rejected();
    if (self)
        emit finished();
}

void QtDecoratedDataConfigurationWidget::defaults() {
    if (!m_widget || !m_widget->canSaveAsDefault())
        return;
    const QPointer<QtDecoratedDataConfigurationWidget> self = this;
    m_widget->setDefaultsError(CaError::nullError);
    m_widget->saveAsDefault();
    if (!self)
        return; // A failure is told in a box, which may outlive the dialog.
    const CaError& error = m_widget->m_defaultsError;
    if (error == CaError::nullError)
        m_message->showMessage(QStringLiteral("Information"),
                               tr("New items will start with these values."));
    else
        m_message->showError(tr("The values were not saved as default. %1")
                                 .arg(QString::fromStdString(error.text())));
}
