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
        m_origin = m_view.mapToGlobal(QPoint());
    }

    void drag(QuadViewGeometry::Splitter piece, const QPoint& pointer) {
        emit m_pieces[piece]->mouseMove(m_origin + pointer);
    }
    void showButtons(bool on) {
        for (QtQVSimpleSplitter* piece : m_pieces)
            piece->showButtons(on);
    }
    /// What the event loop does before it paints.
    void place() { QCoreApplication::sendPostedEvents(); }
    QWidget& window() { return m_view; }
    const std::array<Pane*, 4>& panes() const { return m_panes; }

private:
    QtQuadView m_view;
    QList<QtQVSimpleSplitter*> m_pieces = m_view.findChildren<QtQVSimpleSplitter*>();
    std::array<Pane*, 4> m_panes{};
    QPoint m_origin;
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

/// Expand buttons are seen for the first seconds of a drag, and hidden for the rest of it.
enum class Buttons { Hidden, Seen };

/// One iteration is one step; the event loop has its turn after so many of them.
Suite::Function dragOf(const std::shared_ptr<QuadView>& view, QuadViewGeometry::Splitter piece,
                       int stepsPerTurn, Buttons buttons) {
    return [=](benchmark::State& state) {
        awaitExposed(view->window());
        view->showButtons(buttons == Buttons::Seen);
        int step = 0;
        for (auto _ : state) {
            view->drag(piece, pointerAt(step));
            if (++step % stepsPerTurn == 0)
                view->place();
        }
    };
}

Suite::Function dragOf(const std::shared_ptr<NestedSplitters>& nested,
                       void (NestedSplitters::*drag)(const QPoint&), int stepsPerTurn) {
    return [=](benchmark::State& state) {
        awaitExposed(nested->window());
        int step = 0;
        for (auto _ : state) {
            (*nested.*drag)(pointerAt(step));
            if (++step % stepsPerTurn == 0)
                QCoreApplication::sendPostedEvents();
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

/// The widgets that a row of two views must move, without anything that decides where: frames with
/// their panes, the line between them and the two lines that end at it.
class BareRow {
public:
    BareRow() {
        m_window.resize(areaSize);
        for (QWidget*& frame : m_frames)
            frame = new QWidget(&m_window);
        for (std::size_t i = 0; i < m_panes.size(); ++i)
            m_panes[i] = new Pane(m_frames[i]);
        for (QWidget*& line : m_lines)
            line = new QWidget(&m_window);
        m_window.show();
        m_window.setUpdatesEnabled(false);
    }

    void place(int x) {
        constexpr int height = 440;
        constexpr int thickness = 5;
        const int width = areaSize.width();
        m_frames[0]->setGeometry(0, 0, x, height);
        m_panes[0]->setGeometry(0, 0, x, height);
        m_frames[1]->setGeometry(x, 0, width - x, height);
        m_panes[1]->setGeometry(0, 0, width - x, height);
        m_lines[0]->setGeometry(x, 0, thickness, height);
        m_lines[1]->setGeometry(0, height, x, thickness);
        m_lines[2]->setGeometry(x, height, width - x, thickness);
    }
    QWidget& window() { return m_window; }

private:
    QWidget m_window;
    std::array<QWidget*, 2> m_frames{};
    std::array<Pane*, 2> m_panes{};
    std::array<QWidget*, 3> m_lines{};
};

void addFloor(Suite& suite, const std::shared_ptr<NestedSplitters>& nested) {
    const auto bare = std::make_shared<BareRow>();
    suite.compare({"row-floor", "only setGeometry() of the widgets of a row / nested QSplitter", -1,
                   [bare](benchmark::State& state) {
                       awaitExposed(bare->window());
                       int step = 0;
                       for (auto _ : state)
                           bare->place(pointerAt(step++).x());
                   },
                   dragOf(nested, &NestedSplitters::dragRow, 1)});
}

} // namespace

void addLayout(Suite& suite) {
    const auto view = std::make_shared<QuadView>();
    const auto nested = std::make_shared<NestedSplitters>();
    // What is not painted meanwhile would pile up as regions to be painted.
    view->window().setUpdatesEnabled(false);
    nested->window().setUpdatesEnabled(false);
    const auto compare = [&](const std::string& name, const std::string& what,
                             QuadViewGeometry::Splitter piece, int stepsPerTurn, Buttons buttons) {
        suite.compare({name, what, aim, dragOf(view, piece, stepsPerTurn, buttons),
                       dragOf(nested,
                              piece == QuadViewGeometry::Up ? &NestedSplitters::dragRow
                                                            : &NestedSplitters::dragCentre,
                              stepsPerTurn)});
    };
    constexpr auto row = QuadViewGeometry::Up;
    constexpr auto centre = QuadViewGeometry::Center;
    compare("row", "row of two views, 16 moves a frame / nested QSplitter", row, movesOfAFrame,
            Buttons::Seen);
    compare("row-one-by-one", "the same, placed after every move, buttons hidden", row, 1,
            Buttons::Hidden);
    compare("row-with-buttons", "the same with the expand buttons", row, 1, Buttons::Seen);
    compare("centre", "all four views, 16 moves a frame / nested QSplitters", centre, movesOfAFrame,
            Buttons::Seen);
    compare("centre-one-by-one", "the same, placed after every move, buttons hidden", centre, 1,
            Buttons::Hidden);
    compare("centre-with-buttons", "the same with the expand buttons", centre, 1, Buttons::Seen);
    addFloor(suite, nested);
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
