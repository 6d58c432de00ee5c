#include "DataUtils/QtStudyConfigurationWidget.h"

#include "Data/DataTreeNode.h"
#include "Gui/GuiTest.h"

#include <QtWidgets/QDateTimeEdit>

using namespace vlrTest;

namespace {

struct Form {
    explicit Form(const DataPointer<Study>& study)
        : widget(study.get(), {}, nullptr, {}),
          institution(widget.findChild<QLineEdit*>(text("studyInstitution"))),
          dateTime(widget.findChild<QDateTimeEdit*>(text("studyDateTime"))) {}

    QtStudyConfigurationWidget widget;
    QLineEdit* institution;
    QDateTimeEdit* dateTime;
};

struct StudyFormTest : GuiTest {
    static DataPointer<Study> loaded(const DataPointer<Study>& study) {
        DataTreeNode node;
        EXPECT_EQ(study->save(node), CaError::nullError);
        const DataPointer<Study> result(new Study);
        EXPECT_EQ(result->load(node), CaError::nullError);
        return result;
    }
};

} // namespace

TEST_F(StudyFormTest, ANewStudyStartsAtThePresentDateAndTime) {
    const DataPointer<Study> study(new Study);
    const QDateTime before = QDateTime::currentDateTimeUtc();
    Form form(study);
    EXPECT_TRUE(form.widget.ok());
    const QDateTime after = QDateTime::currentDateTimeUtc();
    const QDateTime shown(study->date(), study->time(), Qt::UTC);
    EXPECT_GE(shown.toSecsSinceEpoch(), before.toSecsSinceEpoch());
    EXPECT_LE(shown, after);
    EXPECT_EQ(study->time().msec(), 0);
    EXPECT_EQ(study->institution(), QString());
}

// Half past two did not exist in Berlin that night; the study says so nevertheless.
TEST_F(StudyFormTest, AnExistingStudyKeepsWhatNobodyChanges) {
    qputenv("TZ", "Europe/Berlin");
    const DataPointer<Study> study(new Study);
    study->setInstitution(text("H\u00f4pital St. Luc  \u2116 3"));
    study->setDate(QDate(2024, 3, 31));
    study->setTime(QTime(2, 30, 15));
    Form form(study);
    EXPECT_TRUE(form.widget.ok());
    EXPECT_EQ(study->institution(), text("H\u00f4pital St. Luc  \u2116 3"));
    EXPECT_EQ(study->date(), QDate(2024, 3, 31));
    EXPECT_EQ(study->time(), QTime(2, 30, 15));

    form.institution->setText(text("St. Mary"));
    form.dateTime->setDate(QDate(2025, 1, 2));
    form.dateTime->setTime(QTime(3, 4, 5, 678));
    EXPECT_EQ(study->institution(), text("H\u00f4pital St. Luc  \u2116 3"));
    EXPECT_TRUE(form.widget.ok());
    EXPECT_EQ(study->institution(), text("St. Mary"));
    EXPECT_EQ(study->date(), QDate(2025, 1, 2));
    EXPECT_EQ(study->time(), QTime(3, 4, 5));
    qputenv("TZ", "UTC");
}

TEST_F(StudyFormTest, AnUnknownDateStaysUnknownUntilItIsEdited) {
    const DataPointer<Study> study = loaded(new Study);
    Form form(study);
    EXPECT_EQ(form.dateTime->accessibleDescription(), text("Not known"));
    EXPECT_EQ(form.dateTime->text(), QString());
    form.institution->setText(text("St. Mary"));
    EXPECT_TRUE(form.widget.ok());
    EXPECT_EQ(study->institution(), text("St. Mary"));
    EXPECT_FALSE(study->date().isValid());
    EXPECT_FALSE(study->time().isValid());
    form.dateTime->setDate(QDate(2025, 1, 2));
    EXPECT_EQ(form.dateTime->accessibleDescription(), QString());
    EXPECT_TRUE(form.widget.ok());
    EXPECT_EQ(study->date(), QDate(2025, 1, 2));
}

