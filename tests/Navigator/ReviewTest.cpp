#include "Review/ReviewModule.h"

#include "AppBase/QtScreenShotData.h"
#include "AppBase/QtScreenShotDialog.h"
#include "IO/DataIOManager.h"
#include "Navigator/NavigatorTest.h"
#include "Review/BackgroundDecoder.h"
#include "Review/ScreenshotModel.h"
#include "Support/MessageBoxes.h"

#include <QtTest/QSignalSpy>
#include <QtWidgets/QLabel>
#include <QtWidgets/QListView>
#include <QtWidgets/QPushButton>

#include <gmock/gmock.h>

using namespace vlrTest;
using testing::HasSubstr;

namespace {

const QByteArray broken = "These are not the bytes you look for.";

QString recordId(int second) {
    return QStringLiteral("SCD_Screenshot_Jane_20260301_0700%1")
        .arg(second, 2, 10, QLatin1Char('0'));
}

class ReviewTest : public NavigatorTest {
protected:
    ~ReviewTest() override {
        application.reset();
        DataIOManager::closeRepository();
    }

    static DataPointer<QtScreenShotData> makeScreenshot(const QString& id, const QColor& color) {
        const DataPointer<QtScreenShotData> record(new QtScreenShotData);
        QPixmap picture(40, 30);
        picture.fill(color);
        record->setId(id);
        record->setScreenShot(picture);
        return record;
    }
    // Makes a stored patient current, as he is read at the next start.
    void useStored(const DataPointer<Patient>& patient) {
        ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
        AppBase::setCurrentPatient(stored(patient));
    }
    static DataPointer<Patient> stored(const DataPointer<Patient>& patient) {
        DataPointer<Patient> loaded;
        EXPECT_EQ(DataIOManager::loadPatient(patient->storageUri(), loaded), CaError::nullError);
        return loaded;
    }
    // Red, green and blue, a second after each other.
    void useThree() {
        const DataPointer<Patient> patient = storePatient("1", "Jane");
        int second = 0;
        for (const QColor color : {Qt::red, Qt::green, Qt::blue})
            ASSERT_EQ(patient->addChild(makeScreenshot(recordId(++second), color), false),
                      CaError::nullError);
        useStored(patient);
    }

    QListView* list() const { return find<QListView>("screenshots"); }
    ScreenshotModel* model() const { return qobject_cast<ScreenshotModel*>(list()->model()); }
    QModelIndex row(int number) const { return model()->index(number); }
    QColor thumbnail(int number) const {
        (void)row(number).data(Qt::DecorationRole);
        waitUntilIdle();
        const auto picture = row(number).data(Qt::DecorationRole).value<QPixmap>();
        return picture.isNull() ? QColor() : picture.toImage().pixelColor(0, 0);
    }
    void waitUntilIdle() const {
        const auto decoders = window()->findChildren<BackgroundDecoder*>();
        ASSERT_FALSE(decoders.isEmpty());
        ASSERT_TRUE(QTest::qWaitFor(
            [&] {
                return std::none_of(decoders.begin(), decoders.end(),
                                    [](const BackgroundDecoder* each) { return each->isBusy(); });
            },
            patience));
    }
    // The rows of which something is to be seen.
    int visibleRows() const {
        int count = 0;
        for (int i = 0; i < model()->rowCount(); ++i)
            count += list()->visualRect(row(i)).intersects(list()->viewport()->rect()) ? 1 : 0;
        return count;
    }
    void answer(QMessageBox::StandardButton button, QString* question = nullptr) {
        answerNextMessageBox([button, question](QMessageBox& box) {
            if (question)
                *question = box.text();
            QTest::mouseClick(box.button(button), Qt::LeftButton);
        });
    }
    bool isNoteShown(const char* text) const {
        const auto* const note = find<QLabel>("reviewNote");
        return note->isVisible() && note->text() == QLatin1String(text);
    }
};

} // namespace

TEST_F(ReviewTest, SaysWhyThereIsNothing) {
    show(new ReviewModule);
    EXPECT_TRUE(isNoteShown("No patient chosen"));
    EXPECT_FALSE(find<QPushButton>("deleteScreenshot")->isEnabled());
    const DataPointer<Patient> patient = storePatient("1");
    AppBase::setCurrentPatient(patient);
    EXPECT_TRUE(isNoteShown("No screenshots of this patient"));
    QTest::keyClick(list(), Qt::Key_Delete);
    QTest::keyClick(list(), Qt::Key_Return);
    EXPECT_TRUE(isNoteShown("No screenshots of this patient"));
}

