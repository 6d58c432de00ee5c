#include "AppBase/vlrControlList.h"
#include "Base/QtQuadView.h"
#include "Compare/CompareModule.h"
#include "Enlarge/EnlargeModule.h"
#include "Navigator/NavigatorTest.h"
#include "Volume/ImagesView.h"
#include "Volume/SliceView.h"

#include <QtGui/QScreen>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QRadioButton>

using namespace vlrTest;

namespace {

// The modules as the application has them.
struct PanesTest : NavigatorTest {
    void showModules() {
        m_images = showImages();
        m_compare = new CompareModule(panes);
        m_enlarge = new EnlargeModule(panes);
        ASSERT_TRUE(application->addModule(m_compare));
        ASSERT_TRUE(application->addModule(m_enlarge));
    }

    QWidget* overview() const { return panes->overviewControl()->view(); }
    Voxel position() const { return panes->crossHair()->position(); }
    static QtQuadView* viewer() { return vlr::ControlList::instance()->getViewer(); }
    // The names of the views in the panes, "" for an empty or a hidden one.
    static std::vector<std::string> inPanes() {
        std::vector<std::string> names;
        for (int i = 0; i < viewer()->getNumberOfViews(); ++i) {
            const auto* const child = viewer()->getView(i)->findChild<PaneView*>();
            names.push_back(child && child->isVisible() ? child->title().toStdString() : "");
        }
        return names;
    }
    // The titles of the views that look like the current one.
    std::vector<std::string> current() const {
        std::vector<std::string> names;
        for (const PaneControl* control : panes->volumeControls())
            if (const auto* view = qobject_cast<PaneView*>(control->view()); view->isCurrent())
                names.push_back(view->title().toStdString());
        return names;
    }

    // A series of square images, each in one grey.
    static QString squares(const std::vector<std::pair<int, int>>& sidesAndGreys) {
        static int number = 0;
        std::vector<QByteArray> files;
        for (const auto& [side, grey] : sidesAndGreys) {
            QImage image(side, side, QImage::Format_Grayscale8);
            image.fill(QColor(grey, grey, grey));
            files.push_back(png(image));
        }
        return writeImages(("squares" + std::to_string(++number)).c_str(), files);
    }
    static bool shows(QWidget* view, int grey) {
        const QImage image = view->grab().toImage().convertToFormat(QImage::Format_RGB32);
        int pixels = 0;
        for (int i = 0; i < image.width() * image.height(); ++i)
            pixels += image.pixel(i % image.width(), i / image.width()) == qRgb(grey, grey, grey);
        return pixels > 50;
    }
    static QImage afterKeys(QWidget* view, Qt::Key key, int times) {
        for (int i = 0; i < times; ++i)
            QTest::keyClick(view, key);
        return view->grab().toImage();
    }

    ImagesModule* m_images = nullptr;
    CompareModule* m_compare = nullptr;
    EnlargeModule* m_enlarge = nullptr;
};

} // namespace

TEST(CrossHair, StaysInTheVolumeAndTellsChangesOnly) {
    CrossHair crossHair;
    crossHair.setSize({10, 20, 30});
    const QSignalSpy changes(&crossHair, &CrossHair::positionChanged);
    crossHair.setPosition({5, 10, 15}); // where it is
    EXPECT_EQ(changes.count(), 0);
    for (const Voxel& outside : {Voxel{-1, 20, 100}, Voxel{-9, 30, 29}}) {
        crossHair.setPosition(outside);
        EXPECT_EQ(crossHair.position(), (Voxel{0, 19, 29}));
        EXPECT_EQ(changes.count(), 1);
    }
    crossHair.setSize({0, 1, 3});
    EXPECT_EQ(crossHair.position(), (Voxel{0, 0, 1}));
}

