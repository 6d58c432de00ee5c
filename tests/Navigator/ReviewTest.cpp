#include "Review/ReviewModule.h"

#include "AppBase/Dialogs/QtScreenShotDialog.h"
#include "AppBase/QtScreenShotData.h"
#include "Navigator/NavigatorTest.h"
#include "Review/BackgroundDecoder.h"
#include "Review/ScreenshotModel.h"

#include <QtWidgets/QListView>

using namespace vlrTest;

namespace {

DataPointer<QtScreenShotData> makeScreenshot(const QString& id, const QColor& color,
                                             const QSize& size = {40, 30}) {
    const DataPointer<QtScreenShotData> record(new QtScreenShotData);
    QPixmap picture(size);
    picture.fill(color);
    record->setId(id);
    record->setScreenShot(picture);
    return record;
}

// As another workstation does that has the same patient open.
void changeElsewhere(const DataPointer<Patient>& patient) {
    patient->setName(QStringLiteral("Somebody, Else"));
    ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
}

struct ReviewTest : NavigatorTest {
    // Shows a patient with the records as he is read at the next start.
    void showPatient(const std::vector<DataPointer<QtScreenShotData>>& records) {
        const DataPointer<Patient> patient = storePatient("1", "Jane");
        for (const auto& record : records)
            ASSERT_EQ(patient->addChild(record, false), CaError::nullError);
        ASSERT_EQ(DataIOManager::storePatient(patient), CaError::nullError);
        AppBase::setCurrentPatient(loadPatient(*patient));
        show(new ReviewModule);
    }
    // Red, green and blue, a second after each other, and before them one that is broken.
    void showFour() {
        const QString id = QStringLiteral("SCD_Screenshot_Jane_20260301_07000%1");
        const DataPointer<QtScreenShotData> broken(new QtScreenShotData);
        broken->setId(id.arg(0));
        broken->setBinaryPart(QStringLiteral("screenShot"), "These are not the bytes.");
        showPatient({broken, makeScreenshot(id.arg(1), Qt::red),
                     makeScreenshot(id.arg(2), Qt::green, {3000, 1000}),
                     makeScreenshot(id.arg(3), Qt::blue)});
        ASSERT_EQ(model()->rowCount(), 4);
    }
    static int storedCount() { return loadPatient(*AppBase::getCurrentPatient())->childCount(); }

    QListView* list() const { return find<QListView>("screenshots"); }
    QAbstractItemModel* model() const { return list()->model(); }
    QModelIndex row(int number) const { return model()->index(number, 0); }
    QColor thumbnail(int number) const {
        (void)row(number).data(Qt::DecorationRole);
        waitUntilIdle();
        const auto picture = row(number).data(Qt::DecorationRole).value<QPixmap>();
        return picture.isNull() ? QColor() : picture.toImage().pixelColor(0, 0);
    }
    // What the middle of the large picture shows, while it is open.
    QColor opened() const {
        auto* const page = find<QWidget>("screenshot");
        if (!page->isVisible() || list()->isVisible())
            return {};
        waitUntilIdle();
        return page->grab().toImage().pixelColor(page->rect().center());
    }
    // How much of the large picture has the colour.
    QSize sizeOf(const QColor& color) const {
        const QImage shown = find<QWidget>("screenshot")->grab().toImage();
        QRect found;
        for (int i = 0; i < shown.width() * shown.height(); ++i)
            if (const QPoint at(i % shown.width(), i / shown.width());
                shown.pixelColor(at) == color)
                found |= QRect(at, QSize(1, 1));
        return found.size();
    }
    void waitUntilIdle() const {
        const auto decoders = window()->findChildren<BackgroundDecoder*>();
        ASSERT_FALSE(decoders.isEmpty());
        for (const BackgroundDecoder* each : decoders)
            ASSERT_TRUE(QTest::qWaitFor([&] { return !each->isBusy(); }, patience));
    }
    void press(Qt::Key key) const { QTest::keyClick(list(), key); }
    static void answer(QMessageBox::StandardButton button) {
        answerNextMessageBox(
            [button](QMessageBox& box) { QTest::mouseClick(box.button(button), Qt::LeftButton); });
    }
    std::string note() const {
        const auto* const note = find<QLabel>("reviewNote");
        return note->isVisible() ? note->text().toStdString() : "";
    }
};

} // namespace

