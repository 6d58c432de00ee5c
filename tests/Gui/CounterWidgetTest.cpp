#include "Base/QtCounterWidget.h"
#include "Gui/GuiTest.h"

#include <QtWidgets/QLayout>

using namespace vlrTest;

namespace {

class CounterWidgetTest : public GuiTest {};

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

std::vector<int> numbers(const QSignalSpy& spy) {
    std::vector<int> result;
    for (const auto& arguments : spy)
        result.push_back(arguments.at(0).toInt());
    return result;
}

} // namespace

TEST_F(CounterWidgetTest, LitFramesHaveTheColorOfTheHighestColoredPosition) {
    QtCounterWidget counter(5, nullptr);
    QSignalSpy spy(&counter, &QtCounterWidget::counterChangedSIG);
    const std::tuple<int, const char*, int, std::vector<int>> cases[] = {
        {1, "-----", 0, {1, 0}}, // no colour at or below 1
        {2, "rr---", 2, {2}},    {2, "rr---", 2, {}},      {3, "rrr--", 3, {3}},
        {4, "gggg-", 4, {4}},    {99, "ggggg", 5, {5}},    {99, "ggggg", 5, {5}},
        {2, "rr---", 2, {2}},    {0, "-----", 0, {0, 0}},  {-4, "-----", 0, {}},
        {5, "ggggg", 5, {5}},    {-4, "-----", 0, {0, 0}},
    };
    counter.setFrameColor(Qt::red, 2);
    counter.setFrameColor(Qt::green, 4);
    for (const int ignored : {0, -1, 6, 1000})
        counter.setFrameColor(Qt::blue, ignored);
    EXPECT_EQ(looks(counter), "-----");
    for (const auto& [number, shown, current, told] : cases) {
        spy.clear();
        counter.setCurrentFrameNumber(number);
        EXPECT_EQ(looks(counter), shown) << number;
        EXPECT_EQ(counter.getCurrentFrameNumber(), current) << number;
        EXPECT_EQ(numbers(spy), told) << number;
    }
    counter.setCurrentFrameNumber(3);
    counter.setFrameColor(Qt::green, 3);
    EXPECT_EQ(looks(counter), "rrr--");
    spy.clear();
    counter.clear();
    EXPECT_EQ(looks(counter), "-----");
    EXPECT_EQ(numbers(spy), std::vector<int>{0});
}

TEST_F(CounterWidgetTest, FramesHaveTheSizeAskedFor) {
    const struct {
        int frames, width, height, count;
        QSize size;
    } cases[] = {{3, 30, 10, 3, {30, 10}}, {2, 0, -5, 2, {1, 1}}, {-2, 20, 20, 0, {}}};
    for (const auto& c : cases) {
        QtCounterWidget counter(c.frames, c.width, c.height, nullptr);
        const auto frames = counter.findChildren<QLabel*>();
        EXPECT_EQ(frames.size(), c.count);
        for (const QLabel* frame : frames) {
            EXPECT_EQ(frame->minimumSize(), c.size);
            EXPECT_EQ(frame->maximumSize(), c.size);
            EXPECT_EQ(frame->frameStyle(), QFrame::Panel | QFrame::Raised);
        }
        EXPECT_EQ(counter.layout()->spacing(), 3);
        counter.setCurrentFrameNumber(1);
    }
    EXPECT_EQ(QtCounterWidget(1, nullptr).findChild<QLabel*>()->minimumSize(), QSize(20, 20));
}

TEST_F(CounterWidgetTest, TheNumberOfFramesCanChange) {
    QtCounterWidget counter(3, nullptr);
    counter.setFrameColor(Qt::red, 1);
    counter.setCurrentFrameNumber(2);
    QSignalSpy spy(&counter, &QtCounterWidget::counterChangedSIG);
    counter.setFrameCount(2);
    EXPECT_EQ(looks(counter), "--");
    EXPECT_EQ(counter.layout()->count(), 2);
    EXPECT_EQ(numbers(spy), std::vector<int>{0});
    counter.setCurrentFrameNumber(1);
    EXPECT_EQ(looks(counter), "--"); // Its colours are gone, too.

    delete counter.layout();
    expectLog(vlr::LogLevel::Error, "Layout is not defined.");
    counter.setFrameCount(1);
    EXPECT_EQ(looks(counter), "--");
}
