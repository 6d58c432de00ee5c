#include "AppBase/QtAppMainWindow.h"

#include "AppBase/Dialogs/TouchDialogs.h"
#include "AppBase/QtAppMainWindowHelpers.h"
#include "AppBase/QtAppModuleProxy.h"
#include "AppBase/QtMainWinSplitter.h"
#include "AppBase/QtModuleSelector.h"
#include "AppBase/vlrControlList.h"
#include "Base/Icons.h"
#include "Base/QtQuadView.h"
#include "Base/TouchTargets.h"
#include "Base/WheelGuard.h"
#include "Log/vlrLog.h"
#include "Settings/SettingKey.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QTimer>
#include <QtGui/QCloseEvent>
#include <QtGui/QScreen>
#include <QtWidgets/QApplication>
#include <QtWidgets/QGridLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QShortcut>
#include <QtWidgets/QStyle>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>
#include <utility>

namespace {

constexpr int controlPane = 0;
constexpr int viewerPane = 1;

void removeMargins(QLayout* layout) {
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
}

struct Place {
    int row;
    int column;
};

bool isShortcut(const QString& text) {
    const QKeySequence keys(text, QKeySequence::PortableText);
    for (int i = 0; i < keys.count(); ++i)
        if ((keys[static_cast<uint>(i)] & ~static_cast<int>(Qt::KeyboardModifierMask)) ==
            Qt::Key_unknown)
            return false;
    return true;
}

const vlr::SettingKey<bool> displayLogo("Velora/Application/DisplayLogo", false,
                                        QT_TRANSLATE_NOOP("KnownSettings",
                                                          "Show the logo above the context area."));
const vlr::SettingKey<QString> screenshotShortcut(
    "Velora/Application/ScreenshotShortcut", QStringLiteral("F2"),
    QT_TRANSLATE_NOOP("KnownSettings", "Key sequence that asks for a screenshot. Empty: none."),
    vlr::acceptedType(&isShortcut, QString::fromLatin1(QT_TRANSLATE_NOOP(
                                       "KnownSettings", "a key sequence such as F2 or Ctrl+P"))),
    QT_TRANSLATE_NOOP("KnownSettings", "No key asks for a screenshot."));
const vlr::SettingKey<bool> exitWithoutRequest("Velora/Application/ExitWithoutRequest", false,
                                               QT_TRANSLATE_NOOP("KnownSettings",
                                                                 "Leave without asking."));

// Sizes taken before the window was laid out say nothing.
bool isUsable(const QList<int>& sizes) {
    return std::any_of(sizes.begin(), sizes.end(), [](int size) { return size > 0; });
}

} // namespace

QtAppMainWindow::QtAppMainWindow(const DataPointer<MainWindowConfig>& config, QWidget* parent,
                                 Qt::WindowFlags flags)
    : QMainWindow(parent, flags),
      m_splitter(new QtMainWinSplitter(
          config ? config->quadViewConfig() : DataPointer<QuadViewConfig>(), this)),
      m_config(config) {
    createCentralArea();
    createControlArea();
    createLogo();
    m_controlLayout->addLayout(m_contextLayout, 1);
    createButtons();
    setCentralWidget(m_centralWidget);
    (void)addContextWidget(new QWidget);
    if (m_config)
        m_config->attach(Data::CHANGED, this, &QtAppMainWindow::reconfigure);
    createScreenshotShortcut();
}

QtAppMainWindow::~QtAppMainWindow() {
    if (m_config)
        m_config->detach(this);
    // The control list lives longer than this window, and so do the widgets in its panes.
    if (m_currentModuleWidget && m_currentModuleWidget == vlr::ControlList::instance()->getWindow())
        removeCurrentModuleWidget();
    // The module list and the proxies hang on the window and use it when they go, so they go
    // while it is whole.
    QList<QPointer<QObject>> guests;
    for (QObject* child : children())
        if (!child->isWidgetType() && !qobject_cast<QLayout*>(child))
            guests << child;
    for (const QPointer<QObject>& guest : guests)
        delete guest.data();
    m_buttons = nullptr;
    emit aboutToGo();
}

