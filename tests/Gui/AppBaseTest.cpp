#include "AppBase/AppBase.h"

#include "AppBase/AppBaseConfig.h"
#include "AppBase/AppBaseImpl.h"
#include "AppBase/AppBaseImplTest.h"
#include "AppBase/QtConfigDialog.h"
#include "AppBase/QtModuleButtonSelector.h"
#include "AppBase/QtModuleTabSelector.h"
#include "AppBase/vlrSettingsEditorDialog.h"
#include "Base/QtCaProgressMonitor.h"
#include "Base/QtMsgBox.h"
#include "Data/DataItem.h"
#include "Data/ProcessData.h"
#include "Gui/GuiTest.h"
#include "IO/RecoveryFile.h"

#include <QtCore/QFileInfo>
#include <QtCore/QStandardPaths>
#include <QtCore/QTimer>
#include <QtGui/QScreen>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>
#include <QtWidgets/QProgressDialog>
#include <QtWidgets/QSplashScreen>
#include <QtWidgets/QTabBar>
#include <QtWidgets/QTabWidget>

#include <csignal>

using namespace vlrTest;
using namespace std::string_literals;
using testing::HasSubstr;

namespace {

class AppBaseTest : public testing::Test {
protected:
    void SetUp() override {
        // As the application object will name it, so that paths can be told before it exists.
        QCoreApplication::setApplicationName("vlrGuiTests"_s);
    }
    void TearDown() override { DataIOManager::closeRepository(); }

