#include "Base/QtCaProgressMonitor.h"
#include "Base/QtMessageBoxLogger.h"
#include "Base/QtMsgBox.h"
#include "Base/QtTextEditLogger.h"
#include "Gui/AppBaseTest.h"

#include <QtTest/QAbstractItemModelTester>
#include <QtWidgets/QProgressDialog>

#include <thread>
#include <utility>

using namespace vlrTest;

namespace {

// "Title, icon: text"
std::string summary(const QMessageBox& box) {
    return box.windowTitle().toStdString() + ", " + std::to_string(box.icon()) + ": " +
           box.text().toStdString();
}

// Reads every message box that opens and closes it, after doing something in it.
class LogSinksTest : public GuiTest {
protected:
    void SetUp() override { read(); }

    std::vector<std::string> boxes;
    std::function<void()> whileOpen;
    QPointer<QMessageBox> open;

private:
    void read() {
        answerNextMessageBox([this](QMessageBox& box) {
            boxes.push_back(summary(box));
            EXPECT_EQ(box.textFormat(), Qt::PlainText);
            EXPECT_TRUE(open.isNull()) << "two boxes";
            open = &box;
            if (const auto action = std::exchange(whileOpen, nullptr))
                action();
            read();
            if (open && open->isVisible())
                QTest::keyClick(&box, Qt::Key_Escape);
        });
    }
};

QStringList lines(int first, int count) {
    QStringList result;
    for (int i = first; i < first + count; ++i)
        result << text("line %1").arg(i);
    return result;
}

QString manyLines(int count) {
    return lines(1, count).join(QLatin1Char('\n'));
}

QStringList rows(const LogModel& model) {
    QStringList result;
    for (int i = 0; i < model.rowCount(); ++i)
        result << model.index(i).data().toString();
    return result;
}

} // namespace

TEST_F(LogSinksTest, OneFlushIsOneBox) {
    auto parent = std::make_unique<QWidget>();
    const std::pair<int, std::vector<std::string>> cases[] = {
        {0, {"Information, 1: <i>a</i> 1\nß"}},
        {1, {"Warning, 2: <i>a</i> 1\nß"}},
        {2, {"Error, 3: <i>a</i> 1\nß"}},
        {3, {}},
        {-1, {}}};
    for (const auto& [kind, expected] : cases) {
        QtMessageBoxLogger logger(kind, parent.get());
        boxes.clear();
        logger << "<i>a</i> " << 1;
        QCoreApplication::processEvents();
        EXPECT_TRUE(boxes.empty());
        logger << "\nß" << std::flush;
        logger << std::flush;
        EXPECT_EQ(boxes, expected) << kind;
        parent.reset();
    }
}

TEST_F(LogSinksTest, WhatArrivesWhileABoxIsOpenIsOneBoxAfterIt) {
    QtMessageBoxLogger information(0, nullptr), warning(1, nullptr), error(2, nullptr);
    whileOpen = [&] {
        information << "b" << std::endl;
        error << "c" << std::flush;
        for (int i = 0; i < 1000; ++i)
            warning << i << std::flush;
        whileOpen = [&] { information << "last" << std::flush; };
    };
    warning << "a" << std::flush;
    EXPECT_THAT(boxes, ElementsAre("Warning, 2: a",
                                   "Error, 3: b\nc\n0\n1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n"
                                   "... and 987 more lines.",
                                   "Information, 1: last"));
}

TEST_F(LogSinksTest, ALongTextIsShownInPart) {
    const QString path(90, QLatin1Char('p'));
    const QString ends = path.left(30) + QChar(0x2026) + path.right(30);
    const std::pair<QString, QString> cases[] = {
        {manyLines(15), manyLines(15)},
        {manyLines(16), manyLines(15) + text("\n... and 1 more line.")},
        {text("a ").repeated(5000), text("a ").repeated(750) + QChar(0x2026)},
        {text("No ") + path + text(" here"), text("No ") + ends + text(" here")},
    };
    for (const auto& [text, shown] : cases) {
        QMessageBox box;
        QtMsgBox::setMessage(box, text);
        EXPECT_EQ(box.text().toStdString(), shown.toStdString());
        EXPECT_EQ(box.detailedText(), text == shown ? QString() : text);
    }
}

TEST_F(LogSinksTest, ABoxMayLoseItsParentAndItsLogger) {
    auto* window = new QWidget;
    auto other = std::make_unique<QtMessageBoxLogger>(0, window);
    const QPointer<QtMessageBoxLogger> logger = new QtMessageBoxLogger(2, window);
    vlr::Log::setOStream(LogLevel::UserError, logger);
    vlr::Log::setPrefix(LogLevel::UserError, 0);
    whileOpen = [&] {
        EXPECT_EQ(open->parentWidget(), window);
        *other << "held" << std::flush;
        delete window;
        other.reset();
        logger->deleteLater();
    };
    expectLog(LogLevel::UserError, "a");
    VLR_LOG(UserError) << "a";
    EXPECT_THAT(boxes, ElementsAre("Error, 3: a", "Information, 1: held"));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(logger.isNull());
    EXPECT_EQ(vlr::Log::oStream(LogLevel::UserError), nullptr);
}

