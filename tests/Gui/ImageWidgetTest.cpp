#include "Gui/GuiTest.h"
#include "Image/vlrImageConverters.h"
#include "Widgets/vlrImageWidget.h"

#include <QtCore/QMimeData>
#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>
#include <QtWidgets/QFileDialog>
#include <QtWidgets/QMenu>

#include <sys/stat.h>

using namespace vlrTest;
using vlr::ImageWidget;

namespace {

const QString pathKey = text("/vlrImageWidget/path");

// Lets the paint device be looked at, and drags into the test.
struct TestedWidget : ImageWidget {
    TestedWidget() : ImageWidget(nullptr) {
        QPalette colors = palette();
        colors.setColor(QPalette::Window, Qt::black);
        setPalette(colors);
    }
    QColor at(int x, int y) { return grab().toImage().pixelColor(x, y); }
    void startDrag(QMimeData* mimeData) override { dragged.reset(mimeData); }
    void paintEvent(QPaintEvent* event) override {
        painted += event->region();
        ImageWidget::paintEvent(event);
    }

    std::unique_ptr<QMimeData> dragged;
    QRegion painted;
};

class Square : public vlr::PaintingOverlay {
public:
    Square(const QColor& color, QRectF rect) : m_color(color), m_rect(rect) {}
    void paint(QPainter* painter) override {
        painter->fillRect(m_rect, m_color);
        painter->translate(1000, 1000); // must not move the next one
    }
    QRectF boundingRect() const override { return m_rect; }
    void moveTo(const QPointF& corner) {
        m_rect.moveTo(corner);
        emit overlayChanged();
    }

private:
    QColor m_color;
    QRectF m_rect;
};

QImage filled(int width, int height, const QColor& color = Qt::red) {
    QImage image(width, height, QImage::Format_RGB32);
    image.fill(color);
    return image;
}

void send(QWidget& widget, QEvent::Type type, const QPoint& at, Qt::MouseButtons buttons) {
    const auto button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, at, button, buttons, Qt::NoModifier);
    QCoreApplication::sendEvent(&widget, &event);
}

struct ImageWidgetTest : GuiTest {
    ImageWidgetTest() { widget.resize(200, 100); }

    // What saveImageFile() writes to standard output when this name is chosen (null: cancelled).
    std::string save(const QString& name) {
        inNextDialog<QFileDialog>([&](QFileDialog& dialog) {
            EXPECT_EQ(dialog.windowTitle(), text("Save Image"));
            EXPECT_EQ(dialog.nameFilters(), QStringList(text("Images (*.png *.jpg)")));
            startedAt = dialog.directory().absolutePath();
            dialog.setOption(QFileDialog::DontConfirmOverwrite);
            dialog.selectFile(name);
            QMetaObject::invokeMethod(&dialog, name.isNull() ? "reject" : "accept");
        });
        testing::internal::CaptureStdout();
        widget.saveImageFile();
        return testing::internal::GetCapturedStdout();
    }

    TestedWidget widget;
    QString startedAt;
};

} // namespace

TEST_F(ImageWidgetTest, EachModeDrawsTheImageWhereItBelongs) {
    const std::tuple<ImageWidget::ScalingMode, QSize, QRect> cases[] = {
        {ImageWidget::Unscaled, {50, 50}, {0, 0, 50, 50}},
        {ImageWidget::Unscaled, {400, 10}, {0, 0, 400, 10}},
        {ImageWidget::KeepAspectRatio, {50, 50}, {0, 0, 100, 100}},
        {ImageWidget::KeepAspectRatio, {400, 100}, {0, 0, 200, 50}},
        {ImageWidget::Centered, {50, 50}, {50, 0, 100, 100}},
        {ImageWidget::Centered, {400, 100}, {0, 25, 200, 50}},
        {ImageWidget::Stretched, {50, 50}, {0, 0, 200, 100}},
    };
    EXPECT_TRUE(widget.drawnRect().isEmpty());
    for (const auto transformation : {ImageWidget::Fast, ImageWidget::Smooth})
        for (const auto& [mode, image, drawn] : cases) {
            widget.setScalingMode(mode, transformation);
            widget.setImage(filled(image.width(), image.height()));
            EXPECT_EQ(widget.drawnRect(), drawn) << mode;
            const QImage shown = widget.grab().toImage();
            QRegion red;
            for (int y = 0; y < 100; ++y)
                for (int x = 0; x < 200; ++x)
                    if (shown.pixelColor(x, y) == QColor(Qt::red))
                        red += QRect(x, y, 1, 1);
            EXPECT_EQ(red, QRegion(drawn & widget.rect())) << mode;
        }
    widget.removeImage();
    EXPECT_EQ(widget.at(10, 10), QColor(Qt::black));
    EXPECT_TRUE(widget.getQImage().isNull());
}

