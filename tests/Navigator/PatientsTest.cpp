#include "Base/QtMessageLine.h"
#include "Data/Study.h"
#include "DataUtils/QtDataConfigurationDialog.h"
#include "Navigator/NavigatorTest.h"
#include "Patients/PatientTableModel.h"
#include "Patients/PatientsModule.h"
#include "Patients/PatientsView.h"
#include "Patients/StudyList.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMenu>

using namespace vlrTest;

namespace {

QString text(const char* latin1) {
    return QString::fromLatin1(latin1);
}

void press(const QDialog& dialog, const char* button) {
    QTest::mouseClick(dialog.findChild<QPushButton*>(text(button)), Qt::LeftButton);
}

void pressOnFullDisk(const QDialog& dialog, const char* button) {
    const FullDisk full;
    press(dialog, button);
}

QLineEdit* field(const QDialog& dialog, const char* name) {
    return dialog.findChild<QLineEdit*>(text(name));
}

std::string shownName(const QWidget& parent) {
    const auto* const name = parent.findChild<QLabel*>(text("currentPatientName"));
    const auto* const id = parent.findChild<QLabel*>(text("currentPatientId"));
    return name->accessibleName().toStdString() + '/' + id->accessibleName().toStdString();
}

struct PatientsTest : NavigatorTest {
    std::string count() const { return find<QLabel>("patientCount")->text().toStdString(); }
    void showList(const char* expectedCount) {
        m_module = new PatientsModule;
        show(m_module);
        ASSERT_TRUE(QTest::qWaitFor([&] { return count() == expectedCount; }, patience));
    }
    PatientsView* list() const { return window()->findChild<PatientsView*>(); }
    // Opens a form with the button and drives it.
    void inForm(const char* button, const std::function<void(QDialog&)>& drive) {
        inNextDialog<QtDataConfigurationDialog>([&](QDialog& form) {
            drive(form);
            form.hide();
        });
        click(button);
    }
    void makeCurrent(const char* id) {
        list()->selectId(text(id));
        click("makeCurrent");
        ASSERT_TRUE(AppBase::getCurrentPatient());
    }
    // Shows a list with one patient, who is the current one.
    void showAdams() {
        storePatient("1", "Adams");
        showList("Patients: 1");
        makeCurrent("1");
    }
    // Stores the current patient with that name, as another workstation would.
    static void storeElsewhere(const char* name) {
        const DataPointer<Patient> other = loadPatient(*AppBase::getCurrentPatient());
        other->setName(text(name));
        other->setSex(other->sex() == Patient::Male ? Patient::Female : Patient::Male);
        ASSERT_EQ(DataIOManager::storePatient(other), CaError::nullError);
    }
    static QString storedName() { return loadPatient(*AppBase::getCurrentPatient())->name(); }
    static void answerConflict(const char* button) {
        answerNextMessageBox([=](QMessageBox& box) { press(box, button); });
    }

    PatientsModule* m_module = nullptr;
};

} // namespace

TEST(PatientTableModel, MarksTheCurrentPatientOnly) {
    const MetaInformation first(vlr::URI::patient(text("a")), {});
    const MetaInformation second(vlr::URI::patient(text("b")), {});
    PatientTableModel model;
    model.setPatients({first, second});
    model.setCurrentPatient(second.uri());
    for (int row = 0; row < 2; ++row)
        for (const int role : {Qt::AccessibleTextRole, Qt::DisplayRole, Qt::FontRole}) {
            const QModelIndex mark = model.index(row, PatientTableModel::Mark);
            EXPECT_EQ(model.data(mark, role).isValid(), row == 1) << role;
        }
}

// --- the forms

