#include "AppBase/AppBase.h"

#include "AppBase/AppBaseConfig.h"
#include "AppBase/AppBaseImpl.h"
#include "AppBase/AppBaseImplTest.h"
#include "AppBase/QtConfigDialog.h"
#include "AppBase/QtModuleSelector.h"
#include "AppBase/vlrSettingsEditorDialog.h"
#include "Base/QtCaProgressMonitor.h"
#include "Data/DataItem.h"
#include "Data/ProcessData.h"
#include "Gui/GuiTest.h"
#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>
#include <QtCore/QTimer>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QBoxLayout>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QProgressDialog>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSplashScreen>
#include <QtWidgets/QSplitter>
#include <QtWidgets/QTabWidget>

#include <csignal>

using namespace vlrTest;

namespace {

class AppBaseTest : public testing::Test {
protected:
    void SetUp() override {
        // As the application object will name it, so that paths can be told before it exists.
        QCoreApplication::setApplicationName(QStringLiteral("vlrGuiTests"));
    }
    void TearDown() override { DataIOManager::closeRepository(); }

    AppBase& app(bool useConfiguration = true, bool forceSplash = false,
                 AppBaseImpl** impl = nullptr) {
        auto* newImpl =
            impl ? new AppBaseImpl(m_argc, m_argv, useConfiguration, forceSplash) : nullptr;
        if (impl)
            *impl = newImpl;
        m_app = std::make_unique<AppBase>(m_argc, m_argv, newImpl, useConfiguration, forceSplash);
        return *m_app;
    }
    void endApp() { m_app.reset(); }

    // Runs the event loop until `action` has run, then leaves as the user would.
    int runUntil(const std::function<void()>& action = {}) {
        QTimer::singleShot(0, m_app.get(), [this, action] {
            if (action)
                action();
            m_app->exitApplication();
        });
        return m_app->run();
    }

    static QString configuration() {
        return DataIOManager::configurationPath(QStringLiteral("AppBase"));
    }

private:
    int m_argc = 1;
    char m_name[8] = "AppTest";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<AppBase> m_app;
};

template <class T>
void setting(const char* name, const T& value) {
    ASSERT_EQ(
        vlr::Settings::set(QStringLiteral("Velora/Application/") + QLatin1String(name), value),
        CaError::nullError);
}

DataPointer<Patient> makePatient(const char* id, int studies = 0) {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QString::fromLatin1(id));
    for (int i = 0; i < studies; ++i)
        (void)patient->addChild(DataPointer<Study>(new Study), false);
    return patient;
}

QBoxLayout* controlLayout(AppBase& application) {
    return qobject_cast<QBoxLayout*>(
        application.getMainWindow()->findChild<QSplitter*>()->widget(0)->layout());
}

QBoxLayout* contextLayout(AppBase& application) {
    const QBoxLayout* control = controlLayout(application);
    for (int i = 0; i < control->count(); ++i)
        if (auto* layout = qobject_cast<QBoxLayout*>(control->itemAt(i)->layout()))
            return layout;
    return nullptr;
}

QSplashScreen* splash() {
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* screen = qobject_cast<QSplashScreen*>(widget))
            return screen;
    return nullptr;
}

// Everything the application object announces, signals and events, in order.
class Announcements {
public:
    explicit Announcements(AppBase& app) {
        const char* const events[] = {
            AppBase::CURRENT_PATIENT_CHANGED, AppBase::CURRENT_STUDY_CHANGED,
            AppBase::CURRENT_DATA_ITEM_CHANGED, AppBase::TOUCH_SCREEN_MODE_ON};
        for (const char* event : events)
            m_connections.emplace_back(app, event,
                                       [this](CaSubject*, void*, const char* name, void* data) {
                                           EXPECT_EQ(data, nullptr);
                                           list << QString::fromLatin1(name).mid(9);
                                       });
        const auto record = [this, &app](void (AppBase::*signal)(), const char* name) {
            QObject::connect(&app, signal, &m_context,
                             [this, name] { list << QString::fromLatin1(name); });
        };
        record(&AppBase::currentPatientChanged, "patient");
        record(&AppBase::currentStudyChanged, "study");
        record(&AppBase::currentDataItemChanged, "item");
        record(&AppBase::touchScreenModeOn, "on");
        record(&AppBase::touchScreenModeOff, "off");
    }

    QString take() {
        const QString text = list.join(QLatin1Char(' '));
        list.clear();
        return text;
    }

    QStringList list;

private:
    std::vector<CaConnection> m_connections;
    QObject m_context;
};

