#include "AppBase/QtConfigDialog.h"
#include "Base/QtMessageLine.h"
#include "Common/CurrentPatientBanner.h"
#include "Data/Study.h"
#include "DataUtils/QtDataConfigurationDialog.h"
#include "IO/DataIOManager.h"
#include "Navigator/NavigatorTest.h"
#include "Patients/PatientTableModel.h"
#include "Patients/PatientsModule.h"
#include "Patients/PatientsView.h"
#include "Patients/StudyList.h"
#include "Settings/vlrSettings.h"
#include "Support/MessageBoxes.h"

#include <QtCore/QDirIterator>
#include <QtCore/QMap>
#include <QtCore/QStandardPaths>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>
#include <QtWidgets/QCheckBox>
#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTabWidget>
#include <QtWidgets/QTableView>

#include <gmock/gmock.h>

using namespace vlrTest;

namespace {

QString text(const char* latin1) {
    return QString::fromLatin1(latin1);
}

MetaInformation patientWithId(const char* id, const char* uid = "") {
    return {vlr::URI::patient(text(uid)), {{text("id"), text(id)}}};
}

QString databasePath() {
    return QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
           text("/patients.sqlite");
}

// All that is kept, by path; the shared memory of the database is nothing that is kept.
QMap<QString, QByteArray> filesOfTheUser() {
    QMap<QString, QByteArray> files;
    QDirIterator it(QDir::homePath(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (!path.endsWith(text("-shm")))
            files[path] = readFile(path);
    }
    return files;
}

class PatientsTest : public NavigatorTest {
protected:
    QString count() const { return find<QLabel>("patientCount")->text(); }
    void showList(const char* expectedCount) {
        show(new PatientsModule);
        ASSERT_TRUE(QTest::qWaitFor([&] { return count() == text(expectedCount); }, patience));
    }
    // Opens a form with the button and drives it.
    void inForm(const char* button, const std::function<void(QDialog&)>& drive) {
        inNextDialog<QtDataConfigurationDialog>([&](QDialog& form) { drive(form); });
        QTest::mouseClick(find<QPushButton>(button), Qt::LeftButton);
    }
    static void press(const QDialog& dialog, const char* button) {
        QTest::mouseClick(dialog.findChild<QPushButton*>(text(button)), Qt::LeftButton);
    }
    void makeCurrent(const char* id) {
        window()->findChild<PatientsView*>()->selectId(text(id));
        QTest::mouseClick(find<QPushButton>("makeCurrent"), Qt::LeftButton);
        ASSERT_TRUE(AppBase::getCurrentPatient());
    }
    // Stores the current patient with that name, as another workstation would.
    static void storeElsewhere(const char* name) {
        DataPointer<Patient> other;
        ASSERT_EQ(DataIOManager::loadPatient(AppBase::getCurrentPatient()->storageUri(), other),
                  CaError::nullError);
        other->setName(text(name));
        other->setSex(other->sex() == Patient::Male ? Patient::Female : Patient::Male);
        ASSERT_EQ(DataIOManager::storePatient(other), CaError::nullError);
    }
    static QString storedName() {
        MetaInformation stored;
        EXPECT_EQ(
            DataIOManager::loadPatientMetaInfo(AppBase::getCurrentPatient()->storageUri(), stored),
            CaError::nullError);
        return stored.value(text("name"));
    }
    static void answerConflict(const char* button) {
        answerNextMessageBox([=](QMessageBox& box) { press(box, button); });
    }
    static QString shown(const QWidget& parent, const char* name) {
        return parent.findChild<QLabel*>(text(name))->accessibleName();
    }
};

} // namespace

TEST(PatientTableModel, MarksTheCurrentPatientOnly) {
    const MetaInformation second = patientWithId("2", "b");
    PatientTableModel model;
    model.setPatients({patientWithId("1", "a"), second});
    model.setCurrentPatient(second.uri());
    for (int row = 0; row < 2; ++row) {
        const QModelIndex mark = model.index(row, PatientTableModel::Mark);
        EXPECT_EQ(model.data(mark, Qt::AccessibleTextRole).isValid(), row == 1);
        EXPECT_EQ(model.data(mark, Qt::DisplayRole).isValid(), row == 1);
        EXPECT_EQ(model.data(mark, Qt::FontRole).isValid(), row == 1);
    }
}

TEST(PatientTableModel, SortsDatesAsDates) {
    PatientTableModel model;
    model.setPatients({MetaInformation({}, {{text("birthDate"), text("1968-03-05")}})});
    const QModelIndex born = model.index(0, PatientTableModel::Born);
    EXPECT_EQ(model.data(born, Qt::DisplayRole), text("05 Mar 1968"));
    EXPECT_EQ(model.data(born, PatientTableModel::SortRole), QDate(1968, 3, 5));
}

// --- the forms

TEST_F(PatientsTest, ANewPatientIsStoredAndSelected) {
    showList("Patients: 0");
    inForm("newPatient", [](QDialog& form) {
        EXPECT_EQ(form.windowTitle(), text("New patient"));
        EXPECT_EQ(form.parentWidget(), AppBase::instance()->getMainWindow());
        form.findChild<QLineEdit*>(text("patientName"))->setText(text(" Doe, Jane "));
        press(form, "ok");
    });
    EXPECT_EQ(count(), text("Patients: 1"));
    const auto* view = window()->findChild<PatientsView*>();
    DataPointer<Patient> stored;
    ASSERT_EQ(DataIOManager::loadPatient(view->selectedPatient(), stored), CaError::nullError);
    EXPECT_EQ(stored->patientId(), text("0000000"));
    EXPECT_EQ(stored->name(), text(" Doe, Jane "));
}

TEST_F(PatientsTest, MessagesStandBesideTheirFieldsAndNothingIsLost) {
    const struct {
        const char *id, *name, *message;
        bool isDiskFull;
    } cases[] = {
        {"  ", "Doe", "idMessage", false},
        {"1", "Doe", "idMessage", false},
        {"7", "  ", "nameMessage", false},
        {"7", "Doe", "storeError", true},
    };
    storePatient("1");
    showList("Patients: 1");
    for (const auto& each : cases)
        inForm("newPatient", [&](QDialog& form) {
            form.findChild<QLineEdit*>(text("patientId"))->setText(text(each.id));
            form.findChild<QLineEdit*>(text("patientName"))->setText(text(each.name));
            {
                std::unique_ptr<FullDisk> fullDisk;
                if (each.isDiskFull)
                    fullDisk = std::make_unique<FullDisk>();
                press(form, "ok");
            }
            EXPECT_TRUE(form.isVisible());
            for (const auto* message : form.findChildren<QtMessageLine*>())
                EXPECT_EQ(message->isVisible(), message->objectName() == text(each.message))
                    << message->objectName().toStdString() << ": " << message->text().toStdString();
            EXPECT_EQ(form.findChild<QLineEdit*>(text("patientName"))->text(), text(each.name));
            form.close();
        });
    EXPECT_EQ(count(), text("Patients: 1"));
}

TEST_F(PatientsTest, TheCurrentPatientIsEditedInPlace) {
    storePatient("1", "Adams");
    showList("Patients: 1");
    window()->findChild<PatientsView*>()->selectId(text("1"));
    QTest::mouseClick(find<QPushButton>("makeCurrent"), Qt::LeftButton);
    const DataPointer<Patient> current = AppBase::getCurrentPatient();
    ASSERT_TRUE(current);
    const auto rename = [&](const char* button) {
        inForm("editPatient", [&](QDialog& form) {
            form.findChild<QLineEdit*>(text("patientName"))->setText(text("Adams-Brown"));
            press(form, button);
        });
    };
    rename("cancel");
    EXPECT_EQ(current->name(), text("Adams"));
    rename("ok");
    EXPECT_EQ(current->name(), text("Adams-Brown"));
    EXPECT_EQ(shown(*window(), "currentPatientName"), text("Adams-Brown"));
    // What is stored at the end does not meet a newer one.
    EXPECT_EQ(DataIOManager::storePatient(current), CaError::nullError);
}

// --- two workstations

TEST_F(PatientsTest, TheCurrentPatientFollowsWhatAnotherWorkstationStored) {
    storePatient("1", "Adams");
    storePatient("2", "Brown");
    showList("Patients: 2");
    makeCurrent("1");
    const DataPointer<Patient> first = AppBase::getCurrentPatient();
    ASSERT_EQ(first->addChild(new Study, false), CaError::nullError);
    ASSERT_EQ(first->addChild(new Study, false), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(first), CaError::nullError);
    AppBase::setCurrentStudy(dataCast<Study>(first->child(1)));
    auto* view = window()->findChild<PatientsView*>();
    const struct {
        const char* way;
        std::function<void()> look;
    } cases[] = {
        {"Reload", [&] { QTest::mouseClick(find<QPushButton>("reloadPatients"), Qt::LeftButton); }},
        {"Make current", [&] { makeCurrent("1"); }},
        {"selecting",
         [&] {
             view->selectId(text("2"));
             view->selectId(text("1"));
         }},
    };
    for (const auto& each : cases) {
        SCOPED_TRACE(each.way);
        storeElsewhere(each.way);
        each.look();
        const DataPointer<Patient> current = AppBase::getCurrentPatient();
        EXPECT_EQ(current->name(), text(each.way));
        EXPECT_EQ(AppBase::getCurrentStudy(), dataCast<Study>(current->child(1)));
        current->setSex(current->sex() == Patient::Male ? Patient::Female : Patient::Male);
        EXPECT_EQ(DataIOManager::storePatient(current), CaError::nullError);
    }
}

TEST_F(PatientsTest, TheUserChoosesBetweenTwoChangesOfOnePatient) {
    storePatient("1", "Adams");
    showList("Patients: 1");
    makeCurrent("1");
    const struct {
        const char *answer, *current, *stored;
    } cases[] = {
        {"leave", "Mine", "Other"}, {"takeStored", "Other", "Other"}, {"keepMine", "Mine", "Mine"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.answer);
        storeElsewhere("Before");
        QTest::mouseClick(find<QPushButton>("reloadPatients"), Qt::LeftButton);
        storeElsewhere("Other");
        AppBase::getCurrentPatient()->setName(text("Mine"));
        answerConflict(each.answer);
        QTest::mouseClick(find<QPushButton>("reloadPatients"), Qt::LeftButton);
        EXPECT_EQ(AppBase::getCurrentPatient()->name(), text(each.current));
        EXPECT_EQ(storedName(), text(each.stored));

        // The same while the form is open.
        if (DataIOManager::hasUnstoredChanges(AppBase::getCurrentPatient())) {
            ASSERT_EQ(DataIOManager::storePatientOverOthers(AppBase::getCurrentPatient()),
                      CaError::nullError);
        }
        inForm("editPatient", [&](QDialog& form) {
            storeElsewhere("Other");
            form.findChild<QLineEdit*>(text("patientName"))->setText(text("Mine"));
            answerConflict(each.answer);
            press(form, "ok");
            EXPECT_EQ(form.isVisible(), text(each.answer) == text("leave"));
            EXPECT_EQ(form.findChild<QLineEdit*>(text("patientName"))->text(), text("Mine"));
            form.hide();
        });
        EXPECT_EQ(storedName(), text(each.stored));
        if (text(each.answer) != text("leave")) {
            EXPECT_EQ(AppBase::getCurrentPatient()->name(), text(each.current));
        }
    }
}

TEST_F(PatientsTest, AFormStaysWhileTheRepositoryIsLockedOrGone) {
    storePatient("1", "Adams");
    showList("Patients: 1");
    const QString file = databasePath();
    for (const bool isGone : {false, true}) {
        inForm("newPatient", [&](QDialog& form) {
            form.findChild<QLineEdit*>(text("patientName"))->setText(text("Doe, Jane"));
            {
                auto other = QSqlDatabase::addDatabase(text("QSQLITE"), text("other"));
                other.setDatabaseName(file);
                ASSERT_TRUE(other.open());
                if (isGone) {
                    expectLog(vlr::LogLevel::Warning, "opened anew");
                    ASSERT_TRUE(QFile::rename(file, file + text(".away")));
                    ASSERT_TRUE(QDir().mkpath(file));
                } else {
                    ASSERT_TRUE(QSqlQuery(other).exec(text("BEGIN IMMEDIATE")));
                }
                press(form, "ok");
            }
            QSqlDatabase::removeDatabase(text("other"));
            EXPECT_TRUE(form.isVisible());
            EXPECT_FALSE(form.findChild<QtMessageLine*>(text("storeError"))->text().isEmpty());
            EXPECT_EQ(form.findChild<QLineEdit*>(text("patientName"))->text(), text("Doe, Jane"));
            if (isGone) {
                ASSERT_TRUE(QDir().rmdir(file));
                ASSERT_TRUE(QFile::rename(file + text(".away"), file));
            }
            press(form, "ok");
            EXPECT_FALSE(form.isVisible());
            form.hide();
        });
        EXPECT_EQ(count(), text(isGone ? "Patients: 3" : "Patients: 2"));
    }
}

TEST_F(PatientsTest, LeavingADialogChangesNoFile) {
    storePatient("1", "Adams");
    showList("Patients: 1");
    makeCurrent("1");
    const DataPointer<Study> study(new Study);
    ASSERT_EQ(AppBase::getCurrentPatient()->addChild(study, false), CaError::nullError);
    ASSERT_EQ(DataIOManager::storePatient(AppBase::getCurrentPatient()), CaError::nullError);
    AppBase::setCurrentStudy(study);
    const std::function<void(QDialog&)> ways[] = {
        [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); },
        [](QDialog& dialog) { dialog.close(); }, [](QDialog& dialog) { press(dialog, "cancel"); }};
    for (const char* button : {"newPatient", "editPatient", "newStudy", "editStudy", ""})
        for (const auto& leave : ways) {
            SCOPED_TRACE(button);
            const auto before = filesOfTheUser();
            ASSERT_FALSE(before.isEmpty());
            const auto drive = [&](QDialog& dialog) {
                for (auto* edit : dialog.findChildren<QLineEdit*>())
                    edit->setText(text("typed"));
                for (auto* check : dialog.findChildren<QCheckBox*>())
                    check->toggle();
                leave(dialog);
                EXPECT_FALSE(dialog.isVisible());
            };
            if (*button) {
                inForm(button, drive);
            } else {
                inNextDialog<QtConfigDialog>([&](QDialog& dialog) { drive(dialog); });
                emit window()->configRequest();
            }
            ASSERT_EQ(DataIOManager::storePatient(AppBase::getCurrentPatient()),
                      CaError::nullError);
            EXPECT_EQ(filesOfTheUser(), before);
        }
}

