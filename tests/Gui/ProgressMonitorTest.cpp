#include "Base/QtCaProgressMonitor.h"

#include "AppBase/AppBase.h"
#include "Gui/GuiTest.h"
#include "IO/DataIOManager.h"
#include "Settings/vlrSettings.h"

#include <QtCore/QElapsedTimer>
#include <QtTest/QTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QProgressBar>
#include <QtWidgets/QProgressDialog>
#include <QtWidgets/QPushButton>

#include <climits>
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

// Acts when the watched widget hides.
class HideWatcher : public QObject {
public:
    std::function<void()> action;
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Hide && action)
            std::exchange(action, nullptr)();
        return QObject::eventFilter(watched, event);
    }
};

class PaintCounter : public QObject {
public:
    int count = 0;
    bool eventFilter(QObject* watched, QEvent* event) override {
        count += event->type() == QEvent::Paint ? 1 : 0;
        return QObject::eventFilter(watched, event);
    }
};

class ProgressMonitorTest : public GuiTest {
protected:
    ProgressMonitorTest() : window(new QWidget) {
        window->setAttribute(Qt::WA_DeleteOnClose);
        window->show();
        QtCaProgressMonitor::attach(window);
    }
    ~ProgressMonitorTest() override { delete window.data(); }

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

// Of the event dispatchers only Qt's own flushes anything.
struct OwnDispatcher {
    OwnDispatcher() { qputenv("QT_NO_GLIB", "1"); }
};
class FlushTest : private OwnDispatcher, public ProgressMonitorTest {};

class OutlivingMonitorTest : public testing::Test {
protected:
    void TearDown() override { DataIOManager::closeRepository(); }
};

} // namespace

TEST_F(ProgressMonitorTest, AStartOpensTheDialogThatWasAskedFor) {
    const struct {
        int total;
        bool cancelable;
        int maximum;
    } cases[] = {{250, true, 250}, {250, false, 250}, {0, true, 0}, {-3, true, 0}};
    monitor()->setMinimumDuration(70);
    for (const auto& c : cases) {
        qtMonitor()->start(QStringLiteral("<b>Füße</b>"), c.total, c.cancelable, false, 1);
        ASSERT_EQ(window->findChildren<QProgressDialog*>().size(), 1);
        EXPECT_EQ(dialog()->windowType(), c.cancelable ? Qt::Dialog : Qt::Popup);
        const auto* button = dialog()->findChild<QPushButton*>();
        ASSERT_EQ(button != nullptr, c.cancelable);
        if (button) {
            EXPECT_EQ(button->text(), QStringLiteral("Cancel"));
        }
        EXPECT_TRUE(dialog()->isModal());
        EXPECT_EQ(dialog()->minimum(), 0);
        EXPECT_EQ(dialog()->value(), 0);
        EXPECT_EQ(monitor()->getTotalSteps(), c.maximum);
        EXPECT_EQ(dialog()->minimumDuration(), 70);
        EXPECT_EQ(dialog()->labelText(), QStringLiteral("<b>Füße</b>"));
        EXPECT_EQ(dialog()->findChild<QLabel*>()->textFormat(), Qt::PlainText);
        qtMonitor()->setDialogCaption(QStringLiteral("Volume"));
        EXPECT_EQ(dialog()->windowTitle(), QStringLiteral("Volume"));
    }
    monitor()->end();
    EXPECT_EQ(dialog(), nullptr);
}

