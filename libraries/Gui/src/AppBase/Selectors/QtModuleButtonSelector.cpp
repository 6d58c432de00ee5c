#include "AppBase/Selectors/QtModuleButtonSelector.h"

#include "AppBase/Selectors/ElidedButtons.h"
#include "AppBase/Selectors/ModuleRequests.h"
#include "Base/Icons.h"
#include "Base/TouchTargets.h"

#include <QtCore/QPointer>
#include <QtGui/QKeyEvent>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QButtonGroup>
#include <QtWidgets/QFocusFrame>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QScroller>

#include <algorithm>

namespace {

constexpr int requestIconSize = 24;

} // namespace

QtModuleButtonSelector::QtModuleButtonSelector(QtModuleSelector::Position position, bool screenshot,
                                               bool config, bool configFileEditor, bool exit, bool)
    : QtModuleSelector(position), m_vertical(position == Left || position == Right),
      m_scrollArea(new QScrollArea(this)), m_group(new QButtonGroup(this)),
      m_focusFrame(new QFocusFrame(this)) {
    const auto direction = m_vertical ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight;
    auto* layout = new QBoxLayout(direction, this);
    layout->setContentsMargins(2, 2, 2, 2);
    layout->setSpacing(4);
    auto* modules = new QWidget;
    m_moduleLayout = new QBoxLayout(direction, modules);
    m_moduleLayout->setContentsMargins(0, 0, 0, 0);
    m_moduleLayout->setSpacing(2);
    m_scrollArea->setWidget(modules);
    m_scrollArea->setWidgetResizable(true);
    m_scrollArea->setFrameShape(QFrame::NoFrame);
    m_scrollArea->setFocusPolicy(Qt::NoFocus);
    layout->addWidget(m_scrollArea, 1);
    m_requestLayout = new QBoxLayout(direction);
    layout->addLayout(m_requestLayout);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(m_vertical ? QSizePolicy::Fixed : QSizePolicy::Expanding,
                  m_vertical ? QSizePolicy::Expanding : QSizePolicy::Fixed);
    connect(m_group, QOverload<QAbstractButton*>::of(&QButtonGroup::buttonClicked), this,
            &QtModuleButtonSelector::buttonClicked);
    addRequestButtons(screenshot, config, configFileEditor, exit);
}

QtModuleButtonSelector::~QtModuleButtonSelector() {
    if (isTouchScreenMode())
        QScroller::ungrabGesture(m_scrollArea->viewport()); // Or its recognizer stays.
    delete m_focusFrame;
}

// --- request buttons

void QtModuleButtonSelector::addRequestButtons(bool screenshot, bool config, bool configFileEditor,
                                               bool exit) {
    const auto addButton = [this](const QString& iconName, const QString& toolTip) {
        auto* button = new QToolButton(this);
        button->setObjectName(iconName);
        button->setIcon(vlr::icon(iconName));
        button->setIconSize(QSize(requestIconSize, requestIconSize));
        button->setAutoRaise(true);
        button->setToolTip(toolTip);
        button->setAccessibleName(toolTip);
        button->setFocusPolicy(Qt::TabFocus);
        m_requestLayout->addWidget(button);
        return button;
    };
    const bool wanted[moduleRequestCount] = {screenshot, config, configFileEditor, exit};
    void (QtModuleButtonSelector::*const requests[moduleRequestCount])() = {
        &QtModuleButtonSelector::screenShotRequestSGN, &QtModuleButtonSelector::configRequestSGN,
        &QtModuleButtonSelector::configFileEditorRequestSGN,
        &QtModuleButtonSelector::exitRequestSGN};
    for (int i = 0; i < moduleRequestCount; ++i) {
        if (!wanted[i])
            continue;
        auto* button =
            addButton(QString::fromLatin1(moduleRequest(i).iconName), moduleRequestToolTip(i));
        connect(button, &QToolButton::clicked, this, requests[i]);
        connectModuleRequest(this, i);
    }
    followModuleRequests(this, SLOT(updateRequestButtons()));
    updateRequestButtons();
}

void QtModuleButtonSelector::updateRequestButtons() {
    for (int i = 0; i < moduleRequestCount; ++i)
        if (auto* button = findChild<QToolButton*>(QString::fromLatin1(moduleRequest(i).iconName)))
            button->setEnabled(isModuleRequestAnswered(i));
}

// --- module buttons

QAbstractButton* QtModuleButtonSelector::createButton(const QString& name, QWidget* parent) {
    auto* button = new ElidedToolButton(name, parent);
    button->setFocusPolicy(Qt::NoFocus);
    return button;
}

QAbstractButton* QtModuleButtonSelector::find(const QString& name, int index) const {
    const QString key = name + QLatin1Char('_') + QString::number(index);
    for (QAbstractButton* button : m_group->buttons())
        if (button->objectName() == key)
            return button;
    return nullptr;
}

void QtModuleButtonSelector::addModule(QString name, int index) {
    // The list may describe itself more than once.
    if (find(name, index))
        return;
    QAbstractButton* button = createButton(name, m_scrollArea->widget());
    button->setObjectName(name + QLatin1Char('_') + QString::number(index));
    button->setCheckable(true);
    vlr::sizeForFinger(button, isTouchScreenMode());
    m_moduleLayout->addWidget(button, 1);
    button->show(); // The layout counts what is shown; the selector may be shown already.
    m_group->addButton(button);
    modifyButtonSizes();
}

