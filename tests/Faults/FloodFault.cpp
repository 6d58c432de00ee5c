// More than anybody can do by hand: pointer moves, resizes, log records.

#include "Faults.h"

#include "Child.h"
#include "Desk.h"
#include "Stall.h"

#include "AppBase/QtAppMainWindow.h"
#include "AppBase/QtModuleList.h"
#include "Base/QtCaProgressMonitor.h"
#include "Base/QtMessageBoxLogger.h"
#include "Base/QtQuadView.h"
#include "Base/QtTextEditLogger.h"
#include "Log/vlrLog.h"
#include "Widgets/vlrImageWidget.h"

#include <QtCore/QEventLoop>
#include <QtCore/QRandomGenerator>
#include <QtGui/QMouseEvent>
#include <QtTest/QTest>
#include <QtWidgets/QFormLayout>
#include <QtWidgets/QFrame>
#include <QtWidgets/QLineEdit>
#include <QtWidgets/QMessageBox>
#include <QtWidgets/QPushButton>

#include <atomic>
#include <thread>

namespace {

// Calls the function once per turn of the event loop until it says that it is done.
void inTurns(const std::function<bool()>& portion) {
    QEventLoop loop;
    const EveryTurn turns(
        [&] {
            if (!portion())
                loop.quit();
        },
        0);
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
        if (drags)
            post(line, QEvent::MouseButtonPress, line->mapToGlobal({2, 2}), Qt::LeftButton);
        for (int i = 0; i < portion; ++i, ++posted) {
            const QPoint at(random.bounded(view.width()), random.bounded(view.height()));
            QWidget* const over = view.childAt(at);
            post(drags || !over ? line : over, QEvent::MouseMove, view.mapToGlobal(at),
                 drags ? Qt::LeftButton : Qt::NoButton);
        }
        if (drags)
            post(line, QEvent::MouseButtonRelease, line->mapToGlobal({2, 2}), Qt::NoButton);
        return posted < moves;
    });
    reportDone(std::to_string(posted) + " pointer moves over the views");
    reportStall("during pointer moves", stall.longest());
    return {};
}

// --- resizes

std::string resizeWindow(long resizes) {
    const DataPointer<MainWindowConfig> config(new MainWindowConfig);
    QtAppMainWindow window(config, nullptr, Qt::Window);
    QtModuleList list(&window, nullptr);
    for (int i = 0; i < 5; ++i) {
        auto* const module = new DeskModule(QStringLiteral("Module %1").arg(i), new QtQuadView);
        auto* const form = new QFormLayout(module->getWidget());
        for (int row = 0; row < 10; ++row)
            form->addRow(QStringLiteral("Value %1:").arg(row), new QLineEdit);
        list.registerModule(module);
    }
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
    reportStall("during resizes", stall.longest());
    return {};
}

// --- log

// Presses Enter in every message box, and logs once more while it is open.
struct Reader {
    void look() {
        long open = 0;
        for (QWidget* widget : QApplication::topLevelWidgets())
            open += widget->isVisible() && qobject_cast<QMessageBox*>(widget) ? 1 : 0;
        mostAtOnce = std::max(mostAtOnce, open);
        auto* const box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box)
            return;
        if (++read % 2 == 0) {
            ++written;
            VLR_LOG(UserWarning) << "Written while a box is open";
        }
        box->button(QMessageBox::Ok)->click();
    }

    long mostAtOnce = 0;
    long read = 0;
    long written = 0;
    EveryTurn turns{[this] { look(); }, 10};
};

// One of the writers: bursts of records as a chatty device would cause.
void writeLog(int writer, long lines) {
    for (long i = 0; i < lines; ++i) {
        if (i % 100 == 0)
            VLR_LOG(UserError) << "Record " << i << " of writer " << writer << ", for the user";
        else if (i % 10 == 0)
            VLR_LOG(Warning) << "Record " << i << " of writer " << writer << ", a warning";
        else
            VLR_LOG(Info) << "Record " << i << " of writer " << writer;
    }
}

// A sink that logs every 100th record once more.
struct TalkingSink {
    TalkingSink() : id(vlr::Log::addListener([this](const auto& record) { hear(record); })) {}
    ~TalkingSink() { vlr::Log::removeListener(id); }
    TalkingSink(const TalkingSink&) = delete;
    TalkingSink& operator=(const TalkingSink&) = delete;
    void hear(const vlr::LogRecord& record) {
        static thread_local bool isTalking = false;
        if (isTalking)
            ++repeated;
        else if (++heard % 100 == 0) {
            isTalking = true;
            VLR_LOG(Info) << "Heard of: " << record.text;
            isTalking = false;
        }
    }

    std::atomic<long> heard{0};
    std::atomic<long> repeated{0};
    int id; // the last one: the first record may come at once
};

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
    const TalkingSink sink;
    Reader reader;
    Stall stall;
    std::atomic<int> running{writers};
    std::vector<std::thread> threads;
    for (int writer = 0; writer < writers; ++writer)
        threads.emplace_back([=, &running] {
            writeLog(writer, lines / writers);
            --running;
        });
    inTurns([&] { return running > 0 || QApplication::activeModalWidget(); });
    for (std::thread& thread : threads)
        thread.join();
    QCoreApplication::processEvents();
    reportDone(std::to_string(lines) + " log records from four threads, " +
               std::to_string(sink.repeated) + " more from inside a sink, " +
               std::to_string(reader.read) + " message boxes read");
    reportStall("during log records", stall.longest());
    reportAtMost("message boxes open at once", reader.mostAtOnce, 1);
    if (reader.read == 0)
        return "no message box came";
    const std::string counts = std::to_string(lines + reader.written) + " written, " +
                               std::to_string(sink.heard) + " heard of, " +
                               std::to_string(sink.repeated) + " repeated, " +
                               std::to_string(view.model()->lineCount()) + " in the view";
    const bool isWhole = sink.heard == lines + reader.written &&
                         sink.repeated == sink.heard / 100 &&
                         view.model()->lineCount() == sink.heard + sink.repeated;
    return isWhole ? "" : "records were lost or doubled: " + counts;
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
    return doCases(arguments, [&](long number) {
        const Flood& flood = floods[number];
        return flood.run(isLongForm() ? flood.inLong : flood.inShort);
    });
}

// Two threads at a variable of the library that is only for one.
int actRace(const QStringList&) {
    const auto write = [] {
        for (int i = 0; i < 1000; ++i)
            QtCaProgressMonitor::setFlushX(i % 2 == 0);
    };
    std::thread other(write);
    write();
    other.join();
    return 0;
}

void faultFlood(Report& report) {
    demandCases(report, "flood", std::size(floods), "floods in which records were lost or doubled");
#if defined(__SANITIZE_THREAD__)
    Child race(QStringLiteral("race"));
    (void)race.wait();
    report.atLeast("races on purpose that were reported",
                   race.standardError().count("WARNING: ThreadSanitizer: data race"), 1);
#endif
}
