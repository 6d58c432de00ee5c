#include "DataUtils/DataFactory.h"

#include "AppBase/QtModuleConfigWidget.h"
#include "Base/QtMessageLine.h"
#include "Data/Study.h"
#include "DataUtils/DataWidgetRegistration.h"
#include "DataUtils/QtDataConfigurationDialog.h"
#include "DataUtils/QtDecoratedDataConfigurationWidget.h"
#include "Gui/GuiTest.h"

#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QVBoxLayout>

using namespace vlrTest;

namespace {

QString text(const char* utf8) {
    return QString::fromUtf8(utf8);
}

// A study of another class, which nobody linked.
class SpecialStudy : public DataRecord<SpecialStudy, Study> {
public:
    static constexpr const char* className = "SpecialStudy";

protected:
    ~SpecialStudy() override = default;

private:
    friend struct ::RecordAccess;
    static constexpr auto attributes() { return std::make_tuple(); }
};

// Edits the institution of a study. With the argument "default" it can be saved as default, with
// "refuse" it does not accept.
class InstitutionWidget : public QtDataConfigurationWidget {
    Q_OBJECT

public:
    InstitutionWidget(Data* data, QString argument, QWidget* parent, Qt::WindowFlags flags)
        : QtDataConfigurationWidget(data, argument, parent, flags), m_edit(new QLineEdit(this)) {
        m_edit->setText(study()->institution());
        (new QVBoxLayout(this))->addWidget(m_edit);
        setFocusProxy(m_edit);
    }

    bool ok() override {
        if (this->argument() == text("refuse"))
            return false;
        study()->setInstitution(m_edit->text());
        return true;
    }
    void cancel() override { ++cancelled; }
    bool canSaveAsDefault() override { return this->argument() == text("default"); }
    void saveAsDefault() override { savedDefault = m_edit->text(); }

    inline static int cancelled = 0;
    inline static QString savedDefault;

private:
    Study* study() const { return dynamic_cast<Study*>(this->data()); }
    QLineEdit* m_edit;
};

VLR_REGISTER_DATA_WIDGET(InstitutionWidget, )

class DataFactoryTest : public GuiTest {
protected:
    DataFactoryTest() {
        createInstitutionWidgetFactory();
        link("");
        study->setInstitution(text("St. Luke"));
        InstitutionWidget::cancelled = 0;
    }

    static void link(const char* argument) {
        linkDataToWidget("Study", "InstitutionWidget", "A study", 5, argument);
    }

    /// Shows the dialog and runs `drive` in it.
    CaError display(const std::function<void(QDialog&)>& drive, QString* name = nullptr,
                    const DataFactory::DialogOptions& options = {}) const {
        inNextDialog<QtDataConfigurationDialog>([&](auto& dialog) {
            EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
            drive(dialog);
        });
        return DataFactory::displayConfigurationDialog(study.get(), name, options);
    }
    static void type(QDialog& dialog, const char* what) {
        auto* edit = qobject_cast<QLineEdit*>(dialog.focusWidget());
        ASSERT_TRUE(edit);
        edit->selectAll();
        QTest::keyClicks(edit, text(what));
    }
    static void click(const QDialog& dialog, const char* button) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(text(button)), Qt::LeftButton);
    }

    DataPointer<Study> study{new Study};
};

} // namespace

// --- the tables

TEST_F(DataFactoryTest, ListsWhatIsLinkedByType) {
    linkDataToWidget("AppBaseConfig", "QtAppBaseConfigWidget", "Application Configuration", 4, "");
    DataFactory::linkDataToWidget("Zebra", "None", "", 2, "");
    DataFactory::linkDataToWidget("Zebra", "None", "", 6, "");
    const struct {
        int mask;
        const char* expected;
    } cases[] = {{0, "AppBaseConfig Study Zebra"},
                 {4, "AppBaseConfig Study Zebra"},
                 {6, "Zebra"},
                 {1, "Study"},
                 {8, ""},
                 {2, "Zebra"}};
    for (const auto& each : cases) {
        const QString list = DataFactory::dataList(each.mask).join(QLatin1Char(' '));
        EXPECT_EQ(list, text(each.expected)) << each.mask;
        EXPECT_EQ(DataFactory::dataDescriptionList(each.mask).join(QLatin1Char(' ')), list);
        EXPECT_EQ(DataFactory::isType(study.get(), each.mask), list.contains(text("Study")));
    }
    const DataPointer<Data> derived(new SpecialStudy);
    EXPECT_FALSE(DataFactory::isType(derived.get(), 0));
    EXPECT_FALSE(DataFactory::isType(nullptr, 0));
}

