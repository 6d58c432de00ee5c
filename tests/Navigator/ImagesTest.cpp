#include "IO/DataIOManager.h"
#include "Images/PhantomFiles.h"
#include "Images/ProblemList.h"
#include "Navigator/NavigatorTest.h"
#include "Volume/ImagesView.h"

#include <set>

using namespace vlrTest;

namespace {

// Something happens while there is progress, once.
class ActingMonitor : public CaProgressMonitor {
public:
    explicit ActingMonitor(std::function<void()> act) : m_act(std::move(act)) {}
    void tick() override {
        if (const auto act = std::exchange(m_act, nullptr))
            act();
    }

private:
    std::function<void()> m_act;
};

struct ImagesTest : NavigatorTest {
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
    // Whom the images belong to, as every view of them says and paints it; "" without images.
    std::string owner() const {
        std::set<QStringList> texts{panes->imagesView()->patientText()};
        std::vector<QWidget*> views{find<QWidget>("sliceView")};
        for (const PaneControl* control : panes->volumeControls()) {
            texts.insert(qobject_cast<PaneView*>(control->view())->patientText());
            views.push_back(control->view());
        }
        for (QWidget* view : views) // The corner is grey and white, not the black of the picture.
            EXPECT_EQ(view && view->isVisible() && brightCorner(*view),
                      view && view->isVisible() && !texts.begin()->isEmpty());
        EXPECT_EQ(texts.size(), 1U) << "not all views say the same";
        EXPECT_EQ(panes->series().isEmpty(), texts.begin()->isEmpty());
        return texts.begin()->join(QLatin1Char('/')).toStdString();
    }
    static bool brightCorner(QWidget& view) {
        const QImage image = view.grab({view.width() - 40, 20, 30, 30}).toImage();
        for (int i = 0; i < 30 * 30; ++i)
            if (qGray(image.pixel(i % 30, i / 30)) > 150)
                return true;
        return false;
    }
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
    press(Qt::Key_Right); // There is nothing behind the last.
    EXPECT_EQ(position(), "Slice 6 of 6");
    EXPECT_EQ(window()->findChild<ProblemList*>()->count(), 3) << "each once";
}

TEST_F(ImagesTest, NothingUsableKeepsWhatIsOpen) {
    ImagesModule* const module = showImages({makeFolder()});
    press(Qt::Key_Right);
    const QString letters = writeImages("letters", std::vector<QByteArray>(5, "Dear Jane,"));
    for (const QString& path : {letters, letters + QStringLiteral("/none.png")}) {
        expectLog(LogLevel::UserWarning, path.toStdString());
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
    EXPECT_EQ(logCount(LogLevel::UserWarning, ""), 2); // Once each, not once per file.
}

// --- whom they belong to

TEST_F(ImagesTest, BelongToThePatientForWhomTheyWereOpenedOrToNobody) {
    const DataPointer<Patient> jane = storePatient("1", "Jane");
    const DataPointer<Patient> other = storePatient("2", "Jane");
    const QString volume = writeImages("volume", std::vector<QByteArray>(3, png(10, 20)));
    ImagesModule* const module = showImages();
    EXPECT_EQ(owner(), "Example");
    AppBase::setCurrentPatient(jane);
    EXPECT_EQ(owner(), "Example");
    for (const QString& folder : {volume, makeFolder()}) {
        SCOPED_TRACE(folder.toStdString());
        AppBase::setCurrentPatient(nullptr);
        jane->setName(QStringLiteral("Jane"));
        module->open({folder});
        EXPECT_EQ(owner(), "no patient");
        AppBase::setCurrentPatient(jane);
        EXPECT_EQ(owner(), "no patient");
        module->open({folder});
        EXPECT_EQ(owner(), "Jane/1");

        jane->setName(QStringLiteral("Joan"));
        jane->notify(Data::CHANGED);
        EXPECT_EQ(owner(), "Joan/1");
        AppBase::setCurrentPatient(loadPatient(*jane));
        EXPECT_EQ(owner(), "Jane/1");
        AppBase::getCurrentPatient()->setName(QStringLiteral("Ann"));
        AppBase::getCurrentPatient()->notify(Data::CHANGED);
        EXPECT_EQ(owner(), "Ann/1");

        for (const DataPointer<Patient>& next : {other, DataPointer<Patient>()}) {
            AppBase::setCurrentPatient(next);
            EXPECT_EQ(owner(), "");
            EXPECT_FALSE(panes->hasVolume());
            EXPECT_EQ(problems(), "") << "files are named after patients, too";
            EXPECT_EQ(find<QLabel>("source")->accessibleName(), QString());
            AppBase::setCurrentPatient(jane);
            EXPECT_EQ(owner(), "");
            module->open({folder});
        }
    }
    const QString link = testFolder() + QStringLiteral("/link");
    ASSERT_TRUE(QFile::link(phantomFolder(), link));
    for (const QString& folder : {phantomFolder(), link}) {
        module->open({makeFolder()});
        module->open({folder});
        EXPECT_EQ(owner(), "Example") << folder.toStdString();
    }
    // Not what somebody put beside it.
    writeFile(phantomFolder() + QStringLiteral("/mine.png"), png(128, 128));
    module->open({phantomFolder()});
    EXPECT_EQ(owner(), "Joan/1");
    EXPECT_EQ(panes->series().count(), 129);
    restart();
    AppBase::setCurrentPatient(nullptr);
    showImages();
    EXPECT_EQ(owner(), "Example");
    EXPECT_EQ(panes->series().count(), 128);
    EXPECT_TRUE(panes->volume().isRegistered());
}

TEST_F(ImagesTest, AnExampleThatWasReplacedIsNotRegistered) {
    QDir().mkpath(phantomFolder());
    for (const QString& file : phantomFiles())
        writeFile(file, png(10, 20));
    showImages();
    EXPECT_EQ(panes->volume().size(), (Voxel{10, 20, 128}));
    EXPECT_FALSE(panes->volume().isRegistered() || panes->volume().isSpacingKnown());
}

TEST_F(ImagesTest, APatientWhoComesWhileImagesAreLoadedDoesNotGetThem) {
    const QString volume = writeImages("volume", std::vector<QByteArray>(3, png(10, 20)));
    ImagesModule* const module = showImages();
    const DataPointer<Patient> jane = storePatient("1", "Jane");
    const DataPointer<Patient> joan = storePatient("2", "Joan");
    const auto openWhileComes = [&](const DataPointer<Patient>& next) {
        CaProgressMonitor::setInstance(
            new ActingMonitor([=] { AppBase::setCurrentPatient(next); }));
        module->open({volume});
        CaProgressMonitor::setInstance(nullptr);
    };
    AppBase::setCurrentPatient(jane);
    expectLog(LogLevel::UserWarning, "not shown");
    answerNextMessageBox([](QMessageBox& box) { box.accept(); });
    openWhileComes(joan);
    EXPECT_EQ(owner(), "Example");
    AppBase::setCurrentPatient(nullptr);
    openWhileComes(joan);
    EXPECT_EQ(owner(), "no patient");

    // The same one, loaded anew: it is that object of him that changes from now on.
    openWhileComes(loadPatient(*joan));
    EXPECT_EQ(owner(), "Joan/2");
    AppBase::getCurrentPatient()->setName(QStringLiteral("Ann"));
    AppBase::getCurrentPatient()->notify(Data::CHANGED);
    EXPECT_EQ(owner(), "Ann/2");
}

TEST_F(ImagesTest, NextStartOpensThemForTheSamePatientOnly) {
    const DataPointer<Patient> jane = storePatient("1", "Jane");
    AppBase::setCurrentPatient(jane);
    const QString folder = writeImages("volume", std::vector<QByteArray>(3, png(10, 20)));
    showImages({folder});
    panes->setSlice(2);
    const DataPointer<Patient> other = storePatient("2", "Jane");
    const struct {
        DataPointer<Patient> current, comesMeanwhile;
        const char *owner, *problem;
    } starts[] = {{other, {}, "Example", "not opened for the patient"},
                  {{}, {}, "Example", "not opened for the patient"},
                  {jane, other, "Example", "not the current one any more"},
                  {jane, {}, "Jane/1", ""}};
    for (const auto& start : starts) {
        SCOPED_TRACE(start.problem);
        restart();
        AppBase::setCurrentPatient(start.current);
        if (start.comesMeanwhile)
            CaProgressMonitor::setInstance(
                new ActingMonitor([&] { AppBase::setCurrentPatient(start.comesMeanwhile); }));
        showImages();
        CaProgressMonitor::setInstance(nullptr);
        EXPECT_EQ(owner(), start.owner);
        EXPECT_THAT(problems(), HasSubstr(start.problem));
        const bool isOpen = owner() != "Example";
        EXPECT_EQ(problems() == "", isOpen);
        EXPECT_EQ(panes->crossHair()->slice(Plane::Axial), isOpen ? 2 : 64);
        if (!isOpen)
            panes->setSlice(0); // of the example: theirs is not forgotten
    }
    restart(); // with nobody's images, which are no patient's
    showImages({folder});
    EXPECT_EQ(owner(), "no patient");
    restart();
    AppBase::setCurrentPatient(jane);
    showImages();
    EXPECT_EQ(owner(), "Example");
    EXPECT_THAT(problems(), HasSubstr("not opened for the patient"));
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
