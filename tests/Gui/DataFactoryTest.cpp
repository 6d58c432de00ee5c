#include "DataUtils/DataFactory.h"

#include "AppBase/Dialogs/QtModuleConfigWidget.h"
#include "Data/DataTreeNode.h"
#include "DataUtils/DataWidgetRegistration.h"
#include "DataUtils/QtDataConfigurationDialog.h"
#include "DataUtils/QtDecoratedDataConfigurationWidget.h"
#include "Gui/GuiTest.h"

#include <QtWidgets/QDateEdit>
#include <QtWidgets/QGroupBox>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QVBoxLayout>

using namespace vlrTest;

namespace {

// Studies of other classes. What is logged once for a class in a process needs one of its own.
constexpr const char* classNames[] = {"SpecialStudy", "UnlinkedStudy", "MislinkedStudy"};

template <std::size_t name>
class OtherStudy : public DataRecord<OtherStudy<name>, Study> {
public:
    static constexpr const char* className = classNames[name];

protected:
    ~OtherStudy() override = default;

private:
    friend struct ::RecordAccess;
    static constexpr auto attributes() { return std::make_tuple(); }
};
using SpecialStudy = OtherStudy<0>; // Nobody linked it.
using UnlinkedStudy = OtherStudy<1>;
using MislinkedStudy = OtherStudy<2>;

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

struct DataFactoryTest : GuiTest {
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
    static QtDecoratedDataConfigurationWidget* decorated(const QDialog& dialog) {
        return dialog.findChild<QtDecoratedDataConfigurationWidget*>();
    }
    // The field of the item's name is in the first box.
    static QLineEdit* nameEdit(const QDialog& dialog) {
        return dialog.findChildren<QGroupBox*>().first()->findChild<QLineEdit*>();
    }

    DataPointer<Study> study{new Study};
};

} // namespace

// --- the tables

TEST_F(DataFactoryTest, ListsWhatIsLinkedByType) {
    linkDataToWidget("AppBaseConfig", "QtAppBaseConfigWidget", "Application Configuration", 4, "");
    DataFactory::linkDataToWidget("Zebra", "None", "", 2, "");
    DataFactory::linkDataToWidget("Zebra", "None", "", 6, "");
    const std::pair<int, const char*> cases[] = {{0, "AppBaseConfig Study Zebra"},
                                                 {4, "AppBaseConfig Study Zebra"},
                                                 {6, "Zebra"},
                                                 {1, "Study"},
                                                 {8, ""},
                                                 {2, "Zebra"}};
    for (const auto& [mask, expected] : cases) {
        const QString list = DataFactory::dataList(mask).join(QLatin1Char(' '));
        EXPECT_EQ(list, text(expected)) << mask;
        EXPECT_EQ(DataFactory::dataDescriptionList(mask).join(QLatin1Char(' ')), list);
        EXPECT_EQ(DataFactory::isType(study.get(), mask), list.contains(text("Study")));
    }
    const DataPointer<Data> derived(new SpecialStudy);
    EXPECT_FALSE(DataFactory::isType(derived.get(), 0));
    EXPECT_FALSE(DataFactory::isType(nullptr, 0));
}

TEST_F(DataFactoryTest, GivesTheLinkedWidgetAndNullWithoutOne) {
    QWidget parent;
    auto* widget = DataFactory::configurationWidget(study.get(), &parent);
    ASSERT_TRUE(qobject_cast<InstitutionWidget*>(widget));
    EXPECT_EQ(widget->parentWidget(), &parent);

    struct Other : DataWidgetRegistration<QtModuleConfigWidget> {
        Other() { registerWidget(this); }
        std::string name() const override { return "InstitutionWidget"; }
    } other;
    EXPECT_EQ(createInstitutionWidgetFactory(), 1) << "does not register again";
    widget = DataFactory::configurationWidget(study.get(), &parent);
    EXPECT_TRUE(qobject_cast<QtModuleConfigWidget*>(widget)) << "the later one";

    const DataPointer<Data> derived(new UnlinkedStudy);
    for (int i = 0; i < 2; ++i)
        EXPECT_FALSE(DataFactory::configurationWidget(derived.get(), &parent));
    EXPECT_FALSE(DataFactory::configurationWidget(nullptr, &parent));
    EXPECT_EQ(logCount(LogLevel::Info, "\"UnlinkedStudy\""), 1);
    DataFactory::linkDataToWidget("MislinkedStudy", "NobodyRegisteredThis", "", 1, "");
    expectLog(LogLevel::Warning, "createNobodyRegisteredThisFactory()");
    const DataPointer<Data> mislinked(new MislinkedStudy);
    for (int i = 0; i < 2; ++i)
        EXPECT_FALSE(DataFactory::configurationWidget(mislinked.get(), &parent));
    EXPECT_EQ(logCount(LogLevel::Warning, "\"MislinkedStudy\""), 1);
    // Nor has it a factory.
    ASSERT_EQ(study->addChild(derived, false), CaError::nullError);
    DataTreeNode stored;
    ASSERT_EQ(study->save(stored), CaError::nullError);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(study->load(stored), CaError::nullError);
    EXPECT_EQ(logCount(LogLevel::Info, "createUnlinkedStudyFactory()"), 1);
}