TEST_F(DataFactoryTest, GivesTheLinkedWidgetAndNullWithoutOne) {
    QWidget parent;
    link("some argument");
    auto* widget = DataFactory::configurationWidget(study.get(), &parent);
    ASSERT_TRUE(qobject_cast<InstitutionWidget*>(widget));
    EXPECT_EQ(widget->parentWidget(), &parent);

    const DataPointer<Data> derived(new SpecialStudy);
    EXPECT_FALSE(DataFactory::configurationWidget(derived.get(), &parent));
    EXPECT_FALSE(DataFactory::configurationWidget(nullptr, &parent));
    DataFactory::linkDataToWidget("Study", "NobodyRegisteredThis", "", 1, "");
    EXPECT_FALSE(DataFactory::configurationWidget(study.get(), &parent));
}

TEST_F(DataFactoryTest, ALaterRegistrationOfTheNameReplacesTheFirst) {
    struct Other : DataWidgetRegistration<QtModuleConfigWidget> {
        Other() { registerWidget(this); }
        std::string name() const override { return "InstitutionWidget"; }
    } other;
    EXPECT_EQ(createInstitutionWidgetFactory(), 1) << "does not register again";
    const std::unique_ptr<QWidget> widget(DataFactory::configurationWidget(study.get(), nullptr));
    EXPECT_TRUE(qobject_cast<QtModuleConfigWidget*>(widget.get()));
    InstitutionWidgetDataFactoryRegistration again;
    const std::unique_ptr<QWidget> own(DataFactory::configurationWidget(study.get(), nullptr));
    EXPECT_TRUE(qobject_cast<InstitutionWidget*>(own.get()));
}

TEST_F(DataFactoryTest, ReportsDataWithoutWidget) {
    QString name = text("name");
    const DataPointer<Data> derived(new SpecialStudy);
    CaError error = DataFactory::displayConfigurationDialog(derived.get(), &name);
    EXPECT_EQ(error, CaError("DataFactory::noConfigurationWidgetError"));
    expectLog(vlr::LogLevel::Error, "Data is not defined");
    error = DataFactory::displayConfigurationDialog(nullptr, &name);
    EXPECT_EQ(error.id(), DataFactory::noConfigurationWidgetError);
    EXPECT_EQ(std::string(logRecords().back().file), "libraries/Gui/src/DataUtils/DataFactory");
}

// --- the dialog

TEST_F(DataFactoryTest, OnlyAcceptingChangesTheData) {
    const struct {
        const char* way;
        std::function<void(QDialog&)> leave;
        bool accepts;
    } cases[] = {
        {"Escape", [](QDialog& d) { QTest::keyClick(d.focusWidget(), Qt::Key_Escape); }, false},
        {"close", [](QDialog& d) { d.close(); }, false},
        {"Cancel", [](const QDialog& d) { click(d, "cancel"); }, false},
        {"Return", [](QDialog& d) { QTest::keyClick(d.focusWidget(), Qt::Key_Return); }, true},
        {"Enter", [](QDialog& d) { QTest::keyClick(d.focusWidget(), Qt::Key_Enter); }, true},
        {"OK", [](const QDialog& d) { click(d, "ok"); }, true},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.way);
        study->setInstitution(text("before"));
        const CaError error = display([&](QDialog& dialog) {
            type(dialog, "after");
            EXPECT_EQ(study->institution(), text("before"));
            each.leave(dialog);
        });
        EXPECT_EQ(study->institution(), text(each.accepts ? "after" : "before"));
        EXPECT_EQ(error.id(), each.accepts ? "" : DataFactory::operationCanceledError);
    }
    EXPECT_EQ(InstitutionWidget::cancelled, 0) << "the frame does not call it";
}

