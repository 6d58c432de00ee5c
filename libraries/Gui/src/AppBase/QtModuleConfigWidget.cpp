#include "AppBase/QtModuleConfigWidget.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int mostLayouts = 10;

} // namespace

QtModuleConfigWidget::QtModuleConfigWidget(Data* data, QString argument, QWidget* parent,
                                           Qt::WindowFlags flags)
    : QtDataConfigurationWidget(data, std::move(argument), parent, flags),
      m_config(dynamic_cast<ModuleConfig*>(data)) {
    if (!m_config)
        return;
    auto* label = new QLabel(tr("Number of Quad View layouts in touch screen mode:"), this);
    m_count = new QSpinBox(this);
    m_count->setRange(0, mostLayouts);
    m_count->setValue(m_config->noDimensionSets());
    label->setBuddy(m_count);
    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(m_count);
    row->addStretch(1);
    auto* column = new QVBoxLayout(this);
    column->addLayout(row);
    column->addStretch(1);
}

QtModuleConfigWidget::~QtModuleConfigWidget() = default;

bool QtModuleConfigWidget::ok() {
    // Whoever hears of the change may let go of the record.
    const DataPointer<ModuleConfig> config = m_config;
    if (config)
        config->setNoDimensionSets(m_count->value());
    return true;
}