// --- studies

TEST_F(PatientsTest, StudiesOfTheCurrentPatientAreEnteredAndEdited) {
    const DataPointer<Patient> patient = storePatient("1", "Adams");
    showList("Patients: 1");
    EXPECT_FALSE(find<QPushButton>("newStudy")->isEnabled());
    AppBase::setCurrentPatient(patient);
    EXPECT_FALSE(find<QPushButton>("editStudy")->isEnabled());
    const auto enter = [&](const char* button, const char* institution, bool isDiskFull) {
        inForm(button, [&](QDialog& form) {
            form.findChild<QLineEdit*>(text("studyInstitution"))->setText(text(institution));
            {
                std::unique_ptr<FullDisk> fullDisk;
                if (isDiskFull)
                    fullDisk = std::make_unique<FullDisk>();
                press(form, "ok");
            }
            EXPECT_EQ(form.isVisible(), isDiskFull);
            form.hide();
        });
    };
    enter("newStudy", "St. Luke", true);
    EXPECT_EQ(patient->childCount(), 0);
    EXPECT_FALSE(AppBase::getCurrentStudy());
    enter("newStudy", "St. Luke", false);
    const DataPointer<Study> study = AppBase::getCurrentStudy();
    ASSERT_TRUE(study);
    EXPECT_EQ(study->parent(), patient.get());
    enter("editStudy", "St. Mary", true);
    EXPECT_EQ(study->institution(), text("St. Luke"));
    enter("editStudy", "St. Mary", false);
    const auto* list = find<StudyList>("studies");
    ASSERT_EQ(list->count(), 1);
    EXPECT_TRUE(list->item(0)->font().bold());
    EXPECT_THAT(list->item(0)->text().toStdString(), testing::HasSubstr("St. Mary"));

    enter("newStudy", "St. Paul", false);
    EXPECT_NE(AppBase::getCurrentStudy(), study);
    EXPECT_FALSE(list->item(0)->font().bold());
    find<StudyList>("studies")->setCurrentRow(0);
    EXPECT_TRUE(QTest::qWaitFor([&] { return AppBase::getCurrentStudy() == study; }, patience));
    DataPointer<Patient> stored;
    ASSERT_EQ(DataIOManager::loadPatient(patient->storageUri(), stored), CaError::nullError);
    EXPECT_EQ(stored->childCount(), 2);
}