TEST_F(DataFactoryTest, AWidgetThatRefusesKeepsTheDialogOpen) {
    link("refuse");
    const CaError error = display([](QDialog& dialog) {
        const auto* decorated = dialog.findChild<QtDecoratedDataConfigurationWidget*>();
        QSignalSpy accepted(decorated, &QtDecoratedDataConfigurationWidget::accepted);
        QSignalSpy finished(decorated, &QtDecoratedDataConfigurationWidget::finished);
        click(dialog, "ok");
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(accepted.count() + finished.count(), 0);
        click(dialog, "cancel");
        EXPECT_EQ(finished.count(), 1);
    });
    EXPECT_EQ(error.id(), DataFactory::operationCanceledError);
}

TEST_F(DataFactoryTest, TheItemNameComesBackWithoutWhiteSpace) {
    const struct {
        const char *typed, *expected;
    } cases[] = {{"plain", "plain"}, {" a  b ", "_a__b_"}, {"a\tb\u00a0c", "a_b_c"}};
    for (const auto& each : cases) {
        QString name = text("old name");
        const CaError error = display(
            [&](const QDialog& dialog) {
                auto* box = dialog.findChildren<QGroupBox*>().first();
                EXPECT_EQ(box->title(), text("Item Name:"));
                auto* edit = box->findChild<QLineEdit*>();
                EXPECT_EQ(edit->text(), text("old name"));
                edit->setText(text(each.typed));
                click(dialog, "ok");
            },
            &name);
        EXPECT_EQ(error, CaError::nullError);
        EXPECT_EQ(name, text(each.expected));
    }
}

TEST_F(DataFactoryTest, AnEmptyItemNameIsRefused) {
    QString name = text("old");
    const CaError error = display(
        [](const QDialog& dialog) {
            dialog.findChildren<QGroupBox*>().first()->findChild<QLineEdit*>()->clear();
            QString said;
            answerNextMessageBox([&](QMessageBox& box) {
                said = box.text();
                box.accept();
            });
            click(dialog, "ok");
            EXPECT_EQ(said, text("The id you gave is invalid!"));
            EXPECT_TRUE(dialog.isVisible());
            click(dialog, "cancel");
        },
        &name);
    EXPECT_EQ(error.id(), DataFactory::operationCanceledError);
    EXPECT_EQ(name, text("old"));
}

TEST_F(DataFactoryTest, WithoutANameThereIsNoFieldForOneAndDefaultsOnlyWhereTheyAreSaved) {
    for (const bool canSave : {false, true}) {
        link(canSave ? "default" : "");
        display([&](QDialog& dialog) {
            EXPECT_EQ(dialog.findChildren<QGroupBox*>().size(), 1);
            auto* save = dialog.findChild<QPushButton*>(text("saveAsDefault"));
            EXPECT_EQ(save != nullptr, canSave);
            type(dialog, "usual");
            if (save) {
                QTest::keyClick(&dialog, Qt::Key_D, Qt::AltModifier);
                // The button shows that it was pressed before it acts.
                EXPECT_TRUE(QTest::qWaitFor(
                    [] { return InstitutionWidget::savedDefault == text("usual"); }));
                EXPECT_TRUE(dialog.findChild<QtMessageLine*>(text("storeError"))
                                ->text()
                                .contains(text("New items will start")));
            }
            EXPECT_TRUE(dialog.isVisible());
            click(dialog, "cancel");
        });
    }
    EXPECT_EQ(study->institution(), text("St. Luke"));
}

// --- storing