class RecordingSelector : public QtModuleSelector {
public:
    RecordingSelector() : QtModuleSelector(Top) {}
    void addModule(QString name, int) override { calls << QStringLiteral("add ") + name; }
    void moduleActivated(QString name, int) override { calls << QStringLiteral("on ") + name; }
    void moduleDeactivated(QString name, int) override { calls << QStringLiteral("off ") + name; }
    void moduleDisabled(QString name, int) override { calls << QStringLiteral("dis ") + name; }
    void moduleEnabled(QString name, int) override { calls << QStringLiteral("en ") + name; }
    QStringList calls;
};

} // namespace

// --- current items

TEST_F(AppBaseTest, ThePatientBringsStudyAndDataItemAlongWithBothKindsOfAnnouncement) {
    Announcements announced(app());
    const auto patient = makePatient("1", 2);
    const DataPointer<Data> item(new ProcessData);
    ASSERT_EQ(patient->child(1)->addChild(item, false), CaError::nullError);

    AppBase::setCurrentPatient(patient);
    EXPECT_EQ(announced.take(),
              QStringLiteral("CURRENT_PATIENT_CHANGED patient CURRENT_STUDY_CHANGED study "
                             "CURRENT_DATA_ITEM_CHANGED item"));
    EXPECT_EQ(AppBase::getCurrentStudy().get(), patient->child(0).get());
    // The item is looked for below the patient, not below the study.
    EXPECT_EQ(AppBase::getCurrentDataItem(), item);

    AppBase::setCurrentPatient(patient);
    EXPECT_EQ(announced.take(), QString());
    AppBase::setCurrentStudy(dataCast<Study>(patient->child(1)));
    EXPECT_EQ(announced.take(), QStringLiteral("CURRENT_STUDY_CHANGED study"));
    AppBase::setCurrentPatient(nullptr);
    EXPECT_EQ(announced.take(), QStringLiteral("CURRENT_PATIENT_CHANGED patient"));
    EXPECT_EQ(AppBase::getCurrentStudy().get(), patient->child(1).get());
    AppBase::setCurrentStudy(nullptr);
    EXPECT_EQ(announced.take(), QStringLiteral("CURRENT_STUDY_CHANGED study"));
    EXPECT_EQ(AppBase::getCurrentDataItem(), item);

    AppBase::setCurrentPatient(patient);
    announced.take();
    AppBase::setCurrentPatient(makePatient("2"));
    EXPECT_EQ(announced.take(),
              QStringLiteral("CURRENT_PATIENT_CHANGED patient CURRENT_STUDY_CHANGED study "
                             "CURRENT_DATA_ITEM_CHANGED item"));
    EXPECT_FALSE(AppBase::getCurrentStudy());
    EXPECT_FALSE(AppBase::getCurrentDataItem());
    AppBase::setCurrentDataItem(item);
    EXPECT_EQ(announced.take(), QStringLiteral("CURRENT_DATA_ITEM_CHANGED item"));
}

TEST_F(AppBaseTest, WithoutTheObjectTheAccessorsAreEmpty) {
    app();
    endApp();
    EXPECT_EQ(AppBase::instance(), nullptr);
    AppBase::setCurrentPatient(makePatient("1"));
    EXPECT_FALSE(AppBase::getCurrentPatient());
    AppBase::setBusyCursor();
    AppBase::resetCursor();
}

TEST_F(AppBaseTest, ACurrentItemThatIsReleasedTooOftenIsReportedAndForgotten) {
    app();
    DataPointer<Data> item(new DataItem);
    Data* const address = item.get();
    AppBase::setCurrentDataItem(item);
    testing::internal::CaptureStdout();
    item.forget(); // Gives up the test's reference without counting it ...
    address->unref();
    address->unref(); // ... and releases it and one more.
    char text[32];
    std::snprintf(text, sizeof text, "address 0x%llx was",
                  static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(address)));
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_NE(output.find(text), std::string::npos) << output;
    EXPECT_NE(output.find("just deleted. This must not happen if the referece counting mechanism "
                          "is used correctly. \nTry to find double-unref's or even better use "
                          "DataPointer<> for all your data item handling.\n"),
              std::string::npos)
        << output;
    EXPECT_FALSE(AppBase::getCurrentDataItem());
}

// --- touch-screen mode