TEST_F(PatientsTest, TheOptionDecidesWhetherTheLastPatientIsSelected) {
    storePatient("1", "Adams");
    for (const bool selects : {true, false}) {
        showList("Patients: 1");
        window()->findChild<PatientsView*>()->selectId(text("1"));
        QTest::mouseClick(find<QPushButton>("makeCurrent"), Qt::LeftButton);
        inNextDialog<QtConfigDialog>([&](QtConfigDialog& dialog) {
            EXPECT_EQ(dialog.findChild<QTabWidget*>()->tabText(2), text("Patients Configuration"));
            dialog.findChild<QCheckBox*>(text("selectsLastPatient"))->setChecked(selects);
            press(dialog, "ok");
        });
        emit window()->configRequest();
        restart();
        showList("Patients: 1");
        EXPECT_EQ(window()->findChild<PatientsView*>()->selectedPatient().isValid(), selects);
        restart();
    }
}

// --- the list

TEST_F(PatientsTest, ListComesAfterTheFirstPaintAndSearchNarrowsIt) {
    storePatient("1", "Adams");
    storePatient("2", "Brown");
    showList("Patients: 2");
    QTest::keyClicks(find<QLineEdit>("searchPatients"), text("bro"));
    EXPECT_EQ(count(), text("Patients: 1 of 2"));
}

