#include "AppBase/QtAppMainWindowHelpers.h"

#include "AppBase/Icons.h"

#include <QtGui/QScreen>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QStackedWidget>

namespace {

constexpr int mouseIconSize = 28;
constexpr int touchIconSize = 48;

// Asks for what the widget in front needs; those behind it may be larger.
class ContextStack : public QStackedWidget {
public:
    using QStackedWidget::QStackedWidget;
    QSize minimumSizeHint() const override {
        const QLayoutItem* const front = layout()->itemAt(currentIndex());
        return front ? front->minimumSize() : QSize();
    }
};

} // namespace

ContextArea::ContextArea(QWidget* parent) : QScrollArea(parent), m_stack(new ContextStack) {
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);
    setWidgetResizable(true);
    setWidget(m_stack);
    m_stack->setAutoFillBackground(false);
    viewport()->setAutoFillBackground(false);
    connect(m_stack, &QStackedWidget::currentChanged, this, [this] {
        m_stack->updateGeometry();
        updateGeometry();
    });
}

QSize ContextArea::limit() const {
    return screen()->availableSize() / 2;
}

QSize ContextArea::sizeHint() const {
    return m_stack->sizeHint().boundedTo(limit());
}

// As wide as the widest, so that the area keeps its width while modules come and go.
QSize ContextArea::minimumSizeHint() const {
    const int width = m_stack->QStackedWidget::minimumSizeHint().width();
    const int height = m_stack->minimumSizeHint().height();
    const QSize most = limit();
    const int bar = height > most.height() ? verticalScrollBar()->sizeHint().width() : 0;
    return QSize(width + bar, height).boundedTo(most);
}

QtAppMainWindowButtons::QtAppMainWindowButtons(QWidget* parent)
    : QWidget(parent), quit(makeButton("Exit", tr("Quit Application"))),
      screenshot(makeButton("Screenshot", tr("Create Screenshot"))),
      configure(makeButton("Configure", tr("Application Configuration"))),
      settingsEditor(
          makeButton("ConfigureFileEditor", tr("Launch Application Configuration File Editor"))) {
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(quit);
    row->addStretch();
    row->addWidget(screenshot);
    row->addWidget(configure);
    row->addWidget(settingsEditor);
    setTouchScreenMode(false);
}

QToolButton* QtAppMainWindowButtons::makeButton(const char* iconName, const QString& toolTip) {
    auto* button = new QToolButton(this);
    button->setObjectName(QString::fromLatin1(iconName));
    button->setIcon(vlr::icon(QString::fromLatin1(iconName)));
    button->setToolTip(toolTip);
    button->setAccessibleName(toolTip);
    button->setAutoRaise(true);
    button->setFocusPolicy(Qt::TabFocus);
    return button;
}

void QtAppMainWindowButtons::setTouchScreenMode(bool on) {
    const int size = on ? touchIconSize : mouseIconSize;
    for (QToolButton* button : {quit, screenshot, configure, settingsEditor})
        button->setIconSize(QSize(size, size));
}
