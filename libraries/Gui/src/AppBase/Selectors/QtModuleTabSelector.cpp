#include "AppBase/Selectors/QtModuleTabSelector.h"

#include "AppBase/Selectors/ModuleRequests.h"
#include "AppBase/Selectors/QtMyTabBar.h"
#include "Base/Icons.h"

#include <QtCore/QPointer>
#include <QtCore/QScopedValueRollback>
#include <QtGui/QPainter>
#include <QtGui/QPixmap>
#include <QtWidgets/QVBoxLayout>

#include <algorithm>

namespace {

QTabBar::Shape tabShape(QtModuleSelector::Position position) {
    switch (position) {
    case QtModuleSelector::Left:
        return QTabBar::RoundedWest;
    case QtModuleSelector::Right:
        return QTabBar::RoundedEast;
    case QtModuleSelector::Bottom:
        return QTabBar::RoundedSouth;
    case QtModuleSelector::Top:
        break;
    }
    return QTabBar::RoundedNorth;
}

constexpr int iconSize = 24;

} // namespace

QtModuleTabSelector::QtModuleTabSelector(QtModuleSelector::Position position, bool screenshot,
                                         bool config, bool configFileEditor, bool exit)
    : QtModuleSelector(position), m_bar(new QtMyTabBar(this)) {
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_bar);
    setFocusProxy(m_bar);
    m_bar->setShape(tabShape(position));
    m_bar->setIconSize(QSize(iconSize, iconSize));
    connect(m_bar, SIGNAL(currentChangedSGN(int)), this, SLOT(currentTabChanged(int)));
    connect(m_bar, SIGNAL(toolButtonClickedSGN(int)), this, SLOT(toolButtonClickedSL(int)));

    const std::array<bool, moduleRequestCount> wanted{screenshot, config, configFileEditor, exit};
    for (int i = 0; i < moduleRequestCount; ++i) {
        const auto slot = static_cast<std::size_t>(i);
        if (!wanted[slot])
            continue;
        const QIcon icon = vlr::icon(QString::fromLatin1(moduleRequest(i).iconName));
        // Without a text beside it, the style leaves the icon a little high.
        m_toolIds[slot] =
            m_bar->addToolButton(createOffsetIcon(icon, 0, 1), QString(), moduleRequestToolTip(i));
        connectModuleRequest(this, i);
    }
    followModuleRequests(this, SLOT(updateToolTabs()));
    updateToolTabs();
}

QtModuleTabSelector::~QtModuleTabSelector() = default;

void QtModuleTabSelector::setTouchScreenMode(bool on) {
    if (on == isTouchScreenMode())
        return;
    QtModuleSelector::setTouchScreenMode(on);
    m_bar->setTouchScreenMode(on);
}

void QtModuleTabSelector::updateToolTabs() {
    for (int i = 0; i < moduleRequestCount; ++i)
        m_bar->setToolButtonEnabled(m_toolIds[static_cast<std::size_t>(i)],
                                    isModuleRequestAnswered(i));
}

QIcon QtModuleTabSelector::createOffsetIcon(const QIcon& icon, int dx, int dy) const {
    const qreal ratio = devicePixelRatioF();
    QIcon result;
    for (const QIcon::Mode mode : {QIcon::Normal, QIcon::Disabled}) {
        QPixmap pixmap(QSize(iconSize, iconSize) * ratio);
        pixmap.setDevicePixelRatio(ratio);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        icon.paint(&painter, QRect(dx, dy, iconSize, iconSize), Qt::AlignCenter, mode);
        painter.end();
        result.addPixmap(pixmap, mode);
    }
    return result;
}

void QtModuleTabSelector::addModule(QString name, int index) {
    // The list may describe itself more than once.
    if (std::find(m_moduleOfTab.begin(), m_moduleOfTab.end(), index) != m_moduleOfTab.end())
        return;
    m_moduleOfTab.push_back(index);
    m_bar->addTab(name);
}

void QtModuleTabSelector::moduleActivated(QString, int index) {
    const auto tab = std::find(m_moduleOfTab.begin(), m_moduleOfTab.end(), index);
    if (tab == m_moduleOfTab.end())
        return;
    m_currentTab = static_cast<int>(tab - m_moduleOfTab.begin());
    showCurrentModule();
}

void QtModuleTabSelector::showCurrentModule() {
    const QScopedValueRollback<bool> following(m_following, true);
    m_bar->setCurrentIndex(m_currentTab);
}

void QtModuleTabSelector::currentTabChanged(int tab) {
    if (m_following || tab < 0 || tab >= static_cast<int>(m_moduleOfTab.size()))
        return;
    const QPointer<QtModuleTabSelector> self = this;
    emit activateModule(m_moduleOfTab[static_cast<std::size_t>(tab)]);
    if (self)
        showCurrentModule();
}

void QtModuleTabSelector::toolButtonClickedSL(int id) {
    const auto slot = std::find(m_toolIds.begin(), m_toolIds.end(), id);
    if (id < 0 || slot == m_toolIds.end())
        return;
    switch (slot - m_toolIds.begin()) {
    case 0:
        emit screenShotRequestSGN();
        break;
    case 1:
        emit configRequestSGN();
        break;
    case 2:
        emit configFileEditorRequestSGN();
        break;
    default:
        emit exitRequestSGN();
    }
}
