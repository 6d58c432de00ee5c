#include "DataUtils/QtPatientConfigurationWidget.h"

#include "DataUtils/DateText.h"
#include "DataUtils/FreePatientId.h"
#include "DataUtils/QtDataConfigurationDialog.h"
#include "Gui/GuiTest.h"

#include <QtWidgets/QCheckBox>
#include <QtWidgets/QDateEdit>

using namespace vlrTest;

namespace {

// The form with its fields at hand.
struct Form {
    explicit Form(const DataPointer<Patient>& patient)
        : widget(patient.get(), {}, nullptr, {}), id(find<QLineEdit>("patientId")),
          name(find<QLineEdit>("patientName")), sex(find<QComboBox>("patientSex")),
          birthDate(find<QDateEdit>("patientBirthDate")),
          notKnown(find<QCheckBox>("birthDateNotKnown")),
          message(find<QtMessageLine>("birthDateMessage")) {}
    /// Types into the whole field and goes on to the next.
    void type(const QString& what) const {
        birthDate->setFocus();
        QTest::keyClicks(birthDate, what);
        if (what.isEmpty())
            QTest::keyClick(birthDate, Qt::Key_Delete);
        QTest::keyClick(birthDate, Qt::Key_Tab);
    }
    template <class Field>
    Field* find(const char* objectName) {
        return widget.findChild<Field*>(text(objectName));
    }

    QtPatientConfigurationWidget widget;
    QLineEdit* id;
    QLineEdit* name;
    QComboBox* sex;
    QDateEdit* birthDate;
    QCheckBox* notKnown;
    QtMessageLine* message;
};

struct PatientFormTest : GuiTest {
    ~PatientFormTest() override { DataIOManager::closeRepository(); }
};

} // namespace

// --- ids

TEST(FreePatientId, IsTheFirstFreeNumber) {
    const std::tuple<std::vector<const char*>, int, const char*> cases[] = {
        {{}, 1000000, "0000000"},
        {{"0", "1", "3"}, 1000, "0002"},
        {{"0000", "001", "2"}, 1000, "0003"},
        {{"2", "0", "1", "1"}, 4, "3"},
        {{"0", "1", "2"}, 3, ""}, // The maximum itself is never handed out.
        {{}, 1, "0"},
        {{}, 0, ""},
        {{""}, 1000, "0001"}, // Padded it is "0000".
        {{" 0", "1\u200b"}, 1000, "0002"},
        {{"x0", "0 0", "-1", "00000", "99999999999999999999", "\u0660"}, 1000, "0000"},
    };
    for (const auto& [taken, maximum, expected] : cases) {
        std::vector<QString> ids;
        for (const char* id : taken)
            ids.push_back(text(id));
        EXPECT_EQ(vlr::firstFreePatientId(ids, maximum), text(expected));
    }
}

TEST_F(PatientFormTest, ARepositoryThatCannotBeReadIsSaidTwiceAndTheFormOpens) {
    const QString file = testFolder() + text("/patients.sqlite");
    writeFile(file, QByteArray(4096, 'x'));
    setting("PatientRepository", text("sqlite:") + file);
    const char* const said = "Could not read local patient repository.\nReason: ";
    expectLog(LogLevel::UserError, said);
    expectLog(LogLevel::Error, said);
    EXPECT_EQ(Form(new Patient).id->text(), text("0000000"));
}

// --- dates