// The upper left corner of the picture, seen in the middle of its first pixel.
TEST_F(PanesTest, PointsAndVoxelsBelongTogether) {
    vlr::ImageSeries series;
    Volume volume;
    const QString folder = writeImages("series", std::vector<QByteArray>(4, png(3, 5)));
    ASSERT_EQ(vlr::ImageSeries::open({folder}, series), CaError::nullError);
    ASSERT_EQ(Volume::load(series, volume), CaError::nullError);
    volume.setSpacing({1, 1, 3});
    CrossHair crossHair;
    crossHair.setSize(volume.size());
    for (const Plane plane : allPlanes) {
        PlaneView view(plane, &crossHair);
        view.resize(300, 200);
        view.setVolume(volume);
        for (int i = 0; i < 3 * 5 * 4; ++i) {
            const Voxel voxel{i % 3, i / 3 % 5, i / 15};
            crossHair.setPosition(voxel);
            EXPECT_EQ(view.voxelAt(view.pointOf(voxel)), voxel);
        }
        // Upper left corner: y is 0 in an axial picture, z the highest in the others.
        const Voxel corner = view.voxelAt({-100, -100});
        EXPECT_EQ(corner[plane == Plane::Sagittal ? 1 : 0], 0);
        EXPECT_EQ(corner[plane == Plane::Axial ? 1 : 2], plane == Plane::Axial ? 0 : 3);
        // Of the tips in the former volume nothing stays.
        const QImage bare = view.grab().toImage();
        view.setTipMarks({{QStringLiteral("Pointer"), Qt::red, {2, 4, 3}}});
        const QImage marked = view.grab().toImage();
        view.setTrackingText({QStringLiteral("lost")});
        EXPECT_TRUE(marked != bare && view.grab().toImage() != marked);
        view.setVolume(volume);
        EXPECT_EQ(view.grab().toImage(), bare);
        if (plane == Plane::Coronal) { // A voxel is three times as high as it is wide.
            const QPoint step = view.pointOf({1, 0, 1}) - view.pointOf({0, 0, 2});
            EXPECT_NEAR(step.y(), 3 * step.x(), 3);
        }
    }
}

// Not only when something else has them painted again.
TEST_F(PanesTest, WhatAViewIsToldIsSeenAtOnce) {
    CrossHair crossHair;
    PlaneView pane(Plane::Axial, &crossHair);
    SliceView slice;
    const std::pair<QWidget*, std::function<void()>> cases[] = {
        {&pane, [&] { pane.setTrackingText({QStringLiteral("lost")}); }},
        {&pane, [&] { pane.setTrackingText({}); }},
        {&pane, [&] { pane.setPatientText({QStringLiteral("Somebody")}); }},
        {&pane, [&] { pane.setCurrent(true); }},
        {&slice, [&] { slice.setTrackingText({QStringLiteral("lost")}); }},
        {&slice, [&] { slice.setPatientText({QStringLiteral("Somebody")}); }},
        {&slice, [&] { slice.showNote(QStringLiteral("nothing")); }},
    };
    for (const auto& [view, tell] : cases) {
        SCOPED_TRACE(&tell - &cases[0].second);
        view->resize(300, 200);
        view->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(view));
        const auto onScreen = [widget = view] {
            QCoreApplication::processEvents();
            return widget->screen()->grabWindow(widget->winId()).toImage();
        };
        const QImage before = onScreen();
        tell();
        EXPECT_NE(onScreen(), before);
        view->hide();
    }
}

