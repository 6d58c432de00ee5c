#include "AppBase/Selectors/QtMyTabBar.h"

#include "AppBase/Selectors/ToolTabBar.h"
#include "Base/PlainText.h"

#include <QtCore/QSignalBlocker>
#include <QtWidgets/QGridLayout>

namespace {

// What Qt shows as it is anyway stays as it was given.
QString tipOf(const QString& text) {
    return vlr::isPlainToolTip(text) ? text : vlr::plainToolTip(text);
}

} // namespace

QtMyTabBar::QtMyTabBar(QWidget* parent) : QWidget(parent), m_bar(new ToolTabBar(this)) {
    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_bar, 0, 0);
    setFocusProxy(m_bar);
    connect(m_bar, SIGNAL(currentChanged(int)), this, SLOT(currentChangedSL(int)));
    connect(m_bar, &ToolTabBar::toolTriggered, this,
            [this](int tab) { emit toolButtonClickedSGN(tab - m_moduleTabs); });
}

int QtMyTabBar::addTab(const QString& text) {
    return addTab(QIcon(), text);
}

int QtMyTabBar::addTab(const QIcon& icon, const QString& text) {
    // A new tab is not a choice of the user's.
    const QSignalBlocker blocker(m_bar);
    const int index = m_moduleTabs++;
    m_bar->setModuleTabs(m_moduleTabs);
    // A tab takes "&" for a mnemonic.
    QString label = text;
    m_bar->insertTab(index, icon, label.replace(QLatin1Char('&'), QStringLiteral("&&")));
    m_bar->setTabToolTip(index, tipOf(text));
    if (m_lastModuleTab < 0)
        m_lastModuleTab = 0;
    m_bar->setCurrentIndex(m_lastModuleTab);
    return index;
}

int QtMyTabBar::addToolButton(const QIcon& icon, const QString& text, const QString& toolTip) {
    const QSignalBlocker blocker(m_bar);
    const int tab = m_bar->addTab(icon, text);
    m_bar->setTabToolTip(tab, tipOf(toolTip));
    m_bar->setAccessibleTabName(tab, toolTip);
    return tab - m_moduleTabs;
}

void QtMyTabBar::setToolButtonEnabled(int id, bool enabled) {
    const QSignalBlocker blocker(m_bar);
    if (id >= 0 && m_moduleTabs + id < m_bar->count())
        m_bar->setTabEnabled(m_moduleTabs + id, enabled);
    selectLastModuleTab();
}

int QtMyTabBar::count() const {
    return m_moduleTabs;
}

int QtMyTabBar::currentIndex() const {
    return m_moduleTabs > 0 ? m_lastModuleTab : -1;
}

void QtMyTabBar::setCurrentIndex(int index) {
    if (index >= 0 && index < m_moduleTabs)
        m_bar->setCurrentIndex(index);
}

void QtMyTabBar::setIconSize(const QSize& size) {
    m_bar->setIconSize(size);
}

void QtMyTabBar::setTouchScreenMode(bool on) {
    m_bar->setTouchScreenMode(on);
}

void QtMyTabBar::setShape(QTabBar::Shape shape) {
    m_bar->setShape(shape);
    const bool vertical = shape == QTabBar::RoundedWest || shape == QTabBar::RoundedEast ||
                          shape == QTabBar::TriangularWest || shape == QTabBar::TriangularEast;
    m_bar->setSizePolicy(vertical ? QSizePolicy::Fixed : QSizePolicy::Preferred,
                         vertical ? QSizePolicy::Preferred : QSizePolicy::Fixed);
}

void QtMyTabBar::selectLastModuleTab() {
    const QSignalBlocker blocker(m_bar);
    if (m_lastModuleTab >= 0)
        m_bar->setCurrentIndex(m_lastModuleTab);
}

void QtMyTabBar::currentChangedSL(int index) {
    if (index == -1) {
        m_lastModuleTab = -1;
    } else if (index >= m_moduleTabs) {
        selectLastModuleTab();
        emit toolButtonClickedSGN(index - m_moduleTabs);
    } else {
        // First: who is told may ask for currentIndex(), choose another tab or add one, which
        // all go by what is remembered.
        m_lastModuleTab = index;
        emit currentChangedSGN(index);
    }
}