TEST_F(AppBaseTest, TouchScreenModeIsAsymmetric) {
    AppBase& application = app();
    Announcements announced(application);
    EXPECT_STREQ(AppBase::CURRENT_PATIENT_CHANGED, "AppBase::CURRENT_PATIENT_CHANGED");
    EXPECT_STREQ(AppBase::CURRENT_STUDY_CHANGED, "AppBase::CURRENT_STUDY_CHANGED");
    EXPECT_STREQ(AppBase::CURRENT_DATA_ITEM_CHANGED, "AppBase::CURRENT_DATA_ITEM_CHANGED");
    EXPECT_STREQ(AppBase::TOUCH_SCREEN_MODE_ON, "AppBase::TOUCH_SCREEN_MODE_ON");
    EXPECT_STREQ(AppBase::TOUCH_SCREEN_MODE_OFF, "AppBase::TOUCH_SCREEN_MODE_ON");
    const struct {
        bool on;
        const char* expected;
        bool setsIconSize;
    } cases[] = {
        {false, "TOUCH_SCREEN_MODE_ON on", true}, {true, "TOUCH_SCREEN_MODE_ON on", true},
        {true, "TOUCH_SCREEN_MODE_ON on", true},  {false, "TOUCH_SCREEN_MODE_ON off", false},
        {false, "TOUCH_SCREEN_MODE_ON on", true},
    };
    for (const auto& c : cases) {
        application.getMainWindow()->setIconSize(QSize(24, 24));
        application.setTouchScreenModeEnabled(c.on);
        EXPECT_EQ(announced.take().toStdString(), c.expected);
        EXPECT_EQ(application.getMainWindow()->iconSize(),
                  c.setsIconSize ? QSize(100, 100) : QSize(24, 24));
    }
    delete application.getMainWindow();
    application.setTouchScreenModeEnabled(true);
    EXPECT_EQ(announced.take(), QString());
}

// --- running

TEST_F(AppBaseTest, TheShowModeIsASettingOfAnyCase) {
    const struct {
        const char* setting;
        Qt::WindowStates states;
        bool visible;
    } cases[] = {{"normal", Qt::WindowNoState, true},
                 {"Minimized", Qt::WindowMinimized, true},
                 {"MAXIMIZED", Qt::WindowMaximized, true},
                 {"FullScreen", Qt::WindowFullScreen, true},
                 {"tiny", Qt::WindowNoState, false}};
    for (const auto& c : cases) {
        setting("WindowShowMode", QString::fromLatin1(c.setting));
        AppBase& application = app();
        EXPECT_EQ(runUntil([&] {
                      QtAppMainWindow* window = application.getMainWindow();
                      EXPECT_EQ(window->isVisible(), c.visible) << c.setting;
                      EXPECT_EQ(window->windowState() & ~Qt::WindowActive, c.states) << c.setting;
                  }),
                  0);
        endApp();
    }
}

TEST_F(AppBaseTest, TheExitCodeIsZeroWhateverTheLoopSays) {
    AppBase& application = app();
    QTimer::singleShot(0, &application, [] { QCoreApplication::exit(7); });
    EXPECT_EQ(application.run(), 0);
}

TEST_F(AppBaseTest, AnExitAskedForBeforeTheLoopRunsIsNotForgotten) {
    AppBase& application = app();
    application.exitApplication();
    EXPECT_EQ(application.run(), 0);
    EXPECT_TRUE(QFile::exists(configuration()));
}

TEST_F(AppBaseTest, UnixSignalsEndTheLoopInGoodOrder) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        AppBase& application = app();
        const auto patient = makePatient(std::to_string(signal).c_str());
        AppBase::setCurrentPatient(patient);
        QTimer::singleShot(0, &application, [signal] { std::raise(signal); });
        EXPECT_EQ(application.run(), 0);
        EXPECT_TRUE(patient->storageUri().isValid());
        EXPECT_TRUE(QFile::exists(configuration()));
        QFile::remove(configuration());
        endApp();
    }
}

TEST_F(AppBaseTest, TheConfigurationIsFoundAgain) {
    app();
    EXPECT_EQ(QCoreApplication::applicationName(),
              QFileInfo(QCoreApplication::applicationFilePath()).baseName());
    EXPECT_FALSE(QGuiApplication::quitOnLastWindowClosed());
    EXPECT_EQ(runUntil(), 0);
    endApp();
    const QByteArray stored = readFile(configuration());
    for (const char* part : {"AppBaseConfig", "MainWindowConfig", "QuadViewConfig"})
        EXPECT_TRUE(stored.contains(part)) << part;

    QByteArray changed = stored;
    changed.replace("name=\"m_touchScreenModeEnabled\" value=\"0\"",
                    "name=\"m_touchScreenModeEnabled\" value=\"1\"");
    ASSERT_NE(changed, stored);
    writeFile(configuration(), changed);
    AppBase& application = app();
    Announcements announced(application);
    EXPECT_EQ(runUntil(), 0);
    EXPECT_EQ(announced.take(), QStringLiteral("TOUCH_SCREEN_MODE_ON on"));
    application.setTouchScreenModeEnabled(false);
    EXPECT_EQ(announced.take(), QStringLiteral("TOUCH_SCREEN_MODE_ON off"));
    endApp();
    EXPECT_EQ(readFile(configuration()), changed);
}

