#include "DataUtils/QtDataConfigurationWidget.h"

#include "Base/WheelGuard.h"
#include "Data/Data.h"

QtDataConfigurationWidget::QtDataConfigurationWidget(Data* data, QString argument, QWidget* parent,
                                                     Qt::WindowFlags flags)
    : QWidget(parent, flags), m_data(data), m_argument(std::move(argument)) {
    new WheelGuard(this);
}

QtDataConfigurationWidget::~QtDataConfigurationWidget() = default;

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
