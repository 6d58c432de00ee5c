#include "AppBase/Dialogs/QtConfigDialog.h"

#include "AppBase/Dialogs/QtAboutDialog.h"
#include "AppBase/Dialogs/QtAppBaseConfigWidget.h"
#include "AppBase/Dialogs/QtModuleConfigWidget.h"
#include "AppBase/QtModuleList.h"
#include "AppBase/Settings/vlrSettingsEditorDialog.h"
#include "Gui/AppBaseTest.h"

#include <QtCore/QFileInfo>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QColorDialog>
#include <QtWidgets/QTabWidget>

using namespace vlrTest;

namespace {

// Counts what it is asked for; ok() and cancel() are slots.
class CountingWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    using QtDataConfigurationWidget::QtDataConfigurationWidget;

public slots:
    bool ok() override {
        calls << "ok"_s;
        return false;
    }
    void cancel() override { calls << "cancel"_s; }

public:
    inline static QStringList calls;
};

VLR_REGISTER_DATA_WIDGET(CountingWidget, )

struct ConfigDialogTest : WindowTest {
    ConfigDialogTest() {
        createQtAppBaseConfigWidgetFactory();
        linkDataToWidget("AppBaseConfig", "QtAppBaseConfigWidget", "", 4, "");
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    }

    std::unique_ptr<QtConfigDialog> makeDialog() {
        auto dialog = std::make_unique<QtConfigDialog>(config, &list, nullptr);
        dialog->show();
        EXPECT_TRUE(QTest::qWaitForWindowActive(dialog.get()));
        return dialog;
    }
    std::string titles() {
        const auto dialog = makeDialog();
        QStringList result;
        const auto* tabs = dialog->findChild<QTabWidget*>();
        for (int i = 0; i < tabs->count(); ++i)
            result << tabs->tabText(i);
        return take(result, "|");
    }
    static void click(const QDialog& dialog, const char* name) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(QString::fromLatin1(name)),
                          Qt::LeftButton);
    }
    static QString showModeSetting() {
        return vlr::Settings::get("Velora/Application/WindowShowMode"_s, "-");
    }
    QColor color(int index) const {
        return config->mainWindowConfig()->quadViewConfig()->resourceColor(index);
    }

    DataPointer<AppBaseConfig> config{new AppBaseConfig};
    QtModuleList list{window.get(), nullptr};
};

// The colour buttons of the dialog in their order.
QList<QPushButton*> colorButtons(const QtConfigDialog& dialog) {
    return dialog.findChild<QtAppBaseConfigWidget*>()->findChildren<QPushButton*>();
}

QColor shownColor(const QPushButton& button) {
    return button.icon().pixmap(128, 128).toImage().pixelColor(64, 64);
}

void chooseColor(QPushButton* button, const QColor& color, bool accept) {
    inNextDialog<QColorDialog>([=](QColorDialog& dialog) {
        EXPECT_EQ(dialog.currentColor(), shownColor(*button));
        dialog.setCurrentColor(color);
        accept ? dialog.accept() : dialog.reject();
    });
    QTest::mouseClick(button, Qt::LeftButton);
}

} // namespace

TEST_F(ConfigDialogTest, HasATabForEveryRecordWithAWidget) {
    const std::string application = "Application Configuration";
    const std::string general = application + "|Plan && Go General Options";
    EXPECT_EQ(titles(), application);
    auto* module = new RecordingModule("Plan & Go"_s);
    list.registerModule(module);
    list.registerModule(new RecordingModule("Other"_s));
    EXPECT_EQ(titles(), general);
    module->setConfiguration(new Study);
    EXPECT_EQ(titles(), general);
    createCountingWidgetFactory();
    linkDataToWidget("Study", "CountingWidget", "", 4, "");
    EXPECT_EQ(titles(), general + "|Plan && Go Configuration");

    // Its slots are called twice: once as those of a tab's widget, once by name.
    click(*makeDialog(), "ok");
    click(*makeDialog(), "cancel");
    EXPECT_EQ(take(CountingWidget::calls), "ok, ok, cancel, cancel");

    const QtConfigDialog empty({}, nullptr, nullptr);
    EXPECT_EQ(empty.findChild<QTabWidget*>()->count(), 0);
}