    AppBase& app(bool useConfiguration = true, bool forceSplash = false) {
        impl = new AppBaseImpl(m_argc, m_argv, useConfiguration, forceSplash);
        m_app = std::make_unique<AppBase>(m_argc, m_argv, impl, useConfiguration, forceSplash);
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

    static QString configuration() { return DataIOManager::configurationPath("AppBase"_s); }

    AppBaseImpl* impl = nullptr;

private:
    int m_argc = 1;
    char m_name[8] = "AppTest";
    char* m_argv[2] = {m_name, nullptr};
    std::unique_ptr<AppBase> m_app;
};

DataPointer<Patient> makePatient(const char* id, int studies = 0) {
    DataPointer<Patient> patient(new Patient);
    patient->setPatientId(QString::fromLatin1(id));
    for (int i = 0; i < studies; ++i)
        (void)patient->addChild(DataPointer<Study>(new Study), false);
    return patient;
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

// Does as it goes what a context widget, or a picture, may do then.
class Farewell : public QWidget {
public:
    using QWidget::QWidget;
    ~Farewell() override { say(); }
    std::function<void()> say;
};

class RecordingSelector : public QtModuleSelector {
public:
    RecordingSelector() : QtModuleSelector(Top) {}
    void addModule(QString name, int) override { calls << "add "_s + name; }
    void moduleActivated(QString name, int) override { calls << "on "_s + name; }
    void moduleDeactivated(QString name, int) override { calls << "off "_s + name; }
    void moduleDisabled(QString name, int) override { calls << "dis "_s + name; }
    void moduleEnabled(QString name, int) override { calls << "en "_s + name; }
    QStringList calls;
};

} // namespace

// --- current items

TEST_F(AppBaseTest, ThePatientBringsStudyAndDataItemAlongWithBothKindsOfAnnouncement) {
    const std::string patientTexts = "AppBase::CURRENT_PATIENT_CHANGED patient";
    const std::string studyTexts = "AppBase::CURRENT_STUDY_CHANGED study";
    const std::string itemTexts = "AppBase::CURRENT_DATA_ITEM_CHANGED item";
    const std::string all = patientTexts + " " + studyTexts + " " + itemTexts;
    Announcements announced(app());
    const auto patient = makePatient("1", 2);
    const DataPointer<Data> item(new ProcessData);
    ASSERT_EQ(patient->child(1)->addChild(item, false), CaError::nullError);

    AppBase::setCurrentPatient(patient);
    EXPECT_EQ(announced.take(), all);
    EXPECT_EQ(AppBase::getCurrentStudy().get(), patient->child(0).get());
    // The item is looked for below the patient, not below the study.
    EXPECT_EQ(AppBase::getCurrentDataItem(), item);

    AppBase::setCurrentPatient(patient);
    EXPECT_EQ(announced.take(), "");
    AppBase::setCurrentStudy(dataCast<Study>(patient->child(1)));
    EXPECT_EQ(announced.take(), studyTexts);
    AppBase::setCurrentPatient(nullptr);
    EXPECT_EQ(announced.take(), patientTexts);
    EXPECT_EQ(AppBase::getCurrentStudy().get(), patient->child(1).get());
    AppBase::setCurrentStudy(nullptr);
    EXPECT_EQ(announced.take(), studyTexts);
    EXPECT_EQ(AppBase::getCurrentDataItem(), item);

    AppBase::setCurrentPatient(patient);
    announced.take();
    AppBase::setCurrentPatient(makePatient("2"));
    EXPECT_EQ(announced.take(), all);
    EXPECT_FALSE(AppBase::getCurrentStudy());
    EXPECT_FALSE(AppBase::getCurrentDataItem());
    AppBase::setCurrentDataItem(item);
    EXPECT_EQ(announced.take(), itemTexts);
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
    std::ostringstream expected;
    expected
        << "The object at address 0x" << std::hex << reinterpret_cast<std::uintptr_t>(address)
        << " was just deleted. This must not happen if the referece counting mechanism is used "
           "correctly. \nTry to find double-unref's or even better use DataPointer<> for all "
           "your data item handling.\n";
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr(expected.str()));
    EXPECT_FALSE(AppBase::getCurrentDataItem());
}

TEST_F(AppBaseTest, NothingIsUsedWhileItIsDestroyed) {
    setting("ExitWithoutRequest", true);
    setting("ShowSplashScreen", true);
    for (const bool windowAlone : {false, true}) {
        AppBase& application = app();
        // One item in all three places, and observers that know it longer than the application.
        auto patient = makePatient(windowAlone ? "1" : "2");
        int lookups = 0;
        const CaConnection gone(*patient, Data::DELETED, [&](auto&&...) {
            AppBase::setCurrentDataItem(makePatient("3")); // too late
            EXPECT_FALSE(AppBase::getCurrentPatient() || AppBase::getCurrentStudy());
            lookups += AppBase::getCurrentDataItem() ? 0 : 1;
        });
        AppBase::setCurrentPatient(patient);
        AppBase::setCurrentDataItem(patient);
        patient = nullptr;

        auto* const module = new RecordingModule("Plan"_s);
        module->onDeactivate = [] {
            AppBase::instance()->activateModule("Plan"_s);
            EXPECT_TRUE(AppBase::getCurrentPatient());
            EXPECT_TRUE(AppBase::instance()->getMainWindow());
        };
        const auto use = [&] {
            AppBase::instance()->setTouchScreenModeEnabled(true);
            AppBase::setBusyCursor();
            EXPECT_EQ(AppBase::instance()->getMainWindow(), nullptr);
            ++lookups;
        };
        (new Farewell(module->getWidget()))->say = use;
        (new Farewell(splash()))->say = [&] {
            AppBase::instance()->addModule(new RecordingModule("late"_s));
            ++lookups;
        };
        application.addModule(module);
        QTimer::singleShot(0, &application, [&] {
            QTest::mouseClick(application.getMainWindow()->findChild<QToolButton*>("Exit"_s),
                              Qt::LeftButton);
        });
        EXPECT_EQ(application.run(), 0);
        if (windowAlone)
            delete application.getMainWindow();
        endApp();
        EXPECT_EQ(lookups, 3);
    }
}

// --- touch-screen mode

TEST_F(AppBaseTest, TouchScreenModeIsAsymmetric) {
    AppBase& application = app();
    Announcements announced(application);
    // Both modes have the same event; a redundant "off" acts as "on".
    const std::string on = "AppBase::TOUCH_SCREEN_MODE_ON on";
    const std::string off = "AppBase::TOUCH_SCREEN_MODE_ON off";
    const std::pair<bool, std::string> cases[] = {
        {false, on}, {true, on}, {true, on}, {false, off}, {false, on}};
    for (const auto& [mode, expected] : cases) {
        application.getMainWindow()->setIconSize(QSize(24, 24));
        application.setTouchScreenModeEnabled(mode);
        EXPECT_EQ(announced.take(), expected);
        EXPECT_EQ(application.getMainWindow()->iconSize().width(), expected == on ? 100 : 24);
    }
}

// --- running

TEST_F(AppBaseTest, TheShowModeIsASettingOfAnyCase) {
    const std::pair<const char*, Qt::WindowStates> cases[] = {{"normal", Qt::WindowNoState},
                                                              {"Minimized", Qt::WindowMinimized},
                                                              {"MAXIMIZED", Qt::WindowMaximized},
                                                              {"FullScreen", Qt::WindowFullScreen},
                                                              {"tiny", Qt::WindowNoState}};
    for (const auto& [mode, states] : cases) {
        SCOPED_TRACE(mode);
        setting("WindowShowMode", QString::fromLatin1(mode));
        if (mode == "tiny"s)
            expectLog(vlr::LogLevel::Warning, "WindowShowMode\" is \"tiny\"");
        const QtAppMainWindow* const window = app().getMainWindow();
        runUntil([&, mode = mode, expected = states] {
            EXPECT_EQ(window->windowState() & ~Qt::WindowActive, expected);
            EXPECT_EQ(window->isVisible(), mode != "tiny"s) << "an unknown mode shows nothing";
        });
        endApp();
    }
}

TEST_F(AppBaseTest, TheExitCodeIsZeroHoweverTheLoopIsLeft) {
    AppBase& application = app();
    // Asked for before there is a loop, an exit is not forgotten.
    application.exitApplication();
    EXPECT_EQ(application.run(), 0);
    EXPECT_TRUE(QFile::exists(configuration()));
    setting("ExitWithoutRequest", true);
    const std::function<void()> ways[] = {[] { QCoreApplication::exit(7); },
                                          [&] { application.getMainWindow()->close(); }};
    for (const auto& leave : ways) {
        bool ran = false;
        QTimer::singleShot(0, &application, [&] {
            ran = true;
            leave();
        });
        EXPECT_EQ(application.run(), 0);
        EXPECT_TRUE(ran) << "it can run again";
    }
}

TEST_F(AppBaseTest, UnixSignalsEndTheLoopInGoodOrder) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        std::signal(signal, SIG_DFL); // Whoever started this test may have it ignored.
        AppBase& application = app();
        const auto patient = makePatient(std::to_string(signal).c_str());
        AppBase::setCurrentPatient(patient);
        QTimer::singleShot(0, &application, [signal] { std::raise(signal); });
        EXPECT_EQ(application.run(), 0);
        EXPECT_TRUE(patient->storageUri().isValid());
        EXPECT_TRUE(QFile::exists(configuration()));
        QFile::remove(configuration());
        endApp();
        std::signal(signal, SIG_IGN);
        app();
        EXPECT_EQ(std::signal(signal, SIG_IGN), SIG_IGN) << "stays ignored";
        endApp();
    }
}

