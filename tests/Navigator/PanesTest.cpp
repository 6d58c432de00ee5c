#include "AppBase/vlrControlList.h"
#include "Base/QtQuadView.h"
#include "Images/CompareModule.h"
#include "Images/EnlargeModule.h"
#include "Images/ImagesModule.h"
#include "Images/ImagesView.h"
#include "Images/PhantomFiles.h"
#include "Images/PlaneView.h"
#include "Navigator/NavigatorTest.h"
#include "Progress/CaProgressMonitor.h"

#include <QtCore/QDir>
#include <QtGui/QWheelEvent>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QApplication>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QRadioButton>

#include <gmock/gmock.h>

using namespace vlrTest;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

// The modules as the application has them, with the example images: 128 voxels a side.
class PanesTest : public NavigatorTest {
protected:
    ~PanesTest() override {
        m_panes.reset();
        application.reset();
    }

    void showModules(const QStringList& paths = {}) {
        m_panes = std::make_shared<VolumePanes>();
        m_images = new ImagesModule(m_panes, paths);
        m_compare = new CompareModule(m_panes);
        m_enlarge = new EnlargeModule(m_panes);
        show(m_images);
        ASSERT_TRUE(application->addModule(m_compare));
        ASSERT_TRUE(application->addModule(m_enlarge));
        ASSERT_TRUE(QTest::qWaitFor([&] { return !m_panes->series().isEmpty(); }, patience));
        ASSERT_TRUE(QTest::qWaitForWindowActive(window()));
    }

    PlaneView* view(Plane plane) const {
        return qobject_cast<PlaneView*>(m_panes->planeControl(plane)->view());
    }
    QWidget* overview() const { return m_panes->overviewControl()->view(); }
    Voxel position() const { return m_panes->crossHair()->position(); }
    static void turnWheel(QWidget* widget, int angle) {
        const QPointF centre(widget->rect().center());
        QWheelEvent event(centre, widget->mapToGlobal(centre.toPoint()), {}, {0, angle},
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QCoreApplication::sendEvent(widget, &event);
    }
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
        for (const PaneControl* control : m_panes->volumeControls()) {
            const auto* const pane = qobject_cast<PaneView*>(control->view());
            if (pane->isCurrent())
                names.push_back(pane->title().toStdString());
        }
        return names;
    }

    std::shared_ptr<VolumePanes> m_panes;
    ImagesModule* m_images = nullptr;
    CompareModule* m_compare = nullptr;
    EnlargeModule* m_enlarge = nullptr;
};

} // namespace

TEST(CrossHair, StaysInTheVolumeAndTellsChangesOnly) {
    CrossHair crossHair;
    crossHair.setSize({10, 20, 30});
    EXPECT_EQ(crossHair.position(), (Voxel{5, 10, 15}));
    const QSignalSpy changes(&crossHair, &CrossHair::positionChanged);
    const struct {
        Voxel asked, position;
        int changes;
    } steps[] = {
        {{5, 10, 15}, {5, 10, 15}, 0},
        {{-1, 20, 100}, {0, 19, 29}, 1},
        {{-9, 30, 29}, {0, 19, 29}, 1},
        {{9, 0, 0}, {9, 0, 0}, 2},
    };
    for (const auto& step : steps) {
        crossHair.setPosition(step.asked);
        EXPECT_EQ(crossHair.position(), step.position);
        EXPECT_EQ(changes.count(), step.changes);
    }
    crossHair.setSize({0, 1, 3});
    EXPECT_EQ(crossHair.position(), (Voxel{0, 0, 1}));
}

// The upper left corner of the picture, seen in the middle of its first pixel.
TEST_F(PanesTest, PointsAndVoxelsBelongTogether) {
    const QString folder = testFolder() + QStringLiteral("/series");
    for (int z = 0; z < 4; ++z) {
        QImage image(3, 5, QImage::Format_Grayscale8);
        image.fill(40 * z);
        ASSERT_TRUE(QDir().mkpath(folder));
        ASSERT_TRUE(image.save(QStringLiteral("%1/%2.png").arg(folder).arg(z)));
    }
    vlr::ImageSeries series;
    Volume volume;
    ASSERT_EQ(vlr::ImageSeries::open({folder}, series), CaError::nullError);
    ASSERT_EQ(Volume::load(series, volume), CaError::nullError);
    volume.setSpacing({1, 1, 3});
    CrossHair crossHair;
    crossHair.setSize(volume.size());
    for (const Plane plane : allPlanes) {
        PlaneView view(plane, &crossHair);
        view.resize(300, 200);
        view.setVolume(volume);
        for (int x = 0; x < 3; ++x)
            for (int y = 0; y < 5; ++y)
                for (int z = 0; z < 4; ++z) {
                    Voxel voxel{x, y, z};
                    crossHair.setPosition(voxel);
                    EXPECT_EQ(view.voxelAt(view.pointOf(voxel)), voxel);
                }
        // Upper left corner: y is 0 in an axial picture, z the highest in the others.
        const Voxel corner = view.voxelAt({-100, -100});
        EXPECT_EQ(corner[plane == Plane::Sagittal ? 1 : 0], 0);
        EXPECT_EQ(corner[plane == Plane::Axial ? 1 : 2], plane == Plane::Axial ? 0 : 3);
    }
    PlaneView coronal(Plane::Coronal, &crossHair);
    coronal.resize(300, 200);
    coronal.setVolume(volume);
    const QPoint step = coronal.pointOf({1, 0, 1}) - coronal.pointOf({0, 0, 2});
    EXPECT_NEAR(step.y(), 3 * step.x(), 3); // A voxel is three times as high as it is wide.
}

