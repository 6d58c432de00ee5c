#include "Base/QtCaProgressMonitor.h"

#include "Gui/GuiTest.h"

#include <QtCore/QElapsedTimer>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QProgressDialog>

#include <climits>
#include <set>
#include <utility>

using namespace vlrTest;

namespace {

CaProgressMonitor* monitor() {
    return CaProgressMonitor::getInstance();
}

QtCaProgressMonitor* qtMonitor() {
    return dynamic_cast<QtCaProgressMonitor*>(monitor());
}

void soon(const std::function<void()>& action) {
    QMetaObject::invokeMethod(qApp, action, Qt::QueuedConnection);
}

// What was left to the event loop to delete.
void deleteNow() {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

// Does again and again what a caller does, until that is seen or it takes too long.
bool repeat(const std::function<void()>& act, const std::function<bool()>& isDone) {
    QElapsedTimer elapsed;
    for (elapsed.start(); !isDone() && elapsed.elapsed() < 5000;)
        act();
    return isDone();
}

// Acts once, when the widget hides.
struct HideWatcher : QObject {
    HideWatcher(QWidget* widget, std::function<void()> act) : action(std::move(act)) {
        widget->installEventFilter(this);
    }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Hide && action)
            std::exchange(action, nullptr)();
        return QObject::eventFilter(watched, event);
    }
    std::function<void()> action;
};

// The values at which a bar is painted: what its user sees.
class PaintedValues : public QObject {
public:
    explicit PaintedValues(QProgressBar* bar) : m_bar(bar) { bar->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint)
            values.insert(m_bar->value());
        return QObject::eventFilter(watched, event);
    }
    std::set<int> values;

private:
    QProgressBar* m_bar;
};

struct ProgressMonitorTest : GuiTest {
    ProgressMonitorTest() { open(); }
    ~ProgressMonitorTest() override { delete window.data(); }

    void open() {
        delete window.data();
        window = new QWidget;
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->show();
        QtCaProgressMonitor::attach(window);
    }

    QProgressDialog* dialog() const {
        const auto all =
            window ? window->findChildren<QProgressDialog*>() : QList<QProgressDialog*>();
        return all.isEmpty() ? nullptr : all.last();
    }

    void startShown(int totalSteps, bool cancelable) {
        monitor()->setMinimumDuration(0);
        monitor()->start("Reading ", totalSteps, cancelable, false, 1);
        ASSERT_TRUE(QTest::qWaitFor([this] { return dialog()->isVisible(); }));
        ASSERT_TRUE(QTest::qWaitForWindowExposed(dialog()));
    }

    QPointer<QWidget> window;
};

} // namespace

TEST_F(ProgressMonitorTest, AStartOpensTheDialogThatWasAskedFor) {
    const std::tuple<int, bool, int> cases[] = {
        {250, true, 250}, {250, false, 250}, {0, true, 0}, {-3, true, 0}};
    monitor()->setMinimumDuration(70);
    for (const auto& [total, cancelable, maximum] : cases) {
        qtMonitor()->start(text("<b>Füße</b>"), total, cancelable, false, 1);
        ASSERT_EQ(window->findChildren<QProgressDialog*>().size(), 1);
        EXPECT_EQ(dialog()->windowType(), cancelable ? Qt::Dialog : Qt::Popup);
        const auto* button = dialog()->findChild<QPushButton*>();
        ASSERT_EQ(button ? button->text() : QString(), cancelable ? text("Cancel") : QString());
        EXPECT_TRUE(dialog()->isModal());
        EXPECT_EQ(dialog()->minimum(), 0);
        EXPECT_EQ(dialog()->value(), 0);
        EXPECT_EQ(monitor()->getTotalSteps(), maximum);
        EXPECT_EQ(dialog()->minimumDuration(), 70);
        EXPECT_EQ(dialog()->labelText(), text("<b>Füße</b>"));
        EXPECT_EQ(dialog()->findChild<QLabel*>()->textFormat(), Qt::PlainText);
        qtMonitor()->setDialogCaption(text("Volume"));
        EXPECT_EQ(dialog()->windowTitle(), text("Volume"));
    }
    monitor()->end();
    EXPECT_EQ(dialog(), nullptr);
}