void QtAppMainWindow::createCentralArea() {
    m_centralWidget = new QWidget(this);
    m_centralLayout = new QGridLayout(m_centralWidget);
    removeMargins(m_centralLayout);
    m_innerWidget = new QWidget(m_centralWidget);
    auto* innerLayout = new QGridLayout(m_innerWidget);
    removeMargins(innerLayout);
    m_centralLayout->addWidget(m_innerWidget, 1, 1);

    m_viewerWidget = new QWidget(this);
    m_viewerWidget->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    m_viewerLayout = new QVBoxLayout(m_viewerWidget);
    removeMargins(m_viewerLayout);

    // The control area and the viewer area stand side by side in row 1 of the inner grid; they
    // are the two panes of the splitter, which spans both places.
    m_controlArea = new QWidget(m_innerWidget);
    m_controlArea->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Expanding);
    innerLayout->addWidget(m_splitter, 1, 0, 1, 2);
    innerLayout->setRowStretch(1, 1);
    innerLayout->setColumnStretch(1, 1);
    m_splitter->addWidget(m_controlArea);
    m_splitter->addWidget(m_viewerWidget);
    m_splitter->setStretchFactor(controlPane, 0);
    m_splitter->setStretchFactor(viewerPane, 1);
    m_splitter->setCollapsible(viewerPane, false);
    connect(m_splitter, &QtMainWinSplitter::openCloseClicked, this,
            &QtAppMainWindow::toggleContextAreaVisible);
    connect(this, &QtAppMainWindow::moduleActivated, m_splitter,
            &QtMainWinSplitter::moduleActivated);
}

void QtAppMainWindow::createControlArea() {
    m_contextStack = new ContextStack(m_controlArea);
    new WheelGuard(m_contextStack);
    m_contextLayout = new QBoxLayout(QBoxLayout::TopToBottom);
    removeMargins(m_contextLayout);
    m_contextLayout->addWidget(m_contextStack, 20);

    m_controlLayout = new QBoxLayout(QBoxLayout::TopToBottom, m_controlArea);
    const QMargins margins = m_controlLayout->contentsMargins();
    m_controlLayout->setContentsMargins(margins.left(), 0, margins.right(), 2);
    m_controlLayout->setSpacing(0);
}

void QtAppMainWindow::createButtons() {
    m_buttons = new QtAppMainWindowButtons(m_controlArea);
    m_controlLayout->addWidget(m_buttons);
    connect(m_buttons->quit, &QToolButton::clicked, this, &QtAppMainWindow::exitRequest);
    connect(m_buttons->screenshot, &QToolButton::clicked, this,
            &QtAppMainWindow::screenShotRequest);
    connect(m_buttons->configure, &QToolButton::clicked, this, &QtAppMainWindow::configRequest);
    connect(m_buttons->settingsEditor, &QToolButton::clicked, this,
            &QtAppMainWindow::configFileEditorRequest);
    updateButtons();
}

void QtAppMainWindow::createLogo() {
    if (!displayLogo.get())
        return;
    auto* logo = new QLabel(m_controlArea);
    logo->setObjectName(QStringLiteral("logo"));
    logo->setMinimumSize(179, 150);
    logo->setAlignment(Qt::AlignHCenter);
    logo->setPixmap(QPixmap(QStringLiteral(":/icons/default/Lumari_logo")));
    m_controlLayout->addWidget(logo, 0, Qt::AlignHCenter);
}

void QtAppMainWindow::createScreenshotShortcut() {
    const QString keys = screenshotShortcut.get();
    const QKeySequence sequence(keys);
    // Without keys the shortcut is switched off.
    if (!keys.isEmpty() && (sequence.isEmpty() || sequence[0] == Qt::Key_unknown))
        VLR_LOG(Warning) << "The screenshot shortcut \"" << keys << "\" is not a key sequence.";
    auto* shortcut = new QShortcut(sequence, this);
    shortcut->setContext(Qt::ApplicationShortcut);
    connect(shortcut, &QShortcut::activated, this, &QtAppMainWindow::screenShotRequest);
}

// --- requests

void QtAppMainWindow::connectNotify(const QMetaMethod&) {
    updateButtons();
}