TEST(DateText, IsUnderstoodOrRefusedWithTheReason) {
    // The locale, the date in ISO or a part of the reason, and what is typed.
    const std::tuple<const char*, const char*, std::vector<const char*>> cases[] = {
        {"C",
         "1968-03-05",
         {"05 Mar 1968", " 5  mar. 1968 ", "March 5, 1968", "05Mar1968", "1968-March-5",
          "1968-03-05", "1968.3.5", "05.03.1968", "\u0660\u0665 Mar \u0661\u0669\u0666\u0668"}},
        {"C", "1968-02-29", {"29 Feb 1968"}},
        {"C", "05 Mar 1968 or 03 May 1968", {"05/03/1968", "05 03 1968"}},
        {"C", "1968-05-05", {"05/05/1968"}},
        {"C", "1968-03-13", {"13/03/1968", "3-13-1968"}},
        {"C",
         "no date",
         {"13-13-1968", "5 De 1968", "1968 003 05", "196 03 05", "05.03/1968", "05031968",
          "5 Mar 1968 12:00", "Mar 1968", ""}},
        {"de_DE", "1968-03-05", {"05.03.1968", "5/3/1968", "5. M\u00e4rz 1968", "5 march 1968"}},
        {"de_DE", "no such date: day 3 of month 25", {"3.25.1968"}},
        {"en_US", "1968-03-05", {"3/5/1968", "3-5-1968"}},
        {"en_US", "05 Mar 1968 or 03 May 1968", {"05.03.1968"}},
        {"en_US", "1968-03-25", {"25.03.1968"}},
        {"ja_JP", "1968-03-05", {"05 3\u6708 1968", "1968/3/5"}},
        {"ja_JP", "may be", {"3/5/1968"}},
        {"fr_FR", "no date", {"5 jui 1968"}}, // juin or juillet
        {"fr_FR", "1968-07-05", {"5 juil. 1968"}},
        {"C", "no such date", {"31 Feb 1968", "0 Mar 1968"}},
        {"C", "1919 or 2019", {"03 Feb 19"}},
        {"C", "1968 or 2068", {"03.02.68", "Feb 3, 68"}},
        {"C", "four digits", {"03 Feb 196", "03 Feb 19680", "5 6 Mar"}},
        {"C", "before 01 Jan 1900", {"31 Dec 1899"}},
        {"C", "1900-01-01", {"1 Jan 1900"}},
    };
    for (const auto& [locale, expected, texts] : cases)
        for (const char* typed : texts) {
            SCOPED_TRACE(testing::Message() << locale << ": " << typed);
            const vlr::ReadDate read =
                vlr::readDate(text(typed), QLocale(text(locale)), QDate(1900, 1, 1));
            const QString date = read.value.date().toString(Qt::ISODate);
            EXPECT_TRUE((date + read.problem).contains(text(expected)))
                << date.toStdString() << read.problem.toStdString();
            EXPECT_NE(read.problem.isEmpty(), date.isEmpty());
        }
}

TEST_F(PatientFormTest, WhatIsTypedAsDateOfBirthIsTakenOrMarkedAndNeverChanged) {
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"05.03.1968", "05 Mar 1968", ""},
        {"5 march 2001", "05 Mar 2001", ""},
        {"05 Nov 2060", "05 Nov 2060", "future"},
        {"03 Feb 19", "03 Feb 19", "1919"},
        {"soon", "soon", "no date"},
        {"06 Jun 1887", "06 Jun 1887", "before 01 Jan 1900"},
        {"", "", "Not known"},
    };
    QDate saved;
    for (const auto& [typed, shown, reason] : cases) {
        SCOPED_TRACE(typed);
        const DataPointer<Patient> patient = storePatient(shown + std::string("id"));
        patient->setBirthDate(QDate(1950, 1, 2));
        Form form(patient);
        showActive(form.widget);
        form.name->setText(text("changed"));
        form.type(text(typed));
        EXPECT_EQ(QApplication::focusWidget(), form.notKnown);
        const bool isTaken = !*reason || text(reason) == text("future");
        EXPECT_EQ(form.birthDate->text(), text(shown));
        EXPECT_TRUE(form.message->text().contains(text(reason)))
            << form.message->text().toStdString();
        EXPECT_EQ(form.message->text().isEmpty(), !*reason);
        form.birthDate->setFocus(Qt::BacktabFocusReason);
        form.widget.hide();
        form.widget.show();
        EXPECT_EQ(form.birthDate->text(), text(shown)) << "comes and goes";
        EXPECT_EQ(form.widget.ok(), isTaken);
        EXPECT_EQ(patient->name(), text(isTaken ? "changed" : "Somebody"));
        EXPECT_EQ(patient->birthDate(), isTaken ? form.birthDate->date() : QDate(1950, 1, 2));
        saved = isTaken ? patient->birthDate() : saved;
        form.widget.saveAsDefault();
        EXPECT_EQ(Form(new Patient).birthDate->date(), saved);
    }
}