TEST_F(ProgressMonitorTest, TicksAddTheStepUpToTheTotal) {
    // The value -1: the dialog has gone back to its beginning.
    const std::tuple<int, int, int, int, int, int> cases[] = {
        {250, 1, 0, 3, 3, 3},
        {10, 4, 0, 2, 8, 8},
        {10, 4, 0, 3, 12, -1},
        {0, 7, 0, 3, 21, 21},
        {0, INT_MAX, 0, 2, INT_MAX, INT_MAX},
        {INT_MAX, INT_MAX, INT_MAX - 1, 2, INT_MAX, -1},
        {10, -3, 5, 9, 0, 0},
    };
    for (const auto& [total, step, from, ticks, progress, value] : cases) {
        monitor()->start("", total, true, true, step);
        monitor()->setProgress(from);
        for (int i = 0; i < ticks; ++i)
            monitor()->tick();
        EXPECT_EQ(monitor()->getProgress(), progress) << total << ' ' << step;
        EXPECT_EQ(dialog()->value(), value) << total << ' ' << step;
    }
    monitor()->end();
    monitor()->tick();
    EXPECT_EQ(monitor()->getProgress(), 0);
    EXPECT_EQ(monitor()->getTotalSteps(), 0);
}

TEST_F(ProgressMonitorTest, TheCounterFollowsTheText) {
    const std::tuple<int, int, const char*> cases[] = {{250, 2, "Slice    2 of  250"},
                                                       {1, 0, "Slice 0 of 1"},
                                                       {9, 3, "Slice  3 of  9"},
                                                       {10, 3, "Slice  3 of 10"},
                                                       {0, 3, "Slice 3"}};
    for (const auto& [total, progress, label] : cases) {
        monitor()->start("Slice ", total, true, true, 1);
        for (int i = 0; i < progress; ++i)
            monitor()->tick();
        EXPECT_EQ(dialog()->labelText().toStdString(), label);
    }
    // Off, the label is the text; it stays as it is until a text is set.
    monitor()->start("a", 9, true, true, 1);
    monitor()->setShowCounterFlag(false);
    EXPECT_EQ(dialog()->labelText(), text("a 0 of  9"));
    monitor()->setText("b");
    monitor()->tick();
    EXPECT_EQ(dialog()->labelText(), text("b"));
    monitor()->setShowCounterFlag(true);
    EXPECT_EQ(dialog()->labelText(), text("b 1 of  9"));
    monitor()->reset();
    EXPECT_EQ(dialog()->labelText(), text("b 0 of  9"));
    EXPECT_EQ(dialog()->value(), 0);
}

TEST_F(ProgressMonitorTest, TheDialogComesAfterItsTimeAndGoesAtTheMaximum) {
    const auto isShown = [this] { return dialog()->isVisible(); };
    const auto tick = [] { monitor()->tick(); };
    monitor()->setMinimumDuration(1);
    monitor()->start("Reading", INT_MAX, true, false, 1);
    EXPECT_FALSE(isShown());
    EXPECT_TRUE(repeat(tick, isShown));
    // How many ticks it took depends on the machine.
    monitor()->setTotalSteps(monitor()->getProgress() + 1);
    tick();
    EXPECT_FALSE(isShown());
    EXPECT_FALSE(dialog()->wasCanceled());
    monitor()->setTotalSteps(INT_MAX);
    EXPECT_TRUE(repeat(tick, isShown)) << "more to do after all";
}

TEST_F(ProgressMonitorTest, OnlyADialogThatClosedJustBeforeMakesItWaitForTheKeyboard) {
    monitor()->setMinimumDuration(0);
    for (const bool isModal : {false, true}) {
        {
            QDialog other;
            other.setModal(isModal);
            showActive(other);
        }
        ASSERT_EQ(QGuiApplication::focusWindow(), nullptr);
        monitor()->start("Reading", 10, true, false, 1);
        QCoreApplication::processEvents();
        EXPECT_EQ(dialog()->isVisible(), !isModal);
        if (isModal)
            showActive(*window);
        EXPECT_TRUE(QTest::qWaitFor([this] { return dialog()->isVisible(); }));
        monitor()->end();
    }
}

TEST_F(ProgressMonitorTest, ProgressThatIsOnlySetShowsTheDialogAndProcessesNoEvents) {
    const auto setProgress = [] { monitor()->setProgress(monitor()->getProgress() % 1000 + 1); };
    const auto isShown = [this] { return dialog()->isVisible(); };
    for (const bool cancelable : {true, false}) {
        monitor()->setMinimumDuration(20);
        monitor()->start("Reading", 2000, cancelable, false, 1);
        bool processed = false;
        soon([&processed] { processed = true; });
        EXPECT_TRUE(repeat(setProgress, isShown));
        PaintCounter counter(*dialog()->findChild<QProgressBar*>());
        EXPECT_TRUE(repeat(setProgress, [&] { return counter.paints > 1; }));
        monitor()->setProgress(2000);
        EXPECT_FALSE(isShown());
        EXPECT_TRUE(repeat(setProgress, isShown)) << "more to do after all";
        EXPECT_FALSE(processed);
        monitor()->end();
        QCoreApplication::processEvents();
    }
}

