#include "AppBaseTest.h"

#include "Base/QtMsgBox.h"
#include "Data/DataItem.h"
#include "Data/ProcessData.h"
#include "IO/RecoveryFile.h"

#include <QtCore/QDir>
#include <QtCore/QStandardPaths>
#include <QtSql/QSqlDatabase>
#include <QtSql/QSqlQuery>

#include <csignal>
#include <optional>

using namespace vlrTest;

namespace {

// Does as it goes what a context widget, or a picture, may do then.
struct Farewell : QWidget {
    using QWidget::QWidget;
    ~Farewell() override { say(); }
    std::function<void()> say;
};

} // namespace

// --- current items

TEST_F(AppBaseTest, ThePatientBringsStudyAndDataItemAlongWithBothKindsOfAnnouncement) {
    const std::string patientTexts = "AppBase::CURRENT_PATIENT_CHANGED patient";
    const std::string studyTexts = "AppBase::CURRENT_STUDY_CHANGED study";
    const std::string itemTexts = "AppBase::CURRENT_DATA_ITEM_CHANGED item";
    const std::string all = patientTexts + " " + studyTexts + " " + itemTexts;
    Announcements announced(app());
    const auto patient = makePatient("1");
    for (int i = 0; i < 2; ++i)
        ASSERT_EQ(patient->addChild(new Study, false), CaError::nullError);
    const DataPointer<Data> item(new ProcessData);
    ASSERT_EQ(patient->child(1)->addChild(item, false), CaError::nullError);

    AppBase::setCurrentPatient(patient);
    EXPECT_EQ(announced.take(), all);
    EXPECT_EQ(AppBase::getCurrentStudy().get(), patient->child(0).get());
    // The item is looked for below the patient, not below the study.
    EXPECT_EQ(AppBase::getCurrentDataItem(), item);

    AppBase::setCurrentPatient(patient);
    EXPECT_EQ(announced.take(), "");
    AppBase::setCurrentStudy(dataCast<Study>(patient->child(1)));
    EXPECT_EQ(announced.take(), studyTexts);
    AppBase::setCurrentPatient(nullptr);
    EXPECT_EQ(announced.take(), patientTexts);
    EXPECT_EQ(AppBase::getCurrentStudy().get(), patient->child(1).get());
    AppBase::setCurrentStudy(nullptr);
    EXPECT_EQ(announced.take(), studyTexts);
    EXPECT_EQ(AppBase::getCurrentDataItem(), item);

    AppBase::setCurrentPatient(patient);
    announced.take();
    AppBase::setCurrentPatient(makePatient("2"));
    EXPECT_EQ(announced.take(), all);
    EXPECT_FALSE(AppBase::getCurrentStudy());
    EXPECT_FALSE(AppBase::getCurrentDataItem());
    AppBase::setCurrentDataItem(item);
    EXPECT_EQ(announced.take(), itemTexts);
}

TEST_F(AppBaseTest, ACurrentItemThatIsReleasedTooOftenIsReportedAndForgotten) {
    app();
    DataPointer<Data> item(new DataItem);
    Data* const address = item.get();
    AppBase::setCurrentDataItem(item);
    testing::internal::CaptureStdout();
    item.forget(); // Gives up the test's reference without counting it ...
    address->unref();
    address->unref(); // ... and releases it and one more.
    std::ostringstream expected;
    expected
        << "The object at address 0x" << std::hex << reinterpret_cast<std::uintptr_t>(address)
        << " was just deleted. This must not happen if the referece counting mechanism is used "
           "correctly. \nTry to find double-unref's or even better use DataPointer<> for all "
           "your data item handling.\n";
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr(expected.str()));
    EXPECT_FALSE(AppBase::getCurrentDataItem());
}

