#include "Tracking/TrackingOptionsWidget.h"

#include "Base/AskForFiles.h"

#include <QtCore/QPointer>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QVBoxLayout>

TrackingOptionsWidget::TrackingOptionsWidget(Data* data, QString argument, QWidget* parent,
                                             Qt::WindowFlags flags)
    : QtDataConfigurationWidget(data, std::move(argument), parent, flags),
      m_options(dynamic_cast<TrackingOptions*>(data)), m_kind(new QComboBox(this)),
      m_pages(new QStackedWidget(this)), m_host(new QLineEdit), m_port(new QSpinBox),
      m_file(new QLineEdit), m_isFast(new QCheckBox(tr("As &fast as possible"))) {
    m_kind->setObjectName(QStringLiteral("trackingSource"));
    m_kind->addItems(
        {tr("Simulated camera"), tr("Tracker on the network (OpenIGTLink)"), tr("Recording")});
    m_pages->addWidget(new QWidget);
    m_pages->addWidget(networkPage());
    m_pages->addWidget(recordingPage());
    auto* form = new QFormLayout;
    form->addRow(tr("&Source:"), m_kind);
    auto* column = new QVBoxLayout(this);
    column->addLayout(form);
    column->addWidget(m_pages);
    column->addStretch(1);
    connect(m_kind, qOverload<int>(&QComboBox::currentIndexChanged), m_pages,
            &QStackedWidget::setCurrentIndex);
    showValues(m_options ? m_options->source() : SourceChoice());
}

QWidget* TrackingOptionsWidget::networkPage() {
    m_host->setObjectName(QStringLiteral("trackingHost"));
    m_port->setObjectName(QStringLiteral("trackingPort"));
    m_port->setRange(1, 65535);
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    form->setContentsMargins(0, 0, 0, 0);
    form->addRow(tr("&Host:"), m_host);
    form->addRow(tr("&Port:"), m_port);
    return page;
}

QWidget* TrackingOptionsWidget::recordingPage() {
    m_file->setObjectName(QStringLiteral("trackingRecording"));
    m_isFast->setObjectName(QStringLiteral("trackingFast"));
    m_isFast->setToolTip(tr("Without the pauses of the recording"));
    auto* choose = new QPushButton(tr("&Choose..."));
    choose->setAutoDefault(false);
    connect(choose, &QPushButton::clicked, this, &TrackingOptionsWidget::chooseFile);
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    form->setContentsMargins(0, 0, 0, 0);
    auto* row = new QHBoxLayout;
    row->addWidget(m_file, 1);
    row->addWidget(choose);
    auto* fileLabel = new QLabel(tr("Fi&le:"));
    fileLabel->setBuddy(m_file);
    form->addRow(fileLabel, row);
    form->addRow(tr("Pace:"), m_isFast);
    return page;
}

void TrackingOptionsWidget::showValues(const SourceChoice& source) {
    m_kind->setCurrentIndex(source.kind);
    m_host->setText(source.host);
    m_port->setValue(source.port);
    m_file->setText(source.file);
    m_isFast->setChecked(source.isFast);
}

void TrackingOptionsWidget::chooseFile() {
    const QPointer<TrackingOptionsWidget> self(this);
    auto* const dialog = new QFileDialog(this, tr("Choose a recording"), QString(),
                                         tr("Recordings (*.track);;All files (*)"));
    dialog->setFileMode(QFileDialog::ExistingFile);
    const QString file = vlr::askForFiles(dialog, m_file->text()).value(0);
    if (self && !file.isEmpty())
        m_file->setText(file);
}

bool TrackingOptionsWidget::ok() {
    if (!m_options)
        return true;
    const SourceChoice source{static_cast<SourceChoice::Kind>(m_kind->currentIndex()),
                              m_host->text().trimmed(), m_port->value(), m_file->text(),
                              m_isFast->isChecked()};
    if (source == m_options->source())
        return true;
    m_options->setSource(source);
    m_options->notify(Data::CHANGED);
    return true;
}