TEST_F(ProgressMonitorTest, TicksAddTheStepUpToTheTotal) {
    const struct {
        int total, step, from, ticks;
        int progress, value; // -1: the dialog has gone back to its beginning
    } cases[] = {
        {250, 1, 0, 3, 3, 3},
        {10, 4, 0, 2, 8, 8},
        {10, 4, 0, 3, 12, -1},
        {10, 4, 0, 9, 12, -1},
        {0, 7, 0, 3, 21, 21},
        {-1, 7, 0, 1, 7, 7},
        {0, INT_MAX, 0, 2, INT_MAX, INT_MAX},
        {INT_MAX, INT_MAX, INT_MAX - 1, 2, INT_MAX, -1},
        {10, 0, 5, 4, 5, 5},
        {10, -3, 5, 9, 0, 0},
        {10, INT_MIN, 5, 2, 0, 0},
    };
    for (const auto& c : cases) {
        monitor()->start("", c.total, true, true, c.step);
        monitor()->setProgress(c.from);
        for (int i = 0; i < c.ticks; ++i)
            monitor()->tick();
        EXPECT_EQ(monitor()->getProgress(), c.progress) << c.total << ' ' << c.step;
        EXPECT_EQ(dialog()->value(), c.value) << c.total << ' ' << c.step;
    }
    monitor()->end();
    monitor()->tick();
    EXPECT_EQ(monitor()->getProgress(), 0);
    EXPECT_EQ(monitor()->getTotalSteps(), 0);
}

TEST_F(ProgressMonitorTest, TheCounterFollowsTheText) {
    const struct {
        int total, progress;
        const char* label;
    } cases[] = {{250, 2, "Slice    2 of  250"},
                 {1, 0, "Slice 0 of 1"},
                 {9, 3, "Slice  3 of  9"},
                 {10, 3, "Slice  3 of 10"},
                 {1000, 3, "Slice    3 of 1000"},
                 {0, 3, "Slice 3"},
                 {-5, 3, "Slice 3"},
                 {100, -3, "Slice   0 of 100"},
                 {INT_MAX, 1, "Slice           1 of  2147483647"}};
    for (const auto& c : cases) {
        monitor()->start("Slice ", c.total, true, true, c.progress < 0 ? -1 : 1);
        for (int i = 0; i < c.progress; ++i)
            monitor()->tick();
        if (c.progress < 0)
            monitor()->tick();
        EXPECT_EQ(dialog()->labelText().toStdString(), c.label);
    }
    // The dialog has room for the end of the counter from the beginning.
    monitor()->start("The slices of the volume are being read: ", 250, true, true, 1);
    const QSize size = dialog()->sizeHint();
    monitor()->setProgress(250);
    monitor()->setShowCounterFlag(true);
    EXPECT_EQ(dialog()->sizeHint(), size);
    // Off, the label is the text; it stays as it is until a text is set.
    monitor()->start("a", 9, true, true, 1);
    monitor()->setShowCounterFlag(false);
    EXPECT_EQ(dialog()->labelText(), QStringLiteral("a 0 of  9"));
    monitor()->setText("b");
    EXPECT_EQ(dialog()->labelText(), QStringLiteral("b"));
    monitor()->tick();
    EXPECT_EQ(dialog()->labelText(), QStringLiteral("b"));
    monitor()->setShowCounterFlag(true);
    EXPECT_EQ(dialog()->labelText(), QStringLiteral("b 1 of  9"));
    monitor()->reset();
    EXPECT_EQ(dialog()->labelText(), QStringLiteral("b 0 of  9"));
    EXPECT_EQ(dialog()->value(), 0);
}

TEST_F(ProgressMonitorTest, TheDialogComesAfterItsTimeAndGoesAtTheMaximum) {
    monitor()->setMinimumDuration(1);
    monitor()->start("Reading", INT_MAX, true, false, 1);
    EXPECT_FALSE(dialog()->isVisible());
    QElapsedTimer elapsed;
    elapsed.start();
    while (!dialog()->isVisible() && elapsed.elapsed() < 5000)
        monitor()->tick();
    EXPECT_TRUE(dialog()->isVisible());
    EXPECT_EQ(dialog()->findChild<QProgressBar*>()->text(), QStringLiteral("0%"));

    // How many ticks it took depends on the machine.
    const int progress = monitor()->getProgress();
    monitor()->setTotalSteps(progress + 1);
    EXPECT_EQ(dialog()->findChild<QProgressBar*>()->text(),
              QStringLiteral("%1%").arg(qint64(progress) * 100 / (progress + 1)));
    monitor()->tick();
    EXPECT_FALSE(dialog()->isVisible());
    EXPECT_FALSE(dialog()->wasCanceled());
    // There is more to do after all.
    monitor()->setTotalSteps(INT_MAX);
    elapsed.start();
    while (!dialog()->isVisible() && elapsed.elapsed() < 5000)
        monitor()->tick();
    EXPECT_TRUE(dialog()->isVisible());
}

