#include "AppBase/QtModuleStepper.h"

#include "Base/QtElidedLabel.h"

#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QPushButton>

#include <algorithm>

namespace {

constexpr int labelWidth = 160;

} // namespace

QtModuleStepper::QtModuleStepper(QtModuleSelector::Position position)
    : QtModuleSelector(position), m_previous(new QPushButton(tr("Prev"), this)),
      m_label(new QtElidedLabel(Qt::ElideRight, this)), m_next(new QPushButton(tr("Next"), this)) {
    const bool vertical = position == Left || position == Right;
    auto* layout =
        new QBoxLayout(vertical ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight, this);
    layout->setContentsMargins(6, 4, 6, 4);
    layout->addWidget(m_previous);
    layout->addWidget(m_label, vertical ? 0 : 1);
    layout->addWidget(m_next);
    if (vertical)
        layout->addStretch();
    m_label->setMinimumWidth(labelWidth);
    m_label->setAlignment(Qt::AlignCenter);
    m_label->setFullText(tr("No module selected"));
    m_previous->setEnabled(false);
    m_next->setEnabled(false);
    connect(m_previous, &QPushButton::clicked, this, &QtModuleSelector::previousModule);
    connect(m_next, &QPushButton::clicked, this, &QtModuleSelector::nextModule);
}

QtModuleStepper::~QtModuleStepper() = default;

void QtModuleStepper::addModule(QString, int index) {
    m_highestIndex = std::max(m_highestIndex, index);
    m_next->setEnabled(true);
}

void QtModuleStepper::moduleActivated(QString name, int index) {
    m_label->setFullText(name);
    m_previous->setEnabled(index != 0);
    m_next->setEnabled(index != m_highestIndex);
}

void QtModuleStepper::moduleDeactivated(QString, int) {
    m_label->setFullText(tr("No module selected"));
    m_previous->setEnabled(false);
    m_next->setEnabled(true);
}