TEST_F(AppBaseTest, NothingIsUsedWhileItIsDestroyed) {
    setting("ExitWithoutRequest", true);
    setting("ShowSplashScreen", true);
    for (const bool windowAlone : {false, true}) {
        AppBase& application = app();
        // One item in all three places, and observers that know it longer than the application.
        auto patient = makePatient(windowAlone ? "1" : "2");
        int lookups = 0;
        const CaConnection gone(*patient, Data::DELETED, [&](auto&&...) {
            AppBase::setCurrentDataItem(makePatient("3")); // too late
            EXPECT_FALSE(AppBase::getCurrentPatient() || AppBase::getCurrentStudy());
            lookups += AppBase::getCurrentDataItem() ? 0 : 1;
        });
        AppBase::setCurrentPatient(patient);
        AppBase::setCurrentDataItem(patient);
        patient = nullptr;

        auto* const module = new RecordingModule("Plan"_s);
        module->onDeactivate = [] {
            AppBase::instance()->activateModule("Plan"_s);
            EXPECT_TRUE(AppBase::getCurrentPatient());
            EXPECT_TRUE(AppBase::instance()->getMainWindow());
        };
        const auto use = [&] {
            AppBase::instance()->setTouchScreenModeEnabled(true);
            AppBase::setBusyCursor();
            EXPECT_EQ(AppBase::instance()->getMainWindow(), nullptr);
            ++lookups;
        };
        (new Farewell(module->getWidget()))->say = use;
        (new Farewell(splash()))->say = [&] {
            AppBase::instance()->addModule(new RecordingModule("late"_s));
            ++lookups;
        };
        application.addModule(module);
        QTimer::singleShot(0, &application, [&] {
            QTest::mouseClick(application.getMainWindow()->findChild<QToolButton*>("Exit"_s),
                              Qt::LeftButton);
        });
        EXPECT_EQ(application.run(), 0);
        if (windowAlone)
            delete application.getMainWindow();
        endApp();
        EXPECT_EQ(lookups, 3);
    }
}

// --- touch-screen mode

// --- running

TEST_F(AppBaseTest, TheExitCodeIsZeroHoweverTheLoopIsLeft) {
    AppBase& application = app();
    // Asked for before there is a loop, an exit is not forgotten.
    application.exitApplication();
    EXPECT_EQ(application.run(), 0);
    EXPECT_TRUE(QFile::exists(configuration()));
    setting("ExitWithoutRequest", true);
    const std::function<void()> ways[] = {[] { QCoreApplication::exit(7); },
                                          [&] { application.getMainWindow()->close(); }};
    for (const auto& leave : ways) {
        bool ran = false;
        QTimer::singleShot(0, &application, [&] {
            ran = true;
            leave();
        });
        EXPECT_EQ(application.run(), 0);
        EXPECT_TRUE(ran) << "it can run again";
    }
}

TEST_F(AppBaseTest, UnixSignalsEndTheLoopInGoodOrder) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        std::signal(signal, SIG_DFL); // Whoever started this test may have it ignored.
        AppBase& application = app();
        const auto patient = makePatient(std::to_string(signal));
        AppBase::setCurrentPatient(patient);
        QTimer::singleShot(0, &application, [signal] { std::raise(signal); });
        EXPECT_EQ(application.run(), 0);
        EXPECT_TRUE(patient->storage().uri.isValid());
        EXPECT_TRUE(QFile::exists(configuration()));
        QFile::remove(configuration());
        endApp();
        std::signal(signal, SIG_IGN);
        app();
        EXPECT_EQ(std::signal(signal, SIG_IGN), SIG_IGN) << "stays ignored";
        endApp();
    }
}

TEST_F(AppBaseTest, NoBoxOpensOnTheWayOut) {
    expectLog(LogLevel::UserError, "late");
    expectLog(LogLevel::UserError, "could not be stored. They are kept in ");
    expectLog(LogLevel::Error, "Could not store the current patient");
    expectLog(LogLevel::Warning, "Not shown any more: Save?");
    std::signal(SIGTERM, SIG_DFL);
    AppBase& application = app();
    auto* const module = new RecordingModule("Plan"_s);
    int answer = -1;
    module->onDeactivate = [&] {
        VLR_LOG(UserError) << "late";
        answer = QtMsgBox::postAndWait(nullptr, QtMsgBox::MsgQuestion, "", "Save?");
    };
    application.addModule(module);
    storePatient("1");
    AppBase::setCurrentPatient(makePatient("1"));
    QTimer::singleShot(0, &application, [&] {
        std::raise(SIGTERM);
        QCoreApplication::processEvents();
        VLR_LOG(UserError) << "late";
    });
    EXPECT_EQ(application.run(), 0);
    endApp();
    EXPECT_EQ(answer, QMessageBox::NoButton);
    EXPECT_EQ(logCount(LogLevel::UserError, ""), 3);
    EXPECT_EQ(vlr::waitingRecoveries().size(), 1);
}