TEST_F(PanesTest, MovingOnePaneMovesTheOthers) {
    showModules();
    EXPECT_THAT(inPanes(), ElementsAre("Axial", "Coronal", "Sagittal", "Overview"));
    EXPECT_EQ(position(), (Voxel{64, 64, 64}));

    QTest::mouseClick(view(Plane::Axial), Qt::LeftButton, {},
                      view(Plane::Axial)->pointOf({20, 90, 0}));
    EXPECT_EQ(position(), (Voxel{20, 90, 64}));
    EXPECT_THAT(view(Plane::Coronal)->accessibleName().toStdString(), HasSubstr("slice 91 / 128"));
    EXPECT_THAT(view(Plane::Sagittal)->accessibleName().toStdString(), HasSubstr("slice 21 / 128"));

    QTest::mousePress(view(Plane::Sagittal), Qt::LeftButton, {},
                      view(Plane::Sagittal)->pointOf({0, 30, 100}));
    EXPECT_EQ(position(), (Voxel{20, 30, 100}));
    QMouseEvent drag(QEvent::MouseMove, view(Plane::Sagittal)->pointOf({0, 31, 10}), Qt::NoButton,
                     Qt::LeftButton, {});
    QCoreApplication::sendEvent(view(Plane::Sagittal), &drag);
    QTest::mouseRelease(view(Plane::Sagittal), Qt::LeftButton);
    EXPECT_EQ(position(), (Voxel{20, 31, 10}));

    const Voxel before = position();
    turnWheel(view(Plane::Coronal), -120 * 3);
    EXPECT_EQ(position()[1], before[1] + 3);
    turnWheel(view(Plane::Coronal), 60);
    turnWheel(view(Plane::Coronal), 60);
    EXPECT_EQ(position()[1], before[1] + 2);
    turnWheel(overview(), -120 * 2);
    EXPECT_EQ(position()[2], before[2] + 2);
    QTest::keyClick(overview(), Qt::Key_PageUp);
    EXPECT_LT(position()[2], before[2]);
}

TEST_F(PanesTest, KeysStopAtBothEnds) {
    showModules();
    const struct {
        Qt::Key key;
        int slice;
    } steps[] = {
        {Qt::Key_Home, 1},   {Qt::Key_Left, 1},    {Qt::Key_PageDown, 11},  {Qt::Key_Down, 12},
        {Qt::Key_Right, 13}, {Qt::Key_Up, 12},     {Qt::Key_PageUp, 2},     {Qt::Key_PageUp, 1},
        {Qt::Key_End, 128},  {Qt::Key_Right, 128}, {Qt::Key_PageDown, 128}, {Qt::Key_Left, 127},
    };
    for (const Plane plane : allPlanes) {
        view(plane)->setFocus();
        for (const auto& step : steps) {
            QTest::keyClick(view(plane), step.key);
            EXPECT_EQ(m_panes->crossHair()->slice(plane) + 1, step.slice);
        }
    }
}

TEST_F(PanesTest, ClickAndKeyboardMakeAPaneTheCurrentOne) {
    showModules();
    EXPECT_THAT(current(), ElementsAre("Axial"));
    // The progress dialog of the example images must give the keyboard back.
    EXPECT_EQ(QApplication::focusWidget(), view(Plane::Axial));
    QTest::mouseClick(view(Plane::Sagittal), Qt::LeftButton);
    EXPECT_THAT(current(), ElementsAre("Sagittal"));
    EXPECT_EQ(viewer()->getCurrentView(), 2);
    view(Plane::Coronal)->setFocus(Qt::TabFocusReason);
    EXPECT_THAT(current(), ElementsAre("Coronal"));
    QTest::mouseClick(overview(), Qt::LeftButton);
    EXPECT_THAT(current(), ElementsAre("Overview"));
}