// The names below are in the files of every installation.
TEST_F(AppBaseTest, AConfigurationWrittenByHandIsUnderstood) {
    const QByteArray document = R"(<?xml version="1.0" encoding="UTF-8"?>
<vlr version="1">
  <data class="Configuration" id="AppBaseConfiguration">
    <data class="AppBaseConfig" id="AppBaseConfiguration">
      <attribute name="m_touchScreenModeEnabled" value="1"/>
      <attribute name="m_showMode" value="0"/>
      <data class="MainWindowConfig" id="MainWindowConfig">
        <attribute name="m_innerLayout" value="3"/>
        <attribute name="m_outerLayout" value="1"/>
        <data class="QuadViewConfig" id="QuadViewConfig">
          <attribute name="Red_1" value="10"/>
          <attribute name="Green_1" value="20"/>
          <attribute name="Blue_1" value="30"/>
          <attribute name="m_holdDownTime" value="77"/>
        </data>
      </data>
    </data>
  </data>
</vlr>
)";
    writeFile(configuration(), document);
    AppBaseImpl* impl = nullptr;
    AppBase& application = app(true, false, &impl);
    EXPECT_TRUE(impl->config()->isTouchScreenModeEnabled());
    EXPECT_EQ(impl->config()->showMode(), AppBaseConfig::Minimized);
    const auto window = impl->config()->mainWindowConfig();
    EXPECT_EQ(window->innerLayoutDirection(), MainWindowConfig::BottomTop);
    EXPECT_EQ(window->outerLayoutDirection(), MainWindowConfig::RightLeft);
    EXPECT_EQ(window->quadViewConfig()->resourceColor(1), QColor(10, 20, 30));
    EXPECT_EQ(window->quadViewConfig()->resourceColor(0), QColor(Qt::yellow));
    EXPECT_EQ(window->quadViewConfig()->holdDownTime(), 77);

    // The inner direction is in force from the start; the show mode is the setting's affair.
    EXPECT_EQ(controlLayout(application)->direction(), QBoxLayout::BottomToTop);
    runUntil([&] { EXPECT_FALSE(application.getMainWindow()->isMinimized()); });
}

TEST_F(AppBaseTest, AChildOfAnotherClassInTheConfigurationGivesTheDefaults) {
    writeFile(configuration(), R"(<vlr version="1">
  <data class="Configuration" id="AppBaseConfiguration">
    <data class="QuadViewConfig" id="AppBaseConfiguration"/>
  </data>
</vlr>)");
    AppBaseImpl* impl = nullptr;
    app(true, false, &impl);
    EXPECT_EQ(impl->config()->id(), QStringLiteral("AppBaseConfiguration"));
    EXPECT_EQ(impl->config()->showMode(), AppBaseConfig::Normal);
}

TEST_F(AppBaseTest, WithoutConfigurationNothingIsReadOrWritten) {
    writeFile(configuration(), "left alone");
    app(false);
    EXPECT_EQ(runUntil(), 0);
    endApp();
    EXPECT_EQ(readFile(configuration()), QByteArray("left alone"));
}

TEST_F(AppBaseTest, AConfigurationThatCannotBeStoredIsLoggedAndTheOldFileStays) {
    writeFile(configuration(),
              readFile([&] {
                  app();
                  EXPECT_EQ(runUntil(), 0);
                  endApp();
                  return configuration();
              }())
                  .replace("m_showMode\" value=\"1\"", "m_showMode\" value=\"9\""));
    const QByteArray before = readFile(configuration());
    app();
    expectLog(vlr::LogLevel::Error, "AppBaseImpl::run(): Could not store configuration. Reason: ");
    {
        const FullDisk fullDisk;
        EXPECT_EQ(runUntil(), 0);
    }
    endApp();
    EXPECT_EQ(readFile(configuration()), before);
}

