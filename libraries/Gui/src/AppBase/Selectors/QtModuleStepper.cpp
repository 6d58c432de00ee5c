#include "AppBase/Selectors/QtModuleStepper.h"

#include "AppBase/Selectors/ElidedButtons.h"
#include "Base/QtElidedLabel.h"
#include "Base/TouchTargets.h"

#include <QtCore/QEvent>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QPushButton>

#include <algorithm>

namespace {

constexpr int labelWidth = 160; // where there is room for it anyway

} // namespace

QtModuleStepper::QtModuleStepper(QtModuleSelector::Position position)
    : QtModuleSelector(position), m_vertical(position == Left || position == Right),
      m_previous(new QPushButton(tr("Prev"), this)),
      m_label(new QtElidedLabel(Qt::ElideRight, this)), m_next(new QPushButton(tr("Next"), this)) {
    auto* layout =
        new QBoxLayout(m_vertical ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight, this);
    layout->setContentsMargins(6, 4, 6, 4);
    layout->addWidget(m_previous);
    layout->addWidget(m_label, m_vertical ? 0 : 1);
    layout->addWidget(m_next);
    if (m_vertical)
        layout->addStretch();
    m_label->setAlignment(Qt::AlignCenter);
    makeRoomFor(noModule());
    m_label->setFullText(noModule());
    m_previous->setEnabled(false);
    m_next->setEnabled(false);
    connect(m_previous, &QPushButton::clicked, this, &QtModuleSelector::previousModule);
    connect(m_next, &QPushButton::clicked, this, &QtModuleSelector::nextModule);
}

QtModuleStepper::~QtModuleStepper() = default;

QString QtModuleStepper::noModule() {
    return tr("No module selected");
}

void QtModuleStepper::makeRoomFor(const QString& text) {
    if (m_texts.contains(text))
        return;
    m_texts << text;
    fitLabel();
}

void QtModuleStepper::fitLabel() {
    int widest = m_vertical ? 0 : labelWidth;
    for (const QString& text : m_vertical ? m_texts : QStringList())
        // One more, since widths of texts are not whole.
        widest = std::max(widest, m_label->fontMetrics().horizontalAdvance(text.simplified()) + 1);
    m_label->setMinimumWidth(std::min(widest, widestModuleButton));
}

void QtModuleStepper::changeEvent(QEvent* event) {
    QtModuleSelector::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        fitLabel();
}

void QtModuleStepper::setTouchScreenMode(bool on) {
    QtModuleSelector::setTouchScreenMode(on);
    for (QPushButton* button : {m_previous, m_next})
        button->setMinimumWidth(on ? vlr::fingerSize : 0);
}

void QtModuleStepper::addModule(QString name, int index) {
    makeRoomFor(name);
    m_highestIndex = std::max(m_highestIndex, index);
    m_next->setEnabled(true);
}

void QtModuleStepper::moduleActivated(QString name, int index) {
    makeRoomFor(name);
    m_label->setFullText(name);
    m_previous->setEnabled(index != 0);
    m_next->setEnabled(index != m_highestIndex);
}

void QtModuleStepper::moduleDeactivated(QString, int) {
    m_label->setFullText(noModule());
    m_previous->setEnabled(false);
    m_next->setEnabled(true);
}