TEST_F(DataFactoryTest, NullIsRefusedAloud) {
    expectLog(LogLevel::Error, "null registration");
    DataFactory::registerWidget(nullptr);
    QString name = text("name");
    expectLog(LogLevel::Error, "No widget given.");
    QtDataConfigurationDialog dialog(nullptr, &name, nullptr, {});
    auto* const frame = decorated(dialog);
    QSignalSpy accepted(frame, &QtDecoratedDataConfigurationWidget::accepted);
    frame->ok();
    frame->defaults();
    EXPECT_EQ(accepted.count(), 0);
    showActive(dialog);
    EXPECT_EQ(name, text("name"));
    EXPECT_FALSE(dialog.findChild<QPushButton*>(text("ok"))->isVisible());
    click(dialog, "cancel");
    EXPECT_FALSE(dialog.isVisible());
}

TEST_F(DataFactoryTest, ReportsDataWithoutWidget) {
    const CaError expected("DataFactory::noConfigurationWidgetError");
    const DataPointer<Data> derived(new SpecialStudy);
    expectLog(LogLevel::Warning, "\"SpecialStudy\"");
    EXPECT_EQ(DataFactory::displayConfigurationDialog(derived.get(), nullptr), expected);
    expectLog(LogLevel::Error, "Data is not defined");
    EXPECT_EQ(DataFactory::displayConfigurationDialog(nullptr, nullptr), expected);
    EXPECT_EQ(std::string(logRecords().back().file), "libraries/Gui/src/DataUtils/DataFactory");
}

// --- the dialog

TEST_F(DataFactoryTest, OnlyAcceptingChangesTheData) {
    const std::tuple<const char*, std::function<void(QDialog&)>, bool> cases[] = {
        {"Escape", [](QDialog& d) { QTest::keyClick(d.focusWidget(), Qt::Key_Escape); }, false},
        {"Cancel", [](const QDialog& d) { click(d, "cancel"); }, false},
        {"Return", [](QDialog& d) { QTest::keyClick(d.focusWidget(), Qt::Key_Return); }, true},
        {"OK", [](const QDialog& d) { click(d, "ok"); }, true},
    };
    for (const auto& [way, leave, accepts] : cases) {
        SCOPED_TRACE(way);
        study->setInstitution(text("before"));
        const CaError error = display([&](QDialog& dialog) {
            type(dialog, "after");
            EXPECT_EQ(study->institution(), text("before"));
            leave(dialog);
        });
        EXPECT_EQ(study->institution(), text(accepts ? "after" : "before"));
        EXPECT_EQ(error.id(), accepts ? "" : DataFactory::operationCanceledError);
    }
    EXPECT_EQ(InstitutionWidget::cancelled, 0) << "the frame does not call it";
}

TEST_F(DataFactoryTest, AWidgetThatRefusesKeepsTheDialogOpen) {
    link("refuse");
    const CaError error = display([](QDialog& dialog) {
        QSignalSpy finished(decorated(dialog), &QtDecoratedDataConfigurationWidget::finished);
        click(dialog, "ok");
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(finished.count(), 0);
        click(dialog, "cancel");
        EXPECT_EQ(finished.count(), 1);
    });
    EXPECT_EQ(error.id(), DataFactory::operationCanceledError);
}

TEST_F(DataFactoryTest, TheItemNameIsNotEmptyAndComesBackWithoutWhiteSpace) {
    QString name = text("old name");
    const auto drive = [&](const QDialog& dialog) {
        EXPECT_EQ(dialog.findChildren<QGroupBox*>().first()->title(), text("Item Name:"));
        EXPECT_EQ(nameEdit(dialog)->text(), text("old name"));
        nameEdit(dialog)->clear();
        QString said;
        answerNextMessageBox([&](QMessageBox& box) {
            said = box.text();
            box.accept();
        });
        click(dialog, "ok");
        EXPECT_EQ(said, text("The id you gave is invalid!"));
        EXPECT_TRUE(dialog.isVisible());
        EXPECT_EQ(name, text("old name"));
        nameEdit(dialog)->setText(text(" a  b\tc\u00a0"));
        click(dialog, "ok");
    };
    EXPECT_EQ(display(drive, &name), CaError::nullError);
    EXPECT_EQ(name, text("_a__b_c_"));
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
            }
            EXPECT_TRUE(dialog.isVisible());
            click(dialog, "cancel");
        });
    }
    EXPECT_EQ(study->institution(), text("St. Luke"));
}