TEST_F(PanesTest, MovingOnePaneMovesTheOthers) {
    showModules();
    EXPECT_THAT(inPanes(), ElementsAre("Axial", "Coronal", "Sagittal", "Overview"));
    EXPECT_EQ(position(), (Voxel{64, 64, 64}));
    PlaneView* const axial = view(Plane::Axial);
    PlaneView* const coronal = view(Plane::Coronal);
    PlaneView* const sagittal = view(Plane::Sagittal);
    QTest::mouseClick(axial, Qt::LeftButton, {}, axial->pointOf({20, 90, 0}));
    EXPECT_EQ(position(), (Voxel{20, 90, 64}));
    EXPECT_THAT(coronal->accessibleName().toStdString(), HasSubstr("slice 91 / 128"));
    EXPECT_THAT(sagittal->accessibleName().toStdString(), HasSubstr("slice 21 / 128"));

    QTest::mousePress(sagittal, Qt::LeftButton, {}, sagittal->pointOf({0, 30, 100}));
    EXPECT_EQ(position(), (Voxel{20, 30, 100}));
    dragTo(sagittal, sagittal->pointOf({0, 31, 10}));
    QTest::mouseRelease(sagittal, Qt::LeftButton);
    const Voxel before = position();
    EXPECT_EQ(before, (Voxel{20, 31, 10}));

    turnWheel(coronal, -120 * 3);
    EXPECT_EQ(position()[1], before[1] + 3);
    turnWheel(coronal, 60);
    turnWheel(coronal, 60);
    EXPECT_EQ(position()[1], before[1] + 2);
    turnWheel(overview(), -120 * 2);
    EXPECT_EQ(position()[2], before[2] + 2);
    for (const Qt::Key key : {Qt::Key_Home, Qt::Key_Left}) { // There is nothing before the first.
        QTest::keyClick(sagittal, key);
        EXPECT_EQ(position()[0], 0);
    }
}

TEST_F(PanesTest, ViewsGoFromModuleToModuleAndOneIsTheCurrentOne) {
    showModules();
    EXPECT_THAT(current(), ElementsAre("Axial"));
    QTest::mouseClick(view(Plane::Sagittal), Qt::LeftButton);
    EXPECT_THAT(current(), ElementsAre("Sagittal"));
    EXPECT_EQ(viewer()->getCurrentView(), 2);
    view(Plane::Coronal)->setFocus(Qt::TabFocusReason);
    EXPECT_THAT(current(), ElementsAre("Coronal"));
    QTest::mouseClick(overview(), Qt::LeftButton);
    EXPECT_THAT(current(), ElementsAre("Overview"));

    const auto extents = [list = vlr::ControlList::instance()] {
        std::array<QSize, 4> sizes;
        list->viewerDimensions(sizes[0], sizes[1], sizes[2], sizes[3]);
        return sizes;
    };
    const auto alike = extents();
    vlr::ControlList::instance()->setViewerDimensions({700, 650}, {300, 650}, {700, 350},
                                                      {300, 350});
    const auto left = extents();
    EXPECT_NE(left, alike);

    activate(m_compare);
    EXPECT_THAT(inPanes(), ElementsAre("Axial", "Coronal", "", ""));
    find<QComboBox>("leftPlane")->setCurrentIndex(1); // what the right one shows
    EXPECT_THAT(inPanes(), ElementsAre("Coronal", "Axial", "", ""));
    find<QComboBox>("rightPlane")->setCurrentIndex(2);
    EXPECT_THAT(inPanes(), ElementsAre("Coronal", "Sagittal", "", ""));
    find<QComboBox>("leftPlane")->setCurrentIndex(2); // They change places.
    EXPECT_THAT(inPanes(), ElementsAre("Sagittal", "Coronal", "", ""));

    activate(m_enlarge);
    EXPECT_TRUE(view(Plane::Axial)->isVisible());
    EXPECT_THAT(current(), ElementsAre("Axial"));
    find<QRadioButton>("enlargeSagittal")->click();
    EXPECT_FALSE(view(Plane::Axial)->isVisible());
    EXPECT_TRUE(view(Plane::Sagittal)->isVisible());

    activate(m_images);
    EXPECT_THAT(inPanes(), ElementsAre("Axial", "Coronal", "Sagittal", "Overview"));
    EXPECT_EQ(extents(), left);

    // A control that is released keeps its view.
    const QPointer<PlaneView> axial = view(Plane::Axial);
    vlr::ControlList::instance()->hideControl(QStringLiteral("Axial"));
    ASSERT_TRUE(axial);
    EXPECT_FALSE(axial->parent());
}