TEST_F(ReviewTest, ShowsTheNewestFirst) {
    useThree();
    show(new ReviewModule);
    ASSERT_EQ(model()->rowCount(), 3);
    EXPECT_EQ(thumbnail(0), QColor(Qt::blue));
    EXPECT_EQ(thumbnail(2), QColor(Qt::red));
    EXPECT_EQ(row(2).data().toString(), QLatin1String("01 Mar 2026 07:00:01"));
    AppBase::setCurrentPatient(nullptr);
    EXPECT_TRUE(isNoteShown("No patient chosen"));
}

TEST_F(ReviewTest, DecodesOnlyWhatIsSeen) {
    const DataPointer<Patient> patient = storePatient("1", "Jane");
    for (int i = 0; i < 500; ++i)
        ASSERT_EQ(patient->addChild(makeScreenshot(QString::number(i), Qt::red), false),
                  CaError::nullError);
    useStored(patient);
    window()->resize(1000, 700);
    auto* const module = new ReviewModule;
    QSignalSpy decoded(module->getMainWidget()->findChild<ScreenshotModel*>(),
                       &QAbstractItemModel::dataChanged);
    show(module);
    waitUntilIdle();
    ASSERT_EQ(model()->rowCount(), 500);
    ASSERT_GT(visibleRows(), 2);
    // Those beside them may have been seen while the window found its size.
    EXPECT_GE(decoded.size(), visibleRows());
    EXPECT_LE(decoded.size(), 2 * visibleRows());

    decoded.clear();
    QTest::keyClick(list(), Qt::Key_End);
    QCoreApplication::processEvents();
    waitUntilIdle();
    EXPECT_EQ(list()->currentIndex().row(), 499);
    EXPECT_FALSE(row(499).data(Qt::DecorationRole).value<QPixmap>().isNull());
    EXPECT_GE(decoded.size(), visibleRows() / 2);
    EXPECT_LE(decoded.size(), 2 * visibleRows());
}

TEST_F(ReviewTest, OpensOneAndComesBack) {
    useThree();
    show(new ReviewModule);
    QTest::keyClick(list(), Qt::Key_End);
    QTest::keyClick(list(), Qt::Key_Return);
    auto* const page = find<QWidget>("screenshot");
    const auto isOpen = [&] { return page->isVisible() && !list()->isVisible(); };
    ASSERT_TRUE(isOpen());
    waitUntilIdle();
    EXPECT_EQ(page->grab().toImage().pixelColor(page->rect().center()), QColor(Qt::red));
    QTest::keyClick(page, Qt::Key_Escape);
    EXPECT_FALSE(isOpen());
    EXPECT_EQ(list()->currentIndex().row(), 2);

    const QPoint first = list()->visualRect(row(0)).center();
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, first);
    EXPECT_FALSE(isOpen()) << "one click selects";
    QTest::mouseDClick(list()->viewport(), Qt::LeftButton, {}, first);
    ASSERT_TRUE(isOpen());
    waitUntilIdle();
    EXPECT_EQ(page->grab().toImage().pixelColor(page->rect().center()), QColor(Qt::blue));
    QTest::mouseClick(find<QPushButton>("backToAll"), Qt::LeftButton);
    EXPECT_FALSE(isOpen());
    QTest::mouseClick(find<QPushButton>("openScreenshot"), Qt::LeftButton);
    EXPECT_TRUE(isOpen());
    // Pictures of another patient do not stay on the screen.
    AppBase::setCurrentPatient(storePatient("2"));
    EXPECT_TRUE(isNoteShown("No screenshots of this patient"));
}

