#include "Images/ImagesView.h"
#include "Images/ProblemList.h"
#include "Navigator/NavigatorTest.h"
#include "Support/MessageBoxes.h"

#include <QtCore/QDir>
#include <QtWidgets/QLabel>

#include <gmock/gmock.h>

using namespace vlrTest;
using testing::HasSubstr;

namespace {

class ImagesTest : public NavigatorTest {
protected:
    // In the order of their names: good, cut, good, huge, no image, good.
    static QString makeFolder() {
        // A header of 60000 x 60000 pixels, and no more.
        const QByteArray huge =
            QByteArray::fromHex("89504e470d0a1a0a0000000d494844520000ea600000ea6008020000000fb0e215"
                                "000000004944415435af061e");
        return writeImages("images", {png(10, 20), png(30, 20).left(60), png(30, 20), huge,
                                      "Dear Jane,", png(60, 20)});
    }
    std::string position() const { return find<QLabel>("slicePosition")->text().toStdString(); }
    std::string problems() const {
        std::string texts;
        const auto* list = window()->findChild<ProblemList*>();
        for (int row = 0; row < list->count(); ++row)
            texts += list->item(row)->toolTip().toStdString() + '\n';
        return texts;
    }
    void press(Qt::Key key) { QTest::keyClick(find<QWidget>("sliceView"), key); }
};

} // namespace

TEST_F(ImagesTest, BrokenFilesKeepTheirPlacesAndAreListed) {
    showImages({makeFolder()});
    EXPECT_EQ(position(), "Slice 1 of 6");
    for (int slice = 2; slice <= 6; ++slice) {
        press(Qt::Key_Right);
        EXPECT_EQ(position(), "Slice " + std::to_string(slice) + " of 6");
        const QString reason = find<QWidget>("sliceView")->accessibleDescription();
        const bool isGood = slice == 3 || slice == 6;
        EXPECT_EQ(reason.isEmpty(), isGood) << slice << reason.toStdString();
        const std::string name = std::to_string(slice) + ".png";
        EXPECT_EQ(problems().find(name) == std::string::npos, isGood) << problems();
    }
}

TEST_F(ImagesTest, NothingUsableKeepsWhatIsOpen) {
    ImagesModule* const module = showImages({makeFolder()});
    press(Qt::Key_Right);
    const QString letters = writeImages("letters", std::vector<QByteArray>(5, "Dear Jane,"));
    for (const QString& path : {letters, letters + QStringLiteral("/none.png")}) {
        expectLog(vlr::LogLevel::UserWarning, path.toStdString());
        bool isTold = false;
        answerNextMessageBox([&](QMessageBox& box) {
            isTold = box.text().contains(path);
            box.accept();
        });
        module->open({path});
        EXPECT_TRUE(isTold);
        EXPECT_EQ(position(), "Slice 2 of 6");
        EXPECT_THAT(problems(), HasSubstr(path.toHtmlEscaped().toStdString()));
    }
    EXPECT_EQ(logCount(vlr::LogLevel::UserWarning, ""), 2); // Once each, not once per file.
}

// Where they are still there, the program's tour sees to it.
TEST_F(ImagesTest, NextStartSaysThatTheImagesAreGone) {
    const QString folder = makeFolder();
    showImages({folder});
    restart();
    ASSERT_TRUE(QDir(folder).removeRecursively());
    showImages();
    EXPECT_TRUE(panes->hasVolume());
    EXPECT_EQ(panes->crossHair()->position(), (Voxel{64, 64, 64}));
    EXPECT_THAT(problems(), HasSubstr(folder.toStdString()));
}