TEST_F(ProgressMonitorTest, ProgressThatIsOnlySetShowsTheDialogInTimeAndProcessesNoEvents) {
    const auto setUntil = [](const std::function<bool()>& done) {
        QElapsedTimer elapsed;
        for (elapsed.start(); !done() && elapsed.elapsed() < 5000;)
            monitor()->setProgress(monitor()->getProgress() % 1000 + 1);
        return done();
    };
    for (const bool cancelable : {true, false}) {
        monitor()->setMinimumDuration(1000000);
        monitor()->start("Reading", 2000, cancelable, false, 1);
        EXPECT_TRUE(setUntil([&] { return monitor()->getProgress() == 1000; }));
        EXPECT_FALSE(dialog()->isVisible()) << "before its time";

        monitor()->setMinimumDuration(20);
        monitor()->start("Reading", 2000, cancelable, false, 1);
        bool processed = false;
        soon([&processed] { processed = true; });
        EXPECT_TRUE(setUntil([&] { return dialog()->isVisible(); }));
        PaintCounter paintings;
        dialog()->findChild<QProgressBar*>()->installEventFilter(&paintings);
        EXPECT_TRUE(setUntil([&] { return paintings.count > 1; }));
        for (const int atTheEnd : {2000, 2001, -1}) {
            monitor()->setProgress(2000);
            monitor()->setProgress(atTheEnd);
            EXPECT_FALSE(dialog()->isVisible()) << atTheEnd;
            EXPECT_TRUE(setUntil([&] { return dialog()->isVisible(); })) << "more to do after all";
            paintings.count = 0;
            EXPECT_TRUE(setUntil([&] { return paintings.count > 1; }));
        }
        EXPECT_FALSE(processed);
        monitor()->end();
        QCoreApplication::processEvents();
    }
}

