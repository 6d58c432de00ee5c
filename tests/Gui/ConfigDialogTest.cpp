#include "AppBase/QtConfigDialog.h"

#include "AppBase/QtAboutDialog.h"
#include "AppBase/QtAppBaseConfigWidget.h"
#include "AppBase/QtControlAreaControlButtons.h"
#include "AppBase/QtModuleConfigWidget.h"
#include "AppBase/QtModuleList.h"
#include "Base/QtMessageLine.h"
#include "Data/Study.h"
#include "Gui/GuiTest.h"
#include "IO/DataIOManager.h"

#include <QtCore/QDateTime>
#include <QtCore/QPointer>
#include <QtTest/QTest>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QColorDialog>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QSpinBox>
#include <QtWidgets/QTabWidget>

using namespace vlrTest;

namespace {

QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

// Counts what it is asked for; ok() and cancel() are slots.
class CountingWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    using QtDataConfigurationWidget::QtDataConfigurationWidget;

public slots:
    bool ok() override {
        calls << text("ok");
        return false;
    }
    void cancel() override { calls << text("cancel"); }

public:
    inline static QStringList calls;
};

VLR_REGISTER_DATA_WIDGET(CountingWidget, )

class ConfigDialogTest : public GuiTest {
protected:
    ConfigDialogTest() : window({}, nullptr, Qt::Window), list(&window, nullptr) {
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
    static QString titles(const QtConfigDialog& dialog) {
        QStringList result;
        const auto* tabs = dialog.findChild<QTabWidget*>();
        for (int i = 0; i < tabs->count(); ++i)
            result << tabs->tabText(i);
        return result.join(QLatin1Char('|'));
    }
    static void click(const QDialog& dialog, const char* name) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(text(name)), Qt::LeftButton);
    }
    // What the file of the configuration holds after it was stored.
    QByteArray storedText() const {
        const DataPointer<Configuration> container(new Configuration);
        EXPECT_EQ(container->addChild(config, false), CaError::nullError);
        EXPECT_EQ(DataIOManager::storeConfiguration(text("Test"), container), CaError::nullError);
        (void)container->removeChild(config.get());
        return readFile(DataIOManager::configurationPath(text("Test")));
    }
    QColor color(int index) const {
        return config->mainWindowConfig()->quadViewConfig()->resourceColor(index);
    }

    DataPointer<AppBaseConfig> config{new AppBaseConfig};
    QtAppMainWindow window;
    QtModuleList list;
};

// The colour buttons of the dialog in their order.
QList<QPushButton*> colorButtons(const QtConfigDialog& dialog) {
    QList<QPushButton*> buttons;
    for (auto* button : dialog.findChild<QtAppBaseConfigWidget*>()->findChildren<QPushButton*>())
        buttons << button;
    return buttons;
}

QColor shownColor(const QPushButton& button) {
    return button.icon().pixmap(128, 128).toImage().pixelColor(64, 64);
}

void chooseColor(QPushButton* button, const QColor& color, bool accept) {
    inNextDialog<QColorDialog>([=](QColorDialog& dialog) {
        dialog.setCurrentColor(color);
        accept ? dialog.accept() : dialog.reject();
    });
    QTest::mouseClick(button, Qt::LeftButton);
}

} // namespace

TEST_F(ConfigDialogTest, HasATabForEveryRecordWithAWidget) {
    EXPECT_EQ(titles(*makeDialog()), text("Application Configuration"));
    auto* module = new RecordingModule(text("Plan & Go"));
    list.registerModule(module);
    list.registerModule(new RecordingModule(text("Other")));
    EXPECT_EQ(titles(*makeDialog()), text("Application Configuration|Plan && Go General Options"));
    module->setConfiguration(new Study);
    EXPECT_EQ(titles(*makeDialog()), text("Application Configuration|Plan && Go General Options"));
    createCountingWidgetFactory();
    linkDataToWidget("Study", "CountingWidget", "", 4, "");
    EXPECT_EQ(titles(*makeDialog()), text("Application Configuration|Plan && Go General Options|"
                                          "Plan && Go Configuration"));
    const QtConfigDialog empty({}, nullptr, nullptr);
    EXPECT_EQ(titles(empty), QString());
}

