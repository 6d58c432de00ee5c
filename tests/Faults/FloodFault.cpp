// More than anybody can do by hand: pointer moves, resizes, log records.

#include "Faults.h"

#include "Cases.h"
#include "Stall.h"

#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtAppModule.h"
#include "AppBase/QtModuleList.h"
#include "AppBase/QtModuleTabSelector.h"
#include "Base/QtMessageBoxLogger.h"
#include "Base/QtQuadView.h"
#include "Base/QtTextEditLogger.h"
#include "Log/vlrLog.h"
#include "Widgets/vlrImageWidget.h"

#include <QtCore/QEventLoop>
#include <QtCore/QRandomGenerator>
#include <QtGui/QMouseEvent>
#include <QtTest/QTest>
#include <QtWidgets/QApplication>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QFrame>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace {

constexpr long longestStall = 100; // milliseconds

void reportStall(const char* during, Stall& stall) {
    const long longest = stall.longest();
    const std::string name =
        std::string("longest stall of the event loop during ") + during + " [ms]";
    if (isSanitized)
        reportDone(name + ": " + std::to_string(longest) + " (not judged: a sanitizer)");
    else
        reportAtMost(name, longest, longestStall);
}

// Calls the function once per turn of the event loop until it says that it is done.
void inTurns(const std::function<bool()>& portion) {
    QEventLoop loop;
    QTimer turn;
    QObject::connect(&turn, &QTimer::timeout, &loop, [&] {
        if (!portion())
            loop.quit();
    });
    turn.start(0);
    loop.exec();
}

// --- pointer

void fill(QtQuadView& view) {
    QImage image(1024, 1024, QImage::Format_Grayscale8);
    image.fill(90);
    for (int i = 0; i < view.getNumberOfViews(); ++i) {
        auto* widget = new vlr::ImageWidget(view.getView(i));
        widget->setScalingMode(vlr::ImageWidget::Stretched, vlr::ImageWidget::Smooth);
        widget->setImage(image);
        widget->setMouseTracking(true);
        view.getView(i)->layout()->addWidget(widget);
    }
}

void post(QWidget* widget, QEvent::Type type, const QPoint& place, Qt::MouseButtons buttons) {
    QCoreApplication::postEvent(
        widget, new QMouseEvent(type, widget->mapFromGlobal(place), place,
                                type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton, buttons,
                                Qt::NoModifier));
}

// A hand that wanders over the views and drags one splitter after the other.
std::string movePointer(long moves) {
    if (isSanitized)
        moves /= 10; // painting takes so much longer, and it is one thread
    QtQuadView view;
    view.resize(1200, 900);
    fill(view);
    view.show();
    (void)QTest::qWaitForWindowExposed(&view);
    QList<QWidget*> lines;
    for (auto* frame : view.findChildren<QFrame*>())
        if (frame->inherits("QtQVSplitterFrame"))
            lines << frame;
    if (lines.isEmpty())
        return "the view has no splitters";
    QRandomGenerator random(1);
    Stall stall;
    long posted = 0;
    inTurns([&] {
        constexpr int portion = 100;
        const bool drags = random.bounded(2) == 0;
        QWidget* const line = lines.at(random.bounded(lines.size()));
        const auto place = [&] {
            return view.mapToGlobal(
                QPoint(random.bounded(view.width()), random.bounded(view.height())));
        };
        if (drags)
            post(line, QEvent::MouseButtonPress, line->mapToGlobal({2, 2}), Qt::LeftButton);
        for (int i = 0; i < portion; ++i, ++posted) {
            const QPoint at = place();
            QWidget* const over = view.childAt(view.mapFromGlobal(at));
            post(drags || !over ? line : over, QEvent::MouseMove, at,
                 drags ? Qt::LeftButton : Qt::NoButton);
        }
        if (drags)
            post(line, QEvent::MouseButtonRelease, place(), Qt::NoButton);
        return posted < moves;
    });
    reportDone(std::to_string(posted) + " pointer moves over the views");
    reportStall("pointer moves", stall);
    return {};
}

// --- resizes

class FormModule : public QtAppModule {
public:
    explicit FormModule(int number)
        : QtAppModule(QStringLiteral("Module %1").arg(number), false), m_view(new QtQuadView) {
        auto* form = new QFormLayout(getWidget());
        for (int i = 0; i < 10; ++i)
            form->addRow(QStringLiteral("Value %1:").arg(i), new QLineEdit);
    }
    ~FormModule() override { delete m_view.data(); }
    void activate() override {}
    void deactivate() override {}
    QWidget* getMainWidget() override { return m_view; }

private:
    QPointer<QtQuadView> m_view;
};

