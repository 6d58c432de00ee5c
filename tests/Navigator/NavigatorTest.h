#pragma once

#include "AppBase/AppBase.h"
#include "AppBase/QtAppMainWindow.h"
#include "Support/TestEnvironment.h"

#include <QtTest/QTest>

#include <gtest/gtest.h>
#include <memory>

namespace vlrTest {

/// A test that runs modules inside an application.
class NavigatorTest : public testing::Test {
protected:
    NavigatorTest();

    /// Ends the application, which stores the configurations, and makes the next one.
    void restart();
    /// Adds the module and shows the window.
    void show(QtAppModule* module);
    QtAppMainWindow* window() const { return application->getMainWindow(); }
    template <class Widget>
    Widget* find(const char* name) const {
        return window()->findChild<Widget*>(QString::fromLatin1(name));
    }

    std::unique_ptr<AppBase> application;

private:
    int m_argc = 1;
    char m_name[10] = "Navigator";
    char* m_argv[2] = {m_name, nullptr};
};

constexpr int patience = 60000;

/// Stores a patient under the id, as another workstation would.
DataPointer<Patient> storePatient(const char* id, const char* name = "Somebody");

} // namespace vlrTest
