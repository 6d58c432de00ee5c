#include "Common/WorkflowModule.h"

#include "Base/Icons.h"
#include "Base/TouchTargets.h"
#include "Common/CurrentPatientBanner.h"

#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QVBoxLayout>

namespace {

constexpr int contextWidth = 250;
constexpr int leastHeight = 160;

/// As wide as what it holds; where the window is too low, it scrolls instead of holding it open.
class ContextArea : public QScrollArea {
public:
    explicit ContextArea(QWidget* contents) {
        setWidget(contents);
        setWidgetResizable(true);
        setFrameShape(QFrame::NoFrame);
        setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        setFocusPolicy(Qt::NoFocus);
        contents->setAutoFillBackground(false);
        viewport()->setAutoFillBackground(false);
    }
    QSize minimumSizeHint() const override {
        const QSize least = widget()->minimumSizeHint();
        const bool scrolls = least.height() > height();
        return {least.width() + (scrolls ? verticalScrollBar()->sizeHint().width() : 0),
                qMin(least.height(), leastHeight)};
    }
    QSize sizeHint() const override { return widget()->sizeHint(); }

protected:
    void resizeEvent(QResizeEvent* event) override {
        QScrollArea::resizeEvent(event);
        updateGeometry(); // The scroll bar needs room of its own.
    }
};

} // namespace

WorkflowModule::WorkflowModule(const QString& name)
    : QtAppModule(name, false), m_steps(new QHBoxLayout) {
    auto* const contents = new QWidget;
    m_contents = new QVBoxLayout(contents);
    m_contents->setContentsMargins(0, 0, 0, 0);
    QWidget* const context = getWidget();
    context->setMinimumWidth(contextWidth);
    auto* column = new QVBoxLayout(context);
    column->setContentsMargins(0, 9, 0, 9);
    column->addWidget(new CurrentPatientBanner);
    column->addSpacing(6);
    column->addWidget(new ContextArea(contents), 1);
    column->addLayout(m_steps);
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
    m_steps->setContentsMargins(0, 6, 0, 0);
    m_steps->addWidget(previous, 1);
    m_steps->addWidget(next, 1);
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