// A connection that goes with its receiver is still counted at this moment.
void QtAppMainWindow::disconnectNotify(const QMetaMethod&) {
    QTimer::singleShot(0, this, &QtAppMainWindow::updateButtons);
}

bool QtAppMainWindow::isRequestAnswered(const char* member) const {
    const char kind = member[0];
    const QByteArray signature = QMetaObject::normalizedSignature(member + 1);
    // NOLINTNEXTLINE(clang-analyzer-optin.cplusplus.VirtualCall): while it is built, nobody is connected
    const QMetaObject* const all = metaObject();
    if (kind == '0' + QSLOT_CODE)
        return all->indexOfSlot(signature) >= 0;
    const int index = all->indexOfSignal(signature);
    return index >= 0 && isSignalConnected(all->method(index));
}

void QtAppMainWindow::updateButtons() {
    if (!m_buttons)
        return;
    const std::pair<QToolButton*, const char*> requests[] = {
        {m_buttons->screenshot, SIGNAL(screenShotRequest())},
        {m_buttons->configure, SIGNAL(configRequest())},
        {m_buttons->settingsEditor, SIGNAL(configFileEditorRequest())}};
    int answered = 0;
    for (const auto& request : requests) {
        const bool isAnswered = isRequestAnswered(request.second);
        request.first->setEnabled(isAnswered);
        answered = 2 * answered + (isAnswered ? 1 : 0);
    }
    if (answered == m_answeredRequests)
        return;
    m_answeredRequests = answered;
    emit requestsChanged();
}

void QtAppMainWindow::closeEvent(QCloseEvent* event) {
    exitRequest();
    event->ignore();
}

void QtAppMainWindow::exitRequest() {
    if (exitWithoutRequest.get())
        emit exitApplication();
    else
        askExit();
}

void QtAppMainWindow::askExit() {
    if (m_askingExit)
        return; // A window manager may close the window again while the question is open.
    m_askingExit = true;
    const QPointer<QMessageBox> question = new QMessageBox(this);
    question->setWindowTitle(tr("Exit %1?").arg(windowTitle()));
    question->setText(tr("Do you really want to exit?"));
    question->setStandardButtons(QMessageBox::Yes | QMessageBox::No);
    question->setDefaultButton(QMessageBox::No);
    question->setEscapeButton(QMessageBox::No);
    question->setIconPixmap(vlr::icon(QStringLiteral("Exit")).pixmap(50, 50));
    const int answer = question->exec();
    if (!question)
        return; // The window went while it was asking.
    delete question.data();
    m_askingExit = false;
    if (answer == QMessageBox::Yes)
        emit exitApplication();
}

// --- layout

void QtAppMainWindow::setMainLayoutDirection(MainWindowConfig::LayoutDirections) {}

void QtAppMainWindow::setControlAreaSize(int) {}

void QtAppMainWindow::setSecondaryLayoutDirection(MainWindowConfig::LayoutDirections direction,
                                                  bool adjustMainWindowButtons) {
    switch (direction) {
    case MainWindowConfig::LeftRight:
        // The buttons stay below whatever the flag says.
        m_controlLayout->setDirection(QBoxLayout::TopToBottom);
        m_contextLayout->setDirection(QBoxLayout::LeftToRight);
        break;
    case MainWindowConfig::RightLeft:
        m_controlLayout->setDirection(adjustMainWindowButtons ? QBoxLayout::RightToLeft
                                                              : QBoxLayout::TopToBottom);
        m_contextLayout->setDirection(QBoxLayout::RightToLeft);
        break;
    case MainWindowConfig::TopBottom:
        m_controlLayout->setDirection(QBoxLayout::TopToBottom);
        m_contextLayout->setDirection(QBoxLayout::TopToBottom);
        break;
    case MainWindowConfig::BottomTop:
        m_controlLayout->setDirection(QBoxLayout::BottomToTop);
        m_contextLayout->setDirection(QBoxLayout::BottomToTop);
        break;
    }
}

void QtAppMainWindow::reconfigure(CaSubject*, void*, const char*, void*) {
    setSecondaryLayoutDirection(m_config->innerLayoutDirection());
}

