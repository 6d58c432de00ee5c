#pragma once

#include "AppBase/MainWindowServices.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "Base/QtMessageLine.h"
#include "Data/Study.h"
#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"
#include "Support/CommandLine.h"
#include "Support/Hand.h"
#include "Support/MessageBoxes.h"
#include "Support/Patients.h"
#include "Support/TestEnvironment.h"

#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QStackedWidget>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QToolButton>

#include <memory>

namespace vlrTest {

inline QString operator""_s(const char* utf8, std::size_t size) {
    return QString::fromUtf8(utf8, static_cast<int>(size));
}
inline QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

/// The key of a setting of the application.
inline QString known(const char* name) {
    return "Velora/Application/"_s + text(name);
}

/// Stores the application's setting of the name.
template <class T>
void setting(const char* name, const T& value) {
    ASSERT_EQ(vlr::Settings::set(known(name), value), CaError::nullError);
}

/// Shows the widget as the one that the keyboard goes to.
void showActive(QWidget& widget);

/// The main window's layouts of the control area and, within it, of the context area.
QBoxLayout* controlLayout(const QtAppMainWindow& window);
QBoxLayout* contextLayout(const QtAppMainWindow& window);

/// Hands out what was recorded since the last call.
std::string take(QStringList& list, const char* separator = ", ");

/// A test that needs a QApplication but no AppBase.
class GuiTest : public testing::Test {
protected:
    GuiTest();

private:
    CommandLine m_line;
    QApplication m_application;
};

/// Counts how often a widget and what is in it now are painted.
struct PaintCounter : QObject {
    explicit PaintCounter(QWidget& widget);
    bool eventFilter(QObject* watched, QEvent* event) override;

    int paints = 0;
};

/// Stands for the running application and counts what it is asked for.
struct FakeServices : vlr::MainWindowServices {
    QtAppMainWindow* getMainWindow() const override { return window; }
    DataPointer<Patient> currentPatient() const override { return patient; }
    void setBusyCursor() override { calls << "busy"_s; }
    void resetCursor() override { calls << "reset"_s; }

    QPointer<QtAppMainWindow> window;
    DataPointer<Patient> patient;
    QStringList calls;
};

/// A module that writes what happens to it into a common list.
class RecordingModule : public QtAppModule {
public:
    explicit RecordingModule(const QString& name, QStringList* calls = nullptr,
                             bool lockView = false);
    ~RecordingModule() override;

    void activate() override;
    void deactivate() override;
    QWidget* getMainWidget() override;

    QPointer<QWidget> mainWidget;
    std::function<void()> onActivate;
    std::function<void()> onDeactivate;
    std::function<void()> onMainWidget;
    using QtAppModule::impl;

private:
    void record(const char* what);
    QStringList* m_calls;
};

/// A test with a main window that the running application knows.
struct WindowTest : GuiTest {
    WindowTest() { services.window = window.get(); }

    FakeServices services;
    std::unique_ptr<QtAppMainWindow> window =
        std::make_unique<QtAppMainWindow>(nullptr, nullptr, Qt::Window);
    QStringList calls;
};

} // namespace vlrTest