TEST_F(ConfigDialogTest, OnlyOkWritesToTheRecords) {
    list.registerModule(new RecordingModule("Plan"_s));
    const std::tuple<const char*, std::function<void(QtConfigDialog&)>, bool> cases[] = {
        {"Cancel", [](QtConfigDialog& dialog) { click(dialog, "cancel"); }, false},
        {"Escape", [](auto& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); }, false},
        {"close", [](QtConfigDialog& dialog) { dialog.close(); }, false},
        {"Enter", [](auto& dialog) { QTest::keyClick(&dialog, Qt::Key_Return); }, true},
        {"Ok", [](QtConfigDialog& dialog) { click(dialog, "ok"); }, true}};
    for (const auto& [way, leave, writes] : cases) {
        SCOPED_TRACE(way);
        config = DataPointer<AppBaseConfig>(new AppBaseConfig);
        QStringList heard;
        const CaConnection observer(*config, Data::CHANGED, [&](auto&&...) {
            heard << "%1%2 %3"_s.arg(config->isTouchScreenModeEnabled())
                         .arg(config->showMode())
                         .arg(showModeSetting());
        });
        const auto dialog = makeDialog();
        ASSERT_EQ(vlr::Settings::remove("Velora/Application/WindowShowMode"_s), CaError::nullError);
        auto* showMode = dialog->findChild<QComboBox*>();
        EXPECT_EQ(showMode->currentText(), "Normal"_s);
        showMode->setCurrentIndex(showMode->findText("Full Screen"_s));
        dialog->findChild<QCheckBox*>()->setChecked(true);
        chooseColor(colorButtons(*dialog).at(2), QColor(1, 2, 3), true);
        EXPECT_EQ(shownColor(*colorButtons(*dialog).at(2)), QColor(1, 2, 3));
        chooseColor(colorButtons(*dialog).at(3), QColor(1, 2, 3), false);
        EXPECT_EQ(shownColor(*colorButtons(*dialog).at(3)), QColor(Qt::blue));
        auto* count = dialog->findChild<QSpinBox*>();
        EXPECT_EQ(count->maximum(), 10);
        count->setValue(count->value() == 7 ? 8 : 7);
        int colorChanges = 0;
        const CaConnection colorObserver(*config->mainWindowConfig()->quadViewConfig(),
                                         Data::CHANGED, [&](auto&&...) { ++colorChanges; });
        leave(*dialog);
        EXPECT_EQ(colorChanges, writes ? QuadViewConfig::colorCount : 0) << "once per colour";
        EXPECT_FALSE(dialog->isVisible());
        EXPECT_EQ(dialog->result(), writes ? QDialog::Accepted : QDialog::Rejected);
        EXPECT_EQ(take(heard), writes ? "11 fullscreen, 13 fullscreen" : "");
        EXPECT_EQ(showModeSetting(), writes ? "fullscreen"_s : "-"_s);
        EXPECT_EQ(color(2), writes ? QColor(1, 2, 3) : QColor(Qt::red));
        EXPECT_EQ(color(3), QColor(Qt::blue));
        EXPECT_EQ(makeDialog()->findChild<QSpinBox*>()->value() == count->value(), writes);
    }
}