TEST_F(PatientsTest, MessagesStandBesideTheirFieldsAndNothingIsLost) {
    storePatient("1");
    showList("Patients: 1");
    inForm("newPatient", [&](QDialog& form) {
        const auto expectMessage = [&form](const char* name) {
            EXPECT_TRUE(form.isVisible());
            for (const auto* message : form.findChildren<QtMessageLine*>())
                EXPECT_EQ(message->isVisible(), message->objectName() == text(name))
                    << message->objectName().toStdString() << ": " << message->text().toStdString();
        };
        field(form, "patientName")->setText(text(" Doe, Jane "));
        for (const char* id : {"  ", "1"}) {
            field(form, "patientId")->setText(text(id));
            press(form, "ok");
            expectMessage("idMessage");
        }
        field(form, "patientId")->setText(text("7"));
        pressOnFullDisk(form, "ok");
        expectMessage("storeError");
        EXPECT_EQ(count(), "Patients: 1");
        press(form, "ok"); // There is room again.
        EXPECT_FALSE(form.isVisible());
    });
    EXPECT_EQ(count(), "Patients: 2");
    DataPointer<Patient> stored;
    ASSERT_EQ(DataIOManager::loadPatient(list()->selectedPatient(), stored), CaError::nullError);
    EXPECT_EQ(stored->patientId(), text("7"));
    EXPECT_EQ(stored->name(), text("Doe, Jane"));
}

TEST_F(PatientsTest, TheCurrentPatientIsEditedInPlaceAndTheBannerIsNeverStale) {
    showAdams();
    const DataPointer<Patient> current = AppBase::getCurrentPatient();
    for (const char* button : {"cancel", "ok"}) {
        EXPECT_EQ(current->name(), text("Adams"));
        EXPECT_EQ(shownName(*window()), "Adams/Id 1");
        inForm("editPatient", [&](QDialog& form) {
            field(form, "patientName")->setText(text("Adams-Brown"));
            press(form, button);
        });
    }
    EXPECT_EQ(current->name(), text("Adams-Brown"));
    EXPECT_EQ(shownName(*window()), "Adams-Brown/Id 1");
    // What is stored at the end does not meet a newer one.
    EXPECT_EQ(DataIOManager::storePatient(current), CaError::nullError);
    AppBase::setCurrentPatient({});
    EXPECT_EQ(shownName(*window()), "No patient chosen/");
}

TEST_F(PatientsTest, TheBackupBringsBackWhatWasStored) {
    storePatient("1");
    showList("Patients: 1");
    const auto choose = [&](int entry, const std::function<void()>& next) {
        inNextDialog<QFileDialog>([&](QDialog& dialog) {
            auto& files = static_cast<QFileDialog&>(dialog);
            const QFileInfo proposed(files.selectedFiles().value(0));
            EXPECT_TRUE(proposed.dir().exists()) << proposed.filePath().toStdString();
            files.selectFile(testFolder() + text("/copy.vlr-backup"));
            next();
            dialog.accept();
        });
        find<QPushButton>("backup")->menu()->actions().at(entry)->trigger();
    };
    const auto readBox = [] { answerNextMessageBox([](QMessageBox& box) { box.accept(); }); };
    expectLog(LogLevel::UserInfo, "backed up: 1 patient in ");
    choose(0, readBox);
    AppBase::setCurrentPatient(storePatient("2"));
    for (const bool isWanted : {false, true}) {
        if (isWanted)
            expectLog(LogLevel::UserInfo, "restored: 1 patient, as of ");
        choose(1, [&] {
            answerNextMessageBox([&](QMessageBox& box) {
                EXPECT_THAT(box.text().toStdString(), HasSubstr("no longer"));
                QTest::keyClick(&box, Qt::Key_Return);
                EXPECT_TRUE(box.isVisible()) << "there is no default";
                if (!isWanted)
                    return box.reject();
                readBox();
                box.findChild<QPushButton*>(text("replacePatients"))->click();
            });
        });
        EXPECT_EQ(!AppBase::getCurrentPatient(), isWanted);
    }
    EXPECT_EQ(count(), "Patients: 1");
}