TEST_F(AppBaseTest, LeavingStoresTheCurrentPatient) {
    app();
    const auto patient = makePatient("42");
    AppBase::setCurrentPatient(patient);
    EXPECT_EQ(runUntil(), 0);
    std::vector<vlr::URI> uris;
    ASSERT_EQ(DataIOManager::patientList(uris), CaError::nullError);
    EXPECT_EQ(uris.size(), 1U);
}

TEST_F(AppBaseTest, AConfigurationChangeAppliesShowModeAndTouchScreenMode) {
    AppBaseImpl* impl = nullptr;
    AppBase& application = app(true, false, &impl);
    Announcements announced(application);
    runUntil([&] {
        announced.take();
        setting("WindowShowMode", QStringLiteral("maximized"));
        impl->config()->setTouchScreenModeEnabled(true);
        impl->config()->notify(Data::CHANGED);
        EXPECT_TRUE(application.getMainWindow()->isMaximized());
        EXPECT_EQ(announced.take(), QStringLiteral("TOUCH_SCREEN_MODE_ON on"));
        impl->config()->setTouchScreenModeEnabled(false);
        impl->config()->notify(Data::CHANGED);
        EXPECT_EQ(announced.take(), QStringLiteral("TOUCH_SCREEN_MODE_ON off"));
    });
}

TEST_F(AppBaseTest, ItCanRunAgain) {
    AppBase& application = app();
    EXPECT_EQ(runUntil(), 0);
    bool ran = false;
    EXPECT_EQ(runUntil([&] { ran = true; }), 0);
    EXPECT_TRUE(ran);
    EXPECT_EQ(AppBase::instance(), &application);
}

TEST_F(AppBaseTest, ASignalThatIsIgnoredStaysIgnored) {
    std::signal(SIGHUP, SIG_IGN);
    app();
    QSignalSpy terminated(qApp, SIGNAL(terminationRequested()));
    std::raise(SIGHUP);
    std::raise(SIGTERM);
    EXPECT_TRUE(terminated.wait(10000));
    EXPECT_EQ(terminated.size(), 1);
    endApp();
    EXPECT_EQ(std::signal(SIGHUP, SIG_DFL), SIG_IGN);
}

TEST_F(AppBaseTest, NothingNeedsTheWindow) {
    AppBase& application = app();
    delete application.getMainWindow();
    EXPECT_EQ(application.getMainWindow(), nullptr);
    application.setApplicationIdentification(QStringLiteral("x"), QIcon(), QStringLiteral("x"));
    application.activateModule(QStringLiteral("x"));
    AppBase::setBusyCursor();
    AppBase::resetCursor();
    RecordingSelector selector;
    application.setModuleSelector(&selector);
    application.exitApplication();
    EXPECT_EQ(application.run(), 0);
}

// --- splash screen

TEST_F(AppBaseTest, TheSplashShowsThePictureAndTheMessagesOfTheSettings) {
    QImage picture(400, 200, QImage::Format_RGB32);
    picture.fill(Qt::white);
    const QString path = testFolder() + QStringLiteral("/splash.png");
    ASSERT_TRUE(picture.save(path));
    setting("ShowSplashScreen", true);
    setting("SplashScreen.ResourcePath", path);
    setting("ShowSplashScreenMessageLocationHorizontal", QStringLiteral("right"));
    setting("ShowSplashScreenMessageLocationVertical", QStringLiteral("top"));
    setting("ShowSplashScreenMessageColor", QStringLiteral("#ff0000"));
    app();
    ASSERT_TRUE(splash());
    EXPECT_EQ(splash()->pixmap().size(), QSize(400, 200));
    const QImage shown = splash()->grab().toImage();
    int topRight = 0;
    int elsewhere = 0;
    for (int y = 0; y < shown.height(); ++y)
        for (int x = 0; x < shown.width(); ++x)
            if (qGreen(shown.pixel(x, y)) < 128)
                ++(x >= 200 && y < 100 ? topRight : elsewhere);
    EXPECT_GT(topRight, 0);
    EXPECT_EQ(elsewhere, 0);
}

TEST_F(AppBaseTest, TheSplashGoesWhenTheWindowComes) {
    setting("ShowSplashScreen", true);
    app();
    ASSERT_TRUE(splash());
    EXPECT_TRUE(splash()->isVisible());
    EXPECT_FALSE(splash()->pixmap().isNull());
    EXPECT_EQ(splash()->message(), QStringLiteral("Initializing..."));
    runUntil([] { EXPECT_TRUE(QTest::qWaitFor([] { return !splash()->isVisible(); }, 10000)); });
}

