// Measures what a drag step of the four-view layout costs before anything is painted, as a share of
// what nested QSplitters with four panes need for the same step: as moves arrive from a mouse that
// reports 1,000 times a second on a screen that shows 60 pictures, and for moves that come one by
// one. And how often a pane is painted
// when a thousand pointer moves wait in a row. A round measures every way, beginning with another
// one each time, so that whatever else slows the machine down meets them alike.

#include "BenchmarkMain.h"
#include "Statistics.h"

#include "Base/QtQVSimpleSplitter.h"
#include "Base/QtQuadView.h"

#include <QtCore/QElapsedTimer>
#include <QtGui/QGuiApplication>
#include <QtTest/QTest>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QSplitter>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr double aim = 0.5;
constexpr int paintAim = 4;
constexpr int steps = 3200;
constexpr int movesOfAFrame = 16;
constexpr int flood = 1000;
constexpr QSize areaSize(1200, 900);

class Pane : public QWidget {
public:
    using QWidget::QWidget;
    int paints = 0;

protected:
    void paintEvent(QPaintEvent*) override { ++paints; }
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
    void place() { QCoreApplication::sendPostedEvents(&m_view, QEvent::LayoutRequest); }
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

/// Something that is dragged, and placed before the event loop would paint.
struct Way {
    const char* name;
    std::function<void(const QPoint&)> step;
    std::function<void()> place;
    int stepsPerPlacing;
};

/// Microseconds of one step; nothing is painted meanwhile.
double timeOfOne(const Way& way) {
    QElapsedTimer timer;
    timer.start();
    for (int i = 0; i < steps; ++i) {
        way.step(pointerAt(i));
        if (i % way.stepsPerPlacing == 0)
            way.place();
    }
    const double time = static_cast<double>(timer.nsecsElapsed()) / 1e3 / steps;
    QCoreApplication::processEvents();
    return time;
}

/// The most paints of a pane in a row of moves that the event loop finds waiting.
int paintsAfterFlood(QuadView& view) {
    const auto allPainted = [&view] {
        return std::all_of(view.panes().begin(), view.panes().end(),
                           [](const Pane* pane) { return pane->paints > 0; });
    };
    if (!QTest::qWaitFor(allPainted))
        throw std::runtime_error("The panes are not painted.");
    QTest::qWait(100);
    for (Pane* pane : view.panes())
        pane->paints = 0;
    for (int i = 0; i < flood; ++i)
        view.drag(QuadViewGeometry::Center, pointerAt(i));
    QTest::qWait(300);
    int most = 0;
    for (const Pane* pane : view.panes())
        most = std::max(most, pane->paints);
    if (most == 0)
        throw std::runtime_error("Nothing was painted after the moves.");
    return most;
}

struct Line {
    const char* name;
    Summary time;
    Summary ratio; ///< To the nested splitters above it.
};

struct Result {
    std::vector<Line> lines;
    int paints;
};

std::vector<Way> ways(QuadView& view, NestedSplitters& nested) {
    const auto row = [&view](const QPoint& to) { view.drag(QuadViewGeometry::Up, to); };
    const auto centre = [&view](const QPoint& to) { view.drag(QuadViewGeometry::Center, to); };
    const auto nestedRow = [&nested](const QPoint& to) { nested.dragRow(to); };
    const auto nestedCentre = [&nested](const QPoint& to) { nested.dragCentre(to); };
    const auto place = [&view] { view.place(); };
    const auto nothing = [] {};
    return {
        {"Row, QSplitter", nestedRow, nothing, 1}, {"Row", row, place, movesOfAFrame},
        {"Row, one by one", row, place, 1},        {"Centre, QSplitter", nestedCentre, nothing, 1},
        {"Centre", centre, place, movesOfAFrame},  {"Centre, one by one", centre, place, 1}};
}

// Of three ways each, the first is what the other two are compared with.
constexpr std::size_t group = 3;

Result measure(int rounds) {
    QuadView view;
    NestedSplitters nested;
    for (QWidget* window : {&view.window(), &nested.window()})
        if (!QTest::qWaitForWindowExposed(window))
            throw std::runtime_error("A window does not appear.");
    const std::vector<Way> all = ways(view, nested);
    for (const Way& way : all)
        (void)timeOfOne(way);
    std::vector<std::vector<double>> times(all.size());
    std::vector<std::vector<double>> ratios(all.size());
    for (std::size_t round = 0; round < static_cast<std::size_t>(rounds); ++round) {
        for (std::size_t turn = 0; turn < all.size(); ++turn) {
            const std::size_t way = (round + turn) % all.size();
            times[way].push_back(timeOfOne(all[way]));
        }
        for (std::size_t way = 0; way < all.size(); ++way)
            ratios[way].push_back(times[way].back() / times[way / group * group].back());
    }
    Result result{{}, paintsAfterFlood(view)};
    for (std::size_t way = 0; way < all.size(); ++way)
        result.lines.push_back({all[way].name, Summary(times[way]), Summary(ratios[way])});
    return result;
}

void print(const Result& result) {
    std::printf("One drag step without painting, %d rounds of %d, platform %s\n",
                static_cast<int>(result.lines[0].time.samples.size()), steps,
                QGuiApplication::platformName().toUtf8().constData());
    std::printf("%d moves for each time the event loop runs, or one\n", movesOfAFrame);
    printHead();
    for (std::size_t i = 0; i < result.lines.size(); ++i) {
        const Line& line = result.lines[i];
        print((std::string(line.name) + ", us").c_str(), line.time, 2);
        if (i % group != 0)
            print("  as a share", line.ratio, 3);
    }
    const bool isReached =
        result.lines[1].ratio.median <= aim && result.lines[group + 1].ratio.median <= aim;
    std::printf("The aim is a share of at most %.2f at %d moves: %s\n", aim, movesOfAFrame,
                isReached ? "reached" : "missed");
    std::printf("%d queued moves paint a pane at most %d times; the aim is at most %d: %s\n", flood,
                result.paints, paintAim, result.paints <= paintAim ? "reached" : "missed");
}

QJsonObject toJson(const Result& result) {
    QJsonObject lines;
    for (const Line& line : result.lines)
        lines.insert(QString::fromLatin1(line.name),
                     QJsonObject{{QStringLiteral("microseconds"), line.time.toJson()},
                                 {QStringLiteral("share"), line.ratio.toJson()}});
    return {{QStringLiteral("benchmark"), QStringLiteral("layout")},
            {QStringLiteral("platform"), QGuiApplication::platformName()},
            {QStringLiteral("steps"), lines},
            {QStringLiteral("aim"), aim},
            {QStringLiteral("paintsAfterQueuedMoves"), result.paints},
            {QStringLiteral("paintAim"), paintAim}};
}

} // namespace

int main(int argc, char** argv) {
    return benchmarkMain(argc, argv,
                         "Compares a drag step of the four-view layout with nested QSplitters.",
                         [](int rounds) {
                             const Result result = measure(rounds);
                             print(result);
                             return toJson(result);
                         });
}