TEST_F(PatientFormTest, ArrowKeysChangeThePartAtTheCursor) {
    const std::tuple<int, int, QDate> cases[] = {
        {0, Qt::Key_Up, {1968, 3, 6}},   {2, Qt::Key_Down, {1968, 3, 4}},
        {3, Qt::Key_Down, {1968, 2, 5}}, {6, Qt::Key_Up, {1968, 4, 5}},
        {7, Qt::Key_Up, {1969, 3, 5}},   {11, Qt::Key_Down, {1967, 3, 5}}};
    for (const auto& [cursor, key, expected] : cases) {
        Form form(new Patient);
        form.birthDate->setDate(QDate(1968, 3, 5));
        form.birthDate->findChild<QLineEdit*>()->setCursorPosition(cursor);
        QTest::keyClick(form.birthDate, Qt::Key(key));
        EXPECT_EQ(form.birthDate->date(), expected) << cursor;
    }
    Form form(new Patient);
    auto* const edit = form.birthDate->findChild<QLineEdit*>();
    edit->setText(text("soon"));
    form.birthDate->stepBy(1);
    EXPECT_EQ(edit->text(), text("soon"));
}

TEST_F(PatientFormTest, ANewIdHasAVisibleCharacter) {
    const DataPointer<Patient> patient(new Patient);
    Form form(patient);
    showActive(form.widget);
    const auto* const message = form.find<QtMessageLine>("idMessage");
    for (const char* blank : {"", "  ", "\u2003\u200b"}) {
        form.id->setText(text(blank));
        EXPECT_FALSE(form.widget.ok());
        EXPECT_EQ(message->text(), text("Enter the id of the patient."));
        EXPECT_EQ(QApplication::focusWidget(), form.id);
        EXPECT_TRUE(patient->patientId().isEmpty());
    }
    form.id->setText(text(" 7"));
    EXPECT_TRUE(form.widget.ok());
    EXPECT_EQ(patient->patientId(), text("7"));
    const DataPointer<Patient> old(new Patient);
    old->setPatientId(text("\u202e7 "));
    old->setName(text("Doe\u200b"));
    Form form2(old);
    EXPECT_EQ(form2.id->text(), text("\\u202E7\\u0020"));
    EXPECT_TRUE(form2.find<QtMessageLine>("nameMessage")->text().contains(text("Doe\\u200B")));
    EXPECT_TRUE(form2.widget.ok()) << "An old one can still be edited";
    EXPECT_EQ(old->patientId(), text("\u202e7 "));
    EXPECT_EQ(old->name(), text("Doe\u200b"));
}

TEST_F(PatientFormTest, WhatIsNotWhatItLooksLikeIsConfirmed) {
    storePatient("OOO1", "Doe");
    const DataPointer<Patient> patient(new Patient);
    Form form(patient);
    showActive(form.widget);
    const auto* const message = form.find<QtMessageLine>("idMessage");
    auto* const isAnother = form.find<QCheckBox>("isAnotherPatient");
    form.id->setText(text("\u202e1000"));
    form.name->setText(text("A\u200bB"));
    EXPECT_FALSE(form.widget.ok());
    EXPECT_EQ(form.id->text() + form.name->text(), text("1000AB"));
    EXPECT_TRUE(message->text().contains(text("\\u202E1000"))) << message->text().toStdString();
    EXPECT_TRUE(form.widget.ok());
    EXPECT_EQ(patient->name(), text("AB"));

    form.id->selectAll();
    form.id->setFocus();
    QTest::keyClicks(form.id, text("0001"));
    EXPECT_TRUE(isAnother->isHidden());
    QTest::keyClick(form.id, Qt::Key_Tab);
    EXPECT_TRUE(message->text().contains(text("\"OOO1\" of the patient \"Doe\"")));
    EXPECT_FALSE(form.widget.ok());
    EXPECT_EQ(QApplication::focusWidget(), isAnother);
    (void)form.widget.showStoreError(CaError::nullError); // As before every attempt.
    EXPECT_FALSE(form.widget.ok()) << "once more is no confirmation";
    QTest::keyClick(isAnother, Qt::Key_Space);
    (void)form.widget.showStoreError(CaError::nullError);
    EXPECT_TRUE(form.widget.ok());
    EXPECT_EQ(patient->patientId(), text("0001"));
    QTest::keyClicks(form.id, text("x"));
    QTest::keyClick(form.id, Qt::Key_Backspace);
    EXPECT_FALSE(form.widget.ok()) << "it was confirmed for another one";
}

// --- values