TEST_F(ConfigDialogTest, OnlyOkWritesToTheRecords) {
    auto* module = new RecordingModule(text("Plan"));
    list.registerModule(module);
    const struct {
        const char* way;
        std::function<void(QtConfigDialog&)> leave;
        bool writes;
    } cases[] = {
        {"Cancel", [](QtConfigDialog& d) { click(d, "cancel"); }, false},
        {"Escape", [](QtConfigDialog& d) { QTest::keyClick(&d, Qt::Key_Escape); }, false},
        {"close", [](QtConfigDialog& d) { d.close(); }, false},
        {"Return",
         [](QtConfigDialog& d) { QTest::keyClick(d.findChild<QSpinBox*>(), Qt::Key_Return); },
         true},
        {"Ok", [](QtConfigDialog& d) { click(d, "ok"); }, true},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.way);
        config = DataPointer<AppBaseConfig>(new AppBaseConfig);
        QStringList heard;
        const CaConnection observer(*config, Data::CHANGED, [&](auto&&...) {
            heard << QString::number(config->isTouchScreenModeEnabled()) +
                         QString::number(config->showMode());
        });
        const auto dialog = makeDialog();
        auto* showMode = dialog->findChild<QComboBox*>();
        EXPECT_EQ(showMode->currentText(), text("Normal"));
        showMode->setCurrentIndex(showMode->findText(text("Full Screen")));
        dialog->findChild<QCheckBox*>()->setChecked(true);
        chooseColor(colorButtons(*dialog).at(2), QColor(1, 2, 3), true);
        EXPECT_EQ(shownColor(*colorButtons(*dialog).at(2)), QColor(1, 2, 3));
        auto* count = dialog->findChild<QSpinBox*>();
        EXPECT_EQ(count->maximum(), 10);
        count->setValue(count->value() == 7 ? 8 : 7);
        const QColor before = color(2);
        QStringList heardColors;
        const CaConnection colorObserver(*config->mainWindowConfig()->quadViewConfig(),
                                         Data::CHANGED,
                                         [&](auto&&...) { heardColors << color(2).name(); });
        const QByteArray fileBefore = storedText();
        each.leave(*dialog);
        EXPECT_EQ(heardColors.size(), each.writes ? QuadViewConfig::colorCount : 0)
            << "once per colour";
        EXPECT_EQ(storedText() == fileBefore, !each.writes);
        EXPECT_FALSE(dialog->isVisible());
        EXPECT_EQ(dialog->result(), each.writes ? QDialog::Accepted : QDialog::Rejected);
        EXPECT_EQ(heard.join(QLatin1Char(' ')), text(each.writes ? "11 13" : ""));
        EXPECT_EQ(color(2), each.writes ? QColor(1, 2, 3) : before);
        EXPECT_EQ(color(3), QColor(Qt::blue));
        EXPECT_EQ(makeDialog()->findChild<QSpinBox*>()->value() == count->value(), each.writes);
    }
}

TEST_F(ConfigDialogTest, AChosenColourIsSeenInTheLayoutButtons) {
    const QtControlAreaControlButtons buttons(config->mainWindowConfig()->quadViewConfig(),
                                              nullptr);
    const auto* main = buttons.findChild<QAbstractButton*>(text("allAlike"));
    const auto picture = [&] { return main->icon().pixmap(main->iconSize()).toImage(); };
    const QImage before = picture();
    const auto dialog = makeDialog();
    chooseColor(colorButtons(*dialog).at(1), QColor(200, 0, 200), true);
    EXPECT_EQ(picture(), before);
    click(*dialog, "ok");
    EXPECT_NE(picture(), before);
}

// --- by keyboard

TEST_F(ConfigDialogTest, FieldsComeBeforeTheButtonsAndHaveKeys) {
    const auto dialog = makeDialog();
    auto* showMode = dialog->findChild<QComboBox*>();
    auto* touchScreen = dialog->findChild<QCheckBox*>();
    QList<QWidget*> expected{showMode};
    for (QWidget* button : colorButtons(*dialog))
        expected << button;
    expected << touchScreen;
    for (const char* name : {"about", "cancel", "ok"})
        expected << dialog->findChild<QPushButton*>(text(name));
    for (QWidget* widget : expected) {
        EXPECT_EQ(dialog->focusWidget(), widget);
        QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
    }
    QTest::keyClick(dialog.get(), Qt::Key_S, Qt::AltModifier);
    EXPECT_EQ(dialog->focusWidget(), showMode);
    QTest::keyClick(dialog.get(), Qt::Key_T, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return touchScreen->isChecked(); }));
    inNextDialog<QColorDialog>([](QColorDialog& colors) {
        EXPECT_EQ(colors.currentColor(), QColor(Qt::red));
        colors.setCurrentColor(QColor(1, 2, 3));
        colors.accept();
    });
    QTest::keyClick(dialog.get(), Qt::Key_3, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return shownColor(*colorButtons(*dialog).at(2)) == QColor(1, 2, 3); }));
}

