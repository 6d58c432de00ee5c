#pragma once

#include "AppBase/AppBase.h"
#include "AppBase/AppBaseConfig.h"
#include "AppBase/AppBaseImpl.h"
#include "Gui/GuiTest.h"

#include <QtCore/QTimer>
#include <QtWidgets/QSplashScreen>

namespace vlrTest {

/// A test that makes the whole application.
class AppBaseTest : public testing::Test {
protected:
    void SetUp() override {
        // As the application object will name it, so that paths can be told before it exists.
        QCoreApplication::setApplicationName("vlrGuiTests"_s);
    }
    void TearDown() override { DataIOManager::closeRepository(); }

    AppBase& app(bool useConfiguration = true, bool forceSplash = false) {
        impl = new AppBaseImpl(m_line.count, m_line.words, useConfiguration, forceSplash);
        m_app = std::make_unique<AppBase>(m_line.count, m_line.words, impl, useConfiguration,
                                          forceSplash);
        return *m_app;
    }
    void endApp() { m_app.reset(); }

    /// Runs the event loop until `action` has run, then leaves as the user would.
    int runUntil(const std::function<void()>& action = {}) {
        QTimer::singleShot(0, m_app.get(), [this, action] {
            if (action)
                action();
            m_app->exitApplication();
        });
        return m_app->run();
    }

    static QString configuration() { return DataIOManager::configurationPath("AppBase"_s); }

    AppBaseImpl* impl = nullptr;

private:
    CommandLine m_line;
    std::unique_ptr<AppBase> m_app;
};

inline QSplashScreen* splash() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* screen = qobject_cast<QSplashScreen*>(widget))
            return screen;
    return nullptr;
}

/// Everything the application object announces, signals and events, in order.
class Announcements {
public:
    explicit Announcements(AppBase& app) {
        follow(app, AppBase::CURRENT_PATIENT_CHANGED, &AppBase::currentPatientChanged, "patient");
        follow(app, AppBase::CURRENT_STUDY_CHANGED, &AppBase::currentStudyChanged, "study");
        follow(app, AppBase::CURRENT_DATA_ITEM_CHANGED, &AppBase::currentDataItemChanged, "item");
        follow(app, AppBase::TOUCH_SCREEN_MODE_ON, &AppBase::touchScreenModeOn, "on");
        follow(app, nullptr, &AppBase::touchScreenModeOff, "off");
    }

    void follow(AppBase& app, const char* event, void (AppBase::*signal)(),
                const char* signalText) {
        const auto record = [this](const char* text) { m_list << QString::fromLatin1(text); };
        QObject::connect(&app, signal, &m_context, [=] { record(signalText); });
        if (event)
            m_connections.emplace_back(app, event, [=](auto*, auto*, const char* name, void* data) {
                EXPECT_EQ(data, nullptr);
                record(name);
            });
    }

    std::string take() { return vlrTest::take(m_list, " "); }

private:
    std::vector<CaConnection> m_connections;
    QStringList m_list;
    QObject m_context;
};

} // namespace vlrTest