TEST_F(AppBaseTest, TheSplashHasItsOwnTimeWhenOneIsSet) {
    setting("ShowSplashScreen", true);
    setting("SplashScreen.Timer", 500);
    AppBase& application = app();
    QSignalSpy closed(&application, &AppBase::splashClosed);
    EXPECT_TRUE(closed.wait(10000));
    EXPECT_FALSE(splash()->isVisible());
}

TEST_F(AppBaseTest, ALaunchedSplashNeedsNoSettingAndClosesByItself) {
    AppBase& application = app();
    EXPECT_EQ(splash(), nullptr);
    QSignalSpy closed(&application, &AppBase::splashClosed);
    application.launchSplashScreen();
    ASSERT_TRUE(splash());
    // Showing the window does not end a splash that has a time of its own.
    application.getMainWindow()->show();
    QCoreApplication::processEvents();
    EXPECT_TRUE(splash()->isVisible());
    EXPECT_TRUE(closed.wait(20000));
    EXPECT_FALSE(splash()->isVisible());
}

// --- what the user is told

TEST_F(AppBaseTest, TheUserLevelsPopUpAsMessageBoxesWithoutPrefix) {
    const struct {
        vlr::LogLevel level;
        const char* title;
        QMessageBox::Icon icon;
    } cases[] = {{vlr::LogLevel::UserInfo, "Information", QMessageBox::Information},
                 {vlr::LogLevel::UserWarning, "Warning", QMessageBox::Warning},
                 {vlr::LogLevel::UserError, "Error", QMessageBox::Critical}};
    app();
    for (const auto& c : cases) {
        expectLog(c.level, "No camera.");
        bool shown = false;
        answerNextMessageBox([&](QMessageBox& box) {
            shown = true;
            EXPECT_EQ(box.windowTitle().toStdString(), c.title);
            EXPECT_EQ(box.text(), QStringLiteral("No camera."));
            EXPECT_EQ(box.icon(), c.icon);
            box.accept();
        });
        vlr::Log::getInstance(c.level, "file", 1) << "No camera.";
        EXPECT_TRUE(shown) << c.title;
    }
    endApp();
    // Without the application the levels have their default output back.
    EXPECT_EQ(vlr::Log::oStream(vlr::LogLevel::UserError), nullptr);
}

TEST_F(AppBaseTest, LongOperationsShowTheirProgressOverTheWindow) {
    setting("ProgressBarFlushX", true);
    AppBase& application = app();
    EXPECT_TRUE(QtCaProgressMonitor::isFlushX());
    EXPECT_FALSE(QtCaProgressMonitor::isSyncX());
    CaProgressMonitor::getInstance()->start("Working ", 10, true, true, 1);
    const auto* dialog = application.getMainWindow()->findChild<QProgressDialog*>();
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->maximum(), 10);
    CaProgressMonitor::getInstance()->end();
}

TEST_F(AppBaseTest, TheConfigurationDialogIsOpenedByTheWindow) {
    for (const bool useConfiguration : {true, false}) {
        AppBase& application = app(useConfiguration);
        application.addModule(new RecordingModule(QStringLiteral("Plan")));
        int tabs = -1;
        inNextDialog<QtConfigDialog>([&](QtConfigDialog& dialog) {
            tabs = dialog.findChild<QTabWidget*>()->count();
            QTest::keyClick(&dialog, Qt::Key_Escape);
        });
        EXPECT_TRUE(application.getMainWindow()->isRequestAnswered(SIGNAL(configRequest())));
        emit application.getMainWindow()->configRequest();
        EXPECT_EQ(tabs, 2);
        endApp();
    }
}

TEST_F(AppBaseTest, TheSettingsEditorIsOpenedByTheWindowAndByTheSystemConfigurationRequest) {
    AppBase& application = app();
    const std::function<void()> ways[] = {
        [&] { emit application.getMainWindow()->configFileEditorRequest(); },
        [&] { application.requestSystemConfig(); }};
    for (const auto& open : ways) {
        int opened = 0;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] {
            if (auto* dialog =
                    qobject_cast<vlr::SettingsEditorDialog*>(QApplication::activeModalWidget())) {
                ++opened;
                dialog->reject();
            }
        });
        timer.start(1);
        testing::internal::CaptureStdout();
        open();
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "AppBaseImpl::showConfigFileEditorDialog\n");
        EXPECT_EQ(opened, 1);
    }
}

// --- modules