// --- the wheel

TEST_F(DataFactoryTest, TheWheelChangesAFieldOnlyWhileItHasTheFocus) {
    InstitutionWidget form(study.get(), {}, nullptr, {});
    auto* const page = new QWidget(&form);
    form.layout()->addWidget(page);
    auto* const combo = new QComboBox(page); // Made with their parents, the next two moved there.
    combo->addItems({text("a"), text("b"), text("c")});
    auto* const slider = new QSlider(Qt::Horizontal, page);
    showActive(form);
    auto* const spin = new QSpinBox;
    spin->setRange(-9, 9);
    auto* const date = new QDateEdit(QDate(1968, 3, 5));
    auto* const column = new QVBoxLayout(page);
    for (QWidget* field : std::initializer_list<QWidget*>{combo, slider, spin, date}) {
        column->addWidget(field);
        field->show();
    }
    combo->setCurrentIndex(1);
    slider->setValue(5);
    const auto values = [&] {
        return std::make_tuple(combo->currentIndex(), slider->value(), spin->value(), date->date());
    };
    for (QWidget* field : std::initializer_list<QWidget*>{combo, slider, spin, date}) {
        SCOPED_TRACE(field->metaObject()->className());
        form.setFocus();
        const auto before = values();
        EXPECT_FALSE(turnWheel(field, -120)) << "What lies around it is scrolled";
        EXPECT_EQ(values(), before);
        EXPECT_NE(field->focusPolicy(), Qt::WheelFocus);
        field->setFocus();
        EXPECT_TRUE(turnWheel(field, -120));
        EXPECT_NE(values(), before);
    }
    QScrollBar bar(&form);
    EXPECT_TRUE(turnWheel(&bar, -120));
    EXPECT_NE(bar.value(), 0);
}

// --- storing

TEST_F(DataFactoryTest, WhatCannotBeStoredStaysInTheFormAndNotInTheData) {
    const DataPointer<Data> child(new Study);
    ASSERT_EQ(study->addChild(child, false), CaError::nullError);
    study->setBinaryPart(text("part"), "bytes");
    QStringList stored;
    DataFactory::DialogOptions options;
    options.store = [&] {
        stored << study->institution();
        return stored.size() < 2 ? CaError("full", "The disk is full.") : CaError::nullError;
    };
    const auto failAndStore = [&](QDialog& dialog) {
        type(dialog, "St. Mary");
        click(dialog, "ok");
        EXPECT_TRUE(dialog.isVisible());
        const auto* message = dialog.findChild<QtMessageLine*>(text("storeError"));
        EXPECT_TRUE(message->text().contains(text("The disk is full.")));
        EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), text("St. Mary"));
        EXPECT_EQ(study->institution(), text("St. Luke"));
        EXPECT_FALSE(study->isStored());
        EXPECT_EQ(study->child(0), child);
        QByteArray bytes;
        EXPECT_EQ(study->binaryPart(text("part"), bytes), CaError::nullError);
        EXPECT_EQ(bytes, "bytes");
        click(dialog, "ok");
    };
    EXPECT_EQ(display(failAndStore, nullptr, options), CaError::nullError);
    EXPECT_EQ(study->institution(), text("St. Mary"));
    EXPECT_EQ(stored, (QStringList{text("St. Mary"), text("St. Mary")}));
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
    const auto pressOk = [&](QDialog& dialog) {
        QMetaObject::invokeMethod(decorated(dialog), "ok");
    };
    show(nullptr, [&](QDialog&) { window.reset(); });
    QString name = text("name");
    show(&name, [&](QDialog& dialog) {
        nameEdit(dialog)->clear();
        answerNextMessageBox([&](QMessageBox&) { window.reset(); });
        pressOk(dialog);
    });
    const CaConnection observer(*study, Data::CHANGED, [&](auto&&...) { window.reset(); });
    for (const char* answer : {"", "full"}) {
        options.store = [&] {
            study->notify(Data::CHANGED);
            return *answer ? CaError(answer, "The disk is full.") : CaError::nullError;
        };
        show(nullptr, pressOk);
    }
}

#include "DataFactoryTest.moc"
