#pragma once

#include "AppBase/MainWindowServices.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "Data/Patient.h"
#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"
#include "Support/MessageBoxes.h"
#include "Support/TestEnvironment.h"

#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QToolButton>

#include <functional>
#include <gmock/gmock.h>
#include <memory>

namespace vlrTest {

inline QString operator""_s(const char* utf8, std::size_t size) {
    return QString::fromUtf8(utf8, static_cast<int>(size));
}

/// Stores the application's setting of the name.
template <class T>
void setting(const char* name, const T& value) {
    ASSERT_EQ(vlr::Settings::set("Velora/Application/"_s + QLatin1String(name), value),
              CaError::nullError);
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
    int m_argc = 1;
    char m_name[8] = "GuiTest";
    char* m_argv[2] = {m_name, nullptr};
    QApplication m_application;
};

/// Counts how often a widget and what is in it now are painted.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget& widget);
    bool eventFilter(QObject* watched, QEvent* event) override;

    int paints = 0;
};

/// Stands for the running application and counts what it is asked for.
class FakeServices : public vlr::MainWindowServices {
public:
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
class WindowTest : public GuiTest {
protected:
    WindowTest() { services.window = window.get(); }

    FakeServices services;
    std::unique_ptr<QtAppMainWindow> window =
        std::make_unique<QtAppMainWindow>(nullptr, nullptr, Qt::Window);
    QStringList calls;
};

} // namespace vlrTest
