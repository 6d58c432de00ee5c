#include "Common/CurrentPatientBanner.h"
#include "Common/MessageLine.h"
#include "IO/DataIOManager.h"
#include "Navigator/NavigatorTest.h"
#include "Patients/NewPatientDialog.h"
#include "Patients/PatientId.h"
#include "Patients/PatientTableModel.h"
#include "Patients/PatientsModule.h"
#include "Patients/PatientsView.h"
#include "Settings/vlrSettings.h"

#include <QtWidgets/QLabel>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QTableView>

#include <gmock/gmock.h>

using namespace vlrTest;

namespace {

QString text(const char* latin1) {
    return QString::fromLatin1(latin1);
}

MetaInformation patientWithId(const char* id) {
    MetaInformation patient;
    patient.setValue(text("id"), text(id));
    return patient;
}

class PatientsTest : public NavigatorTest {
protected:
    QString count() const { return find<QLabel>("patientCount")->text(); }
    void showList(const char* expectedCount) {
        show(new PatientsModule);
        ASSERT_TRUE(QTest::qWaitFor([&] { return count() == text(expectedCount); }, patience));
    }
    static QString shown(const QWidget& parent, const char* name) {
        return parent.findChild<QLabel*>(text(name))->accessibleName();
    }
};

} // namespace

TEST(PatientId, IsTheFirstFreeNumber) {
    const struct {
        std::vector<const char*> taken;
        int maximum;
        const char* expected;
    } cases[] = {
        {{}, 1000000, "0000001"},     {{"0000001", "0000002", "0000004"}, 1000000, "0000003"},
        {{"1", "002"}, 1000, "0003"}, {{"x17", "", "-1", "99999999999"}, 1000, "0001"},
        {{"1", "2"}, 3, ""},          {{}, 0, ""},
    };
    for (const auto& each : cases) {
        std::vector<MetaInformation> patients;
        for (const char* id : each.taken)
            patients.push_back(patientWithId(id));
        EXPECT_EQ(firstFreePatientId(patients, each.maximum), text(each.expected));
    }
}

TEST(PatientTableModel, MarksTheCurrentPatientOnly) {
    MetaInformation first = patientWithId("1");
    first.setUri(vlr::URI::patient(text("a")));
    MetaInformation second = patientWithId("2");
    second.setUri(vlr::URI::patient(text("b")));
    PatientTableModel model;
    model.setPatients({first, second});
    model.setCurrentPatient(second.uri());
    for (int row = 0; row < 2; ++row) {
        const QModelIndex mark = model.index(row, PatientTableModel::Mark);
        EXPECT_EQ(model.data(mark, Qt::AccessibleTextRole).isValid(), row == 1);
        EXPECT_EQ(model.data(mark, Qt::DisplayRole).isValid(), row == 1);
        EXPECT_EQ(model.data(mark, Qt::FontRole).isValid(), row == 1);
    }
}

TEST(PatientTableModel, SortsDatesAsDates) {
    MetaInformation patient = patientWithId("1");
    patient.setValue(text("birthDate"), text("1968-03-05"));
    PatientTableModel model;
    model.setPatients({patient});
    const QModelIndex born = model.index(0, PatientTableModel::Born);
    EXPECT_EQ(model.data(born, Qt::DisplayRole), text("05 Mar 1968"));
    EXPECT_EQ(model.data(born, PatientTableModel::SortRole), QDate(1968, 3, 5));
}

// --- the form

TEST_F(PatientsTest, TakenIdIsSaidAndAFreeOneOffered) {
    NewPatientDialog dialog(window());
    dialog.show();
    auto* id = dialog.findChild<QLineEdit*>(text("patientId"));
    auto* name = dialog.findChild<QLineEdit*>(text("patientName"));
    EXPECT_EQ(id->text(), text("0000001"));
    storePatient("0000001"); // by somebody else, meanwhile
    name->setText(text(" Doe, Jane "));
    dialog.accept();
    EXPECT_TRUE(dialog.isVisible());
    EXPECT_THAT(dialog.findChild<MessageLine*>(text("idMessage"))->text().toStdString(),
                testing::HasSubstr("0000001 in the meantime"));
    EXPECT_EQ(name->text(), text(" Doe, Jane "));

    QTest::mouseClick(dialog.findChild<QPushButton*>(text("useFreeId")), Qt::LeftButton);
    dialog.accept();
    EXPECT_EQ(dialog.result(), QDialog::Accepted);
    DataPointer<Patient> stored;
    ASSERT_EQ(DataIOManager::loadPatient(dialog.patient()->storageUri(), stored),
              CaError::nullError);
    EXPECT_EQ(stored->patientId(), text("0000002"));
    EXPECT_EQ(stored->name(), text("Doe, Jane"));
    const auto study = dataCast<Study>(stored->child(0));
    ASSERT_TRUE(study);
    EXPECT_TRUE(study->date().isValid() && study->time().isValid());
}

TEST_F(PatientsTest, MessagesStandBesideTheirFields) {
    const struct {
        const char *id, *name, *message;
        bool isDiskFull;
    } cases[] = {
        {"  ", "Doe", "idMessage", false},
        {"7", "  ", "nameMessage", false},
        {"7", "Doe", "message", true},
    };
    storePatient("1");
    for (const auto& each : cases) {
        NewPatientDialog dialog(window());
        dialog.show();
        dialog.findChild<QLineEdit*>(text("patientId"))->setText(text(each.id));
        dialog.findChild<QLineEdit*>(text("patientName"))->setText(text(each.name));
        {
            std::unique_ptr<FullDisk> fullDisk;
            if (each.isDiskFull)
                fullDisk = std::make_unique<FullDisk>();
            dialog.accept();
        }
        EXPECT_TRUE(dialog.isVisible());
        for (const auto* message : dialog.findChildren<MessageLine*>())
            EXPECT_EQ(message->isVisible(), message->objectName() == text(each.message))
                << message->objectName().toStdString() << ": " << message->text().toStdString();
        EXPECT_EQ(dialog.findChild<QLineEdit*>(text("patientName"))->text(), text(each.name));
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