void QtAppMainWindow::setMaxWindowSize(QRect rect) {
    m_largestRect = rect;
    if (rect.isEmpty()) {
        setMaximumSize(QWIDGETSIZE_MAX, QWIDGETSIZE_MAX);
        return;
    }
    const QSize frame = frameGeometry().size() - size();
    setMaximumSize((rect.size() - frame).expandedTo(minimumSizeHint()));
    const QRect outer = frameGeometry();
    move(std::max(rect.left(), std::min(outer.left(), rect.right() + 1 - outer.width())),
         std::max(rect.top(), std::min(outer.top(), rect.bottom() + 1 - outer.height())));
}

void QtAppMainWindow::restorePlace() {
    goToPlace();
    if (!m_largestRect.isEmpty())
        setMaxWindowSize(m_largestRect); // The place was chosen without it.
}

void QtAppMainWindow::goToPlace() {
    QScreen* const first = screen();
    const QSize available = first->availableSize();
    const DataPointer<WindowPlace> place =
        m_config ? m_config->windowPlace() : DataPointer<WindowPlace>();
    if (!place || !place->isKnown()) {
        if (!testAttribute(Qt::WA_Resized))
            resize((available * 3 / 4).expandedTo(sizeHint()).boundedTo(available));
        return;
    }
    QVector<QRect> rooms = {first->availableGeometry()};
    for (const QScreen* other : QGuiApplication::screens())
        rooms << other->availableGeometry();
    setGeometry(place->geometryOn(rooms, style()->pixelMetric(QStyle::PM_TitleBarHeight)));
}

void QtAppMainWindow::restoreControlArea() {
    const DataPointer<WindowPlace> place =
        m_config ? m_config->windowPlace() : DataPointer<WindowPlace>();
    const QList<int> sizes = m_splitter->sizes();
    if (!place || !isUsable(sizes))
        return;
    const int total = sizes.value(controlPane) + sizes.value(viewerPane);
    const auto sizesFor = [&](bool touchScreenMode, const QList<int>& otherwise) {
        const int width = place->controlArea(touchScreenMode);
        return width < 0 ? otherwise : QList<int>{width, std::max(0, total - width)};
    };
    m_splitter->setSizes(sizesFor(m_touchScreenMode, sizes));
    m_rememberedSizes = sizesFor(!m_touchScreenMode, m_rememberedSizes);
}

void QtAppMainWindow::rememberPlace() {
    const QList<int> sizes = m_splitter->sizes();
    if (!m_config || !isVisible() || !isUsable(sizes))
        return;
    const DataPointer<WindowPlace> place = m_config->windowPlace();
    const bool isLarge = isMaximized() || isFullScreen();
    const QRect normal = isLarge ? normalGeometry() : geometry();
    if (!normal.isEmpty())
        place->setGeometry(normal);
    place->setControlArea(m_touchScreenMode, sizes.value(controlPane));
    if (isUsable(m_rememberedSizes))
        place->setControlArea(!m_touchScreenMode, m_rememberedSizes.value(controlPane));
}

void QtAppMainWindow::setTouchScreenMode(bool onOrOff) {
    const bool isOther = m_touchScreenMode != onOrOff;
    m_touchScreenMode = onOrOff;
    if (!onOrOff)
        delete m_touchDialogs.data();
    else if (!m_touchDialogs)
        m_touchDialogs = new vlr::TouchDialogs(this);
    m_buttons->setTouchScreenMode(onOrOff);
    if (m_moduleSelector)
        m_moduleSelector->setTouchScreenMode(onOrOff);
    setViewerTouchScreenMode();
    m_splitter->setTouchScreenMode(onOrOff);
    // Asked for a mode again, there is nothing to exchange: the sizes would be the other mode's.
    if (!isOther && isUsable(m_rememberedSizes))
        return;
    const QList<int> sizes = m_splitter->sizes();
    if (isUsable(m_rememberedSizes))
        m_splitter->setSizes(m_rememberedSizes);
    m_rememberedSizes = sizes;
}

void QtAppMainWindow::setViewerTouchScreenMode() {
    if (QtQuadView* const viewer = vlr::ControlList::instance()->getViewer())
        viewer->enableTouchscreenMode(m_touchScreenMode);
}

