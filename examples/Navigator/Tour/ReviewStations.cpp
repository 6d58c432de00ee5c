#include "Tour/ReviewStations.h"

#include "AppBase/AppBase.h"
#include "Base/QtElidedLabel.h"
#include "Review/ScreenshotModel.h"
#include "Review/ScreenshotPage.h"

#include <QtWidgets/QListView>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

namespace {

constexpr int stepsToReview = 5;

void goTo(TourActions& actions, const char* direction) {
    for (int i = 0; i < stepsToReview; ++i)
        actions.click(direction);
}

void takeScreenshot(TourActions& actions, const char* pictureName = nullptr) {
    actions.inDialog([&] { actions.click("Screenshot"); },
                     [&](QWidget*) {
                         if (pictureName)
                             actions.picture(pictureName);
                         actions.click("save");
                     });
}

// As a disk leaves it that lost what was written last.
void addBrokenScreenshot(const TourActions& actions) {
    const DataPointer<QtScreenShotData> broken(new QtScreenShotData);
    broken->setId(QStringLiteral("SCD_Screenshot_20200229_081500"));
    broken->setBinaryPart(QStringLiteral("screenShot"), QByteArray("\x89PNG\r\n\x1a\n", 8));
    actions.expect(AppBase::getCurrentPatient()->addChild(broken, true) == CaError::nullError,
                   "the screenshot is not added");
}

void waitForThumbnails(TourActions& actions, int count) {
    const auto* const model = actions.find<QListView>("screenshots")->model();
    const auto isKnown = [&](int row) {
        const QModelIndex index = model->index(row, 0);
        return !index.data(Qt::DecorationRole).value<QPixmap>().isNull() ||
               !index.data(ScreenshotModel::ReasonRole).toString().isEmpty();
    };
    actions.waitFor(
        [&] {
            bool all = model->rowCount() == count;
            for (int row = 0; all && row < count; ++row)
                all = isKnown(row);
            return all;
        },
        "the thumbnails");
}

void openAndReturn(TourActions& actions, Qt::Key toScreenshot, const char* pictureName) {
    auto* const list = actions.find<QListView>("screenshots");
    actions.key(list, toScreenshot);
    actions.key(list, Qt::Key_Return);
    QWidget* const shown = actions.find("screenshot");
    const QString notYet = ScreenshotPage::tr("The screenshot is being read...");
    actions.waitFor([&] { return shown->accessibleDescription() != notYet; }, "the large picture");
    actions.picture(pictureName);
    actions.key(shown, Qt::Key_Escape);
    actions.expect(list->isVisible(), "there is no way back");
}

void deleteSelected(TourActions& actions) {
    actions.inDialog([&] { actions.key(actions.find("screenshots"), Qt::Key_Delete); },
                     [&](QWidget* dialog) {
                         auto* const question = qobject_cast<QMessageBox*>(dialog);
                         actions.expect(question, "deleting is not asked about");
                         actions.picture("15b-delete-screenshot");
                         actions.click(question->button(QMessageBox::Yes));
                     });
}

} // namespace

void reviewStations(TourActions& actions) {
    takeScreenshot(actions, "15a-screenshot");
    goTo(actions, "nextStep");
    actions.expect(!actions.find("nextStep")->isEnabled(), "there is a step after the last");
    waitForThumbnails(actions, 1);
    deleteSelected(actions);
    actions.expect(actions.find("reviewNote")->isVisible(), "nobody says that there are none");
    actions.picture("15c-no-screenshots");
    goTo(actions, "previousStep");
    for (int i = 0; i < stepsToReview; ++i) {
        actions.click("nextStep");
        takeScreenshot(actions);
    }
    addBrokenScreenshot(actions);
    waitForThumbnails(actions, stepsToReview + 1);
    actions.expectText<QtElidedLabel>("screenshotCount",
                                      QStringLiteral("Screenshots: %1").arg(stepsToReview + 1));
    actions.picture("15d-screenshots");
    openAndReturn(actions, Qt::Key_Home, "15e-screenshot-opened");
    openAndReturn(actions, Qt::Key_End, "15f-broken-screenshot");
    goTo(actions, "previousStep");
    actions.expect(!actions.find("previousStep")->isEnabled(), "there is a step before the first");
}
