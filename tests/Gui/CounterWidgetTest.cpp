#include "Base/QtCounterWidget.h"
#include "Gui/GuiTest.h"

using namespace vlrTest;

namespace {

using CounterWidgetTest = GuiTest;

// One letter per frame: r(ed), g(reen), - (dark), ? (anything else).
std::string looks(const QtCounterWidget& counter) {
    std::string result;
    for (const QLabel* frame : counter.findChildren<QLabel*>()) {
        const QColor color = frame->pixmap(Qt::ReturnByValue).toImage().pixelColor(0, 0);
        result += color == QColor(Qt::red)        ? 'r'
                  : color == QColor(Qt::green)    ? 'g'
                  : color == QColor(Qt::darkGray) ? '-'
                                                  : '?';
    }
    return result;
}

} // namespace

TEST_F(CounterWidgetTest, LitFramesHaveTheColorOfTheHighestColoredPosition) {
    QtCounterWidget counter(5, nullptr);
    QSignalSpy told(&counter, &QtCounterWidget::counterChangedSIG);
    const std::tuple<int, const char*, int, int> cases[] = {
        {1, "-----", 0, 2}, // no colour at or below 1
        {2, "rr---", 2, 1},  {2, "rr---", 2, 0},  {3, "rrr--", 3, 1},
        {99, "ggggg", 5, 1}, {99, "ggggg", 5, 1}, {-4, "-----", 0, 2},
    };
    counter.setFrameColor(Qt::red, 2);
    counter.setFrameColor(Qt::green, 4);
    for (const int ignored : {0, -1, 6})
        counter.setFrameColor(Qt::blue, ignored);
    for (const auto& [number, shown, current, signalCount] : cases) {
        told.clear();
        counter.setCurrentFrameNumber(number);
        EXPECT_EQ(looks(counter), shown) << number;
        EXPECT_EQ(counter.getCurrentFrameNumber(), current) << number;
        EXPECT_EQ(told.size(), signalCount) << number;
        EXPECT_TRUE(told.isEmpty() || told.last().first() == current) << number;
    }
}

TEST_F(CounterWidgetTest, TheNumberOfFramesCanChange) {
    QtCounterWidget counter(3, 30, -5, nullptr);
    EXPECT_EQ(counter.findChild<QLabel*>()->minimumSize(), QSize(30, 1));
    counter.setFrameColor(Qt::red, 1);
    counter.setCurrentFrameNumber(2);
    QSignalSpy told(&counter, &QtCounterWidget::counterChangedSIG);
    counter.setFrameCount(2);
    ASSERT_EQ(told.size(), 1);
    EXPECT_EQ(told.at(0).at(0), 0);
    counter.setCurrentFrameNumber(1);
    EXPECT_EQ(looks(counter), "--"); // Its colours are gone, too.

    delete counter.layout();
    expectLog(LogLevel::Error, "Layout is not defined.");
    counter.setFrameCount(1);
    EXPECT_EQ(looks(counter), "--");
}