TEST_F(ProgressMonitorTest, EventsAreProcessedNowAndThenAndAlwaysAtTheEnd) {
    int passes = 0;
    const auto tick = [&passes] {
        bool passed = false;
        soon([&passed] { passed = true; });
        monitor()->tick();
        const bool inTick = passed;
        passes += inTick ? 1 : 0;
        QCoreApplication::sendPostedEvents();
        return inTick;
    };
    startShown(1001, true);
    EXPECT_TRUE(tick());
    passes = 0;
    QElapsedTimer elapsed;
    elapsed.start();
    for (int i = 0; i < 999; ++i)
        tick();
    EXPECT_LE(passes, elapsed.elapsed() / 10 + 1);
    EXPECT_EQ(dialog()->value(), 1000);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(tick()) << "at the maximum";
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

TEST_F(ProgressMonitorTest, WhatIsNotCancelableStaysOpen) {
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
}

TEST_F(ProgressMonitorTest, AMessageBoxCanBeAnsweredDuringWhatIsNotCancelable) {
    startShown(100, false);
    ASSERT_EQ(QApplication::activePopupWidget(), dialog());
    answerNextMessageBox([](QMessageBox& box) {
        EXPECT_EQ(QApplication::activePopupWidget(), nullptr); // It would get all clicks and keys.
        monitor()->setProgress(99);
        box.accept();
    });
    QMessageBox box(window);
    box.exec();
    EXPECT_FALSE(dialog()->isVisible());
    monitor()->setProgress(50);
    EXPECT_TRUE(QTest::qWaitFor([this] {
        monitor()->setProgress(50);
        monitor()->tick();
        return dialog()->isVisible();
    }));
}

TEST_F(ProgressMonitorTest, AnythingMayHappenInsideATickAndWhileTheDialogHides) {
    const struct {
        const char* name;
        std::function<void()> action;
        bool goesOn; // Another operation runs afterwards.
        bool dialogGone = false;
    } cases[] = {
        {"end", [] { monitor()->end(); }, false},
        {"start", [] { monitor()->start("Second", 20, true, false, 1); }, true},
        {"start busy", [] { monitor()->start(); }, false},
        {"dialog deleted", [this] { delete dialog(); }, false, true},
        {"replaced", [this] { QtCaProgressMonitor::attach(window); }, false},
        {"removed", [] { CaProgressMonitor::setInstance(nullptr); }, false},
        {"closed", [this] { window->close(); }, false},
        {"destroyed", [this] { delete window.data(); }, false, true},
    };
    for (const std::string inside : {"an event", "cancel", "hiding", "hiding without a tick"})
        for (const auto& c : cases) {
            SCOPED_TRACE(inside + ": " + c.name);
            if (c.dialogGone && inside != "an event")
                continue; // Qt itself does not survive that.
            delete window.data();
            window = new QWidget;
            window->setAttribute(Qt::WA_DeleteOnClose);
            QtCaProgressMonitor::attach(window);
            startShown(inside == "hiding" ? 1 : 100, true);
            const QPointer<QProgressDialog> first = dialog();
            CaConnection connection;
            bool done = false;
            const auto act = [&] {
                c.action();
                // Qt may be on the stack with it.
                EXPECT_EQ(first.isNull(), c.dialogGone);
                done = true;
            };
            HideWatcher watcher;
            first->installEventFilter(&watcher);
            if (inside == "cancel") {
                connection =
                    CaConnection(*monitor(), CaProgressMonitor::CANCELLED, [&](auto...) { act(); });
                first->findChild<QPushButton*>()->click();
            } else {
                if (inside == "an event")
                    soon(act);
                else
                    watcher.action = act;
                if (inside == "hiding without a tick")
                    first->hide();
                else
                    monitor()->tick();
            }
            EXPECT_TRUE(done);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            EXPECT_EQ(monitor()->getTotalSteps(), c.goesOn ? 20 : 0);
            monitor()->tick();
            EXPECT_EQ(monitor()->getProgress(), c.goesOn ? 1 : 0);
            monitor()->end();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QCoreApplication::processEvents();
            EXPECT_TRUE(first.isNull());
            EXPECT_EQ(QApplication::overrideCursor(), nullptr);
        }
}

TEST_F(ProgressMonitorTest, AStartWhileTheOneBeforeEndsLeavesOneOperation) {
    const std::pair<const char*, std::function<void()>> reentries[] = {
        {"nothing", [] {}},
        {"start", [] { monitor()->start("Second", 20, true, false, 1); }},
        {"start shown",
         [] {
             monitor()->start("Second", 20, true, false, 1);
             monitor()->setProgress(1);
         }},
        {"start busy", [] { monitor()->start(); }},
        {"end", [] { monitor()->end(); }},
        {"replaced", [this] { QtCaProgressMonitor::attach(window); }},
        {"removed", [] { CaProgressMonitor::setInstance(nullptr); }},
    };
    for (const bool busy : {false, true})
        for (const auto& [name, reenter] : reentries) {
            SCOPED_TRACE(std::string(name) + (busy ? ", busy" : ""));
            QtCaProgressMonitor::attach(window);
            const QPointer<QtCaProgressMonitor> asked = qtMonitor();
            startShown(100, true);
            HideWatcher watcher;
            dialog()->installEventFilter(&watcher);
            watcher.action = reenter;
            if (busy)
                asked->start();
            else
                asked->start(std::string("Third"), 30, true, false, 1);
            EXPECT_FALSE(watcher.action);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            const int dialogs = asked && !busy ? 1 : 0;
            EXPECT_EQ(window->findChildren<QProgressDialog*>().size(), dialogs);
            EXPECT_EQ(monitor()->getTotalSteps(), 30 * dialogs);
            EXPECT_EQ(QApplication::overrideCursor() != nullptr, asked && busy);
            monitor()->end();
            EXPECT_EQ(QApplication::overrideCursor(), nullptr);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            EXPECT_EQ(dialog(), nullptr);
        }
}

TEST_F(ProgressMonitorTest, AMonitorThatGoesEndsWhatStartsMeanwhile) {
    startShown(100, true);
    auto* const going = qtMonitor();
    HideWatcher watcher;
    dialog()->installEventFilter(&watcher);
    watcher.action = [going] { going->start(std::string("Second"), 20, false, false, 1); };
    CaProgressMonitor::setInstance(nullptr);
    EXPECT_FALSE(watcher.action);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(dialog(), nullptr);
}

TEST_F(ProgressMonitorTest, TheBusyCursorIsBalanced) {
    const struct {
        const char* calls; // b: busy, d: dialog, e: end
        bool busy;
    } cases[] = {{"b", true},  {"be", false},   {"bbe", false}, {"bd", false}, {"bde", false},
                 {"db", true}, {"dbde", false}, {"ee", false},  {"bdb", true}, {"bdbe", false}};
    for (const auto& c : cases) {
        QtCaProgressMonitor::attach(window);
        QApplication::setOverrideCursor(Qt::CrossCursor); // somebody else's
        for (const char* call = c.calls; *call; ++call) {
            if (*call == 'b')
                monitor()->start();
            else if (*call == 'd')
                monitor()->start("", 5, true, false, 1);
            else
                monitor()->end();
        }
        EXPECT_EQ(QApplication::overrideCursor()->shape(),
                  c.busy ? Qt::WaitCursor : Qt::CrossCursor)
            << c.calls;
        CaProgressMonitor::setInstance(nullptr);
        ASSERT_TRUE(QApplication::overrideCursor()) << c.calls;
        EXPECT_EQ(QApplication::overrideCursor()->shape(), Qt::CrossCursor) << c.calls;
        QApplication::restoreOverrideCursor();
        EXPECT_EQ(QApplication::overrideCursor(), nullptr) << c.calls;
    }
}

TEST_F(FlushTest, TheFlushFlagSendsWhatIsWaiting) {
    EXPECT_FALSE(QtCaProgressMonitor::isFlushX());
    EXPECT_FALSE(QtCaProgressMonitor::isSyncX());
    for (const bool flush : {false, true}) {
        QtCaProgressMonitor::setFlushX(flush);
        QtCaProgressMonitor::setSyncX(!flush);
        EXPECT_EQ(QtCaProgressMonitor::isSyncX(), !flush);
        bool sent = false;
        soon([&sent] { sent = true; });
        monitor()->start("", 5, true, false, 1);
        EXPECT_EQ(sent, flush);
        QCoreApplication::processEvents();
    }
}

TEST_F(OutlivingMonitorTest, TheSettingsOfTheApplicationChooseHowProgressIsShown) {
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    int count = 1;
    // As the application object will name it, so that it reads these settings.
    QCoreApplication::setApplicationName(QStringLiteral("vlrGuiTests"));
    const std::pair<bool, bool> cases[] = {{false, true}, {true, false}, {true, true}};
    for (const auto& [flush, sync] : cases) {
        const std::pair<const char*, bool> values[] = {{"ProgressBarFlushX", flush},
                                                       {"ProgressBarSyncX", sync}};
        for (const auto& [key, value] : values)
            ASSERT_EQ(vlr::Settings::set(QStringLiteral("Velora/Application/") + QLatin1String(key),
                                         value),
                      CaError::nullError);
        const AppBase application(count, arguments, nullptr, false, false);
        EXPECT_EQ(QtCaProgressMonitor::isFlushX(), flush);
        EXPECT_EQ(QtCaProgressMonitor::isSyncX(), sync);
    }
}

TEST_F(OutlivingMonitorTest, AMonitorGoesWithItsApplication) {
    for (int run = 0; run < 2; ++run) {
        char name[] = "test";
        char* arguments[] = {name, nullptr};
        int count = 1;
        {
            const QApplication application(count, arguments);
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
