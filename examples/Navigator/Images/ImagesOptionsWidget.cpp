#include "Images/ImagesOptionsWidget.h"

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QVBoxLayout>

ImagesOptionsWidget::ImagesOptionsWidget(Data* data, QString argument, QWidget* parent,
                                         Qt::WindowFlags flags)
    : QtDataConfigurationWidget(data, std::move(argument), parent, flags),
      m_options(dynamic_cast<ImagesOptions*>(data)),
      m_opensLastImages(new QCheckBox(tr("&Open the images of the last time at the start"), this)) {
    m_opensLastImages->setObjectName(QStringLiteral("opensLastImages"));
    m_opensLastImages->setChecked(m_options && m_options->opensLastImages());
    auto* column = new QVBoxLayout(this);
    column->addWidget(m_opensLastImages);
    column->addStretch(1);
}

bool ImagesOptionsWidget::ok() {
    if (m_options)
        m_options->setOpensLastImages(m_opensLastImages->isChecked());
    return true;
}