TEST(LogSinksWithoutApplicationTest, NothingIsShown) {
    QtMessageBoxLogger logger(2, nullptr);
    logger << "before" << std::flush;
    CommandLine line;
    {
        const QApplication application(line.count, line.words);
        bool shown = false;
        answerNextMessageBox([&](QMessageBox& box) {
            shown = box.text() == text("during");
            box.accept();
        });
        logger << "during" << std::flush;
        EXPECT_TRUE(shown);
    }
    logger << "after" << std::flush;
    EXPECT_EQ(QtMsgBox::postAndWait(nullptr, QtMsgBox::MsgQuestion, "a", "b"),
              QMessageBox::NoButton);
}

TEST_F(LogSinksTest, PostAndWaitReturnsTheButton) {
    using M = QtMsgBox;
    const struct {
        int kind;
        Qt::Key key;
        const char* box;
        int answer;
    } cases[] = {
        {M::MsgCritical, Qt::Key_Return, "Füße, 3: 3 of <b>", M::Ok},
        {M::MsgWarning, Qt::Key_Escape, "Füße, 2: 3 of <b>", M::Ok},
        {M::MsgQuestion, Qt::Key_Return, "Füße, 2: 3 of <b>", M::Yes},
        {M::MsgQuestion, Qt::Key_Escape, "Füße, 2: 3 of <b>", M::No},
        {M::MsgInformation, Qt::Key_Return, "Füße, 1: 3 of <b>", M::Ok},
        {17, Qt::Key_Return, "Füße, 1: 3 of <b>", M::Ok},
    };
    for (const auto& c : cases) {
        whileOpen = [&] {
            const auto enter = c.kind == M::MsgQuestion ? M::Yes : M::Ok;
            EXPECT_EQ(open->defaultButton(), open->button(enter));
            QTest::keyClick(open.data(), c.key);
        };
        EXPECT_EQ(
            M::postAndWait(nullptr, static_cast<M::MsgType>(c.kind), "Füße", "%d of %s", 3, "<b>"),
            c.answer);
        EXPECT_EQ(boxes.back(), c.box);
    }
    auto* window = new QWidget;
    whileOpen = [&] { delete window; };
    EXPECT_EQ(M::postAndWait(window, M::MsgQuestion, nullptr, "x"), M::NoButton);
    EXPECT_EQ(boxes.back(), ", 2: x");
}

TEST_F(LogSinksTest, PostAndWaitCutsBetweenCharactersAndRefusesWhatIsNone) {
    const std::pair<const char*, int> cases[] = {{"a", 1023}, {"€", 341}, {"😀", 255}};
    for (const auto& [utf8, shown] : cases) {
        const QString character = QString::fromUtf8(utf8);
        QString whole;
        whileOpen = [&] { whole = open->detailedText(); };
        QtMsgBox::postAndWait(nullptr, QtMsgBox::MsgInformation, "", "%s",
                              character.repeated(5000).toUtf8().constData());
        EXPECT_EQ(whole, character.repeated(shown)) << utf8;
    }
    const wchar_t invalid[] = {static_cast<wchar_t>(-2), 0};
    QtMsgBox::postAndWait(nullptr, QtMsgBox::MsgInformation, "", "abc %ls", invalid);
    EXPECT_EQ(boxes.back(), ", 1: ");
}

TEST_F(LogSinksTest, TheModelKeepsTheNewestLinesAndShowsALevelAndUp) {
    LogModel model;
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    model.setLimit(200);
    int next = 0;
    const auto append = [&](int count, LogLevel level) {
        std::vector<LogModel::Line> added;
        for (const QString& text : lines(next, count))
            added.push_back({level, text});
        model.append(added);
        next += count;
    };
    append(150, LogLevel::Info);
    append(40, LogLevel::UserWarning);
    append(10, LogLevel::CaError);
    const std::pair<LogLevel, int> levels[] = {
        {LogLevel::Debug, 200}, {LogLevel::Error, 10}, {LogLevel::Warning, 50}};
    for (const auto& [lowest, count] : levels) {
        model.setLowestLevel(lowest);
        EXPECT_EQ(rows(model), lines(200 - count, count)) << vlr::toText(lowest);
    }
    append(20, LogLevel::Info); // hidden; the oldest, also hidden, go
    EXPECT_EQ(rows(model), lines(150, 50));
    model.setLowestLevel(LogLevel::Debug);
    append(1000, LogLevel::Debug);
    EXPECT_EQ(rows(model), lines(next - 200, 200));
    model.setLimit(10);
    EXPECT_EQ(rows(model), lines(next - 10, 10));
}