TEST_F(AppBaseTest, NoBoxOpensOnTheWayOut) {
    expectLog(vlr::LogLevel::UserError, "late");
    expectLog(vlr::LogLevel::UserError, "could not be stored. They are kept in ");
    expectLog(vlr::LogLevel::Error, "Could not store the current patient");
    expectLog(vlr::LogLevel::Warning, "Not shown any more: Save?");
    std::signal(SIGTERM, SIG_DFL);
    AppBase& application = app();
    auto* const module = new RecordingModule("Plan"_s);
    int answer = -1;
    module->onDeactivate = [&] {
        VLR_LOG(UserError) << "late";
        answer = QtMsgBox::postAndWait(nullptr, QtMsgBox::MsgQuestion, "", "Save?");
    };
    application.addModule(module);
    ASSERT_EQ(DataIOManager::storePatient(makePatient("1")), CaError::nullError);
    AppBase::setCurrentPatient(makePatient("1"));
    QTimer::singleShot(0, &application, [&] {
        std::raise(SIGTERM);
        QCoreApplication::processEvents();
        VLR_LOG(UserError) << "late";
    });
    EXPECT_EQ(application.run(), 0);
    endApp();
    EXPECT_EQ(answer, QMessageBox::NoButton);
    EXPECT_EQ(logCount(vlr::LogLevel::UserError, ""), 3);
    EXPECT_EQ(vlr::waitingRecoveries().size(), 1);
}

// Clicks on the buttons of the boxes, one after the other. Enter is no answer to any of them.
void answerBoxes(const std::vector<const char*>& buttons) {
    if (buttons.empty())
        return;
    answerNextMessageBox([buttons](QMessageBox& box) {
        if (*buttons.front())
            QTest::keyClick(&box, Qt::Key_Return);
        const auto name = QString::fromLatin1(buttons.front());
        auto* const button = box.findChild<QPushButton*>(name);
        ASSERT_TRUE(box.isVisible() && button) << box.text().toStdString();
        answerBoxes({buttons.begin() + 1, buttons.end()});
        button->click();
    });
}