// The setting decides, so what is chosen is written there; what is not chosen leaves it alone.
TEST_F(ConfigDialogTest, TheChosenShowModeBecomesTheSetting) {
    const struct {
        const char* setting;
        int shown; // what the record says
        int pick;  // -1: nothing
        const char* after;
        bool isTold = false; // that the setting differs
    } cases[] = {
        {"maximized", AppBaseConfig::Normal, -1, "maximized", true},
        {"maximized", AppBaseConfig::Normal, AppBaseConfig::Normal, "normal", true},
        {"maximized", AppBaseConfig::Normal, AppBaseConfig::Minimized, "minimized", true},
        {"Maximized", AppBaseConfig::Maximized, AppBaseConfig::Maximized, "Maximized"},
        {"normal", AppBaseConfig::Normal, AppBaseConfig::Maximized, "maximized"},
        {"normal", AppBaseConfig::FullScreen, AppBaseConfig::FullScreen, "fullscreen"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        setting("WindowShowMode", c.setting);
        config->setShowMode(static_cast<AppBaseConfig::ShowMode>(c.shown));
        const auto dialog = makeDialog();
        auto* const combo = dialog->findChild<QComboBox*>();
        EXPECT_EQ(combo->currentData().toInt(), c.shown);
        EXPECT_EQ(combo->toolTip().contains("\"maximized\""_s), c.isTold);
        if (c.pick >= 0) {
            EXPECT_TRUE(combo->hasFocus()) << "it is the first field";
            QTest::keyClick(combo, Qt::Key_Home);
            for (int i = 0; i < c.pick; ++i)
                QTest::keyClick(combo, Qt::Key_Down);
        }
        click(*dialog, "ok");
        EXPECT_EQ(showModeSetting(), QString::fromLatin1(c.after));
        EXPECT_EQ(config->showMode(), c.pick < 0 ? c.shown : c.pick);
    }
    config->setTouchScreenModeEnabled(true);
    const auto dialog = makeDialog();
    dialog->findChild<QComboBox*>()->setCurrentIndex(1);
    auto* const touchScreenMode = dialog->findChild<QCheckBox*>();
    EXPECT_TRUE(touchScreenMode->isChecked());
    touchScreenMode->setChecked(false);
    const auto buttons = colorButtons(*dialog);
    EXPECT_EQ(buttons[1]->y(), buttons[0]->y()) << "as the views stand";
    EXPECT_GT(buttons[1]->x(), buttons[0]->x());
    expectLog(LogLevel::UserError, "The show mode could not be stored in the settings.\n");
    const ReadOnlyFolder closed(QFileInfo(vlr::Settings::filePath()).path());
    click(*dialog, "ok");
    EXPECT_EQ(config->showMode(), AppBaseConfig::Normal) << "the rest is done";
    EXPECT_FALSE(config->isTouchScreenModeEnabled());
}

// --- taken away meanwhile

TEST_F(ConfigDialogTest, MayGoWhileAColourIsChosen) {
    auto dialog = makeDialog();
    inNextDialog<QColorDialog>([&](QColorDialog&) { dialog.reset(); });
    QTest::mouseClick(colorButtons(*dialog).at(0), Qt::LeftButton);
    EXPECT_FALSE(dialog);
}

TEST_F(ConfigDialogTest, MayGoWhenTheFirstChangeIsHeard) {
    list.registerModule(new RecordingModule("Plan"_s));
    auto dialog = makeDialog();
    chooseColor(colorButtons(*dialog).at(2), QColor(1, 2, 3), true);
    dialog->findChild<QComboBox*>()->setCurrentIndex(3);
    const QPointer<QtConfigDialog> gone = dialog.release();
    const CaConnection observer(*config, Data::CHANGED, [&](auto&&...) { delete gone.data(); });
    QMetaObject::invokeMethod(gone, "accept");
    EXPECT_FALSE(gone);
    EXPECT_EQ(config->showMode(), AppBaseConfig::FullScreen) << "what was chosen counts";
    EXPECT_EQ(color(2), QColor(1, 2, 3));
}

// --- what is kept

TEST_F(ConfigDialogTest, LayoutsBeyondTheFieldsRangeStayUnlessTheNumberIsEdited) {
    const DataPointer<ModuleConfig> module(new ModuleConfig);
    module->setNoDimensionSets(12);
    QtModuleConfigWidget widget(module.get(), {}, nullptr, {});
    EXPECT_TRUE(widget.ok());
    EXPECT_EQ(module->noDimensionSets(), 12);
    EXPECT_TRUE(widget.findChild<QtMessageLine*>()->text().contains("12"_s));
    widget.findChild<QSpinBox*>()->setValue(9);
    EXPECT_TRUE(widget.ok());
    EXPECT_EQ(module->noDimensionSets(), 9);
}

TEST_F(ConfigDialogTest, WidgetsForOtherDataAreEmpty) {
    const DataPointer<Data> study(new Study);
    QtAppBaseConfigWidget application(study.get(), {}, nullptr, {});
    QtModuleConfigWidget module(study.get(), {}, nullptr, {});
    EXPECT_TRUE(application.ok() && module.ok());
    EXPECT_TRUE(application.findChildren<QWidget*>().isEmpty());
    EXPECT_TRUE(module.findChildren<QWidget*>().isEmpty());
}

TEST_F(ConfigDialogTest, AboutShowsTheBuild) {
    const vlr::VersionInformation information = vlr::versionInformation();
    QString shown;
    inNextDialog<QtAboutDialog>([&](QtAboutDialog& about) {
        shown = about.findChild<QLabel*>("aboutText"_s)->text();
        about.accept();
    });
    click(*makeDialog(), "about");
    for (const QString& part : {information.version, "Generated "_s + information.buildTime,
                                QT_VERSION_STR ""_s, "<td>vlrGui&"_s})
        EXPECT_TRUE(!part.isEmpty() && shown.contains(part)) << part.toStdString();
    EXPECT_THAT(information.buildTime.toStdString(),
                testing::MatchesRegex("20[0-9-]{8} [0-9:]{8} UTC"));
    EXPECT_EQ(QtAboutDialog::text({}), "This Dialog was compiled without version information."_s);
}

// --- the configuration of an application

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
    expectLog(LogLevel::Error, "AppBaseImpl::run(): Could not store configuration. Reason: ");
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
        expectLog(LogLevel::Error, "AppBaseImpl::showConfigDialog(): Could not store");
        expectLog(LogLevel::UserError, "could not be stored");
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

#include "ConfigDialogTest.moc"
