#include "AppBase/QtAppMainWindowHelpers.h"

#include "Base/Icons.h"

#include <QtCore/QEvent>
#include <QtCore/QPointer>
#include <QtGui/QScreen>
#include <QtWidgets/QApplication>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>

namespace {

constexpr int mouseIconSize = 28;
constexpr int touchIconSize = 48;

// As large as what is in it, up to the stack's limit, and then it scrolls.
class ContextPage : public QScrollArea {
public:
    explicit ContextPage(QWidget* parent) : QScrollArea(parent) {
        setFrameShape(QFrame::NoFrame);
        setFocusPolicy(Qt::NoFocus);
        setWidgetResizable(true);
        viewport()->setAutoFillBackground(false);
    }
    QSize sizeHint() const override { return withBar(widget() ? widget()->sizeHint() : QSize()); }
    QSize minimumSizeHint() const override { return withBar(leastOf(widget())); }

    static QSize leastOf(const QWidget* widget) {
        return widget ? widget->minimumSizeHint().expandedTo(widget->minimumSize()) : QSize();
    }

protected:
    bool viewportEvent(QEvent* event) override {
        if (event->type() == QEvent::LayoutRequest)
            updateGeometry(); // What is in it needs another size.
        return QScrollArea::viewportEvent(event);
    }

private:
    QSize withBar(const QSize& size) const {
        return {size.width() + verticalScrollBar()->sizeHint().width(), size.height()};
    }
};

} // namespace

ContextStack::ContextStack(QWidget* parent) : QStackedWidget(parent) {
    connect(this, &QStackedWidget::currentChanged, this, [this] { updateGeometry(); });
}

QWidget* ContextStack::pageOf(QWidget* widget) const {
    while (widget && widget->parentWidget() != this)
        widget = widget->parentWidget();
    return widget;
}

QSize ContextStack::limit() const {
    return screen()->availableSize() / 2;
}

QSize ContextStack::sizeHint() const {
    return QStackedWidget::sizeHint().boundedTo(limit());
}

// As wide as the widest, so that the area keeps its width while modules come and go; as high as the
// one in front.
QSize ContextStack::minimumSizeHint() const {
    const QLayoutItem* const front = layout()->itemAt(currentIndex());
    const int height = front ? front->minimumSize().height() : 0;
    return QSize(QStackedWidget::minimumSizeHint().width(), height).boundedTo(limit());
}

bool ContextStack::event(QEvent* event) {
    if (event->type() == QEvent::LayoutRequest)
        wrapLargePages(); // One has come, or needs another size.
    return QStackedWidget::event(event);
}

void ContextStack::wrapLargePages() {
    const QSize most = limit();
    for (int i = 0; i < count(); ++i) {
        const QSize least = ContextPage::leastOf(widget(i));
        const bool isTooLarge = least.width() > most.width() || least.height() > most.height();
        if (isTooLarge && !dynamic_cast<ContextPage*>(widget(i)))
            wrap(i);
    }
}

void ContextStack::wrap(int index) {
    QWidget* const large = widget(index);
    const bool isFront = index == currentIndex();
    const bool fillsBackground = large->autoFillBackground();
    const QPointer<QWidget> focus = QApplication::focusWidget();
    const bool hadFocus = focus && (focus == large || large->isAncestorOf(focus));
    auto* const page = new ContextPage(this);
    insertWidget(index, page);
    if (isFront)
        setCurrentIndex(index);
    removeWidget(large);
    page->setWidget(large);
    large->setAutoFillBackground(fillsBackground);
    connect(large, &QObject::destroyed, page, &QObject::deleteLater);
    if (hadFocus && focus)
        focus->setFocus(Qt::OtherFocusReason);
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