TEST_F(AppBaseTest, WhatCouldNotBeStoredIsOfferedAtTheNextStart) {
    const auto patient = makePatient("1");
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    QString file;
    const auto stored = [&] {
        DataPointer<Patient> now;
        EXPECT_EQ(DataIOManager::loadPatient(patient->storageUri(), now), CaError::nullError);
        return now;
    };
    // The boxes come before the window.
    const auto runUntilShown = [this](const std::vector<const char*>& answers) {
        AppBase& application = app();
        answerBoxes(answers);
        QTimer leave;
        QObject::connect(&leave, &QTimer::timeout, [&] {
            if (application.getMainWindow()->isVisible())
                application.exitApplication();
        });
        leave.start(1);
        application.run();
    };
    const auto leaveChange = [&](const char* name) {
        patient->setName(QString::fromLatin1(name));
        ASSERT_EQ(vlr::writeRecovery(patient, file), CaError::nullError);
    };
    const struct {
        std::function<void()> before;
        std::vector<const char*> answers;
        const char* stored;
        int waiting;
    } starts[] = {
        {[&] { leaveChange("mine"); }, {"later"}, "", 1},
        {[&] {
             const auto theirs = stored();
             theirs->setName("theirs"_s);
             EXPECT_EQ(DataIOManager::storePatient(theirs), CaError::nullError);
         },
         {"takeOver", "later"},
         "theirs",
         1},
        {[] {}, {"takeOver", "takeOver"}, "mine", 0},
        {[&] { leaveChange("declined"); }, {"aside"}, "mine", 0},
        {[&] {
             leaveChange("stored in the last moment");
             EXPECT_EQ(DataIOManager::storePatientOverOthers(patient), CaError::nullError);
         },
         {},
         "stored in the last moment",
         0},
    };
    for (const auto& start : starts) {
        SCOPED_TRACE(start.stored);
        start.before();
        runUntilShown(start.answers);
        endApp();
        EXPECT_EQ(stored()->name().toStdString(), start.stored);
        EXPECT_EQ(vlr::waitingRecoveries().size(), start.waiting);
    }
    const QDir folder = QFileInfo(file).dir();
    EXPECT_EQ(folder.entryList({"*.declined-*"_s}).size(), 1) << "nothing is lost";
    expectLog(vlr::LogLevel::UserWarning, "is damaged");
    file = folder.filePath("patients.sqlite.recovery-20200101-000000-01234567"_s);
    writeFile(file, "vlr");
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
    runUntilShown({""}); // The one button of a message.
    EXPECT_EQ(folder.entryList({"*.damaged-*"_s}).size(), 1);
}

// The names below are in the files of every installation.
const QByteArray configurationByHand = R"(<?xml version="1.0" encoding="UTF-8"?>
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

TEST_F(AppBaseTest, AConfigurationWrittenByHandIsUnderstoodAndStoredAgain) {
    writeFile(configuration(), configurationByHand);
    AppBase& application = app();
    Announcements announced(application);
    EXPECT_EQ(impl->config()->showMode(), AppBaseConfig::Minimized);
    const auto window = impl->config()->mainWindowConfig();
    EXPECT_EQ(window->outerLayoutDirection(), MainWindowConfig::RightLeft);
    EXPECT_EQ(window->quadViewConfig()->resourceColor(1), QColor(10, 20, 30));
    EXPECT_EQ(window->quadViewConfig()->resourceColor(0), QColor(Qt::yellow));
    EXPECT_EQ(window->quadViewConfig()->holdDownTime(), 77);

    // The inner direction is in force from the start; the show mode is the setting's affair.
    EXPECT_EQ(controlLayout(*application.getMainWindow())->direction(), QBoxLayout::BottomToTop);
    runUntil([&] { EXPECT_FALSE(application.getMainWindow()->isMinimized()); });
    EXPECT_EQ(announced.take(), "AppBase::TOUCH_SCREEN_MODE_ON on");
    EXPECT_FALSE(QGuiApplication::quitOnLastWindowClosed());
    EXPECT_EQ(QCoreApplication::applicationName(),
              QFileInfo(QCoreApplication::applicationFilePath()).baseName());
    endApp();

    const QByteArray stored = readFile(configuration());
    for (const QByteArray& line : configurationByHand.split('\n'))
        EXPECT_TRUE(stored.contains(line.trimmed())) << line.constData();
    app();
    runUntil();
    endApp();
    EXPECT_EQ(readFile(configuration()).toStdString(), stored.toStdString());
}

TEST_F(AppBaseTest, AChildOfAnotherClassInTheConfigurationGivesTheDefaults) {
    writeFile(configuration(), R"(<vlr version="1">
  <data class="Configuration" id="AppBaseConfiguration">
    <data class="QuadViewConfig" id="AppBaseConfiguration"/>
  </data>
</vlr>)");
    app();
    EXPECT_EQ(impl->config()->id(), "AppBaseConfiguration"_s);
    EXPECT_EQ(impl->config()->showMode(), AppBaseConfig::Normal);
}