std::string resizeWindow(long resizes) {
    const DataPointer<MainWindowConfig> config(new MainWindowConfig);
    QtAppMainWindow window(config, nullptr, Qt::Window);
    QtModuleList list(&window, nullptr);
    for (int i = 0; i < 5; ++i)
        list.registerModule(new FormModule(i));
    window.show();
    (void)QTest::qWaitForWindowExposed(&window);
    QRandomGenerator random(1);
    Stall stall;
    long done = 0;
    inTurns([&] {
        if (done % 100 == 0)
            list.activate(static_cast<int>(done / 100 % 5));
        window.resize(random.bounded(300, 2000), random.bounded(200, 1400));
        return ++done < resizes;
    });
    reportDone(std::to_string(done) + " resizes of the main window, with five modules in turn");
    reportStall("resizes", stall);
    return {};
}

// --- log

// Presses Enter in every message box, and logs once more while it is open.
class Reader {
public:
    Reader() {
        QObject::connect(&m_timer, &QTimer::timeout, &m_timer, [this] { look(); });
        m_timer.start(10);
    }
    [[nodiscard]] long mostAtOnce() const { return m_mostAtOnce; }
    [[nodiscard]] long read() const { return m_read; }

private:
    void look() {
        long open = 0;
        for (QWidget* widget : QApplication::topLevelWidgets())
            open += widget->isVisible() && qobject_cast<QMessageBox*>(widget) ? 1 : 0;
        m_mostAtOnce = std::max(m_mostAtOnce, open);
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            if (++m_read % 2 == 0)
                VLR_LOG(UserWarning) << "Written while a box is open";
            box->button(QMessageBox::Ok)->click();
        }
    }

    QTimer m_timer;
    long m_mostAtOnce = 0;
    long m_read = 0;
};

// One of the writers: bursts of records as a chatty device would cause.
void writeLog(int writer, long lines, std::atomic<int>& running) {
    for (long i = 0; i < lines; ++i) {
        if (i % 100 == 0)
            VLR_LOG(UserError) << "Record " << i << " of writer " << writer << ", for the user";
        else if (i % 10 == 0)
            VLR_LOG(Warning) << "Record " << i << " of writer " << writer << ", a warning";
        else
            VLR_LOG(Info) << "Record " << i << " of writer " << writer;
    }
    --running;
}

struct LogResult {
    std::atomic<long> heard{0};
    std::atomic<long> repeated{0};
};

// A sink that logs every 100th record once more.
int addTalkingListener(LogResult& result) {
    return vlr::Log::addListener([&result](const vlr::LogRecord& record) {
        static thread_local bool isTalking = false;
        if (isTalking) {
            ++result.repeated;
            return;
        }
        isTalking = true;
        if (++result.heard % 100 == 0)
            VLR_LOG(Info) << "Heard of: " << record.text;
        isTalking = false;
    });
}

std::string floodLog(long lines) {
    constexpr int writers = 4;
    QWidget window;
    QtTextEditLogger view(&window);
    view.resize(600, 400);
    view.follow(true);
    window.show();
    QtMessageBoxLogger errors(2, &window);
    QtMessageBoxLogger warnings(1, &window);
    vlr::Log::setOStream(vlr::LogLevel::UserError, &errors);
    vlr::Log::setOStream(vlr::LogLevel::UserWarning, &warnings);
    LogResult result;
    const int listener = addTalkingListener(result);
    Reader reader;
    Stall stall;
    std::atomic<int> running{writers};
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer)
        threads.emplace_back([=, &running] { writeLog(writer, lines / writers, running); });
    inTurns([&] { return running > 0 || QApplication::activeModalWidget(); });
    for (std::thread& thread : threads)
        thread.join();
    QCoreApplication::processEvents();
    vlr::Log::removeListener(listener);
    reportDone(std::to_string(lines) + " log records from four threads, " +
               std::to_string(result.repeated) + " more from inside a sink, " +
               std::to_string(reader.read()) + " message boxes read");
    reportStall("log records", stall);
    reportAtMost("message boxes open at once", reader.mostAtOnce(), 1);
    if (result.heard < lines || reader.read() == 0)
        return "records were lost";
    return view.model()->lineCount() < lines ? "the log view has not got all records" : "";
}

struct Flood {
    std::string (*run)(long);
    long inShort;
    long inLong;
};

constexpr Flood floods[] = {
    {&movePointer, 5000, 100000}, {&resizeWindow, 300, 10000}, {&floodLog, 10000, 100000}};

} // namespace

int actFlood(const QStringList& arguments) {
    const bool isLong = qEnvironmentVariableIsSet("VLR_FAULTS_LONG");
    return doCases(arguments, [&](long number) {
        const Flood& flood = floods[number];
        return flood.run(isLong ? flood.inLong : flood.inShort);
    });
}

void faultFlood(Report& report) {
    const QStringList environment =
        report.isLong() ? QStringList{QStringLiteral("VLR_FAULTS_LONG=1")} : QStringList();
    const CaseResults results = runCases(report, QStringLiteral("flood"),
                                         static_cast<long>(std::size(floods)), environment);
    report.atMost("deadlocks", results.stuck, 0);
    report.atMost("crashes", results.crashes, 0);
    report.atMost("records lost", results.bad, 0);
}