TEST_F(ReviewTest, ShowsTheNewestFirstAndOpensOne) {
    showFour();
    EXPECT_EQ(thumbnail(0), QColor(Qt::blue));
    EXPECT_EQ(thumbnail(2), QColor(Qt::red));
    EXPECT_EQ(row(2).data().toString(), QLatin1String("01 Mar 2026 07:00:01"));
    EXPECT_EQ(thumbnail(3), QColor());
    const char* const reason = "The screenshot is no PNG image.";
    EXPECT_EQ(row(3).data(ScreenshotModel::ReasonRole).toString(), QLatin1String(reason));
    const QPoint first = list()->visualRect(row(0)).center();
    QTest::mouseClick(list()->viewport(), Qt::LeftButton, {}, first);
    EXPECT_FALSE(opened().isValid()) << "one click selects";
    QTest::mouseDClick(list()->viewport(), Qt::LeftButton, {}, first);
    EXPECT_EQ(opened(), QColor(Qt::blue));
    EXPECT_EQ(sizeOf(Qt::blue), QSize(40, 30)) << "as it was taken";
    QTest::keyClick(find<QWidget>("screenshot"), Qt::Key_Escape);
    list()->setCurrentIndex(row(1));
    press(Qt::Key_Return);
    EXPECT_EQ(opened(), QColor(Qt::green));
    EXPECT_EQ(sizeOf(Qt::green).width(), find<QWidget>("screenshot")->width())
        << "as large as fits";
    EXPECT_NEAR(sizeOf(Qt::green).height(), sizeOf(Qt::green).width() / 3, 1);
    // Pictures of another patient do not stay on the screen.
    AppBase::setCurrentPatient(storePatient("2"));
    EXPECT_EQ(note(), "No screenshots of this patient");
    press(Qt::Key_Delete);
    press(Qt::Key_Return);
    EXPECT_EQ(note(), "No screenshots of this patient");
    AppBase::setCurrentPatient(nullptr);
    EXPECT_EQ(note(), "No patient chosen");
}

TEST_F(ReviewTest, AThumbnailIsAnnouncedWhenItIsThere) {
    showFour();
    ScreenshotModel fresh;
    fresh.setPatient(AppBase::getCurrentPatient());
    const QSignalSpy changes(&fresh, &QAbstractItemModel::dataChanged);
    for (const int number : {1, 3}) { // The last one is broken.
        const int before = changes.count();
        EXPECT_FALSE(fresh.index(number).data(Qt::DecorationRole).isValid());
        ASSERT_TRUE(QTest::qWaitFor([&] { return changes.count() > before; }, patience));
        EXPECT_EQ(changes.last().first().toModelIndex(), fresh.index(number));
        EXPECT_EQ(fresh.index(number).data(Qt::DecorationRole).isValid(), number == 1);
    }
    fresh.setPixelRatio(2);
    EXPECT_FALSE(fresh.index(1).data(Qt::DecorationRole).isValid()) << "it would be blurred";
}

TEST_F(ReviewTest, DeletingAsksFirst) {
    showFour();
    press(Qt::Key_Home);
    QString question;
    answerNextMessageBox([&](QMessageBox& box) {
        question = box.text();
        QTest::keyClick(&box, Qt::Key_Return);
    });
    press(Qt::Key_Delete);
    EXPECT_THAT(question.toStdString(), HasSubstr("01 Mar 2026 07:00:03"));
    EXPECT_EQ(model()->rowCount(), 4);
    EXPECT_EQ(storedCount(), 4);

    answer(QMessageBox::Yes);
    click("deleteScreenshot");
    ASSERT_EQ(model()->rowCount(), 3);
    EXPECT_EQ(thumbnail(0), QColor(Qt::green));
    EXPECT_EQ(storedCount(), 3);

    // The one that is open.
    press(Qt::Key_Return);
    answer(QMessageBox::Yes);
    QTest::keyClick(find<QWidget>("screenshot"), Qt::Key_Delete);
    EXPECT_TRUE(list()->isVisible());
    EXPECT_EQ(thumbnail(0), QColor(Qt::red));
    EXPECT_EQ(storedCount(), 2);
}

TEST_F(ReviewTest, AFailureToDeleteIsTakenBack) {
    showFour();
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    changeElsewhere(loadPatient(*patient));
    press(Qt::Key_Home);
    expectLog(LogLevel::UserError, "The screenshot was not deleted. ");
    answerNextMessageBox([](QMessageBox& box) {
        answer(QMessageBox::Ok);
        QTest::mouseClick(box.button(QMessageBox::Yes), Qt::LeftButton);
    });
    press(Qt::Key_Delete);
    EXPECT_EQ(patient->childCount(), 4);
    ASSERT_EQ(model()->rowCount(), 4);
    EXPECT_EQ(thumbnail(0), QColor(Qt::blue)) << "it is in its old place, with its picture";
    EXPECT_EQ(list()->currentIndex().row(), 0);
}

TEST_F(ReviewTest, ANewScreenshotIsStoredAtOnceAndShown) {
    showFour();
    const DataPointer<Patient> patient = AppBase::getCurrentPatient();
    inNextDialog<QtScreenShotDialog>([](QtScreenShotDialog& dialog) {
        dialog.findChild<QPushButton*>(QStringLiteral("save"))->click();
    });
    list()->setCurrentIndex(row(1));
    application->requestScreenshot();
    EXPECT_EQ(model()->rowCount(), 5);
    EXPECT_EQ(list()->currentIndex().row(), 2) << "what was selected";
    const DataPointer<Patient> read = loadPatient(*patient);
    ASSERT_EQ(read->childCount(), 5);
    EXPECT_EQ(dataCast<QtScreenShotData>(read->child(4))->screenShot().size(), window()->size());

    changeElsewhere(read);
    expectLog(LogLevel::UserError, "The screenshot is not in the repository yet. ");
    answer(QMessageBox::Ok);
    ASSERT_EQ(patient->addChild(makeScreenshot(QStringLiteral("SCD_2"), Qt::white), true),
              CaError::nullError);
    EXPECT_EQ(model()->rowCount(), 6);
    EXPECT_EQ(storedCount(), 5);
}