TEST_F(PanesTest, NoPictureOfAFormerSliceOrVolumeStays) {
    showModules();
    for (const int grey : {60, 200}) {
        m_images->open({squares({{9, grey}, {9, grey}, {9, grey}})});
        for (const PaneControl* control : panes->volumeControls()) {
            EXPECT_TRUE(shows(control->view(), grey)) << control->label().toStdString();
            EXPECT_FALSE(shows(control->view(), 260 - grey)) << control->label().toStdString();
        }
    }
    // One by one, since they are not of one size, but of one shape.
    for (const int side : {9, 18}) {
        m_images->open({squares({{9, 60}, {side, 200}})});
        EXPECT_EQ(panes->hasVolume(), side == 9);
        for (const int slice : {0, 1}) {
            panes->setSlice(slice);
            QWidget* const shown = side == 9 ? view(Plane::Axial) : find<QWidget>("sliceView");
            EXPECT_TRUE(shows(shown, slice == 0 ? 60 : 200));
            EXPECT_FALSE(shows(shown, slice == 0 ? 200 : 60));
        }
    }
}

TEST_F(PanesTest, TheOverviewIsTurnedByHandAndByKey) {
    showModules();
    QWidget* const view = overview();
    const QImage first = view->grab().toImage();
    const auto dragBy = [&](const QPoint& way) {
        const QPoint from = view->rect().center();
        QTest::mousePress(view, Qt::LeftButton, {}, from);
        dragTo(view, from + way);
        QTest::mouseRelease(view, Qt::LeftButton, {}, from + way);
        return view->grab().toImage();
    };
    const QImage focused = dragBy({0, 0}); // The click brings the keyboard here.
    EXPECT_NE(focused, first);
    const std::pair<QPoint, Qt::Key> cases[] = {{{40, 0}, Qt::Key_Right},
                                                {{-40, 0}, Qt::Key_Left},
                                                {{0, 40}, Qt::Key_Down},
                                                {{0, -40}, Qt::Key_Up}};
    for (const auto& [way, key] : cases) { // Half a degree a pixel, five degrees a key.
        const QImage dragged = dragBy(way);
        EXPECT_NE(dragged, focused);
        EXPECT_EQ(afterKeys(view, Qt::Key_Home, 1), focused);
        EXPECT_EQ(afterKeys(view, key, 4), dragged);
        EXPECT_EQ(afterKeys(view, Qt::Key_Home, 1), focused);
    }
    // All around to the sides, but upward and downward only to 80 degrees.
    EXPECT_EQ(afterKeys(view, Qt::Key_Right, 72), focused);
    const QImage highest = afterKeys(view, Qt::Key_Down, 11);
    EXPECT_EQ(afterKeys(view, Qt::Key_Down, 1), highest);
    const QImage lowest = afterKeys(view, Qt::Key_Up, 32);
    EXPECT_NE(lowest, highest);
    EXPECT_EQ(afterKeys(view, Qt::Key_Up, 1), lowest);
}

TEST_F(PanesTest, WhatIsNoVolumeTakesThePlaceOfThePanesUnlessItIsCancelled) {
    showModules();
    QTest::keyClick(view(Plane::Axial), Qt::Key_Down);
    const QString small = writeImages("small", std::vector<QByteArray>(3, png(10, 20)));
    CaProgressMonitor::setInstance(new CancellingMonitor);
    m_images->open({small});
    CaProgressMonitor::setInstance(nullptr);
    EXPECT_EQ(panes->series().count(), 128);
    EXPECT_EQ(position(), (Voxel{64, 64, 65}));
    EXPECT_THAT(inPanes(), ElementsAre("Axial", "Coronal", "Sagittal", "Overview"));
    m_images->open({small});
    EXPECT_EQ(panes->volume().size(), (Voxel{10, 20, 3}));
    EXPECT_EQ(position(), (Voxel{5, 10, 1}));

    m_images->open({writeImages("unequal", {png(10, 20), png(20, 20)})});
    EXPECT_FALSE(panes->hasVolume());
    EXPECT_TRUE(panes->imagesView()->isVisible());
    EXPECT_THAT(find<QWidget>("volumeReason")->accessibleName().toStdString(),
                HasSubstr("20 x 20"));
    for (const PaneControl* control : panes->volumeControls()) {
        ASSERT_TRUE(control->view());
        EXPECT_FALSE(control->view()->isVisible());
        EXPECT_FALSE(vlr::ControlList::instance()->isControlValid(control->name()));
    }
}
