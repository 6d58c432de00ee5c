#include "Images/ImagesModule.h"
#include "Images/ImagesView.h"
#include "Images/ProblemList.h"
#include "Navigator/NavigatorTest.h"
#include "Support/MessageBoxes.h"

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtWidgets/QLabel>

#include <gmock/gmock.h>

using namespace vlrTest;
using testing::HasSubstr;

namespace {

QByteArray png(int width) {
    QImage image(width, 20, QImage::Format_Grayscale8);
    image.fill(100);
    QBuffer buffer;
    EXPECT_TRUE(buffer.open(QIODevice::WriteOnly) && image.save(&buffer, "PNG"));
    return buffer.data();
}

// A header of 60000 x 60000 pixels, and no more.
QByteArray hugePng() {
    return QByteArray::fromHex("89504e470d0a1a0a0000000d494844520000ea600000ea6008020000000fb0e215"
                               "000000004944415435af061e");
}

class ImagesTest : public NavigatorTest {
protected:
    // In the order of their names: good, cut, good, huge, no image, good.
    QString makeFolder() {
        const QString folder = testFolder() + QStringLiteral("/images");
        const QByteArray cut = png(30).left(60);
        const QByteArray files[] = {png(10), cut, png(30), hugePng(), "Dear Jane,", png(60)};
        int number = 0;
        for (const QByteArray& bytes : files)
            writeFile(QStringLiteral("%1/%2.png").arg(folder).arg(++number), bytes);
        return folder;
    }

    void showModule(const QStringList& paths = {}) {
        m_panes = std::make_shared<VolumePanes>();
        m_module = new ImagesModule(m_panes, paths);
        show(m_module);
        ASSERT_TRUE(QTest::qWaitFor([&] { return !m_panes->series().isEmpty(); }, patience));
    }
    // The controls of one start must be gone before the next one has its own.
    void startAgain() {
        m_panes.reset();
        restart();
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

    std::shared_ptr<VolumePanes> m_panes;
    ImagesModule* m_module = nullptr;
};

} // namespace

TEST_F(ImagesTest, BrokenFilesKeepTheirPlacesAndAreListed) {
    showModule({makeFolder()});
    EXPECT_EQ(position(), "Slice 1 of 6");
    for (int slice = 2; slice <= 6; ++slice) {
        press(Qt::Key_Right);
        EXPECT_EQ(position(), "Slice " + std::to_string(slice) + " of 6");
        const QString reason = find<QWidget>("sliceView")->accessibleDescription();
        EXPECT_EQ(reason.isEmpty(), slice == 3 || slice == 6) << slice << reason.toStdString();
    }
    for (const char* name : {"2.png", "4.png", "5.png"})
        EXPECT_THAT(problems(), HasSubstr(name));
    for (const char* name : {"1.png", "3.png", "6.png"})
        EXPECT_THAT(problems(), testing::Not(HasSubstr(name)));
}

TEST_F(ImagesTest, NothingUsableKeepsWhatIsOpen) {
    showModule({makeFolder()});
    press(Qt::Key_Right);
    const QString empty = testFolder() + QStringLiteral("/empty");
    ASSERT_TRUE(QDir().mkpath(empty));
    const QString letters = testFolder() + QStringLiteral("/letters");
    for (int i = 0; i < 5; ++i)
        writeFile(QStringLiteral("%1/%2.png").arg(letters).arg(i), "Dear Jane,");
    int warnings = 0;
    for (const QString& path : {empty, letters, letters + QStringLiteral("/none.png")}) {
        expectLog(vlr::LogLevel::UserWarning, path.toStdString());
        bool isTold = false;
        answerNextMessageBox([&](QMessageBox& box) {
            isTold = box.text().contains(path);
            box.accept();
        });
        m_module->open({path});
        EXPECT_TRUE(isTold);
        EXPECT_EQ(position(), "Slice 2 of 6");
        EXPECT_THAT(problems(), HasSubstr(path.toHtmlEscaped().toStdString()));
        EXPECT_EQ(logCount(vlr::LogLevel::UserWarning, ""), ++warnings);
    }
}

TEST_F(ImagesTest, NextStartShowsTheSameOrSaysWhyNot) {
    const QString folder = makeFolder();
    showModule({folder});
    press(Qt::Key_End);
    startAgain();
    showModule();
    EXPECT_EQ(position(), "Slice 6 of 6");
    EXPECT_EQ(m_panes->series().path(5), folder + QStringLiteral("/6.png"));

    startAgain();
    ASSERT_TRUE(QDir(folder).removeRecursively());
    showModule();
    EXPECT_TRUE(m_panes->hasVolume());
    EXPECT_EQ(m_panes->crossHair()->position(), (Voxel{64, 64, 64}));
    EXPECT_THAT(problems(), HasSubstr(folder.toStdString()));
}

TEST_F(ImagesTest, ManyPathsDoNotSpoilTheConfiguration) {
    const QString path = makeFolder() + QStringLiteral("/1.png");
    QStringList paths;
    for (int i = 0; i < 5000; ++i)
        paths << path;
    showModule(paths);
    EXPECT_THAT(problems(), HasSubstr("too many"));
    startAgain();
    showModule(); // A configuration that cannot be read would be logged.
    EXPECT_EQ(m_panes->series().count(), 128);
}