TEST_F(AppBaseTest, TheFileStaysWithoutConfigurationAndWhereNothingCanBeStored) {
    writeFile(configuration(), configurationByHand);
    app(false);
    EXPECT_EQ(impl->config()->showMode(), AppBaseConfig::Normal) << "not read";
    runUntil();
    endApp();
    EXPECT_EQ(readFile(configuration()), configurationByHand);

    app();
    expectLog(vlr::LogLevel::Error, "AppBaseImpl::run(): Could not store configuration. Reason: ");
    {
        const FullDisk fullDisk;
        EXPECT_EQ(runUntil(), 0);
    }
    endApp();
    EXPECT_EQ(readFile(configuration()), configurationByHand);
}

TEST_F(AppBaseTest, AConfigurationChangeAppliesShowModeAndTouchScreenMode) {
    AppBase& application = app();
    Announcements announced(application);
    runUntil([&] {
        announced.take();
        setting("WindowShowMode", "maximized"_s);
        for (const char* mode : {"on", "off"}) {
            impl->config()->setTouchScreenModeEnabled(mode == std::string("on"));
            impl->config()->notify(Data::CHANGED);
            EXPECT_EQ(announced.take(), std::string("AppBase::TOUCH_SCREEN_MODE_ON ") + mode);
        }
        EXPECT_TRUE(application.getMainWindow()->isMaximized());
        // Only another mode than the one in force is applied: what the user did to the window
        // stays.
        for (const auto& [mode, isMaximized] :
             {std::pair("maximized"_s, false), std::pair("fullscreen"_s, false),
              std::pair("maximized"_s, true)}) {
            application.getMainWindow()->showNormal();
            setting("WindowShowMode", mode);
            impl->config()->notify(Data::CHANGED);
            EXPECT_EQ(application.getMainWindow()->isMaximized(), isMaximized);
        }
    });
}

// --- where the window stands

TEST_F(AppBaseTest, TheWindowComesBackWhereItWas) {
    const QRect place(40, 50, 700, 500);
    const QRect screen = app().getMainWindow()->screen()->availableGeometry();
    for (const char* mode : {"normal", "maximized", "normal"}) {
        SCOPED_TRACE(mode);
        endApp();
        setting("WindowShowMode", mode);
        const bool isKnown = QFile::exists(configuration());
        QtAppMainWindow* const window = app().getMainWindow();
        const auto switchMode = [&](bool on) { // as the dialog's Ok does
            impl->config()->setTouchScreenModeEnabled(on);
            for (int i = 0; i < 2; ++i)
                impl->config()->notify(Data::CHANGED);
        };
        runUntil([&] {
            auto* const splitter = window->findChild<QSplitter*>();
            EXPECT_EQ(window->isMaximized(), mode == "maximized"s);
            if (!isKnown) {
                EXPECT_GE(window->width(), screen.width() / 2) << "a usable size";
                window->setGeometry(place);
                splitter->setSizes({300, 390});
                switchMode(true);
                splitter->setSizes({330, 300});
                EXPECT_EQ(splitter->sizes()[0], 330);
                switchMode(false);
                return;
            }
            EXPECT_EQ(mode == "normal"s ? window->geometry() : window->normalGeometry(), place);
            EXPECT_EQ(splitter->sizes()[0], 300);
            switchMode(true);
            EXPECT_EQ(splitter->sizes()[0], 330);
            switchMode(false);
        });
    }
}

TEST_F(AppBaseTest, NothingNeedsTheWindowOrTheObject) {
    AppBase& application = app();
    Announcements announced(application);
    delete application.getMainWindow();
    EXPECT_EQ(application.getMainWindow(), nullptr);
    application.setApplicationIdentification("x"_s, QIcon(), "x"_s);
    application.activateModule("x"_s);
    application.setTouchScreenModeEnabled(true);
    EXPECT_EQ(announced.take(), "");
    RecordingModule module("late"_s);
    EXPECT_FALSE(application.addModule(&module));
    RecordingSelector selector;
    application.setModuleSelector(&selector);
    const auto setCursors = [] {
        AppBase::setBusyCursor();
        AppBase::resetCursor();
    };
    setCursors();
    application.exitApplication();
    EXPECT_EQ(application.run(), 0);

    endApp();
    EXPECT_EQ(AppBase::instance(), nullptr);
    AppBase::setCurrentPatient(makePatient("1"));
    EXPECT_FALSE(AppBase::getCurrentPatient());
    setCursors();
}

// --- splash screen