TEST_F(StudyFormTest, TheInstitutionSavedAsDefaultIsThereAtTheNextStart) {
    {
        Form form(new Study);
        form.institution->setText(text("St. Luke \u4eac\u90fd"));
        form.widget.saveAsDefault();
    }
    const DataPointer<Patient> patient = makePatient("1");
    const DataPointer<Study> study(new Study);
    ASSERT_EQ(patient->addChild(study, false), CaError::nullError);
    study->setDate(QDate(2024, 1, 1));
    Form form(study);
    EXPECT_EQ(form.institution->text(), text("St. Luke \u4eac\u90fd"));
    EXPECT_TRUE(form.widget.ok());
    EXPECT_EQ(study->date(), QDate(2024, 1, 1));
    EXPECT_FALSE(study->time().isValid());

    study->setInstitution(QString());
    EXPECT_EQ(Form(loaded(study)).institution->text(), QString());
    study->setInstitution(text("St. Mary"));
    EXPECT_EQ(Form(study).institution->text(), text("St. Mary"));
    study->setInstitution(QString());
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
    EXPECT_EQ(Form(study).institution->text(), QString()) << "stored meanwhile";
    DataIOManager::closeRepository();
}

TEST_F(StudyFormTest, WhatIsNoDateAndTimeIsRefusedAndStays) {
    const DataPointer<Study> study(new Study);
    Form form(study);
    const auto* const message = form.widget.findChild<QtMessageLine*>(text("dateTimeMessage"));
    auto* const edit = form.dateTime->findChild<QLineEdit*>();
    const std::pair<const char*, const char*> cases[] = {{"22 Nov 2026 25:00", "no time"},
                                                         {"22 Nov 2026", "time"},
                                                         {"22 Nov 26 10:00", "2026"},
                                                         {"", "no date"},
                                                         {"01 Jan 1700 10:00", "1752"}};
    form.institution->setText(text("St. Mary"));
    for (const auto& [typed, reason] : cases) {
        SCOPED_TRACE(typed);
        edit->setText(text(typed));
        EXPECT_EQ(message->text(), QString());
        EXPECT_FALSE(form.widget.ok());
        EXPECT_TRUE(message->text().contains(text(reason))) << message->text().toStdString();
        EXPECT_EQ(edit->text(), text(typed));
        EXPECT_EQ(form.widget.focusWidget(), form.dateTime);
        EXPECT_EQ(study->institution(), QString());
    }
    edit->setText(text("5.3.2026 9:05"));
    EXPECT_TRUE(form.widget.ok());
    EXPECT_TRUE(message->text().isEmpty() && message->isHidden());
    EXPECT_EQ(QDateTime(study->date(), study->time()), QDateTime({2026, 3, 5}, {9, 5}));
}

TEST_F(StudyFormTest, FieldsFollowOneAnother) {
    Form form(new Study);
    showActive(form.widget);
    EXPECT_EQ(QApplication::focusWidget(), form.institution);
    QTest::keyClick(form.institution, Qt::Key_Tab);
    EXPECT_EQ(QApplication::focusWidget(), form.dateTime);
}

TEST_F(StudyFormTest, OtherDataGivesAnEmptyFormThatDoesNothing) {
    expectLog(LogLevel::CaError, "QtStudyConfigurationWidget::"
                                 "QtStudyConfigurationWidget(): No study given!");
    const DataPointer<Data> patient(new Patient);
    QtStudyConfigurationWidget widget(patient.get(), {}, nullptr, {});
    EXPECT_EQ(logRecords().back().line, 87);
    EXPECT_TRUE(widget.findChildren<QWidget*>().isEmpty());
    EXPECT_TRUE(widget.ok());
    widget.saveAsDefault();
}
