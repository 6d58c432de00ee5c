#include "AppBase/Dialogs/QtModuleConfigWidget.h"

#include "Base/QtMessageLine.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int mostLayouts = 10;

// Modules link their options to this widget by its name alone.
[[maybe_unused]] const int registered = createQtModuleConfigWidgetFactory();

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
    connect(m_count, QOverload<int>::of(&QSpinBox::valueChanged), this,
            [this] { m_isEdited = true; });
    auto* row = new QHBoxLayout;
    row->addWidget(label);
    row->addWidget(m_count);
    row->addStretch(1);
    auto* column = new QVBoxLayout(this);
    column->addLayout(row);
    if (m_config->noDimensionSets() > mostLayouts) {
        auto* message = new QtMessageLine(this);
        message->showMessage(QStringLiteral("Information"),
                             tr("There are %1 layouts. All of them are kept unless you change "
                                "the number.")
                                 .arg(m_config->noDimensionSets()));
        column->addWidget(message);
    }
    column->addStretch(1);
}

QtModuleConfigWidget::~QtModuleConfigWidget() = default;

bool QtModuleConfigWidget::ok() {
    // Whoever hears of the change may let go of the record.
    const DataPointer<ModuleConfig> config = m_config;
    if (config)
        config->setNoDimensionSets(m_isEdited ? m_count->value() : config->noDimensionSets());
    return true;
}