// By what the texts need, not by what the buttons have: in a window that shrinks they do too.
void QtModuleButtonSelector::modifyButtonSizes() {
    int widest = isTouchScreenMode() ? vlr::fingerSize : 0;
    for (const QAbstractButton* button : m_group->buttons())
        widest = std::max(widest, button->sizeHint().width());
    for (QAbstractButton* button : m_group->buttons())
        button->setMinimumWidth(widest);
    updateExtent();
}

// Across its direction the selector is as wide as its buttons, and the scroll bar if there is one.
void QtModuleButtonSelector::updateExtent() {
    const QSize content = m_moduleLayout->sizeHint();
    const QScrollBar* bar =
        m_vertical ? m_scrollArea->verticalScrollBar() : m_scrollArea->horizontalScrollBar();
    const QSize view = m_scrollArea->size();
    const bool scrolls =
        m_vertical ? content.height() > view.height() : content.width() > view.width();
    const int extra =
        scrolls ? bar->sizeHint().width() * m_vertical + bar->sizeHint().height() * !m_vertical : 0;
    if (m_vertical)
        m_scrollArea->setFixedWidth(content.width() + extra);
    else
        m_scrollArea->setFixedHeight(content.height() + extra);
}

void QtModuleButtonSelector::setTouchScreenMode(bool on) {
    if (on == isTouchScreenMode())
        return;
    QtModuleSelector::setTouchScreenMode(on);
    if (on)
        QScroller::grabGesture(m_scrollArea->viewport(), QScroller::TouchGesture);
    else
        QScroller::ungrabGesture(m_scrollArea->viewport());
    modifyButtonSizes();
}

void QtModuleButtonSelector::showEvent(QShowEvent* event) {
    QtModuleSelector::showEvent(event);
    modifyButtonSizes();
}

void QtModuleButtonSelector::resizeEvent(QResizeEvent* event) {
    QtModuleSelector::resizeEvent(event);
    updateExtent();
}

void QtModuleButtonSelector::changeEvent(QEvent* event) {
    QtModuleSelector::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        modifyButtonSizes();
}

void QtModuleButtonSelector::moduleActivated(QString name, int index) {
    QAbstractButton* button = find(name, index);
    if (!button)
        return;
    m_current = button;
    showCurrentModule();
    m_scrollArea->ensureWidgetVisible(button);
}

void QtModuleButtonSelector::moduleDeactivated(QString name, int index) {
    QAbstractButton* button = find(name, index);
    if (!button)
        return;
    if (m_current == button)
        m_current = nullptr;
    showCurrentModule();
}

void QtModuleButtonSelector::showCurrentModule() {
    m_isFollowing = true;
    // An exclusive group does not let its last button go.
    m_group->setExclusive(false);
    for (QAbstractButton* button : m_group->buttons())
        button->setChecked(button == m_current);
    m_group->setExclusive(true);
}

void QtModuleButtonSelector::moduleDisabled(QString name, int index) {
    if (QAbstractButton* button = find(name, index))
        button->setEnabled(false);
}

void QtModuleButtonSelector::moduleEnabled(QString name, int index) {
    if (QAbstractButton* button = find(name, index)) {
        button->show();
        button->setEnabled(true);
    }
}

void QtModuleButtonSelector::buttonClicked(QAbstractButton* button) {
    if (!button || !button->isChecked())
        return;
    const QPointer<QtModuleButtonSelector> self = this;
    emit activateModule(button->text());
    if (self && m_isFollowing)
        showCurrentModule();
}

// --- keyboard

void QtModuleButtonSelector::mark(QAbstractButton* button) {
    m_marked = button;
    m_focusFrame->setWidget(hasFocus() ? button : nullptr);
    if (button)
        m_scrollArea->ensureWidgetVisible(button);
}

void QtModuleButtonSelector::step(int from, int direction) {
    const QList<QAbstractButton*> buttons = m_group->buttons();
    for (int i = from; i >= 0 && i < buttons.size(); i += direction)
        if (buttons[i]->isEnabled() && buttons[i]->focusPolicy() == Qt::NoFocus)
            return mark(buttons[i]);
}

void QtModuleButtonSelector::focusInEvent(QFocusEvent* event) {
    QtModuleSelector::focusInEvent(event);
    if (m_marked)
        mark(m_marked);
    else if (m_group->checkedButton())
        mark(m_group->checkedButton());
    else
        step(0, +1);
}

void QtModuleButtonSelector::focusOutEvent(QFocusEvent* event) {
    QtModuleSelector::focusOutEvent(event);
    m_focusFrame->setWidget(nullptr);
}

void QtModuleButtonSelector::keyPressEvent(QKeyEvent* event) {
    const int marked = m_group->buttons().indexOf(m_marked);
    switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Up:
        return step(marked - 1, -1);
    case Qt::Key_Right:
    case Qt::Key_Down:
        return step(marked + 1, +1);
    case Qt::Key_Home:
        return step(0, +1);
    case Qt::Key_End:
        return step(m_group->buttons().size() - 1, -1);
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (m_marked)
            m_marked->click();
        return;
    default:
        QtModuleSelector::keyPressEvent(event);
    }
}
