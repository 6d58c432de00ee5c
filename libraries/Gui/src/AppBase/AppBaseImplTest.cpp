#include "AppBase/AppBaseImplTest.h"

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QVBoxLayout>

namespace {

QtAppMainWindow* mainWindow() {
    return AppBase::instance() ? AppBase::instance()->getMainWindow() : nullptr;
}

} // namespace

AppBaseImplTest::AppBaseImplTest(QWidget* parent) : QWidget(parent) {
    auto* layout = new QVBoxLayout(this);
    const auto addButton = [&](const QString& text, void (AppBaseImplTest::*slot)()) {
        auto* button = new QPushButton(text, this);
        layout->addWidget(button);
        connect(button, &QPushButton::clicked, this, slot);
    };
    addButton(QStringLiteral("Main TopBottom"), &AppBaseImplTest::settb0);
    addButton(QStringLiteral("Main BottomTop"), &AppBaseImplTest::setbt0);
    addButton(QStringLiteral("Main LeftRight"), &AppBaseImplTest::setlr0);
    addButton(QStringLiteral("Main RightLeft"), &AppBaseImplTest::setrl0);
    addButton(QStringLiteral("Secondary TopBottom"), &AppBaseImplTest::settb1);
    addButton(QStringLiteral("Secondary BottomTop"), &AppBaseImplTest::setbt1);
    addButton(QStringLiteral("Secondary LeftRight"), &AppBaseImplTest::setlr1);
    addButton(QStringLiteral("Secondary RightLeft"), &AppBaseImplTest::setrl1);

    auto* touchMode = new QCheckBox(QStringLiteral("TouchScreenMode"), this);
    layout->addWidget(touchMode);
    connect(touchMode, &QCheckBox::toggled, this, &AppBaseImplTest::settm);
    auto* size = new QSpinBox(this);
    size->setRange(0, 4096);
    layout->addWidget(size);
    if (QtAppMainWindow* window = mainWindow())
        connect(size, QOverload<int>::of(&QSpinBox::valueChanged), window,
                &QtAppMainWindow::setControlAreaSize);
}

void AppBaseImplTest::setMain(MainWindowConfig::LayoutDirections direction) {
    if (QtAppMainWindow* window = mainWindow())
        window->setMainLayoutDirection(direction);
}

void AppBaseImplTest::setSecondary(MainWindowConfig::LayoutDirections direction) {
    if (QtAppMainWindow* window = mainWindow())
        window->setSecondaryLayoutDirection(direction, false);
}

void AppBaseImplTest::settb0() {
    setMain(MainWindowConfig::TopBottom);
}
void AppBaseImplTest::setbt0() {
    setMain(MainWindowConfig::BottomTop);
}
void AppBaseImplTest::setlr0() {
    setMain(MainWindowConfig::LeftRight);
}
void AppBaseImplTest::setrl0() {
    setMain(MainWindowConfig::RightLeft);
}
void AppBaseImplTest::settb1() {
    setSecondary(MainWindowConfig::TopBottom);
}
void AppBaseImplTest::setbt1() {
    setSecondary(MainWindowConfig::BottomTop);
}
void AppBaseImplTest::setlr1() {
    setSecondary(MainWindowConfig::LeftRight);
}
void AppBaseImplTest::setrl1() {
    setSecondary(MainWindowConfig::RightLeft);
}

void AppBaseImplTest::settm(bool on) {
    if (AppBase::instance())
        AppBase::instance()->setTouchScreenModeEnabled(on);
}
