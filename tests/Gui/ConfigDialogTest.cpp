#include "AppBase/QtConfigDialog.h"

#include "AppBase/QtAboutDialog.h"
#include "AppBase/QtAppBaseConfigWidget.h"
#include "AppBase/QtModuleConfigWidget.h"
#include "AppBase/QtModuleList.h"
#include "Data/Study.h"
#include "Gui/GuiTest.h"

#include <QtCore/QDateTime>
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
        each.leave(*dialog);
        EXPECT_FALSE(dialog->isVisible());
        EXPECT_EQ(dialog->result(), each.writes ? QDialog::Accepted : QDialog::Rejected);
        EXPECT_EQ(heard.join(QLatin1Char(' ')), text(each.writes ? "11 13" : ""));
        EXPECT_EQ(color(2), each.writes ? QColor(1, 2, 3) : before);
        EXPECT_EQ(color(3), QColor(Qt::blue));
        EXPECT_EQ(makeDialog()->findChild<QSpinBox*>()->value() == count->value(), each.writes);
    }
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
    EXPECT_TRUE(built.isValid()) << information.buildTime.toStdString();
    EXPECT_LE(built, QDateTime::currentDateTimeUtc().addDays(1));
    EXPECT_EQ(QtAboutDialog::text({}),
              text("This Dialog was compiled without version information."));
}

#include "ConfigDialogTest.moc"
