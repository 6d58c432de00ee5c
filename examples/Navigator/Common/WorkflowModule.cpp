#include "Common/WorkflowModule.h"

#include "AppBase/Icons.h"
#include "AppBase/TouchTargets.h"
#include "Common/CurrentPatientBanner.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int contextWidth = 250;

} // namespace

WorkflowModule::WorkflowModule(const QString& name)
    : QtAppModule(name, false), m_contents(new QVBoxLayout) {
    QWidget* const context = getWidget();
    context->setMinimumWidth(contextWidth);
    auto* column = new QVBoxLayout(context);
    column->setContentsMargins(0, 9, 0, 9);
    column->addWidget(new CurrentPatientBanner);
    column->addSpacing(6);
    column->addLayout(m_contents, 1);
}

WorkflowModule::~WorkflowModule() {
    delete m_mainWidget.data();
}

// Made last, the buttons are also the last that the tab key reaches.
void WorkflowModule::setSteps(bool hasPrevious, bool hasNext) {
    QPushButton* const previous = makeButton("LeftArrow", tr("&Previous step"), {});
    QPushButton* const next = makeButton("RightArrow", tr("Ne&xt step"), {});
    previous->setObjectName(QStringLiteral("previousStep"));
    next->setObjectName(QStringLiteral("nextStep"));
    previous->setEnabled(hasPrevious);
    next->setEnabled(hasNext);
    auto* row = new QHBoxLayout;
    row->setContentsMargins(0, 6, 0, 0);
    row->addWidget(previous, 1);
    row->addWidget(next, 1);
    m_contents->addLayout(row);
    connect(previous, &QPushButton::clicked, this, &QtAppModule::activatePrevModule);
    connect(next, &QPushButton::clicked, this, &QtAppModule::activateNextModule);
    // With the mouse or without, the workflow is one hand's work.
    for (QAbstractButton* button : getWidget()->findChildren<QAbstractButton*>())
        button->setMinimumHeight(vlr::fingerSize);
}

QWidget* WorkflowModule::getMainWidget() {
    return m_mainWidget;
}

void WorkflowModule::setMainWidget(QWidget* widget) {
    m_mainWidget = widget;
}

QPushButton* WorkflowModule::addButton(const char* iconName, const QString& text,
                                       const QString& toolTip) {
    QPushButton* const button = makeButton(iconName, text, toolTip);
    m_contents->addWidget(button);
    return button;
}

QPushButton* WorkflowModule::makeButton(const char* iconName, const QString& text,
                                        const QString& toolTip) {
    auto* button = new QPushButton(vlr::icon(QString::fromLatin1(iconName)), text, getWidget());
    button->setToolTip(toolTip);
    button->setAutoDefault(false);
    return button;
}
