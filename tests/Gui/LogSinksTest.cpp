#include "Base/QtMessageBoxLogger.h"
#include "Base/QtMsgBox.h"
#include "Base/QtTextEditLogger.h"
#include "Gui/GuiTest.h"

#include <QtGui/QClipboard>
#include <QtTest/QAbstractItemModelTester>
#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QComboBox>
#include <QtWidgets/QPushButton>
#include <QtWidgets/QScrollBar>
#include <QtWidgets/QTableView>

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

QString line(int number) {
    return QStringLiteral("line %1").arg(number);
}

QString manyLines(int count) {
    QStringList lines;
    for (int i = 1; i <= count; ++i)
        lines << line(i);
    return lines.join(QLatin1Char('\n'));
}

std::vector<LogModel::Line> modelLines(int first, int count, vlr::LogLevel level) {
    std::vector<LogModel::Line> lines;
    for (int i = first; i < first + count; ++i)
        lines.push_back({level, line(i)});
    return lines;
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
    const struct {
        int kind;
        std::vector<std::string> boxes;
    } cases[] = {{0, {"Information, 1: <i>a</i> 1\nß"}},
                 {1, {"Warning, 2: <i>a</i> 1\nß"}},
                 {2, {"Error, 3: <i>a</i> 1\nß"}},
                 {3, {}},
                 {-1, {}}};
    for (const auto& c : cases) {
        QtMessageBoxLogger logger(c.kind, parent.get());
        boxes.clear();
        logger << "<i>a</i> " << 1;
        QCoreApplication::processEvents();
        EXPECT_TRUE(boxes.empty());
        logger << "\nß" << std::flush;
        logger << std::flush;
        EXPECT_EQ(boxes, c.boxes) << c.kind;
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
    EXPECT_EQ(boxes,
              (std::vector<std::string>{
                  "Warning, 2: a",
                  "Error, 3: b\nc\n0\n1\n2\n3\n4\n5\n6\n7\n8\n9\n10\n11\n12\n... and 987 more "
                  "lines.",
                  "Information, 1: last"}));
}

TEST_F(LogSinksTest, MoreThanAnyoneReadsIsCounted) {
    QtMessageBoxLogger logger(0, nullptr);
    QString details;
    whileOpen = [&] {
        for (int i = 0; i < 1003; ++i)
            logger << std::string(1000, 'x') << std::flush;
        whileOpen = [&] { details = open->detailedText(); };
    };
    logger << "a" << std::flush;
    EXPECT_EQ(boxes.size(), 2U);
    EXPECT_EQ(details.count(QLatin1Char('x')), 1000000);
    EXPECT_TRUE(details.endsWith(QStringLiteral("x\n3 more messages are in the log file.")));
}

TEST_F(LogSinksTest, AfterTheFirstThatIsLeftOutAllAre) {
    QtMessageBoxLogger information(0, nullptr), error(2, nullptr);
    const std::string small = "small", large(600000, 'x');
    const struct {
        std::vector<std::string> written;
        QString shown;
        int dropped;
    } cases[] = {
        {{"first", large, large, small, large}, QStringLiteral("first\n"), 3},
        {{large, small, large, small}, {}, 2},
        {{large + large, large, small}, {}, 2},
    };
    for (const auto& c : cases) {
        boxes.clear();
        QString details;
        whileOpen = [&] {
            for (const std::string& text : c.written)
                information << text << std::flush;
            error << small << std::flush; // left out, but its gravity counts
            whileOpen = [&] {
                details = open->detailedText();
                // The next box starts anew.
                information << small << std::flush;
            };
        };
        information << "a" << std::flush;
        ASSERT_EQ(boxes.size(), 3U);
        EXPECT_EQ(boxes[1].substr(0, 8), "Error, 3");
        EXPECT_TRUE(details.startsWith(c.shown));
        EXPECT_EQ(details.count(QStringLiteral("small")), c.written[1] == small ? 1 : 0);
        EXPECT_TRUE(details.endsWith(
            QStringLiteral("\n%1 more messages are in the log file.").arg(c.dropped + 1)));
        EXPECT_EQ(boxes[2], "Information, 1: small");
    }
}

TEST_F(LogSinksTest, ALongTextIsShownInPart) {
    const QString word(89, QLatin1Char('w'));
    const QString path(90, QLatin1Char('p'));
    const QString ends = path.left(30) + QChar(0x2026) + path.right(30);
    const QString wide = (QString(99, QLatin1Char(' ')) + QLatin1Char('\n')).repeated(14);
    const struct {
        QString text, shown;
    } cases[] = {
        {manyLines(15), manyLines(15)},
        {manyLines(15) + QLatin1Char('\n'), manyLines(15) + QLatin1Char('\n')},
        {manyLines(16), manyLines(15) + QStringLiteral("\n... and 1 more line.")},
        {manyLines(500), manyLines(15) + QStringLiteral("\n... and 485 more lines.")},
        {wide + QStringLiteral("a ").repeated(100), wide + QStringLiteral("... and 1 more line.")},
        {QStringLiteral("a ").repeated(5000), QStringLiteral("a ").repeated(750) + QChar(0x2026)},
        {word, word},
        {QStringLiteral("No ") + path + QStringLiteral(" here"),
         QStringLiteral("No ") + ends + QStringLiteral(" here")},
    };
    for (const auto& c : cases) {
        QMessageBox box;
        QtMsgBox::setMessage(box, c.text);
        EXPECT_EQ(box.text().toStdString(), c.shown.toStdString());
        EXPECT_EQ(box.detailedText(), c.text == c.shown ? QString() : c.text);
    }
}

TEST_F(LogSinksTest, ABoxMayLoseItsParentAndItsLogger) {
    auto* window = new QWidget;
    auto other = std::make_unique<QtMessageBoxLogger>(0, window);
    const QPointer<QtMessageBoxLogger> logger = new QtMessageBoxLogger(2, window);
    vlr::Log::setOStream(vlr::LogLevel::UserError, logger);
    vlr::Log::setPrefix(vlr::LogLevel::UserError, 0);
    whileOpen = [&] {
        EXPECT_EQ(open->parentWidget(), window);
        *other << "held" << std::flush;
        delete window;
        other.reset();
        logger->deleteLater();
    };
    expectLog(vlr::LogLevel::UserError, "a");
    VLR_LOG(UserError) << "a";
    EXPECT_EQ(boxes, (std::vector<std::string>{"Error, 3: a", "Information, 1: held"}));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(logger.isNull());
    EXPECT_EQ(vlr::Log::oStream(vlr::LogLevel::UserError), nullptr);
}

TEST(LogSinksWithoutApplicationTest, NothingIsShown) {
    QtMessageBoxLogger logger(2, nullptr);
    logger << "before" << std::flush;
    char name[] = "test";
    char* arguments[] = {name, nullptr};
    int count = 1;
    {
        const QApplication application(count, arguments);
        bool shown = false;
        answerNextMessageBox([&](QMessageBox& box) {
            shown = box.text() == QStringLiteral("during");
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

TEST_F(LogSinksTest, PostAndWaitCutsBetweenCharacters) {
    const struct {
        int leading;
        const char* character;
        int shown; // of the characters after the leading ones
    } cases[] = {{0, "a", 1023}, {0, "é", 511}, {1, "é", 511}, {0, "€", 341}, {1, "€", 340},
                 {2, "€", 340},  {0, "😀", 255}, {3, "😀", 255}, {1, "😀", 255}, {0, "\x80", 1023}};
    for (const auto& c : cases) {
        std::string text(static_cast<std::size_t>(c.leading), ' ');
        for (int i = 0; i < 5000; ++i)
            text += c.character;
        QString whole;
        whileOpen = [&] {
            whole = open->detailedText().isEmpty() ? open->text() : open->detailedText();
        };
        QtMsgBox::postAndWait(nullptr, QtMsgBox::MsgInformation, "", "%s", text.c_str());
        const QString expected =
            QString(c.leading, QLatin1Char(' ')) + QString::fromUtf8(c.character).repeated(c.shown);
        EXPECT_EQ(whole.toStdString(), expected.toStdString()) << c.leading << c.character;
    }
    const char* const none = nullptr;
    QtMsgBox::postAndWait(nullptr, QtMsgBox::MsgInformation, "", none);
    EXPECT_EQ(boxes.back(), ", 1: ");
    const wchar_t invalid[] = {static_cast<wchar_t>(-2), 0};
    QtMsgBox::postAndWait(nullptr, QtMsgBox::MsgInformation, "", "abc %ls", invalid);
    EXPECT_EQ(boxes.back(), ", 1: ");
}

TEST_F(LogSinksTest, TheModelKeepsTheNewestLinesAndShowsALevelAndUp) {
    using vlr::LogLevel;
    LogModel model;
    const QAbstractItemModelTester tester(&model,
                                          QAbstractItemModelTester::FailureReportingMode::Fatal);
    EXPECT_EQ(model.limit(), 200000);
    model.setLimit(200);
    model.append(modelLines(0, 150, LogLevel::Info));
    model.append(modelLines(150, 30, LogLevel::UserWarning));
    model.append(modelLines(180, 10, LogLevel::CaError));
    const struct {
        LogLevel lowest;
        int rows;
    } cases[] = {{LogLevel::Debug, 190},    {LogLevel::UserInfo, 190}, {LogLevel::Warning, 40},
                 {LogLevel::UserError, 10}, {LogLevel::Error, 10},     {LogLevel::Warning, 40}};
    for (const auto& c : cases) {
        model.setLowestLevel(c.lowest);
        EXPECT_EQ(model.rowCount(), c.rows) << vlr::toText(c.lowest);
    }
    QSignalSpy inserted(&model, &LogModel::rowsInserted);
    QSignalSpy removed(&model, &LogModel::rowsRemoved);
    const auto checkNewest = [&model](int kept, int next) {
        EXPECT_EQ(model.lineCount(), kept);
        const QStringList shown = rows(model);
        ASSERT_FALSE(shown.isEmpty());
        for (int i = 0; i < shown.size(); ++i)
            EXPECT_EQ(shown.at(i), line(next - shown.size() + i));
    };
    model.append(modelLines(190, 20, LogLevel::Info)); // hidden; the oldest, also hidden, go
    EXPECT_EQ(inserted.size() + removed.size(), 0);
    checkNewest(200, 190);
    model.append(modelLines(210, 150, LogLevel::Error));
    EXPECT_EQ(inserted.size(), 1);
    EXPECT_EQ(model.lineCount(), 200);
    model.setLowestLevel(LogLevel::Debug);
    checkNewest(200, 360);
    model.append(modelLines(360, 1, LogLevel::Debug)); // more than one goes at once
    checkNewest(197, 361);
    model.append(modelLines(361, 1000, LogLevel::Debug));
    checkNewest(200, 1361);
    model.setLimit(10);
    checkNewest(10, 1361);
    model.clear();
    model.setLimit(-5);
    model.append(modelLines(0, 3, LogLevel::Debug));
    checkNewest(1, 3);
    model.append({{LogLevel::Info, QStringLiteral("<b>")}});
    EXPECT_EQ(model.index(0).data(Qt::ToolTipRole), QStringLiteral("<qt>&lt;b&gt;</qt>"));
}

TEST_F(LogSinksTest, AFullModelForgetsAFewRowsAtATimeAndTouchesNoOthers) {
    LogModel model;
    const int limit = model.limit();
    std::vector<std::string> strays;
    int rowsInserted = 0, rowsRemoved = 0, removals = 0;
    QObject::connect(&model, &LogModel::rowsInserted, [&](auto, int first, int last) {
        rowsInserted += last - first + 1;
        if (last != model.rowCount() - 1)
            strays.push_back("inserted at " + std::to_string(first));
    });
    QObject::connect(&model, &LogModel::rowsRemoved, [&](auto, int first, int last) {
        ++removals;
        rowsRemoved += last - first + 1;
        if (first != 0 || last > limit / 10)
            strays.push_back("removed up to " + std::to_string(last));
    });
    QObject::connect(&model, &LogModel::modelReset, [&] { strays.emplace_back("reset"); });
    QObject::connect(&model, &LogModel::layoutChanged, [&] { strays.emplace_back("layout"); });
    QObject::connect(&model, &LogModel::dataChanged, [&] { strays.emplace_back("data"); });
    QObject::connect(&model, &LogModel::rowsMoved, [&] { strays.emplace_back("moved"); });

    int next = 0;
    const auto append = [&](int batch, int count) {
        for (const int end = next + count; next < end; next += batch) {
            model.append(modelLines(next, batch, vlr::LogLevel::Info));
            EXPECT_LE(model.lineCount(), limit);
        }
        EXPECT_EQ(rowsInserted, next);
        EXPECT_EQ(rowsInserted - rowsRemoved, model.rowCount());
        EXPECT_EQ(model.index(model.rowCount() - 1).data(), line(next - 1));
        EXPECT_EQ(model.index(0).data(), line(next - model.rowCount()));
    };
    append(1000, limit);
    EXPECT_EQ(model.rowCount(), limit);
    append(1, 50000);
    append(50, 50000);
    EXPECT_EQ(strays, std::vector<std::string>());
    EXPECT_GT(model.rowCount(), limit * 9 / 10);
    EXPECT_LT(removals, 100) << "rows go together, not with every line";
}

TEST_F(LogSinksTest, ALineHasTheLevelItStates) {
    using L = vlr::LogLevel;
    const std::pair<const char*, L> cases[] = {
        {"WARNING a", L::Warning}, {"UERROR: a", L::UserError},
        {"DEBUG", L::Debug},       {"", L::Info},
        {"ERRORS a", L::Info},     {"a WARNING", L::Info},
        {"CaERROR\ta", L::CaError}};
    for (const auto& [line, level] : cases)
        EXPECT_EQ(LogModel::levelOf(QString::fromUtf8(line)), level) << line;
}

TEST_F(LogSinksTest, TheViewShowsWhatIsStreamedAndFollowed) {
    auto view = std::make_unique<QtTextEditLogger>();
    QSignalSpy inserted(view->model(), &LogModel::rowsInserted);
    *view << "DEBUG a\nERROR b" << std::flush << std::flush;
    *view << "c\n" << std::flush;
    *view << "unfinished";
    QCoreApplication::processEvents();
    EXPECT_EQ(rows(*view->model()), (QStringList{QStringLiteral("DEBUG a"),
                                                 QStringLiteral("ERROR b"), QStringLiteral("c")}));
    EXPECT_EQ(inserted.size(), 1);
    view->findChild<QComboBox*>()->setCurrentText(QStringLiteral("Error"));
    EXPECT_EQ(rows(*view->model()), QStringList{QStringLiteral("ERROR b")});
    view->findChild<QPushButton*>()->click();
    EXPECT_EQ(view->model()->lineCount(), 0);

    VLR_LOG(Info) << "not followed";
    view->follow(true);
    view->follow(true);
    expectLog(vlr::LogLevel::Error, "first");
    std::thread([] { VLR_LOG(Error) << "first\nsecond"; }).join();
    view->follow(false);
    VLR_LOG(Info) << "not followed";
    QCoreApplication::processEvents();
    ASSERT_EQ(view->model()->lineCount(), 2);
    EXPECT_TRUE(rows(*view->model()).at(0).endsWith(QStringLiteral(" ERROR first")));
    EXPECT_EQ(rows(*view->model()).at(1), QStringLiteral("    second"));
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

TEST_F(LogSinksTest, TheViewStaysAtItsEndUnlessScrolled) {
    QtTextEditLogger view;
    view.model()->setLimit(500);
    view.resize(400, 300);
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    auto* table = view.findChild<QTableView*>();
    const auto write = [&](int first, int count) {
        for (int i = first; i < first + count; ++i)
            view << line(i).toStdString() << '\n';
        view << std::flush;
        QCoreApplication::processEvents();
    };
    const auto top = [&] { return table->indexAt(QPoint(0, 0)).data().toString(); };
    const QScrollBar* bar = table->verticalScrollBar();
    write(0, 450);
    EXPECT_GT(bar->maximum(), 0);
    EXPECT_EQ(bar->value(), bar->maximum());
    table->verticalScrollBar()->setValue(200);
    EXPECT_EQ(top(), line(200));
    write(450, 100);
    EXPECT_EQ(top(), line(200)) << "although the first lines are gone";
    table->scrollToBottom();
    write(550, 10);
    EXPECT_EQ(bar->value(), bar->maximum());

    table->setFocus();
    table->selectRow(view.model()->rowCount() - 1);
    table->selectionModel()->select(view.model()->index(0), QItemSelectionModel::Select);
    const QString oldest = view.model()->index(0).data().toString();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&view));
    QTest::keyClick(table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), oldest + QLatin1Char('\n') + line(559));
}
