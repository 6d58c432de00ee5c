#pragma once

#include "AppBase/ApplicationServices.h"
#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "Data/Patient.h"
#include "Support/MessageBoxes.h"
#include "Support/TestEnvironment.h"

#include <QtCore/QPointer>
#include <QtCore/QStringList>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace vlrTest {

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

/// Counts how often a widget and what is in it now are painted, and how often they are resized.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget& widget);
    bool eventFilter(QObject* watched, QEvent* event) override;

    int paints = 0;
    int resizes = 0;
};

/// Stands for the running application and counts what it is asked for.
class FakeServices : public ApplicationServices {
public:
    QtAppMainWindow* getMainWindow() const override { return window; }
    DataPointer<Patient> currentPatient() const override { return {}; }
    void setBusyCursor() override { calls << QStringLiteral("busy"); }
    void resetCursor() override { calls << QStringLiteral("reset"); }

    QPointer<QtAppMainWindow> window;
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

} // namespace vlrTest