TEST_F(ProgressMonitorTest, TheBarIsSeenToMove) {
    const std::function<void()> ways[] = {
        [] { monitor()->tick(); }, [] { monitor()->setProgress(monitor()->getProgress() + 1); }};
    for (const auto& goOn : ways) {
        startShown(INT_MAX, true);
        const PaintedValues painted(dialog()->findChild<QProgressBar*>());
        EXPECT_TRUE(repeat(goOn, [&] { return painted.values.size() > 2; }));
        monitor()->end();
        deleteNow();
    }
}

TEST_F(ProgressMonitorTest, EventsAreProcessedNowAndThenAndAlwaysAtTheEnd) {
    const auto tickPasses = [] {
        bool passed = false;
        soon([&passed] { passed = true; });
        monitor()->tick();
        const bool inTick = passed;
        QCoreApplication::sendPostedEvents();
        return inTick;
    };
    startShown(1001, true);
    EXPECT_TRUE(tickPasses());
    int passes = 0;
    QElapsedTimer elapsed;
    elapsed.start();
    for (int i = 0; i < 999; ++i)
        passes += tickPasses() ? 1 : 0;
    EXPECT_LE(passes, elapsed.elapsed() / 10 + 1);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(tickPasses()) << "at the maximum";
}

TEST_F(ProgressMonitorTest, TheUserCancelsOnce) {
    const std::function<void(QProgressDialog&)> cases[] = {
        [](QProgressDialog& d) { d.findChild<QPushButton*>()->click(); },
        [](QProgressDialog& d) { QTest::keyClick(&d, Qt::Key_Escape); },
        [](QProgressDialog& d) { d.close(); },
        [](QProgressDialog& d) { d.reject(); },
    };
    int cancelled = 0;
    const CaConnection connection(*monitor(), CaProgressMonitor::CANCELLED,
                                  [&](auto...) { ++cancelled; });
    for (const auto& cancel : cases) {
        startShown(100, true);
        cancelled = 0;
        soon([&] {
            cancel(*dialog());
            dialog()->close();
        });
        monitor()->tick();
        EXPECT_EQ(cancelled, 1);
        EXPECT_TRUE(dialog()->wasCanceled());
        const QString label = dialog()->labelText();
        monitor()->tick();
        monitor()->setProgress(50);
        monitor()->setTotalSteps(7);
        monitor()->setText("other");
        EXPECT_EQ(monitor()->getProgress(), 1);
        EXPECT_EQ(monitor()->getTotalSteps(), 100);
        EXPECT_EQ(dialog()->labelText(), label);
        EXPECT_FALSE(dialog()->isVisible());
    }
    monitor()->start("", 9, true, false, 1);
    monitor()->tick();
    EXPECT_EQ(monitor()->getProgress(), 1);
}

TEST_F(ProgressMonitorTest, WhatIsNotCancelableStaysOpenButLetsAMessageBoxBeAnswered) {
    const std::function<void(QProgressDialog&)> cases[] = {
        [](QProgressDialog& d) { QTest::keyClick(&d, Qt::Key_Escape); },
        [](QProgressDialog& d) { d.close(); },
        [](QProgressDialog& d) {
            QTest::mouseClick(&d, Qt::LeftButton, Qt::NoModifier, QPoint(-20, -20));
        },
    };
    startShown(100, false);
    for (const auto& press : cases) {
        press(*dialog());
        monitor()->tick();
        EXPECT_TRUE(dialog()->isVisible());
        EXPECT_FALSE(dialog()->wasCanceled());
    }
    EXPECT_EQ(monitor()->getProgress(), 3);

    ASSERT_EQ(QApplication::activePopupWidget(), dialog());
    answerNextMessageBox([](QMessageBox& box) {
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr); // It would get all clicks and keys.
        monitor()->setProgress(99);
        box.accept();
    });
    QMessageBox(window).exec();
    EXPECT_FALSE(dialog()->isVisible());
    EXPECT_TRUE(QTest::qWaitFor([this] {
        monitor()->setProgress(50);
        monitor()->tick();
        return dialog()->isVisible();
    }));
}

