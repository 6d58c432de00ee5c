// What a drag step of the four-view layout costs, as moves arrive from a mouse that reports 1,000
// times a second on a screen that shows 60 pictures, and one by one.

#include "Suites.h"

#include "Suite.h"

#include "Base/QtQVSimpleSplitter.h"
#include "Base/QtQuadView.h"

#include <QtGui/QPainter>
#include <QtTest/QTest>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QSplitter>

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>

namespace {

constexpr double aim = 0.5;
constexpr double dragAim = 1.15;
constexpr int paintAim = 4;
constexpr int movesOfAFrame = 16;
constexpr int flood = 1000;
constexpr QSize areaSize(1200, 900);

class Pane : public QWidget {
public:
    using QWidget::QWidget;
    int paints = 0;

protected:
    // As a pane that shows a slice from its cache.
    void paintEvent(QPaintEvent*) override {
        ++paints;
        static const QPixmap picture = [] {
            QPixmap pixmap(areaSize);
            pixmap.fill(Qt::darkBlue);
            return pixmap;
        }();
        QPainter(this).drawPixmap(0, 0, picture);
    }
};

class Splitter : public QSplitter {
public:
    using QSplitter::moveSplitter;
    using QSplitter::QSplitter;
};

// Never where one of both would snap or collapse.
QPoint pointerAt(int step) {
    return {120 + step * 7 % 430, 100 + step * 5 % 300};
}

class QuadView {
public:
    QuadView() {
        m_view.resize(areaSize);
        for (std::size_t i = 0; i < m_panes.size(); ++i) {
            m_panes[i] = new Pane;
            m_view.getView(static_cast<int>(i))->layout()->addWidget(m_panes[i]);
        }
        m_view.show();
    }

    void drag(QuadViewGeometry::Splitter piece, const QPoint& pointer) {
        emit m_pieces[piece]->mouseMove(m_view.mapToGlobal(pointer));
    }
    /// What the event loop does before it paints.
    void place() { QCoreApplication::sendPostedEvents(); }
    QWidget& window() { return m_view; }
    const std::array<Pane*, 4>& panes() const { return m_panes; }

private:
    QtQuadView m_view;
    QList<QtQVSimpleSplitter*> m_pieces = m_view.findChildren<QtQVSimpleSplitter*>();
    std::array<Pane*, 4> m_panes{};
};

// Two rows, one below the other.
class NestedSplitters {
public:
    NestedSplitters() {
        m_columns.resize(areaSize);
        for (Splitter*& row : m_rows) {
            row = new Splitter(Qt::Horizontal);
            row->addWidget(new Pane);
            row->addWidget(new Pane);
            m_columns.addWidget(row);
        }
        m_columns.show();
    }

    void dragRow(const QPoint& pointer) { m_rows[0]->moveSplitter(pointer.x(), 1); }
    void dragCentre(const QPoint& pointer) {
        m_columns.moveSplitter(pointer.y(), 1);
        for (Splitter* row : m_rows)
            row->moveSplitter(pointer.x(), 1);
    }
    QWidget& window() { return m_columns; }

private:
    Splitter m_columns{Qt::Vertical};
    std::array<Splitter*, 2> m_rows{};
};

void awaitExposed(QWidget& window) {
    if (!QTest::qWaitForWindowExposed(&window))
        throw std::runtime_error("A window does not appear.");
}

/// One iteration is one step; the widgets are placed after so many of them.
Suite::Function dragOf(const std::shared_ptr<QuadView>& view, QuadViewGeometry::Splitter piece,
                       int stepsPerPlacing) {
    return [view, piece, stepsPerPlacing](benchmark::State& state) {
        awaitExposed(view->window());
        int step = 0;
        for (auto _ : state) {
            view->drag(piece, pointerAt(step));
            if (++step % stepsPerPlacing == 0)
                view->place();
        }
    };
}

void paint(QuadView& view) {
    QCoreApplication::sendPostedEvents(&view.window(), QEvent::UpdateRequest);
}

void dragAndPaint(benchmark::State& state, QuadView& view) {
    awaitExposed(view.window());
    int step = 0;
    for (auto _ : state) {
        view.drag(QuadViewGeometry::Center, pointerAt(++step));
        QCoreApplication::sendPostedEvents(&view.window(), QEvent::LayoutRequest);
        paint(view);
    }
    // What is painted after the event loop finds a thousand moves waiting.
    for (Pane* pane : view.panes())
        pane->paints = 0;
    for (int i = 0; i < flood; ++i)
        view.drag(QuadViewGeometry::Center, pointerAt(i));
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
    int most = 0;
    for (const Pane* pane : view.panes())
        most = std::max(most, pane->paints);
    if (most == 0)
        state.SkipWithError("Nothing was painted after the moves.");
    state.counters["paints"] = most;
}

void repaintPanes(benchmark::State& state, QuadView& view) {
    awaitExposed(view.window());
    for (auto _ : state) {
        for (Pane* pane : view.panes())
            pane->update();
        paint(view);
    }
}

} // namespace

void addLayout(Suite& suite) {
    const auto view = std::make_shared<QuadView>();
    const auto nested = std::make_shared<NestedSplitters>();
    // What is not painted meanwhile would pile up as regions to be painted.
    view->window().setUpdatesEnabled(false);
    nested->window().setUpdatesEnabled(false);
    const auto nestedRow = [nested](benchmark::State& state) {
        awaitExposed(nested->window());
        int step = 0;
        for (auto _ : state) {
            nested->dragRow(pointerAt(++step));
            if (step % movesOfAFrame == 0)
                QCoreApplication::sendPostedEvents();
        }
    };
    const auto nestedCentre = [nested](benchmark::State& state) {
        awaitExposed(nested->window());
        int step = 0;
        for (auto _ : state) {
            nested->dragCentre(pointerAt(++step));
            if (step % movesOfAFrame == 0)
                QCoreApplication::sendPostedEvents();
        }
    };
    suite.compare({"row", "row of two views, 16 moves a frame / nested QSplitter", aim,
                   dragOf(view, QuadViewGeometry::Up, movesOfAFrame), nestedRow});
    suite.compare({"row-one-by-one", "the same, placed after every move", aim,
                   dragOf(view, QuadViewGeometry::Up, 1), nestedRow});
    suite.compare({"centre", "all four views, 16 moves a frame / nested QSplitters", aim,
                   dragOf(view, QuadViewGeometry::Center, movesOfAFrame), nestedCentre});
    suite.compare({"centre-one-by-one", "the same, placed after every move", aim,
                   dragOf(view, QuadViewGeometry::Center, 1), nestedCentre});
}

void addDrag(Suite& suite) {
    const auto view = std::make_shared<QuadView>();
    suite.compare({"painted",
                   "drag step of all four views, painted / repaint of the panes",
                   dragAim,
                   [view](benchmark::State& state) { dragAndPaint(state, *view); },
                   [view](benchmark::State& state) { repaintPanes(state, *view); },
                   {{"paints", paintAim}}});
}