TEST_F(ImageWidgetTest, GreyFramesReplaceEachOther) {
    QImage frame(2, 1, QImage::Format_Grayscale8);
    const auto level = [this](int x) { return widget.at(x, 50).value(); };
    widget.setScalingMode(ImageWidget::Stretched, ImageWidget::Fast);
    for (const int shift : {0, 50, 100}) {
        frame.scanLine(0)[0] = static_cast<uchar>(shift);
        frame.scanLine(0)[1] = static_cast<uchar>(100 + shift);
        widget.setImage(frame);
        EXPECT_EQ(level(0), shift);
        EXPECT_EQ(level(199), 100 + shift);
    }
    widget.setScalingMode(ImageWidget::Stretched, ImageWidget::Smooth);
    EXPECT_NEAR(level(99), 150, 2);
    widget.resize(100, 100);
    EXPECT_EQ(level(99), 200);
}

TEST_F(ImageWidgetTest, TheBackgroundIsSeenWhereTheImageIsNot) {
    QImage transparent(100, 100, QImage::Format_ARGB32);
    transparent.fill(Qt::transparent);
    const std::tuple<QImage, QSize, Qt::GlobalColor> steps[] = {
        {filled(100, 100), {100, 100}, Qt::red},
        {filled(100, 100), {120, 100}, Qt::black},
        {transparent, {100, 100}, Qt::black},
    };
    widget.setScalingMode(ImageWidget::Centered, ImageWidget::Fast);
    for (const auto& [image, size, corner] : steps) {
        widget.setImage(image);
        widget.resize(size);
        EXPECT_EQ(widget.at(0, 0), QColor(corner)) << size.width();
    }
}

TEST_F(ImageWidgetTest, SixteenBitsAreShownAndKept) {
    const auto grey = vlr::ImagePtr::create(10, 10, vlr::Image::Grey16);
    grey->setDisplayRange(0, 4095);
    const auto colour = vlr::ImagePtr::create(10, 10, vlr::Image::Rgb16);
    for (int y = 0; y < 10; ++y)
        for (int x = 0; x < 10; ++x) {
            reinterpret_cast<quint16*>(grey->line(y))[x] = 2048;
            const quint16 rgb[] = {0xffff, 0x8080, 0x0101};
            std::copy(rgb, rgb + 3, reinterpret_cast<quint16*>(colour->line(y)) + 3 * x);
        }
    for (const auto transformation : {ImageWidget::Fast, ImageWidget::Smooth}) {
        widget.setScalingMode(ImageWidget::Stretched, transformation);
        widget.setImage(grey);
        EXPECT_EQ(widget.at(100, 50), QColor(128, 128, 128));
        EXPECT_EQ(widget.getImage(), grey);
        widget.setImage(vlr::ConstImagePtr(colour));
        EXPECT_EQ(widget.at(100, 50), QColor(255, 128, 1));
    }
    widget.setImage(filled(3, 3));
    EXPECT_EQ(widget.getImage(), nullptr);
    widget.setImage(vlr::ImagePtr());
    EXPECT_TRUE(widget.getQImage().isNull());
}

// An image may lie in memory of the application, which is not the widget's to draw into.
TEST_F(ImageWidgetTest, LeavesTheMemoryOfAnEarlierImageAlone) {
    constexpr int edge = 8;
    std::vector<quint32> pixels(edge * edge, 0xff123456U);
    widget.resize(edge, edge);
    widget.setImage(
        QImage(reinterpret_cast<uchar*>(pixels.data()), edge, edge, QImage::Format_RGB32));
    EXPECT_EQ(widget.at(4, 4), QColor(0x12, 0x34, 0x56));
    QImage grey(edge, edge, QImage::Format_Grayscale8);
    grey.fill(7);
    widget.setImage(grey);
    EXPECT_EQ(widget.at(4, 4), QColor(7, 7, 7));
    EXPECT_EQ(pixels, std::vector<quint32>(edge * edge, 0xff123456U));
}