void QtAppMainWindow::toggleContextAreaVisible() {
    const QList<int> sizes = m_splitter->sizes();
    const int total = sizes.value(controlPane) + sizes.value(viewerPane);
    QList<int>& whenOpen = m_sizesWhenOpen[m_touchScreenMode ? 1 : 0];
    if (sizes.value(controlPane) >= 1) {
        whenOpen = sizes;
        m_splitter->setSizes({0, total});
    } else if (whenOpen.value(controlPane) >= 1) {
        m_splitter->setSizes(whenOpen);
    } else {
        // Closed by hand and never remembered open.
        const int width = m_controlArea->sizeHint().width();
        m_splitter->setSizes({width, std::max(0, total - width)});
    }
}

// --- what stands in the areas

int QtAppMainWindow::addContextWidget(QWidget* widget) {
    if (!widget)
        return -1;
    const auto known = std::find(m_contextWidgets.begin(), m_contextWidgets.end(), widget);
    const auto index = static_cast<int>(known - m_contextWidgets.begin());
    if (known == m_contextWidgets.end()) {
        m_contextStack->addWidget(widget);
        m_contextWidgets.emplace_back(widget);
    }
    return index;
}

void QtAppMainWindow::raiseContextWidget(int index) {
    if (index < 0 || index >= static_cast<int>(m_contextWidgets.size()))
        return;
    if (QWidget* widget = m_contextWidgets[static_cast<std::size_t>(index)])
        m_contextStack->setCurrentWidget(m_contextStack->pageOf(widget));
}

void QtAppMainWindow::occupyWindow(vlr::ControlList* list) {
    QWidget* const window = list ? list->getWindow() : nullptr;
    setViewerTouchScreenMode();
    if (window && window == m_currentModuleWidget)
        return; // Taken out and put back, it would lose the keyboard.
    removeCurrentModuleWidget();
    setNewCurrentModuleWidget(window);
}

// A control that loses its place may take the widget away, or the window.
void QtAppMainWindow::occupyWindow(QtAppModuleProxy*, QWidget* widget) {
    const QPointer<QtAppMainWindow> self = this;
    const QPointer<QWidget> guarded = widget;
    vlr::ControlList::instance()->hideAll();
    if (!self)
        return;
    removeCurrentModuleWidget();
    setNewCurrentModuleWidget(guarded);
}

void QtAppMainWindow::removeCurrentModuleWidget() {
    if (!m_currentModuleWidget)
        return;
    m_viewerLayout->removeWidget(m_currentModuleWidget);
    m_currentModuleWidget->hide();
    m_currentModuleWidget->setParent(nullptr);
    m_currentModuleWidget = nullptr;
}

void QtAppMainWindow::setNewCurrentModuleWidget(QWidget* widget) {
    if (!widget)
        return;
    m_currentModuleWidget = widget;
    widget->setParent(m_viewerWidget);
    m_viewerLayout->addWidget(widget);
    widget->show();
}

void QtAppMainWindow::takeModuleSelectorOut() {
    if (!m_moduleSelector)
        return;
    if (!m_formerSelectors)
        m_formerSelectors = std::make_unique<QWidget>();
    m_moduleSelector->disconnect(this);
    disconnect(m_moduleSelector);
    m_moduleSelector->hide();
    m_moduleSelector->setParent(m_formerSelectors.get());
    m_moduleSelector->deleteLater();
}

void QtAppMainWindow::setModuleSelector(QtModuleSelector* selector) {
    if (selector == m_moduleSelector)
        return;
    takeModuleSelectorOut();
    m_moduleSelector = selector;
    if (!selector)
        return;
    static constexpr Place places[] = {{1, 0}, {1, 2}, {0, 1}, {2, 1}};
    const int position = selector->getPosition();
    selector->setParent(m_centralWidget);
    selector->setTouchScreenMode(m_touchScreenMode);
    selector->hide();
    if (position < 0 || position > 3)
        return;
    const Place place = places[position];
    m_centralLayout->addWidget(selector, place.row, place.column);
    selector->show();
}