TEST_F(ReviewTest, ABrokenOneTellsItsReason) {
    const DataPointer<Patient> patient = storePatient("1");
    const DataPointer<QtScreenShotData> damaged(new QtScreenShotData);
    damaged->setId(recordId(9));
    damaged->setBinaryPart(QStringLiteral("screenShot"), broken);
    ASSERT_EQ(patient->addChild(damaged, false), CaError::nullError);
    ASSERT_EQ(patient->addChild(makeScreenshot(recordId(1), Qt::green), false), CaError::nullError);
    useStored(patient);
    show(new ReviewModule);
    EXPECT_EQ(thumbnail(0), QColor());
    const char* const reason = "The screenshot is no PNG image.";
    EXPECT_EQ(row(0).data(ScreenshotModel::ReasonRole).toString(), QLatin1String(reason));
    EXPECT_THAT(row(0).data(Qt::AccessibleTextRole).toString().toStdString(), HasSubstr(reason));
    EXPECT_EQ(thumbnail(1), QColor(Qt::green)) << "the others do not suffer";
    QTest::keyClick(list(), Qt::Key_Home);
    QTest::keyClick(list(), Qt::Key_Return);
    waitUntilIdle();
    EXPECT_THAT(find<QWidget>("screenshot")->accessibleDescription().toStdString(),
                HasSubstr(reason));
}

TEST_F(ReviewTest, DeletingAsksFirst) {
    useThree();
    show(new ReviewModule);
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    QTest::keyClick(list(), Qt::Key_Home);
    QString question;
    answer(QMessageBox::No, &question);
    QTest::keyClick(list(), Qt::Key_Delete);
    EXPECT_THAT(question.toStdString(), HasSubstr("01 Mar 2026 07:00:03"));
    EXPECT_EQ(model()->rowCount(), 3);
    EXPECT_EQ(stored(patient)->childCount(), 3);

    answer(QMessageBox::Yes);
    QTest::mouseClick(find<QPushButton>("deleteScreenshot"), Qt::LeftButton);
    ASSERT_EQ(model()->rowCount(), 2);
    EXPECT_EQ(thumbnail(0), QColor(Qt::green));
    EXPECT_EQ(stored(patient)->childCount(), 2);

    // The one that is open, and then the last one.
    QTest::keyClick(list(), Qt::Key_Return);
    answer(QMessageBox::Yes);
    QTest::keyClick(find<QWidget>("screenshot"), Qt::Key_Delete);
    EXPECT_TRUE(list()->isVisible());
    EXPECT_EQ(thumbnail(0), QColor(Qt::red));
    answer(QMessageBox::Yes);
    QTest::keyClick(list(), Qt::Key_Delete);
    EXPECT_TRUE(isNoteShown("No screenshots of this patient"));
    EXPECT_EQ(stored(patient)->childCount(), 0);
}

// As another workstation does that has the same patient open.
static void changeElsewhere(const DataPointer<Patient>& patient) {
    patient->setName(QStringLiteral("Somebody, Else"));
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
}

TEST_F(ReviewTest, AFailureToDeleteIsTakenBack) {
    useThree();
    show(new ReviewModule);
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    changeElsewhere(stored(patient));
    QTest::keyClick(list(), Qt::Key_Home);
    expectLog(vlr::LogLevel::UserError, "The screenshot was not deleted. ");
    answerNextMessageBox([this](QMessageBox& box) {
        answer(QMessageBox::Ok);
        QTest::mouseClick(box.button(QMessageBox::Yes), Qt::LeftButton);
    });
    QTest::keyClick(list(), Qt::Key_Delete);
    EXPECT_EQ(patient->childCount(), 3);
    ASSERT_EQ(model()->rowCount(), 3);
    EXPECT_EQ(thumbnail(0), QColor(Qt::blue)) << "it is in its old place, with its picture";
    EXPECT_EQ(list()->currentIndex().row(), 0);
}

TEST_F(ReviewTest, ANewScreenshotIsStoredAtOnceAndShown) {
    useThree();
    show(new ReviewModule);
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    inNextDialog<QtScreenShotDialog>([](QtScreenShotDialog& dialog) {
        dialog.findChild<QPushButton*>(QStringLiteral("save"))->click();
    });
    application->requestScreenshot();
    EXPECT_EQ(model()->rowCount(), 4);
    const DataPointer<Patient> read = stored(patient);
    ASSERT_EQ(read->childCount(), 4);
    EXPECT_EQ(dataCast<QtScreenShotData>(read->child(3))->screenShot().size(), window()->size());

    changeElsewhere(read);
    expectLog(vlr::LogLevel::UserError, "The screenshot is not in the repository yet. ");
    answer(QMessageBox::Ok);
    ASSERT_EQ(patient->addChild(makeScreenshot(recordId(50), Qt::white), true), CaError::nullError);
    EXPECT_EQ(model()->rowCount(), 5);
    EXPECT_EQ(stored(patient)->childCount(), 4);
}