TEST_F(ProgressMonitorTest, AnythingMayHappenInsideATickOrAStartAndWhileTheDialogHides) {
    const struct {
        const char* name;
        std::function<void()> action;
        int total = 0; // of the operation that runs afterwards
        bool dialogGone = false;
    } cases[] = {
        {"nothing", [] {}, 100},
        {"end", [] { monitor()->end(); }},
        {"start", [] { monitor()->start("Second", 20, true, false, 1); }, 20},
        {"start busy", [] { monitor()->start(); }},
        {"dialog deleted", [this] { delete dialog(); }, 0, true},
        {"replaced", [this] { QtCaProgressMonitor::attach(window); }},
        {"removed", [] { CaProgressMonitor::setInstance(nullptr); }},
        {"closed", [this] { window->close(); }},
        {"destroyed", [this] { delete window.data(); }, 0, true},
    };
    for (const std::string inside : {"an event", "cancel", "hiding", "a start"})
        for (const auto& c : cases) {
            SCOPED_TRACE(inside + ": " + c.name);
            if (c.dialogGone && inside != "an event")
                continue; // Qt itself does not survive that.
            open();
            const QPointer<QtCaProgressMonitor> asked = qtMonitor();
            startShown(100, true);
            const QPointer<QProgressDialog> first = dialog();
            bool done = false;
            const auto act = [&] {
                c.action();
                // Qt may be on the stack with it.
                EXPECT_EQ(first.isNull(), c.dialogGone);
                done = true;
            };
            HideWatcher watcher(first, act);
            CaConnection connection;
            if (inside == "an event") {
                watcher.action = nullptr;
                soon(act);
                monitor()->tick();
            } else if (inside == "cancel") {
                watcher.action = nullptr;
                connection =
                    CaConnection(*monitor(), CaProgressMonitor::CANCELLED, [&](auto...) { act(); });
                first->findChild<QPushButton*>()->click();
            } else if (inside == "hiding") {
                first->hide();
            } else {
                asked->start(std::string("Third"), 30, true, false, 1);
            }
            EXPECT_TRUE(done);
            deleteNow();
            const int startedTotal = asked && window ? 30 : 0;
            EXPECT_EQ(monitor()->getTotalSteps(), inside == "a start" ? startedTotal : c.total);
            monitor()->end();
            deleteNow();
            QCoreApplication::processEvents();
            EXPECT_TRUE(first.isNull());
            EXPECT_EQ(dialog(), nullptr);
            EXPECT_EQ(QApplication::overrideCursor(), nullptr);
        }
}

TEST_F(ProgressMonitorTest, TheBusyCursorIsBalanced) {
    // b: start busy, d: start with a dialog, e: end
    const std::pair<const char*, bool> cases[] = {{"b", true},   {"be", false}, {"bbe", false},
                                                  {"bd", false}, {"db", true},  {"ee", false}};
    for (const auto& [calls, busy] : cases) {
        QtCaProgressMonitor::attach(window);
        QApplication::setOverrideCursor(Qt::CrossCursor); // somebody else's
        for (const char* call = calls; *call; ++call) {
            if (*call == 'b')
                monitor()->start();
            else if (*call == 'd')
                monitor()->start("", 5, true, false, 1);
            else
                monitor()->end();
        }
        EXPECT_EQ(QApplication::overrideCursor()->shape(), busy ? Qt::WaitCursor : Qt::CrossCursor)
            << calls;
        CaProgressMonitor::setInstance(nullptr);
        ASSERT_TRUE(QApplication::overrideCursor()) << calls;
        QApplication::restoreOverrideCursor();
        EXPECT_EQ(QApplication::overrideCursor(), nullptr) << calls;
    }
}

TEST(OutlivingMonitorTest, AMonitorGoesWithItsApplication) {
    CommandLine line;
    for (int run = 0; run < 2; ++run) {
        {
            const QApplication application(line.count, line.words);
            auto window = std::make_unique<QWidget>();
            QtCaProgressMonitor::attach(window.get());
            monitor()->start();
            monitor()->start("", 5, true, false, 1);
            window.reset();
            monitor()->tick();
            monitor()->start("", 5, false, false, 1);
            monitor()->tick();
            EXPECT_EQ(monitor()->getProgress(), 1);
        }
        EXPECT_EQ(qtMonitor(), nullptr);
        QtCaProgressMonitor::attach(nullptr);
        monitor()->start();
        monitor()->start("", 5, true, true, 1);
        monitor()->tick();
        EXPECT_EQ(monitor()->getProgress(), 0);
    }
}