TEST_F(ImageWidgetTest, OverlaysAreDrawnInOrderInImageCoordinates) {
    widget.setScalingMode(ImageWidget::Centered, ImageWidget::Fast);
    widget.setImage(filled(50, 50)); // drawn at (50, 0), twice as large
    const auto below = QSharedPointer<Square>::create(Qt::blue, QRectF(10, 10, 10, 10));
    const auto above = QSharedPointer<Square>::create(Qt::green, QRectF(15, 15, 10, 10));
    widget.addPaintingOverlay(below);
    widget.addPaintingOverlay(above);
    EXPECT_EQ(widget.at(69, 19), QColor(Qt::red));
    EXPECT_EQ(widget.at(70, 20), QColor(Qt::blue));
    EXPECT_EQ(widget.at(80, 30), QColor(Qt::green));
    EXPECT_EQ(widget.at(99, 49), QColor(Qt::green));
    widget.removePaintingOverlay(below);
    EXPECT_EQ(widget.at(70, 20), QColor(Qt::red));
    expectLog(LogLevel::Error, "Overlay is not defined.");
    widget.addPaintingOverlay(nullptr);
}

TEST_F(ImageWidgetTest, AChangedOverlayRepaintsWhereItWasAndIs) {
    widget.setScalingMode(ImageWidget::Stretched, ImageWidget::Fast);
    widget.setImage(filled(100, 50));
    const auto square = QSharedPointer<Square>::create(Qt::blue, QRectF(10, 10, 5, 5));
    widget.addPaintingOverlay(square);
    widget.show();
    EXPECT_TRUE(QTest::qWaitFor([&] { return widget.painted.contains(QPoint(199, 99)); }));
    QCoreApplication::processEvents();
    widget.painted = QRegion();
    square->moveTo({80, 30});
    EXPECT_TRUE(QTest::qWaitFor([&] { return !widget.painted.isEmpty(); }));
    QCoreApplication::processEvents();
    const QRegion needed = QRegion(20, 20, 10, 10) + QRect(160, 60, 10, 10);
    EXPECT_TRUE(needed.subtracted(widget.painted).isEmpty());
    EXPECT_FALSE(widget.painted.contains(QPoint(100, 50)));
}

TEST_F(ImageWidgetTest, MousePositionsAreScaledAndTruncated) {
    const std::tuple<ImageWidget::ScalingMode, QSize, QPoint, QPoint> cases[] = {
        {ImageWidget::KeepAspectRatio, {400, 200}, {100, 50}, {200, 100}},
        {ImageWidget::Stretched, {20, 10}, {199, 99}, {19, 9}},
        {ImageWidget::Stretched, {20, 10}, {9, 9}, {0, 0}},
        {ImageWidget::Stretched, {20, 50}, {199, 99}, {19, 49}},
        {ImageWidget::Unscaled, {20, 10}, {150, 7}, {150, 7}},
        {ImageWidget::Centered, {200, 200}, {60, 10}, {120, 20}}, // from the widget's corner
    };
    QSignalSpy presses(&widget, &ImageWidget::scaledMouseClicked);
    QSignalSpy moves(&widget, &ImageWidget::scaledMouseMotion);
    for (const auto& [mode, image, at, expected] : cases) {
        widget.setScalingMode(mode, ImageWidget::Fast);
        widget.setImage(filled(image.width(), image.height()));
        send(widget, QEvent::MouseButtonPress, at, Qt::LeftButton);
        send(widget, QEvent::MouseMove, at, Qt::LeftButton);
        EXPECT_EQ(presses.takeLast().at(0).toPoint(), expected) << mode;
        EXPECT_EQ(moves.takeLast().at(0).toPoint(), expected) << mode;
    }
}