TEST_F(PatientFormTest, ValuesSurviveTheFormAndTheRepository) {
    const std::tuple<const char*, const char*, Patient::Sex, QDate> cases[] = {
        {"0000", "Doe^Jane", Patient::Female, {1968, 3, 5}},
        {"a  b", "\u5c71\u7530\u592a\u90ce", Patient::Male, {1900, 1, 1}},
        {"7", "Nu\u00f1ez \u0627\u0644\u0639\u0631\u0628\u064a\u0629", Patient::Unknown, {}},
    };
    for (const auto& [id, name, sex, birthDate] : cases) {
        SCOPED_TRACE(id);
        const DataPointer<Patient> patient(new Patient);
        {
            Form form(patient);
            form.id->setText(text(id));
            form.name->setText(text(name));
            form.sex->setCurrentIndex(form.sex->findData(sex));
            if (birthDate.isValid())
                form.birthDate->setDate(birthDate);
            EXPECT_TRUE(patient->patientId().isEmpty());
            EXPECT_TRUE(form.widget.ok());
        }
        EXPECT_EQ(patient->id(), text(id));
        ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
        const DataPointer<Patient> stored = loadPatient(*patient);

        Form form(stored);
        EXPECT_TRUE(form.id->isReadOnly());
        EXPECT_EQ(form.widget.focusProxy(), form.name);
        EXPECT_EQ(form.id->text(), text(id));
        EXPECT_EQ(form.name->text(), text(name));
        EXPECT_EQ(form.sex->currentData().toInt(), sex);
        EXPECT_EQ(form.notKnown->isChecked(), !birthDate.isValid());
        EXPECT_TRUE(form.widget.ok());
        EXPECT_EQ(stored->patientId(), text(id));
        EXPECT_EQ(stored->name(), text(name));
        EXPECT_EQ(stored->birthDate(), birthDate);
    }
}

TEST_F(PatientFormTest, ADateOfBirthIsOnlyChangedByEnteringOne) {
    const DataPointer<Patient> patient = storePatient("1");
    const QDate tooEarly(1887, 6, 5);
    patient->setBirthDate(tooEarly);
    {
        Form form(patient);
        showActive(form.widget);
        EXPECT_EQ(form.birthDate->minimumDate(), QDate(1900, 1, 1));
        EXPECT_EQ(form.birthDate->text(), text("05 Jun 1887"));
        EXPECT_TRUE(form.message->text().contains(text("1900")));
        EXPECT_TRUE(form.widget.ok());
        EXPECT_EQ(patient->birthDate(), tooEarly);
        form.birthDate->stepBy(1); // Not to 1900.
        EXPECT_EQ(form.birthDate->text(), text("05 Jun 1887"));
        EXPECT_TRUE(form.widget.ok());
        EXPECT_EQ(patient->birthDate(), tooEarly);
        form.birthDate->setDate(QDate(1900, 1, 1));
        form.birthDate->stepBy(-1);
        EXPECT_TRUE(form.widget.ok());
        EXPECT_EQ(patient->birthDate(), QDate(1900, 1, 1));
        form.notKnown->setChecked(true);
        EXPECT_EQ(form.birthDate->text(), QString());
        EXPECT_TRUE(form.widget.ok());
        EXPECT_FALSE(patient->birthDate().isValid());
        QTest::mouseClick(form.notKnown, Qt::LeftButton, {},
                          QPoint(5, form.notKnown->height() / 2));
        EXPECT_EQ(QApplication::focusWidget(), form.birthDate);
        EXPECT_FALSE(form.widget.ok()) << "no date of its own";
        form.birthDate->setDate(QDate::currentDate());
        EXPECT_TRUE(form.widget.ok());
        EXPECT_EQ(patient->birthDate(), QDate::currentDate());
        patient->setBirthDate({});
    }
    Form form(patient);
    EXPECT_TRUE(form.notKnown->isChecked());
    form.birthDate->setDate(QDate(2001, 2, 3));
    EXPECT_FALSE(form.notKnown->isChecked()) << "Who enters a date knows it";
}

TEST_F(PatientFormTest, DefaultsAreThereAtTheNextStart) {
    setting("MaxPatientID", 1000);
    {
        Form form(new Patient);
        form.name->setText(text("M\u00fcller^"));
        form.sex->setCurrentIndex(form.sex->findText(text("Male")));
        form.birthDate->setDate(QDate(1950, 5, 6));
        EXPECT_TRUE(form.widget.canSaveAsDefault());
        form.widget.saveAsDefault();
    }
    storePatient("0");
    Form form(new Patient);
    EXPECT_EQ(form.id->text(), text("0001")) << "The id is not one of them";
    EXPECT_EQ(form.name->text(), text("M\u00fcller^"));
    EXPECT_EQ(form.sex->currentData().toInt(), Patient::Male);
    EXPECT_EQ(form.birthDate->date(), QDate(1950, 5, 6));
    EXPECT_EQ(Form(storePatient("9", "Doe")).name->text(), text("Doe"));
}