TEST_F(AppBaseTest, TheSplashGoesWithTheWindowOrAfterItsOwnTime) {
    setting("ShowSplashScreen", true);
    app();
    ASSERT_TRUE(splash());
    EXPECT_TRUE(splash()->isVisible());
    EXPECT_FALSE(splash()->pixmap().isNull());
    runUntil([] { EXPECT_TRUE(QTest::qWaitFor([] { return !splash()->isVisible(); }, 10000)); });

    endApp();
    setting("SplashScreen.Timer", 500);
    QSignalSpy closed(&app(), &AppBase::splashClosed);
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

TEST_F(AppBaseTest, TheSplashStepsAsideForABoxAndComesBack) {
    setting("ShowSplashScreen", true);
    app();
    for (const bool again : {true, false}) {
        expectLog(vlr::LogLevel::UserInfo, "Hello");
        bool wasVisible = true;
        answerNextMessageBox([&](QMessageBox& box) {
            wasVisible = splash()->isVisible();
            if (!again)
                impl->splashCloseSL();
            box.accept();
        });
        VLR_LOG(UserInfo) << "Hello";
        EXPECT_FALSE(wasVisible);
        EXPECT_EQ(splash()->isVisible(), again);
    }
}

// --- what the user is told

TEST_F(AppBaseTest, TheUserLevelsPopUpAsMessageBoxesWithoutPrefix) {
    const std::pair<vlr::LogLevel, QMessageBox::Icon> cases[] = {
        {vlr::LogLevel::UserInfo, QMessageBox::Information},
        {vlr::LogLevel::UserWarning, QMessageBox::Warning},
        {vlr::LogLevel::UserError, QMessageBox::Critical}};
    app();
    for (const auto& [level, icon] : cases) {
        expectLog(level, "No camera.");
        QMessageBox::Icon shown = QMessageBox::NoIcon;
        answerNextMessageBox([&](QMessageBox& box) {
            shown = box.icon();
            EXPECT_EQ(box.text(), "No camera."_s);
            box.accept();
        });
        vlr::Log::getInstance(level, "file", 1) << "No camera.";
        EXPECT_EQ(shown, icon);
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

TEST_F(AppBaseTest, DialogsAreOpenedByTheWindowAndBySystemConfigurationRequest) {
    AppBase& application = app();
    application.addModule(new RecordingModule("Plan"_s));
    QtAppMainWindow* const window = application.getMainWindow();
    int tabs = -1;
    // What was accepted is stored at once, and what was not is not.
    const auto configure = [&](void (QDialog::*leave)()) {
        inNextDialog<QtConfigDialog>([&, leave](QtConfigDialog& dialog) {
            tabs = dialog.findChild<QTabWidget*>()->count();
            (dialog.*leave)();
        });
        emit window->configRequest();
        return QFile::exists(configuration());
    };
    EXPECT_FALSE(configure(&QDialog::reject));
    EXPECT_EQ(tabs, 2);
    {
        expectLog(vlr::LogLevel::Error, "AppBaseImpl::showConfigDialog(): Could not store");
        expectLog(vlr::LogLevel::UserError, "could not be stored");
        answerNextMessageBox([](QMessageBox& box) { box.accept(); });
        const FullDisk fullDisk;
        EXPECT_FALSE(configure(&QDialog::accept));
    }
    EXPECT_TRUE(configure(&QDialog::accept));

    const std::function<void()> ways[] = {[&] { emit window->configFileEditorRequest(); },
                                          [&] { application.requestSystemConfig(); }};
    for (const auto& open : ways) {
        bool opened = false;
        inNextDialog<vlr::SettingsEditorDialog>([&](vlr::SettingsEditorDialog& dialog) {
            opened = true;
            dialog.reject();
        });
        testing::internal::CaptureStdout();
        open();
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  "AppBaseImpl::showConfigFileEditorDialog\n");
        EXPECT_TRUE(opened);
    }
}

// --- modules

TEST_F(AppBaseTest, ModulesAreRegisteredActivatedAndStored) {
    QStringList calls;
    AppBase& application = app(true, true);
    EXPECT_FALSE(application.addModule(nullptr));
    auto* first = new RecordingModule("first"_s, &calls);
    EXPECT_TRUE(application.addModule(first));
    EXPECT_TRUE(first->isActive());
    EXPECT_EQ(splash()->message(), "Loading module: first..."_s);
    EXPECT_TRUE(application.addModule(new RecordingModule("second"_s, &calls)));
    QSignalSpy activated(application.getMainWindow(), &QtAppMainWindow::moduleActivated);
    application.activateModule("second"_s);
    EXPECT_EQ(activated.size(), 1);
    EXPECT_FALSE(first->isActive());
    expectLog(vlr::LogLevel::Warning, "There is no module \"third\"");
    application.activateModule("third"_s);
    first->setConfiguration(new Configuration);
    EXPECT_EQ(runUntil(), 0);
    const QString file = DataIOManager::configurationPath("firstModuleConfiguration"_s);
    EXPECT_FALSE(QFile::exists(file));
    endApp();
    EXPECT_TRUE(QFile::exists(file));
    EXPECT_TRUE(calls.contains("second deactivate"_s));
}

TEST_F(AppBaseTest, ASelectorFollowsTheListAndAsksIt) {
    AppBase& application = app();
    application.setModuleSelector(nullptr);
    auto* selector = new RecordingSelector;
    application.setModuleSelector(selector);
    EXPECT_EQ(selector->parentWidget(), application.getMainWindow()->centralWidget());
    for (const char* name : {"a", "b", "c"})
        application.addModule(new RecordingModule(QString::fromLatin1(name)));
    EXPECT_EQ(take(selector->calls), "add a, on a, add b, add c");
    emit selector->activateModule("b"_s);
    EXPECT_EQ(take(selector->calls), "off a, on b");
    emit selector->activateModule(2);
    EXPECT_EQ(take(selector->calls), "off b, on c");
    emit selector->previousModule();
    EXPECT_EQ(take(selector->calls), "off c, on b");
    emit selector->nextModule();
    EXPECT_EQ(take(selector->calls), "off b, on c");
    emit selector->disableModule("a"_s);
    emit selector->disableModule(1);
    emit selector->enableModule("b"_s);
    emit selector->enableModule(0);
    EXPECT_EQ(take(selector->calls), "dis a, dis b, en b, en a");
    emit selector->deactivateAllModules();
    EXPECT_EQ(take(selector->calls), "off a, off b, off c");

    // One that comes late is caught up, and hears everything once even if it is given twice.
    emit selector->disableModule(1);
    auto* late = new RecordingSelector;
    for (int i = 0; i < 2; ++i) {
        application.setModuleSelector(late);
        EXPECT_EQ(take(late->calls), "add a, add b, dis b, add c, on c");
    }
    emit late->activateModule(0);
    EXPECT_EQ(take(late->calls), "off c, on a");
}

TEST_F(AppBaseTest, AModuleMayReplaceTheSelectorThatIsClicked) {
    AppBase& application = app();
    QPointer<QtModuleSelector> selectors[3];
    for (int i = 0; i < 3; ++i) {
        application.addModule(new RecordingModule("m%1"_s.arg(i)));
        if (i == 1)
            selectors[i] =
                new QtModuleTabSelector(QtModuleSelector::Top, false, false, false, false);
        else
            selectors[i] = new QtModuleButtonSelector(QtModuleSelector::Top);
    }
    auto* first = new RecordingModule("A"_s);
    auto* second = new RecordingModule("B"_s);
    first->onActivate = [&] { application.setModuleSelector(selectors[1]); };
    second->onActivate = [&] { application.setModuleSelector(selectors[2]); };
    application.addModule(first);
    application.addModule(second);
    application.setModuleSelector(selectors[0]);
    showActive(*application.getMainWindow());
    QTest::mouseClick(selectors[0]->findChild<QAbstractButton*>("A_3"_s), Qt::LeftButton);
    EXPECT_TRUE(first->isActive());
    EXPECT_FALSE(selectors[0] && selectors[0]->isVisible());
    auto* bar = selectors[1]->findChild<QTabBar*>();
    EXPECT_EQ(bar->currentIndex(), 3);
    QCoreApplication::sendPostedEvents(); // Lays it out.
    QTest::mouseClick(bar, Qt::LeftButton, Qt::NoModifier, bar->tabRect(4).center());
    EXPECT_TRUE(second->isActive());
    EXPECT_TRUE(selectors[2]->findChild<QAbstractButton*>("B_4"_s)->isChecked());
    // The former ones neither hear of anything nor ask, and go with the next turn of the loop.
    if (selectors[1])
        emit selectors[1]->activateModule(0);
    EXPECT_TRUE(second->isActive());
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_FALSE(selectors[0] || selectors[1]);
    EXPECT_TRUE(selectors[2]);
    EXPECT_TRUE(application.getMainWindow()->isAncestorOf(selectors[2]));
}

// --- patients

TEST_F(AppBaseTest, AnExitKeepsTheChangesThatItCannotStoreAndSaysSo) {
    const QString setting = "Velora/Application/PatientRepository"_s;
    const struct {
        bool isChanged;
        const char* repository; // at the exit
        const char* said;
    } cases[] = {{false, "", ""},
                 {true, "", "\"1\" could not be stored. They are kept in "},
                 {true, "nowhere:", "\"1\\u200B\" could not be stored. They are kept in "}};
    for (const auto& one : cases) {
        AppBase& application = app();
        const auto patient = makePatient("1");
        ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
        AppBase::setCurrentPatient(patient);
        DataPointer<Patient> other;
        ASSERT_EQ(DataIOManager::loadPatient(patient->storageUri(), other), CaError::nullError);
        other->setName("by another workstation"_s);
        ASSERT_EQ(DataIOManager::storePatient(other), CaError::nullError);
        bool isTold = false;
        if (one.isChanged) {
            patient->setName("Mine"_s);
            expectLog(vlr::LogLevel::Error, "Could not store the current patient. Reason: ");
            expectLog(vlr::LogLevel::UserError, one.said);
            answerNextMessageBox([&](QMessageBox& box) {
                isTold = true;
                box.accept();
            });
        }
        if (*one.repository) {
            patient->setPatientId(QString::fromUtf8("1\u200b")); // As a former release took it.
            ASSERT_TRUE(vlr::Settings::set(setting, one.repository).isNull());
        }
        QTimer::singleShot(0, &application, [&] { application.exitApplication(); });
        EXPECT_EQ(application.run(), 0);
        EXPECT_EQ(isTold, one.isChanged);
        endApp();
        const QStringList waiting = vlr::waitingRecoveries();
        EXPECT_EQ(waiting.size(), one.isChanged ? 1 : 0);
        for (const QString& file : waiting) {
            vlr::Recovery recovery;
            ASSERT_EQ(vlr::readRecovery(file, recovery), CaError::nullError);
            EXPECT_EQ(recovery.patient->name(), "Mine"_s);
            vlr::removeRecovery(file);
        }
        ASSERT_TRUE(vlr::Settings::remove(setting).isNull());
        ASSERT_EQ(DataIOManager::removePatient(other->storageUri()), CaError::nullError);
        DataIOManager::closeRepository();
    }
}

TEST_F(AppBaseTest, ThePatientListComesWithReferencesAndStopsAtTheFirstError) {
    app();
    for (const char* id : {"1", "2"})
        ASSERT_EQ(DataIOManager::storePatient(makePatient(id)), CaError::nullError);
    const auto listedIds = [] {
        std::vector<Patient*> patients;
        const bool isComplete = AppBase::getPatientList(patients) == CaError::nullError;
        QStringList ids;
        for (Patient* patient : patients) {
            ids << patient->patientId();
            patient->unref();
        }
        return take(ids) + (isComplete ? "" : " ...");
    };
    EXPECT_EQ(listedIds(), "1, 2");

    // A patient whose document is damaged ends the list; those before it stay.
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE"_s, "damage"_s);
        database.setDatabaseName(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                                 "/patients.sqlite"_s);
        ASSERT_TRUE(database.open());
        QSqlQuery query(database);
        ASSERT_TRUE(query.exec("UPDATE document SET content = 'damaged' WHERE uid = "
                               "(SELECT uid FROM patient WHERE patient_id = '2')"_s));
    }
    QSqlDatabase::removeDatabase("damage"_s);
    expectLog(vlr::LogLevel::UserError, "Can't load Patient. reason: ");
    answerNextMessageBox([](QMessageBox& box) { box.accept(); });
    EXPECT_EQ(listedIds(), "1 ...");

    setting("PatientRepository", "nowhere:"_s);
    expectLog(vlr::LogLevel::UserError, "Patient list is empty. Reason: ");
    answerNextMessageBox([](QMessageBox& box) { box.accept(); });
    EXPECT_EQ(listedIds(), " ...");
}

// --- the window

TEST_F(AppBaseTest, TheIdentificationReachesWindowAndApplication) {
    AppBase& application = app();
    const QIcon icon(QPixmap(16, 16));
    application.setApplicationIdentification("Title"_s, icon, "Icon text"_s);
    QtAppMainWindow* window = application.getMainWindow();
    EXPECT_EQ(window->windowTitle(), "Title"_s);
    EXPECT_EQ(window->windowIconText(), "Icon text"_s);
    for (const QIcon& each : {window->windowIcon(), QApplication::windowIcon()})
        EXPECT_EQ(each.cacheKey(), icon.cacheKey());

    AppBase::setBusyCursor();
    EXPECT_EQ(window->cursor().shape(), Qt::WaitCursor);
    AppBase::resetCursor();
    EXPECT_EQ(window->cursor().shape(), Qt::ArrowCursor);
}

TEST_F(AppBaseTest, TheTestWidgetDrivesTheWindow) {
    AppBase& application = app();
    AppBaseImplTest widget;
    QStringList directions;
    for (auto* button : widget.findChildren<QPushButton*>()) {
        button->click();
        directions << button->text() +
                          QString::number(contextLayout(*application.getMainWindow())->direction());
    }
    // The main direction is fixed; the secondary one follows the button.
    EXPECT_EQ(take(directions, "|"),
              "Main TopBottom2|Main BottomTop2|Main LeftRight2|Main RightLeft2|"
              "Secondary TopBottom2|Secondary BottomTop3|Secondary LeftRight0|"
              "Secondary RightLeft1");
}