// --- taken away meanwhile

TEST_F(ConfigDialogTest, MayGoWhileAColourIsChosen) {
    auto dialog = makeDialog();
    inNextDialog<QColorDialog>([&](QColorDialog&) { dialog.reset(); });
    QTest::mouseClick(colorButtons(*dialog).at(0), Qt::LeftButton);
    EXPECT_FALSE(dialog);
}

TEST_F(ConfigDialogTest, MayGoWhenTheFirstChangeIsHeard) {
    auto* module = new RecordingModule(text("Plan"));
    list.registerModule(module);
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
    EXPECT_TRUE(widget.findChild<QtMessageLine*>()->text().contains(text("12")));
    widget.findChild<QSpinBox*>()->setValue(9);
    EXPECT_TRUE(widget.ok());
    EXPECT_EQ(module->noDimensionSets(), 9);
}

TEST_F(ConfigDialogTest, AColourThatIsNotChosenStays) {
    const auto dialog = makeDialog();
    const Qt::GlobalColor colors[] = {Qt::yellow, Qt::green, Qt::red, Qt::blue};
    for (int i = 0; i < 4; ++i) {
        auto* button = colorButtons(*dialog).at(i);
        chooseColor(button, QColor(1, 2, 3), false);
        EXPECT_EQ(shownColor(*button), QColor(colors[i]));
    }
}

// Once as every tab's widget, once by name.
TEST_F(ConfigDialogTest, WidgetsWithSlotsAreCalledByNameToo) {
    auto* module = new RecordingModule(text("Plan"));
    list.registerModule(module);
    module->setConfiguration(new Study);
    createCountingWidgetFactory();
    linkDataToWidget("Study", "CountingWidget", "", 4, "");
    click(*makeDialog(), "ok");
    click(*makeDialog(), "cancel");
    EXPECT_EQ(CountingWidget::calls.join(QLatin1Char(' ')), text("ok ok cancel cancel"));
}

TEST_F(ConfigDialogTest, WidgetsForOtherDataAreEmpty) {
    const DataPointer<Data> study(new Study);
    QtAppBaseConfigWidget application(study.get(), {}, nullptr, {});
    QtModuleConfigWidget moduleWidget(study.get(), {}, nullptr, {});
    for (QtDataConfigurationWidget* widget :
         std::initializer_list<QtDataConfigurationWidget*>{&application, &moduleWidget}) {
        EXPECT_TRUE(widget->findChildren<QWidget*>().isEmpty());
        EXPECT_TRUE(widget->ok());
    }
}

TEST_F(ConfigDialogTest, AboutShowsTheBuild) {
    const auto dialog = makeDialog();
    QString shown;
    inNextDialog<QtAboutDialog>([&](QtAboutDialog& about) {
        shown = about.findChild<QLabel*>(text("aboutText"))->text();
        QTest::keyClick(&about, Qt::Key_Return);
    });
    QTest::keyClick(dialog.get(), Qt::Key_A, Qt::AltModifier);
    EXPECT_TRUE(QTest::qWaitFor([&] { return !shown.isEmpty(); }));
    const vlr::VersionInformation information = vlr::versionInformation();
    EXPECT_TRUE(dialog->isVisible());
    for (const QString& part : {text("Generated ") + information.buildTime, information.version,
                                information.revision, text(QT_VERSION_STR), text(qVersion())})
        EXPECT_TRUE(!part.isEmpty() && shown.contains(part)) << part.toStdString();
    const QDateTime built =
        QDateTime::fromString(information.buildTime, text("yyyy-MM-dd hh:mm:ss 'UTC'"));
    int last = -1;
    for (const QString& part :
         {text("Generated "), text(QT_VERSION_STR), text("vlrGui"), text("vlrNavigation")}) {
        EXPECT_LT(last, shown.indexOf(part)) << part.toStdString();
        last = shown.indexOf(part);
    }
    EXPECT_EQ(shown.count(text("<td>") + information.version + text("</td>")),
              information.libraries.size());
    EXPECT_TRUE(built.isValid()) << information.buildTime.toStdString();
    EXPECT_LE(built, QDateTime::currentDateTimeUtc().addDays(1));
    EXPECT_EQ(QtAboutDialog::text({}),
              text("This Dialog was compiled without version information."));
}

#include "ConfigDialogTest.moc"