TEST_F(PatientsTest, ReturnMakesCurrentAndTheNextStartSelects) {
    storePatient("1", "Adams");
    storePatient("2", "Brown");
    showList("Patients: 2");
    auto* table = window()->findChild<QTableView*>();
    table->selectRow(1);
    QTest::keyClick(table, Qt::Key_Return);
    ASSERT_TRUE(AppBase::getCurrentPatient());
    EXPECT_EQ(AppBase::getCurrentPatient()->name(), text("Brown"));

    restart();
    showList("Patients: 2");
    EXPECT_FALSE(AppBase::getCurrentPatient());
    const auto* view = window()->findChild<PatientsView*>();
    MetaInformation selected;
    ASSERT_EQ(DataIOManager::loadPatientMetaInfo(view->selectedPatient(), selected),
              CaError::nullError);
    EXPECT_EQ(selected.value(text("id")), text("2"));
}

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
                testing::HasSubstr("patients.sqlite"));

    ASSERT_TRUE(QFile::remove(file));
    QTest::mouseClick(again, Qt::LeftButton);
    EXPECT_FALSE(again->isVisible());
    EXPECT_EQ(count(), text("Patients: 0"));
}

TEST_F(PatientsTest, BannerIsNeverStale) {
    const CurrentPatientBanner banner;
    EXPECT_EQ(shown(banner, "currentPatientName"), text("No patient chosen"));
    const DataPointer<Patient> patient = storePatient("1", "Adams");
    AppBase::setCurrentPatient(patient);
    EXPECT_EQ(shown(banner, "currentPatientName"), text("Adams"));
    patient->setName(text("Adams-Brown"));
    patient->notify(Data::CHANGED);
    EXPECT_EQ(shown(banner, "currentPatientName"), text("Adams-Brown"));
    AppBase::setCurrentPatient({});
    EXPECT_EQ(shown(banner, "currentPatientName"), text("No patient chosen"));
}