TEST_F(PatientsTest, WhatTheFormerPatientWouldLoseIsAskedAboutOnce) {
    storePatient("2", "Brown");
    storePatient("1", "Adams");
    showList("Patients: 2");
    const struct {
        QString work;
        bool isChanged;
        std::vector<const char*> losses; // none: there is no question
    } cases[] = {{{}, false, {}},
                 {text("His images go."), false, {"His images go."}},
                 {{}, true, {"Changes", "The patient was not stored. "}},
                 {text("His images go."), true, {"His images go.", "not stored"}}};
    for (const auto& each : cases) {
        for (const Qt::Key answer : {Qt::Key_Return, Qt::Key_Escape, Qt::Key_Y}) {
            AppBase::setCurrentPatient(nullptr);
            makeCurrent("1");
            const DataPointer<Patient> adams = AppBase::getCurrentPatient();
            m_module->setWorkOfPatient([&] { return each.work; });
            if (each.isChanged)
                adams->setSex(adams->sex() == Patient::Male ? Patient::Female : Patient::Male);
            std::string question;
            if (!each.losses.empty())
                answerNextMessageBox([&](QMessageBox& box) {
                    question = box.text().toStdString();
                    if (answer == Qt::Key_Y)
                        box.button(QMessageBox::Yes)->click();
                    else
                        QTest::keyClick(&box, answer);
                });
            {
                const FullDisk full;
                makeCurrent("2");
            }
            const bool isLeft = each.losses.empty() || answer == Qt::Key_Y;
            EXPECT_EQ(AppBase::getCurrentPatient() == adams, !isLeft);
            for (const char* const part : {"\"Adams\" (id 1)", "\"Brown\" (id 2)"})
                EXPECT_EQ(question.find(part) == std::string::npos, each.losses.empty());
            for (const char* const loss : each.losses)
                EXPECT_THAT(question, HasSubstr(loss));
        }
    }
    // What can be stored meanwhile is not lost, and nobody is asked.
    AppBase::setCurrentPatient(nullptr);
    makeCurrent("1");
    const DataPointer<Patient> adams = AppBase::getCurrentPatient();
    m_module->setWorkOfPatient({});
    adams->setName(text("Adams-Brown"));
    makeCurrent("2");
    EXPECT_EQ(loadPatient(*adams)->name(), text("Adams-Brown"));
}

// --- two workstations

TEST_F(PatientsTest, TheCurrentPatientFollowsWhatAnotherWorkstationStored) {
    storePatient("2", "Brown");
    storePatient("1", "Adams");
    showList("Patients: 2");
    makeCurrent("1");
    const DataPointer<Patient> first = AppBase::getCurrentPatient();
    ASSERT_EQ(first->addChild(new Study, false), CaError::nullError);
    ASSERT_EQ(first->addChild(new Study, false), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(first), CaError::nullError);
    AppBase::setCurrentStudy(dataCast<Study>(first->child(1)));
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"Reload", [&] { click("reloadPatients"); }},
        {"Make current", [&] { makeCurrent("1"); }},
        {"selecting", [&] {
             list()->selectId(text("2"));
             list()->selectId(text("1"));
         }}};
    for (const auto& [way, look] : cases) {
        SCOPED_TRACE(way);
        storeElsewhere(way);
        look();
        const DataPointer<Patient> current = AppBase::getCurrentPatient();
        EXPECT_EQ(current->name(), text(way));
        EXPECT_EQ(AppBase::getCurrentStudy(), dataCast<Study>(current->child(1)));
        current->setSex(current->sex() == Patient::Male ? Patient::Female : Patient::Male);
        EXPECT_EQ(DataIOManager::storePatient(current), CaError::nullError);
    }
}