TEST_F(AppBaseTest, ModulesAreRegisteredActivatedAndStored) {
    QStringList calls;
    AppBase& application = app(true, true);
    EXPECT_FALSE(application.addModule(nullptr));
    auto* first = new RecordingModule(QStringLiteral("first"), &calls);
    EXPECT_TRUE(application.addModule(first));
    EXPECT_TRUE(first->isActive());
    EXPECT_EQ(splash()->message(), QStringLiteral("Loading module: first..."));
    EXPECT_TRUE(application.addModule(new RecordingModule(QStringLiteral("second"), &calls)));
    QSignalSpy activated(application.getMainWindow(), &QtAppMainWindow::moduleActivated);
    application.activateModule(QStringLiteral("second"));
    EXPECT_EQ(activated.size(), 1);
    EXPECT_FALSE(first->isActive());
    first->setConfiguration(new Configuration);
    EXPECT_EQ(runUntil(), 0);
    const QString file =
        DataIOManager::configurationPath(QStringLiteral("firstModuleConfiguration"));
    EXPECT_FALSE(QFile::exists(file));
    endApp();
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_TRUE(calls.contains(QStringLiteral("second deactivate")));

    AppBase& again = app();
    delete again.getMainWindow();
    RecordingModule late(QStringLiteral("late"));
    EXPECT_FALSE(again.addModule(&late));
}

TEST_F(AppBaseTest, ASelectorThatComesLateIsCaughtUpAndHearsEverythingOnce) {
    AppBase& application = app();
    for (const char* name : {"a", "b"})
        application.addModule(new RecordingModule(QString::fromLatin1(name)));
    auto* first = new RecordingSelector;
    application.setModuleSelector(first);
    emit first->disableModule(1);
    auto* selector = new RecordingSelector;
    for (int i = 0; i < 2; ++i) {
        selector->calls.clear();
        application.setModuleSelector(selector);
        EXPECT_EQ(selector->calls.join(QStringLiteral(", ")),
                  QStringLiteral("add a, add b, dis b, on a"));
    }
    selector->calls.clear();
    emit selector->activateModule(1);
    EXPECT_EQ(selector->calls.join(QStringLiteral(", ")), QStringLiteral("off a, on b"));
}

TEST_F(AppBaseTest, ASelectorFollowsTheListAndAsksIt) {
    AppBase& application = app();
    application.setModuleSelector(nullptr);
    auto* selector = new RecordingSelector;
    application.setModuleSelector(selector);
    EXPECT_EQ(selector->parentWidget(), application.getMainWindow()->centralWidget());
    for (const char* name : {"a", "b", "c"})
        application.addModule(new RecordingModule(QString::fromLatin1(name)));
    const auto take = [&] {
        const QString text = selector->calls.join(QStringLiteral(", "));
        selector->calls.clear();
        return text.toStdString();
    };
    EXPECT_EQ(take(), "add a, on a, add b, add c");
    emit selector->activateModule(QStringLiteral("b"));
    EXPECT_EQ(take(), "off a, on b");
    emit selector->activateModule(2);
    EXPECT_EQ(take(), "off b, on c");
    emit selector->previousModule();
    EXPECT_EQ(take(), "off c, on b");
    emit selector->nextModule();
    EXPECT_EQ(take(), "off b, on c");
    emit selector->disableModule(QStringLiteral("a"));
    emit selector->disableModule(1);
    emit selector->enableModule(QStringLiteral("b"));
    emit selector->enableModule(0);
    EXPECT_EQ(take(), "dis a, dis b, en b, en a");
    emit selector->deactivateAllModules();
    EXPECT_EQ(take(), "off a, off b, off c");
}

// --- patients

TEST_F(AppBaseTest, AnExitThatLosesChangesSaysSo) {
    for (const bool isChanged : {false, true}) {
        AppBase& application = app();
        const auto patient = makePatient(isChanged ? "1" : "2");
        ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
        AppBase::setCurrentPatient(patient);
        DataPointer<Patient> other;
        ASSERT_EQ(DataIOManager::loadPatient(patient->storageUri(), other), CaError::nullError);
        other->setName(QStringLiteral("by another workstation"));
        ASSERT_EQ(DataIOManager::storePatient(other), CaError::nullError);
        bool isTold = false;
        if (isChanged) {
            patient->setName(QStringLiteral("Mine"));
            expectLog(vlr::LogLevel::Error, "Could not store the current patient. Reason: ");
            expectLog(vlr::LogLevel::UserError, "could not be stored and are lost");
            answerNextMessageBox([&](QMessageBox& box) {
                isTold = true;
                box.accept();
            });
        }
        QTimer::singleShot(0, &application, [&] { application.exitApplication(); });
        EXPECT_EQ(application.run(), 0);
        EXPECT_EQ(isTold, isChanged);
        endApp();
    }
}

