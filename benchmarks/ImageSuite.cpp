// What painting an image costs: again, beneath a small overlay, and for the first time.

#include "Suites.h"

#include "Suite.h"

#include "Widgets/vlrImageWidget.h"

#include <QtCore/QCoreApplication>
#include <QtGui/QPainter>
#include <QtTest/QTest>

#include <array>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

using vlr::ImageWidget;

constexpr double cachedAim = 1.15;
constexpr double overlayAim = 0.02;
constexpr double fastAim = 0.5;
constexpr double smoothAim = 0.6;
constexpr QSize widgetSize(1200, 900);
constexpr QSize screenSize(1920, 1080);
constexpr int frameSide = 2048;

class Spot : public vlr::PaintingOverlay {
public:
    void paint(QPainter* painter) override { painter->fillRect(boundingRect(), Qt::green); }
    QRectF boundingRect() const override { return {100, 100, 64, 64}; }
};

QImage deepPicture() {
    QImage image(2000, 1500, QImage::Format_Grayscale16);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            reinterpret_cast<quint16*>(image.scanLine(y))[x] = static_cast<quint16>(x * 30 + y);
    return image;
}

QImage frame(int seed) {
    QImage image(frameSide, frameSide, QImage::Format_Grayscale8);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.scanLine(y)[x] = static_cast<uchar>(x * y / 64 + seed);
    return image;
}

void showIt(QWidget& widget, const QSize& size) {
    widget.resize(size);
    widget.show();
    if (!QTest::qWaitForWindowExposed(&widget))
        throw std::runtime_error("A window does not appear.");
    QCoreApplication::processEvents();
}

std::shared_ptr<ImageWidget> viewOf(const QImage& image) {
    auto view = std::make_shared<ImageWidget>();
    view->setScalingMode(ImageWidget::Centered, ImageWidget::Smooth);
    view->setImage(image);
    showIt(*view, widgetSize);
    return view;
}

void copyPixels(benchmark::State& state) {
    const auto bytes = static_cast<std::size_t>(widgetSize.width()) *
                       static_cast<std::size_t>(widgetSize.height()) * 4;
    const std::vector<uchar> from(bytes, 1);
    std::vector<uchar> to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
}

void countAllocations(benchmark::State& state, long long before) {
    state.counters["allocations"] =
        static_cast<double>(allocationCount() - before) / static_cast<double>(state.iterations());
}

/// Draws whatever it is given when it is painted.
class PlainView : public QWidget {
public:
    QImage image;
    bool isSmooth = false;

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::SmoothPixmapTransform, isSmooth);
        painter.drawImage(rect(), image);
    }
};

void addFrames(Suite& suite, const char* name, const char* what, double aim,
               ImageWidget::TransformationMode mode) {
    const auto frames =
        std::make_shared<std::array<QImage, 2>>(std::array<QImage, 2>{frame(0), frame(100)});
    const auto view = std::make_shared<ImageWidget>();
    view->setScalingMode(ImageWidget::Stretched, mode);
    showIt(*view, screenSize);
    const auto plain = std::make_shared<PlainView>();
    plain->isSmooth = mode == ImageWidget::Smooth;
    showIt(*plain, screenSize);
    suite.compare({name,
                   what,
                   aim,
                   [view, frames](benchmark::State& state) {
                       std::size_t number = 0;
                       const long long before = allocationCount();
                       for (auto _ : state) {
                           view->setImage((*frames)[++number % 2]);
                           view->repaint();
                       }
                       countAllocations(state, before);
                   },
                   [plain, frames](benchmark::State& state) {
                       std::size_t number = 0;
                       for (auto _ : state) {
                           plain->image = (*frames)[++number % 2];
                           plain->repaint();
                       }
                   },
                   {{"allocations", -1}}});
}

} // namespace

void addImage(Suite& suite) {
    const auto view = viewOf(deepPicture());
    suite.compare({"cached",
                   "repaint of a scaled image / memcpy of its pixels",
                   cachedAim,
                   [view](benchmark::State& state) {
                       const long long before = allocationCount();
                       for (auto _ : state)
                           view->repaint();
                       countAllocations(state, before);
                   },
                   &copyPixels,
                   {{"allocations", -1}}});
}

void addOverlay(Suite& suite) {
    const auto view = viewOf(deepPicture());
    const auto spot = QSharedPointer<Spot>::create();
    view->addPaintingOverlay(spot);
    QCoreApplication::processEvents();
    // What was asked for is painted when the posted events are delivered.
    suite.compare({"small", "change of an overlay of 64 x 64 pixels / full repaint", overlayAim,
                   [view, spot](benchmark::State& state) {
                       for (auto _ : state) {
                           emit spot->overlayChanged();
                           QCoreApplication::sendPostedEvents();
                       }
                   },
                   [view](benchmark::State& state) {
                       for (auto _ : state) {
                           view->update();
                           QCoreApplication::sendPostedEvents();
                       }
                   }});
}

void addFrame(Suite& suite) {
    addFrames(suite, "fast", "new frame of 2048 x 2048 bytes to 1080p, fast / drawImage()", fastAim,
              ImageWidget::Fast);
    addFrames(suite, "smooth", "the same, smooth", smoothAim, ImageWidget::Smooth);
}