TEST_F(PatientsTest, TheUserChoosesBetweenTwoChangesOfOnePatient) {
    showAdams();
    const struct {
        const char *answer, *current, *stored;
    } cases[] = {
        {"leave", "Mine", "Other"}, {"takeStored", "Other", "Other"}, {"keepMine", "Mine", "Mine"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.answer);
        storeElsewhere("Before");
        click("reloadPatients");
        storeElsewhere("Other");
        AppBase::getCurrentPatient()->setName(text("Mine"));
        answerConflict(each.answer);
        click("reloadPatients");
        EXPECT_EQ(AppBase::getCurrentPatient()->name(), text(each.current));
        EXPECT_EQ(storedName(), text(each.stored));

        // The same while the form is open.
        ASSERT_EQ(DataIOManager::storePatientOverOthers(AppBase::getCurrentPatient()),
                  CaError::nullError);
        const bool isLeft = text(each.answer) == text("leave");
        inForm("editPatient", [&](QDialog& form) {
            storeElsewhere("Other");
            field(form, "patientName")->setText(text("Mine"));
            answerConflict(each.answer);
            press(form, "ok");
            EXPECT_EQ(form.isVisible(), isLeft);
            EXPECT_EQ(field(form, "patientName")->text(), text("Mine"));
        });
        EXPECT_EQ(storedName(), text(each.stored));
        EXPECT_TRUE(isLeft || AppBase::getCurrentPatient()->name() == text(each.current));
    }
}

// --- studies

TEST_F(PatientsTest, StudiesOfTheCurrentPatientAreEnteredAndEdited) {
    const DataPointer<Patient> patient = storePatient("1", "Adams");
    showList("Patients: 1");
    EXPECT_FALSE(find<QPushButton>("newStudy")->isEnabled());
    AppBase::setCurrentPatient(patient);
    EXPECT_FALSE(find<QPushButton>("editStudy")->isEnabled());
    const auto enter = [&](const char* button, const char* institution,
                           void (*pressIn)(const QDialog&, const char*) = &press) {
        inForm(button, [&](QDialog& form) {
            field(form, "studyInstitution")->setText(text(institution));
            pressIn(form, "ok");
            EXPECT_EQ(form.isVisible(), pressIn == &pressOnFullDisk);
        });
    };
    inForm("newStudy", [](QDialog& form) { press(form, "cancel"); });
    enter("newStudy", "St. Luke", &pressOnFullDisk);
    EXPECT_EQ(patient->childCount(), 0);
    EXPECT_FALSE(AppBase::getCurrentStudy());
    enter("newStudy", "St. Luke");
    const DataPointer<Study> study = AppBase::getCurrentStudy();
    ASSERT_TRUE(study);
    EXPECT_EQ(study->parent(), patient.get());
    enter("editStudy", "St. Mary", &pressOnFullDisk);
    EXPECT_EQ(study->institution(), text("St. Luke"));
    enter("editStudy", "St. Mary");
    EXPECT_EQ(study->institution(), text("St. Mary"));
    enter("newStudy", "St. Paul");
    EXPECT_NE(AppBase::getCurrentStudy(), study);
    find<StudyList>("studies")->setCurrentRow(0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return AppBase::getCurrentStudy() == study; }, patience));
    EXPECT_EQ(loadPatient(*patient)->childCount(), 2);
}

// --- the list

TEST_F(PatientsTest, UnreadableRepositoryIsExplainedAndTriedAgain) {
    const QString file = testFolder() + text("/patients.sqlite");
    writeFile(file, QByteArray(4096, 'x'));
    ASSERT_EQ(
        vlr::Settings::set(text("Velora/Application/PatientRepository"), text("sqlite:") + file),
        CaError::nullError);
    show(new PatientsModule);
    auto* again = find<QPushButton>("tryAgain");
    ASSERT_TRUE(QTest::qWaitFor([&] { return again->isVisible(); }, patience));
    EXPECT_THAT(find<QLabel>("repositoryError")->text().toStdString(),
                HasSubstr("patients.sqlite"));

    ASSERT_TRUE(QFile::remove(file));
    QTest::mouseClick(again, Qt::LeftButton);
    EXPECT_FALSE(again->isVisible());
    EXPECT_EQ(count(), "Patients: 0");
}
