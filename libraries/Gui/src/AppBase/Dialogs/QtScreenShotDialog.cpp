#include "AppBase/Dialogs/QtScreenShotDialog.h"

#include "AppBase/QtScreenShotData.h"
#include "Base/ApplicationServices.h"
#include "Data/Patient.h"
#include "Log/vlrLog.h"

#include <QtCore/QDateTime>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QOpenGLWidget>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace {

QString recordId(const QString& name) {
    return QStringLiteral("SCD_") + name;
}

QString screenshotName() {
    const auto* const services = ApplicationServices::instance();
    const DataPointer<Patient> patient =
        services ? services->currentPatient() : DataPointer<Patient>();
    return QStringLiteral("Screenshot_") + (patient ? patient->name() : QString()) +
           QLatin1Char('_') +
           QDateTime::currentDateTime().toString(QStringLiteral("yyyyMMdd_hhmmss"));
}

// Two within one second are two.
QString freeName(const Data& item, const QString& name) {
    QString result = name;
    for (int number = 2; item.hasChildAndGet(recordId(result)); ++number)
        result = name + QLatin1Char('_') + QString::number(number);
    return result;
}

} // namespace

QtScreenShotDialog::QtScreenShotDialog(Data* item, QWidget* parent)
    : QDialog(parent), m_data(item) {
    createInterface();
}

QtScreenShotDialog::~QtScreenShotDialog() = default;

void QtScreenShotDialog::createInterface() {
    setWindowTitle(tr("Screenshot"));
    auto* const layout = new QVBoxLayout(this);
    m_preview = new QLabel(this);
    m_preview->setObjectName(QStringLiteral("preview"));
    m_preview->setAccessibleName(tr("Preview at half size"));
    layout->addWidget(m_preview);
    auto* const row = new QHBoxLayout;
    auto* const save = new QPushButton(tr("Save"), this);
    auto* const cancel = new QPushButton(tr("Cancel"), this);
    save->setObjectName(QStringLiteral("save"));
    cancel->setObjectName(QStringLiteral("cancel"));
    save->setDefault(true);
    if (!m_data) {
        const QString text = tr("No patient is chosen. \"Save\" will neither store the screenshot "
                                "nor write a file.");
        layout->addWidget(new QLabel(text, this));
        save->setToolTip(text);
        save->setAccessibleDescription(text);
    }
    row->addStretch();
    row->addWidget(save);
    row->addWidget(cancel);
    layout->addLayout(row);
    connect(save, &QPushButton::clicked, this, &QtScreenShotDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QtScreenShotDialog::reject);
}

void QtScreenShotDialog::grab(QWidget* widget) {
    if (!widget)
        return;
    const bool wasVisible = isVisible();
    if (wasVisible)
        hide();
    refreshAllGLWidgets(widget);
    m_image = widget->grab();
    QPixmap half = m_image.scaled(m_image.width() / 2, m_image.height() / 2, Qt::IgnoreAspectRatio,
                                  Qt::FastTransformation);
    half.setDevicePixelRatio(m_image.devicePixelRatio());
    m_preview->setPixmap(half);
    if (wasVisible)
        show();
    exec();
}

void QtScreenShotDialog::refreshAllGLWidgets(QObject* object) {
    for (QObject* child : object->children()) {
        if (auto* const view = qobject_cast<QOpenGLWidget*>(child))
            view->repaint();
        refreshAllGLWidgets(child);
    }
}

void QtScreenShotDialog::accept() {
    CaError error;
    if (m_data) {
        const DataPointer<QtScreenShotData> record(new QtScreenShotData);
        record->setScreenShot(m_image);
        const QString name = freeName(*m_data, screenshotName());
        m_data->setId(name);
        record->setId(recordId(name));
        (void)m_data->addChild(record, true);
        error = record->saveImageFile(name);
    }
    // Last, since what is told may be a box over this dialog's owner.
    QDialog::accept();
    if (error != CaError::nullError)
        VLR_LOG(UserError) << tr("The screenshot was taken, but its file could not be written.")
                           << "\nReason: " << error.text();
}