TEST_F(PatientFormTest, ADateOfBirthInTheFutureIsMarked) {
    Form form(storePatient("1"));
    form.birthDate->setDate(QDate::currentDate().addDays(1));
    EXPECT_TRUE(form.message->text().contains(text("future")));
    form.birthDate->setDate(QDate::currentDate());
    EXPECT_EQ(form.message->text(), QString());
}

TEST_F(PatientFormTest, OtherDataGivesAnEmptyFormThatDoesNothing) {
    expectLog(LogLevel::CaError, "QtPatientConfigurationWidget::"
                                 "QtPatientConfigurationWidget(): No patient given!");
    const DataPointer<Data> study(new Study);
    QtPatientConfigurationWidget widget(study.get(), {}, nullptr, {});
    EXPECT_TRUE(widget.findChildren<QWidget*>().isEmpty());
    EXPECT_TRUE(widget.ok());
    widget.saveAsDefault();
}

// --- by keyboard

TEST_F(PatientFormTest, FieldsFollowOneAnother) {
    const DataPointer<Patient> patient(new Patient);
    auto* widget = new QtPatientConfigurationWidget(patient.get(), {}, nullptr, {});
    QtDataConfigurationDialog dialog(widget, nullptr, nullptr, {});
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
    QStringList visited;
    for (int i = 0; i < 10; ++i) { // Day, month and year of the date are one each.
        visited << dialog.focusWidget()->objectName();
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Tab);
    }
    visited.removeDuplicates();
    EXPECT_EQ(visited.join(QLatin1Char(' ')).toStdString(),
              "patientId patientName patientSex patientBirthDate birthDateNotKnown "
              "saveAsDefault ok cancel");
    auto* const birthDate = widget->findChild<QDateEdit*>();
    EXPECT_EQ(birthDate->accessibleName(), text("Patient Date of Birth"));
    birthDate->setFocus();
    QTest::keyClicks(birthDate, text("5.3.1968"));
    QTest::keyClick(birthDate, Qt::Key_Return);
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    EXPECT_EQ(patient->birthDate(), QDate(1968, 3, 5));
}

TEST_F(PatientFormTest, TwoWorkstationsNeverGiveOneId) {
    createQtPatientConfigurationWidgetFactory();
    linkDataToWidget("Patient", "QtPatientConfigurationWidget", "", 1, "");
    const DataPointer<Patient> patient(new Patient);
    DataFactory::DialogOptions options;
    options.store = [&] { return DataIOManager::storePatient(patient); };
    inNextDialog<QtDataConfigurationDialog>([&](QDialog& dialog) {
        ASSERT_TRUE(QTest::qWaitForWindowActive(&dialog));
        const auto* id = dialog.findChild<QLineEdit*>(text("patientId"));
        const auto* message = dialog.findChild<QtMessageLine*>(text("idMessage"));
        EXPECT_EQ(id->text(), text("0000000"));
        QTest::keyClick(&dialog, Qt::Key_N, Qt::AltModifier);
        QTest::keyClicks(dialog.focusWidget(), text("Doe, Jane"));
        storePatient("0000000", "by another workstation");
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
        EXPECT_TRUE(message->text().contains(text("0000000 in the meantime")));
        EXPECT_TRUE(patient->name().isEmpty());
        QTest::keyClick(&dialog, Qt::Key_U, Qt::AltModifier);
        // The button shows that it was pressed before it acts.
        EXPECT_TRUE(QTest::qWaitFor([&] { return id->text() == text("0000001"); }));
        EXPECT_EQ(message->text(), QString());
        QTest::keyClick(dialog.focusWidget(), Qt::Key_Return);
        EXPECT_FALSE(dialog.isVisible());
        dialog.hide();
    });
    EXPECT_EQ(DataFactory::displayConfigurationDialog(patient.get(), nullptr, options),
              CaError::nullError);
    MetaInformation stored;
    ASSERT_EQ(DataIOManager::loadPatientMetaInfo(patient->storage().uri, stored),
              CaError::nullError);
    EXPECT_EQ(stored.value(text("id")), text("0000001"));
    EXPECT_EQ(stored.value(text("name")), text("Doe, Jane"));
}