TEST_F(LogSinksTest, TheViewShowsWhatIsStreamedAndFollowed) {
    auto view = std::make_unique<QtTextEditLogger>();
    QSignalSpy inserted(view->model(), &LogModel::rowsInserted);
    *view << "DEBUG a\nERROR b" << std::flush << std::flush;
    *view << "c\n" << std::flush;
    *view << "unfinished";
    QCoreApplication::processEvents();
    EXPECT_EQ(rows(*view->model()), (QStringList{text("DEBUG a"), text("ERROR b"), text("c")}));
    EXPECT_EQ(inserted.size(), 1);
    view->findChild<QComboBox*>()->setCurrentText(text("Error"));
    EXPECT_EQ(rows(*view->model()), QStringList{text("ERROR b")});
    view->findChild<QPushButton*>()->click();
    EXPECT_EQ(view->model()->lineCount(), 0);

    VLR_LOG(Info) << "not followed";
    view->follow(true);
    view->follow(true);
    expectLog(LogLevel::Error, "first");
    std::thread([] { VLR_LOG(Error) << "first\nsecond"; }).join();
    view->follow(false);
    VLR_LOG(Info) << "not followed";
    QCoreApplication::processEvents();
    ASSERT_EQ(view->model()->rowCount(), 2);
    EXPECT_TRUE(rows(*view->model()).at(0).endsWith(text(" ERROR first")));
    EXPECT_EQ(rows(*view->model()).at(1), text("    second"));
}

TEST_F(LogSinksTest, AViewMayGoWhileARecordIsOnItsWay) {
    auto view = std::make_unique<QtTextEditLogger>();
    const int handle = vlr::Log::addListener([&](const vlr::LogRecord&) { view.reset(); });
    view->follow(true);
    VLR_LOG(Info) << "told to both";
    vlr::Log::removeListener(handle);
    QCoreApplication::processEvents();
    EXPECT_EQ(view, nullptr);
}

// --- what an application tells

TEST_F(AppBaseTest, TheSplashGoesWithTheWindowOrAfterItsOwnTime) {
    setting("ShowSplashScreen", true);
    app();
    ASSERT_TRUE(splash());
    EXPECT_TRUE(splash()->isVisible());
    EXPECT_FALSE(splash()->pixmap().isNull());
    runUntil([] { EXPECT_TRUE(QTest::qWaitFor([] { return !splash()->isVisible(); }, 10000)); });

    endApp();
    setting("SplashScreen.Timer", 500);
    QSignalSpy closed(&app(), &AppBase::splashClosed);
    EXPECT_TRUE(closed.wait(10000));
    EXPECT_FALSE(splash()->isVisible());
}

TEST_F(AppBaseTest, ALaunchedSplashNeedsNoSettingAndClosesByItself) {
    AppBase& application = app();
    EXPECT_EQ(splash(), nullptr);
    QSignalSpy closed(&application, &AppBase::splashClosed);
    application.launchSplashScreen();
    ASSERT_TRUE(splash());
    // Showing the window does not end a splash that has a time of its own.
    application.getMainWindow()->show();
    QCoreApplication::processEvents();
    EXPECT_TRUE(splash()->isVisible());
    EXPECT_TRUE(closed.wait(20000));
    EXPECT_FALSE(splash()->isVisible());
}

TEST_F(AppBaseTest, TheSplashStepsAsideForABoxAndComesBack) {
    setting("ShowSplashScreen", true);
    app();
    for (const bool again : {true, false}) {
        expectLog(LogLevel::UserInfo, "Hello");
        bool wasVisible = true;
        answerNextMessageBox([&](QMessageBox& box) {
            wasVisible = splash()->isVisible();
            if (!again)
                impl->splashCloseSL();
            box.accept();
        });
        VLR_LOG(UserInfo) << "Hello";
        EXPECT_FALSE(wasVisible);
        EXPECT_EQ(splash()->isVisible(), again);
    }
}

TEST_F(AppBaseTest, TheUserLevelsPopUpAsMessageBoxesWithoutPrefix) {
    const std::pair<LogLevel, QMessageBox::Icon> cases[] = {
        {LogLevel::UserInfo, QMessageBox::Information},
        {LogLevel::UserWarning, QMessageBox::Warning},
        {LogLevel::UserError, QMessageBox::Critical}};
    app();
    for (const auto& [level, icon] : cases) {
        expectLog(level, "No camera.");
        QMessageBox::Icon shown = QMessageBox::NoIcon;
        answerNextMessageBox([&](QMessageBox& box) {
            shown = box.icon();
            EXPECT_EQ(box.text(), "No camera."_s);
            box.accept();
        });
        vlr::Log::getInstance(level, "file", 1) << "No camera.";
        EXPECT_EQ(shown, icon);
    }
    endApp();
    // Without the application the levels have their default output back.
    EXPECT_EQ(vlr::Log::oStream(LogLevel::UserError), nullptr);
}

TEST_F(AppBaseTest, LongOperationsShowTheirProgressOverTheWindow) {
    setting("ProgressBarFlushX", true);
    AppBase& application = app();
    EXPECT_TRUE(QtCaProgressMonitor::isFlushX());
    EXPECT_FALSE(QtCaProgressMonitor::isSyncX());
    CaProgressMonitor::getInstance()->start("Working ", 10, true, true, 1);
    const auto* dialog = application.getMainWindow()->findChild<QProgressDialog*>();
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->maximum(), 10);
    CaProgressMonitor::getInstance()->end();
}