// Clicks on the buttons of the boxes, one after the other. Enter is no answer to any of them.
void answerBoxes(const std::vector<const char*>& buttons) {
    if (buttons.empty())
        return;
    answerNextMessageBox([buttons](QMessageBox& box) {
        if (*buttons.front())
            QTest::keyClick(&box, Qt::Key_Return);
        const auto name = QString::fromLatin1(buttons.front());
        auto* const button = box.findChild<QPushButton*>(name);
        ASSERT_TRUE(box.isVisible() && button) << box.text().toStdString();
        answerBoxes({buttons.begin() + 1, buttons.end()});
        button->click();
    });
}

TEST_F(AppBaseTest, WhatCouldNotBeStoredIsOfferedAtTheNextStart) {
    const auto patient = storePatient("1", "");
    QString file;
    // The boxes come before the window.
    const auto runUntilShown = [this](const std::vector<const char*>& answers) {
        AppBase& application = app();
        answerBoxes(answers);
        QTimer leave;
        QObject::connect(&leave, &QTimer::timeout, [&] {
            if (application.getMainWindow()->isVisible())
                application.exitApplication();
        });
        leave.start(1);
        application.run();
    };
    const auto leaveChange = [&](const char* name) {
        patient->setName(QString::fromLatin1(name));
        ASSERT_EQ(vlr::writeRecovery(patient, file), CaError::nullError);
    };
    const std::tuple<std::function<void()>, std::vector<const char*>, const char*, int> starts[] = {
        {[&] { leaveChange("mine"); }, {"later"}, "", 1},
        {[&] {
             const auto theirs = loadPatient(*patient);
             theirs->setName("theirs"_s);
             EXPECT_EQ(DataIOManager::storePatient(theirs), CaError::nullError);
         },
         {"takeOver", "later"},
         "theirs",
         1},
        {[] {}, {"takeOver", "takeOver"}, "mine", 0},
        {[&] { leaveChange("declined"); }, {"aside"}, "mine", 0},
        {[&] {
             leaveChange("stored in the last moment");
             EXPECT_EQ(DataIOManager::storePatientOverOthers(patient), CaError::nullError);
         },
         {},
         "stored in the last moment",
         0},
    };
    for (const auto& [before, answers, name, waiting] : starts) {
        SCOPED_TRACE(name);
        before();
        runUntilShown(answers);
        endApp();
        EXPECT_EQ(loadPatient(*patient)->name().toStdString(), name);
        EXPECT_EQ(vlr::waitingRecoveries().size(), waiting);
    }
    const QDir folder = QFileInfo(file).dir();
    EXPECT_EQ(folder.entryList({"*.declined-*"_s}).size(), 1) << "nothing is lost";
    expectLog(LogLevel::UserWarning, "is damaged");
    file = folder.filePath("patients.sqlite.recovery-20200101-000000-01234567"_s);
    writeFile(file, "vlr");
    QFile::setPermissions(file, QFile::ReadOwner | QFile::WriteOwner);
    runUntilShown({""}); // The one button of a message.
    EXPECT_EQ(folder.entryList({"*.damaged-*"_s}).size(), 1);
}

// --- where the window stands

// --- splash screen

// --- what the user is told

// --- modules

// --- patients

