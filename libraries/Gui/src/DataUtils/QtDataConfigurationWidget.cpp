#include "DataUtils/QtDataConfigurationWidget.h"

#include "Base/WheelGuard.h"
#include "Data/Data.h"

QtDataConfigurationWidget::QtDataConfigurationWidget(Data* data, QString argument, QWidget* parent,
                                                     Qt::WindowFlags flags)
    : QWidget(parent, flags), m_data(data), m_argument(std::move(argument)),
      m_wheelGuard(new WheelGuard(this)) {
    m_wheelGuard->setParent(nullptr);
}

// A field that loses the focus while the form is destroyed must not tell what is no form any more.
QtDataConfigurationWidget::~QtDataConfigurationWidget() {
    for (QObject* field : findChildren<QObject*>())
        disconnect(field, nullptr, this, nullptr);
}

void QtDataConfigurationWidget::cancel() {}

bool QtDataConfigurationWidget::canSaveAsDefault() {
    return false;
}

void QtDataConfigurationWidget::saveAsDefault() {}

bool QtDataConfigurationWidget::showStoreError(const CaError&) {
    return false;
}

DataPointer<Data> QtDataConfigurationWidget::configuration() const {
    return {};
}

void QtDataConfigurationWidget::setConfiguration(Data*) {}