TEST_F(PanesTest, ViewsGoFromModuleToModule) {
    showModules();
    const auto show = [&](QtAppModule* module) { application->activateModule(module->name()); };
    viewer()->setViewDimension(70, 30);
    show(m_compare);
    EXPECT_THAT(inPanes(), ElementsAre("Axial", "Coronal", "", ""));
    find<QComboBox>("leftPlane")->setCurrentIndex(1); // what the right one shows
    EXPECT_THAT(inPanes(), ElementsAre("Coronal", "Axial", "", ""));
    find<QComboBox>("rightPlane")->setCurrentIndex(2);
    EXPECT_THAT(inPanes(), ElementsAre("Coronal", "Sagittal", "", ""));

    show(m_enlarge);
    EXPECT_TRUE(view(Plane::Axial)->isVisible());
    EXPECT_THAT(current(), ElementsAre("Axial"));
    find<QRadioButton>("enlargeSagittal")->click();
    EXPECT_FALSE(view(Plane::Axial)->isVisible());
    EXPECT_TRUE(view(Plane::Sagittal)->isVisible());
    EXPECT_GT(view(Plane::Sagittal)->width(), viewer()->width() * 9 / 10);

    show(m_images);
    EXPECT_THAT(inPanes(), ElementsAre("Axial", "Coronal", "Sagittal", "Overview"));
    QSize upperLeft;
    QSize others[3];
    vlr::ControlList::instance()->viewerDimensions(upperLeft, others[0], others[1], others[2]);
    EXPECT_NEAR(upperLeft.width(), 700, 5);
    EXPECT_NEAR(upperLeft.height(), 300, 5);
}

TEST_F(PanesTest, ReleasedControlKeepsItsView) {
    showModules();
    const QPointer<PlaneView> axial = view(Plane::Axial);
    vlr::ControlList* const list = vlr::ControlList::instance();
    list->hideControl(QStringLiteral("Axial"));
    ASSERT_TRUE(axial);
    EXPECT_FALSE(axial->parent());
    PaneControl* const coronal = m_panes->planeControl(Plane::Coronal);
    ASSERT_TRUE(list->occupyResource(vlr::ControlList::LowerRight, coronal, coronal->view(), 0.5F,
                                     0.5F)); // in the place of the overview
    ASSERT_TRUE(overview());
    EXPECT_FALSE(overview()->parent());
}

TEST_F(PanesTest, WhatIsNoVolumeTakesThePlaceOfThePanes) {
    showModules();
    const QString folder = testFolder() + QStringLiteral("/unequal");
    ASSERT_TRUE(QDir().mkpath(folder));
    for (int i = 1; i <= 3; ++i)
        ASSERT_TRUE(QImage(10 * i, 20, QImage::Format_RGB32)
                        .save(QStringLiteral("%1/%2.png").arg(folder).arg(i)));
    m_images->open({folder});
    EXPECT_FALSE(m_panes->hasVolume());
    EXPECT_TRUE(m_panes->imagesView()->isVisible());
    EXPECT_THAT(find<QWidget>("volumeReason")->accessibleName().toStdString(),
                HasSubstr("20 x 20"));
    for (const PaneControl* control : m_panes->volumeControls()) {
        ASSERT_TRUE(control->view());
        EXPECT_FALSE(control->view()->isVisible());
        EXPECT_FALSE(vlr::ControlList::instance()->isControlValid(control->name()));
    }
    application->activateModule(m_compare->name());
    EXPECT_TRUE(m_panes->imagesView()->isVisible());

    m_images->open({phantomFolder()});
    EXPECT_THAT(inPanes(), ElementsAre("Axial", "Coronal", "", ""));
    EXPECT_FALSE(m_panes->imagesView()->isVisible());
}

TEST_F(PanesTest, CancellingKeepsWhatIsShown) {
    struct CancellingMonitor : CaProgressMonitor {
        void tick() override { notify(CANCELLED); }
    };
    showModules();
    QTest::keyClick(view(Plane::Axial), Qt::Key_Down);
    const QString folder = testFolder() + QStringLiteral("/small");
    ASSERT_TRUE(QDir().mkpath(folder));
    for (int i = 1; i <= 3; ++i)
        ASSERT_TRUE(QImage(10, 20, QImage::Format_RGB32)
                        .save(QStringLiteral("%1/%2.png").arg(folder).arg(i)));
    CaProgressMonitor::setInstance(new CancellingMonitor);
    m_images->open({folder});
    EXPECT_EQ(m_panes->series().count(), 128);
    EXPECT_EQ(position(), (Voxel{64, 64, 65}));
    EXPECT_THAT(inPanes(), ElementsAre("Axial", "Coronal", "Sagittal", "Overview"));
    CaProgressMonitor::setInstance(nullptr);
    m_images->open({folder});
    EXPECT_EQ(m_panes->volume().size(), (Voxel{10, 20, 3}));
    EXPECT_EQ(position(), (Voxel{5, 10, 1}));
}