TEST_F(AppBaseTest, AnExitKeepsTheChangesThatItCannotStoreAndSaysSo) {
    const QString setting = "Velora/Application/PatientRepository"_s;
    const struct {
        bool isChanged;
        const char* repository; // at the exit
        const char* said;
    } cases[] = {{false, "", ""},
                 {true, "", "\"1\" could not be stored. They are kept in "},
                 {true, "nowhere:", "\"1\\u200B\" could not be stored. They are kept in "},
                 {true, "full", "\"1\" could not be stored and are lost"}};
    for (const auto& one : cases) {
        AppBase& application = app();
        const auto patient = storePatient("1");
        AppBase::setCurrentPatient(patient);
        const auto other = loadPatient(*patient);
        other->setName("by another workstation"_s);
        ASSERT_EQ(DataIOManager::storePatient(other), CaError::nullError);
        bool isTold = false;
        if (one.isChanged) {
            patient->setName("Mine"_s);
            expectLog(LogLevel::Error, "Could not store the current patient. Reason: ");
            expectLog(LogLevel::UserError, one.said);
            answerNextMessageBox([&](QMessageBox& box) {
                isTold = true;
                box.accept();
            });
        }
        const bool isFull = one.repository == std::string("full");
        if (*one.repository && !isFull) {
            patient->setPatientId(QString::fromUtf8("1\u200b")); // As a former release took it.
            ASSERT_TRUE(vlr::Settings::set(setting, one.repository).isNull());
        }
        QTimer::singleShot(0, &application, [&] { application.exitApplication(); });
        {
            std::optional<FullDisk> fullDisk;
            if (isFull)
                fullDisk.emplace();
            EXPECT_EQ(application.run(), 0);
        }
        EXPECT_EQ(isTold, one.isChanged);
        endApp();
        const QStringList waiting = vlr::waitingRecoveries();
        EXPECT_EQ(waiting.size(), one.isChanged && !isFull ? 1 : 0);
        for (const QString& file : waiting) {
            vlr::Recovery recovery;
            ASSERT_EQ(vlr::readRecovery(file, recovery), CaError::nullError);
            EXPECT_EQ(recovery.patient->name(), "Mine"_s);
            vlr::removeRecovery(file);
        }
        ASSERT_TRUE(vlr::Settings::remove(setting).isNull());
        ASSERT_EQ(DataIOManager::removePatient(other->storage().uri), CaError::nullError);
        DataIOManager::closeRepository();
    }
}

TEST_F(AppBaseTest, ThePatientListComesWithReferencesAndStopsAtTheFirstError) {
    app();
    for (const char* id : {"1", "2"})
        storePatient(id);
    const auto listedIds = [] {
        std::vector<Patient*> patients;
        const bool isComplete = AppBase::getPatientList(patients) == CaError::nullError;
        QStringList ids;
        for (Patient* patient : patients) {
            ids << patient->patientId();
            patient->unref();
        }
        return take(ids) + (isComplete ? "" : " ...");
    };
    EXPECT_EQ(listedIds(), "1, 2");

    // A patient whose document is damaged ends the list; those before it stay.
    {
        QSqlDatabase database = QSqlDatabase::addDatabase("QSQLITE"_s, "damage"_s);
        database.setDatabaseName(QStandardPaths::writableLocation(QStandardPaths::AppDataLocation) +
                                 "/patients.sqlite"_s);
        ASSERT_TRUE(database.open());
        QSqlQuery query(database);
        ASSERT_TRUE(query.exec("UPDATE document SET content = 'damaged' WHERE uid = "
                               "(SELECT uid FROM patient WHERE patient_id = '2')"_s));
    }
    QSqlDatabase::removeDatabase("damage"_s);
    expectLog(LogLevel::UserError, "Can't load Patient. reason: ");
    answerNextMessageBox([](QMessageBox& box) { box.accept(); });
    EXPECT_EQ(listedIds(), "1 ...");

    setting("PatientRepository", "nowhere:"_s);
    expectLog(LogLevel::UserError, "Patient list is empty. Reason: ");
    answerNextMessageBox([](QMessageBox& box) { box.accept(); });
    EXPECT_EQ(listedIds(), " ...");
}

// --- the window