TEST_F(DataFactoryTest, WhatCannotBeStoredStaysInTheFormAndNotInTheData) {
    const DataPointer<Data> child(new Study);
    ASSERT_EQ(study->addChild(child, false), CaError::nullError);
    study->setBinaryPart(text("part"), "bytes");
    DataFactory::DialogOptions options;
    options.title = text("A title");
    CaError answer("full", "The disk is full.");
    QStringList stored;
    options.store = [&] {
        stored << study->institution();
        return answer;
    };
    const auto failOnce = [&](QDialog& dialog) {
        EXPECT_EQ(dialog.windowTitle(), text("A title"));
        type(dialog, "St. Mary");
        click(dialog, "ok");
        EXPECT_TRUE(dialog.isVisible());
        const auto* message = dialog.findChild<QtMessageLine*>(text("storeError"));
        EXPECT_TRUE(message->isVisible());
        EXPECT_TRUE(message->text().contains(text("The disk is full.")));
        EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), text("St. Mary"));
        EXPECT_EQ(study->institution(), text("St. Luke"));
        EXPECT_EQ(study->child(0), child);
        QByteArray bytes;
        EXPECT_EQ(study->binaryPart(text("part"), bytes), CaError::nullError);
        EXPECT_EQ(bytes, "bytes");
    };
    const CaError cancelled = display(
        [&](QDialog& dialog) {
            failOnce(dialog);
            QTest::keyClick(&dialog, Qt::Key_Escape);
        },
        nullptr, options);
    EXPECT_EQ(cancelled.id(), DataFactory::operationCanceledError);
    EXPECT_EQ(study->institution(), text("St. Luke"));

    const CaError accepted = display(
        [&](QDialog& dialog) {
            failOnce(dialog);
            answer = CaError();
            click(dialog, "ok");
        },
        nullptr, options);
    EXPECT_EQ(accepted, CaError::nullError);
    EXPECT_EQ(study->institution(), text("St. Mary"));
    EXPECT_EQ(stored.count(text("St. Mary")), 3);
}

TEST_F(DataFactoryTest, TheWindowMayTakeTheDialogAlongAtAnyTime) {
    auto window = std::make_unique<QWidget>();
    DataFactory::DialogOptions options;
    const auto show = [&](QString* name, const std::function<void(QDialog&)>& drive) {
        window = std::make_unique<QWidget>();
        window->show();
        options.parent = window.get();
        const CaError error = display(drive, name, options);
        EXPECT_EQ(error.id(), DataFactory::operationCanceledError);
        EXPECT_FALSE(window);
    };
    QString name = text("name");
    show(&name, [&](QDialog& dialog) {
        dialog.findChildren<QGroupBox*>().first()->findChild<QLineEdit*>()->clear();
        answerNextMessageBox([&](QMessageBox&) { window.reset(); });
        QMetaObject::invokeMethod(dialog.findChild<QtDecoratedDataConfigurationWidget*>(), "ok");
    });
    const auto pressOk = [&](QDialog& dialog) {
        QMetaObject::invokeMethod(dialog.findChild<QtDecoratedDataConfigurationWidget*>(), "ok");
    };
    const CaConnection observer(*study, Data::CHANGED, [&](auto&&...) { window.reset(); });
    for (const char* answer : {"", "full"}) {
        options.store = [&] {
            study->notify(Data::CHANGED);
            return *answer ? CaError(answer, "The disk is full.") : CaError::nullError;
        };
        show(nullptr, pressOk);
    }
    show(nullptr, [&](QDialog& dialog) {
        QObject::connect(dialog.findChild<QtDecoratedDataConfigurationWidget*>(),
                         &QtDecoratedDataConfigurationWidget::rejected, [&] { window.reset(); });
        QMetaObject::invokeMethod(dialog.findChild<QtDecoratedDataConfigurationWidget*>(),
                                  "cancel");
    });
}

TEST_F(DataFactoryTest, TheWindowMayTakeTheDialogAlong) {
    auto window = std::make_unique<QWidget>();
    window->show();
    DataFactory::DialogOptions options;
    options.parent = window.get();
    const CaError error = display([&](QDialog&) { window.reset(); }, nullptr, options);
    EXPECT_EQ(error.id(), DataFactory::operationCanceledError);
}

#include "DataFactoryTest.moc"