TEST_F(AppBaseTest, ThePatientListComesWithReferencesAndStopsAtTheFirstError) {
    app();
    for (const char* id : {"1", "2"})
        ASSERT_EQ(DataIOManager::storePatient(makePatient(id)), CaError::nullError);
    std::vector<Patient*> patients;
    ASSERT_EQ(AppBase::getPatientList(patients), CaError::nullError);
    ASSERT_EQ(patients.size(), 2U);
    EXPECT_EQ(patients[1]->patientId(), QStringLiteral("2"));
    for (Patient* patient : patients)
        patient->unref();

    // A patient whose document is damaged ends the list; those before it stay.
    {
        QSqlDatabase database =
            QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), QStringLiteral("damage"));
        database.setDatabaseName(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                                 QStringLiteral("/patients.sqlite"));
        ASSERT_TRUE(database.open());
        QSqlQuery query(database);
        ASSERT_TRUE(query.exec(QStringLiteral("UPDATE document SET content = 'damaged' WHERE uid = "
                                              "(SELECT uid FROM patient WHERE patient_id = '2')")));
    }
    QSqlDatabase::removeDatabase(QStringLiteral("damage"));
    patients.clear();
    expectLog(vlr::LogLevel::UserError, "Can't load Patient. reason: ");
    answerNextMessageBox([](QMessageBox& box) { box.accept(); });
    EXPECT_NE(AppBase::getPatientList(patients), CaError::nullError);
    ASSERT_EQ(patients.size(), 1U);
    patients[0]->unref();

    setting("PatientRepository", QStringLiteral("nowhere:"));
    patients.clear();
    expectLog(vlr::LogLevel::UserError, "Patient list is empty. Reason: ");
    answerNextMessageBox([](QMessageBox& box) { box.accept(); });
    EXPECT_NE(AppBase::getPatientList(patients), CaError::nullError);
    EXPECT_TRUE(patients.empty());
}

// --- the window

TEST_F(AppBaseTest, TheIdentificationReachesWindowAndApplication) {
    AppBase& application = app();
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::red);
    const QIcon icon(pixmap);
    application.setApplicationIdentification(QStringLiteral("Title"), icon,
                                             QStringLiteral("Icon text"));
    QtAppMainWindow* window = application.getMainWindow();
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Title"));
    EXPECT_EQ(window->windowIcon().cacheKey(), icon.cacheKey());
    EXPECT_EQ(QApplication::windowIcon().cacheKey(), icon.cacheKey());
    EXPECT_EQ(window->windowIconText(), QStringLiteral("Icon text"));

    AppBase::setBusyCursor();
    EXPECT_EQ(window->cursor().shape(), Qt::WaitCursor);
    AppBase::resetCursor();
    EXPECT_EQ(window->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(AppBaseTest, TheWindowsExitRequestLeavesTheApplication) {
    setting("ExitWithoutRequest", true);
    AppBase& application = app();
    QTimer::singleShot(0, &application, [&] { application.getMainWindow()->close(); });
    EXPECT_EQ(application.run(), 0);
}

TEST_F(AppBaseTest, TheTestWidgetDrivesTheWindow) {
    AppBase& application = app();
    AppBaseImplTest widget;
    QStringList labels;
    QStringList directions;
    for (auto* button : widget.findChildren<QPushButton*>()) {
        labels << button->text();
        button->click();
        directions << QString::number(contextLayout(application)->direction());
    }
    // The main direction is fixed; the secondary one follows the button.
    EXPECT_EQ(directions.join(QLatin1Char(' ')), QStringLiteral("%1 %1 %1 %1 %1 %2 %3 %4")
                                                     .arg(QBoxLayout::TopToBottom)
                                                     .arg(QBoxLayout::BottomToTop)
                                                     .arg(QBoxLayout::LeftToRight)
                                                     .arg(QBoxLayout::RightToLeft));
    EXPECT_EQ(labels.join(QLatin1Char('|')),
              QStringLiteral("Main TopBottom|Main BottomTop|Main LeftRight|Main RightLeft|"
                             "Secondary TopBottom|Secondary BottomTop|Secondary LeftRight|"
                             "Secondary RightLeft"));
    QSignalSpy on(&application, &AppBase::touchScreenModeOn);
    QSignalSpy off(&application, &AppBase::touchScreenModeOff);
    widget.findChild<QCheckBox*>()->setChecked(true);
    widget.findChild<QCheckBox*>()->setChecked(false);
    EXPECT_EQ(on.size(), 1);
    EXPECT_EQ(off.size(), 1);
}