TEST_F(ImageWidgetTest, ADragIsNoClickAndCarriesTheImage) {
    const int distance = QApplication::startDragDistance();
    QSignalSpy clicks(&widget, &ImageWidget::clicked);
    QSignalSpy releases(&widget, &ImageWidget::clickedPos);
    const QImage image = filled(30, 20, Qt::blue);
    widget.setImage(image);
    const QPoint begin(50, 50);
    const std::tuple<bool, QPoint, bool, bool> cases[] = {
        {true, {distance - 1, 0}, false, true},
        {true, {-distance / 2, (distance + 1) / 2}, true, false},
        {false, {distance, 0}, false, false},
    };
    for (const auto& [isEnabled, by, isDrag, isClick] : cases) {
        clicks.clear();
        widget.dragged.reset();
        widget.enableDragAndDrop(isEnabled);
        send(widget, QEvent::MouseMove, begin + by, Qt::LeftButton); // pressed elsewhere
        EXPECT_FALSE(widget.dragged);
        send(widget, QEvent::MouseButtonPress, begin, Qt::LeftButton);
        send(widget, QEvent::MouseMove, begin + by, Qt::LeftButton);
        EXPECT_EQ(widget.dragged != nullptr, isDrag) << by.x();
        const auto dragged = std::exchange(widget.dragged, nullptr);
        send(widget, QEvent::MouseMove, begin + 2 * by, Qt::LeftButton);
        EXPECT_FALSE(isDrag && widget.dragged) << "a second drag";
        send(widget, QEvent::MouseButtonRelease, begin + by, Qt::NoButton);
        EXPECT_EQ(clicks.count(), isClick ? 1 : 0) << by.x();
        EXPECT_EQ(releases.takeLast().at(0).toPoint(), begin + by);
        if (!isDrag)
            continue;
        EXPECT_EQ(qvariant_cast<QImage>(dragged->imageData()), image);
        ASSERT_TRUE(dragged->hasFormat(text("image/png")));
        EXPECT_EQ(QImage::fromData(dragged->data(text("image/png"))).size(), image.size());
    }
}

TEST_F(ImageWidgetTest, TheContextMenuSavesWhenThereIsAnImage) {
    const auto menuOf = [this] {
        QContextMenuEvent event(QContextMenuEvent::Mouse, QPoint(5, 5));
        QCoreApplication::sendEvent(&widget, &event);
        return qobject_cast<QMenu*>(QApplication::activePopupWidget());
    };
    widget.show();
    EXPECT_EQ(menuOf(), nullptr);
    widget.setImage(filled(5, 5));
    const QMenu* menu = menuOf();
    ASSERT_NE(menu, nullptr);
    ASSERT_EQ(menu->actions().size(), 1);
    EXPECT_EQ(menu->actions().first()->text(), text("Save Image"));
}

TEST_F(ImageWidgetTest, SavesUnderTheChosenNameAndSaysSo) {
    const QString path = testFolder() + text("/slice.png");
    QImage image(4, 4, QImage::Format_Grayscale16);
    for (int i = 0; i < 4; ++i)
        for (int k = 0; k < 4; ++k)
            reinterpret_cast<quint16*>(image.scanLine(i))[k] = static_cast<quint16>(1000 * i + k);
    widget.setImage(image);
    const mode_t mask = umask(0);
    EXPECT_EQ(save(path), path.toStdString() + "\n1\n");
    umask(mask);
    struct stat status = {};
    ASSERT_EQ(stat(QFile::encodeName(path).constData(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U); // It may show a patient.
    EXPECT_EQ(startedAt, text("/"));
    EXPECT_EQ(QImage(path), image); // all 16 bits
    EXPECT_EQ(vlr::Settings::get(pathKey, "none"), path);
    EXPECT_EQ(save(QString()), "\n0\n"); // cancelled: no complaint
    EXPECT_EQ(startedAt, testFolder());
    EXPECT_TRUE(vlr::Settings::get(pathKey, "none").isEmpty());
    widget.removeImage();
    EXPECT_EQ(save(path), path.toStdString() + "\n");
}

TEST_F(ImageWidgetTest, ASaveThatFailsIsReportedToTheUser) {
    const QString noFolder = testFolder() + text("/file");
    writeFile(noFolder, "not a folder");
    widget.setImage(filled(4, 4));
    const std::pair<QString, const char*> cases[] = {
        {testFolder() + text("/picture"), "extension"},
        {testFolder() + text("/picture.doc"), "\"doc\""},
        {noFolder + text("/picture.png"), "/file"},
    };
    for (const auto& [name, reason] : cases) {
        expectLog(LogLevel::UserError, reason);
        EXPECT_EQ(save(name), name.toStdString() + "\n0\n");
        EXPECT_FALSE(QFile::exists(name));
    }
}
