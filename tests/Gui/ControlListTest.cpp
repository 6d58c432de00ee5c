#include "AppBase/vlrControlList.h"
#include "Base/QtQVViewFrame.h"
#include "Base/QtQuadView.h"
#include "Gui/GuiTest.h"

using namespace vlrTest;
using vlr::ControlList;

namespace {

// Takes its widgets back as a control should, or, when it is careless, does nothing.
struct TestControl : vlr::Control {
    explicit TestControl(const std::string& name, bool isReady = true)
        : Control(name), valid(isReady), widget(new QLabel(QString::fromStdString(name))) {}
    ~TestControl() override {
        onRelease = nullptr;
        if (saysGoodbye && ControlList::instance()->getControl(name()) == this)
            ControlList::instance()->removeControl(this);
        delete widget.data();
    }

    bool isValid() override { return valid; }
    QString title() override { return QString::fromStdString(name()); }
    void release() override {
        ++releases;
        const bool isNested = isReleasing;
        isReleasing = true;
        if (takesBack && widget)
            widget->setParent(nullptr);
        const QPointer<TestControl> guard(this);
        if (const auto hook = onRelease; hook && !isNested)
            hook();
        if (guard)
            isReleasing = isNested;
    }

    bool valid;
    bool takesBack = true;
    bool saysGoodbye = true;
    bool isReleasing = false;
    int releases = 0;
    QPointer<QWidget> widget;
    std::function<void()> onRelease;
};

struct ControlListTest : WindowTest {
    ControlListTest() {
        follow("added", &ControlList::controlAdded);
        follow("appeared", &ControlList::controlAppeared);
        follow("hidden", &ControlList::controlHidden);
        follow("removed", &ControlList::controlRemoved);
        follow("current", &ControlList::currentControlChanged);
        QObject::connect(list(), &ControlList::controlsRemoved, &context,
                         [this] { calls << "all removed"_s; });
    }
    ~ControlListTest() override { list()->removeControl(nullptr); }

    static ControlList* list() { return ControlList::instance(); }
    static QtQVViewFrame* pane(int i) {
        return static_cast<QtQVViewFrame*>(list()->getViewer()->getView(i));
    }
    static int page() { return qobject_cast<QStackedWidget*>(list()->getWindow())->currentIndex(); }
    bool place(unsigned position, TestControl& control, float width = 0.5F, float height = 0.5F) {
        return list()->occupyResource(static_cast<ControlList::ResourcePosition>(position),
                                      &control, control.widget, width, height);
    }

    void follow(const char* what, void (ControlList::*signal)(QString)) {
        QObject::connect(list(), signal, &context, [this, what](const QString& label) {
            calls << "%1 %2"_s.arg(QLatin1String(what), label);
        });
    }
    void addControls() {
        for (TestControl* control : {&first, &second, &third, &notReady})
            list()->addControl(control);
        calls.clear();
    }

    QObject context;
    TestControl first{"first"};
    TestControl second{"second"};
    TestControl third{"third"};
    TestControl notReady{"notReady", false};
};

// The line that the last record of the level names.
int lastLine(LogLevel level) {
    int line = -1;
    for (const vlr::LogRecord& record : logRecords())
        if (record.level == level)
            line = record.line;
    return line;
}

} // namespace

TEST_F(ControlListTest, KeepsControlsByNameInOrder) {
    TestControl again("first");
    EXPECT_TRUE(list()->addControl(&second));
    EXPECT_TRUE(list()->addControl(&first));
    EXPECT_TRUE(list()->addControl(&notReady));
    EXPECT_EQ(take(calls), "added second, added first");
    expectLog(LogLevel::Error, "control with name: first already exist");
    EXPECT_FALSE(list()->addControl(&again));
    EXPECT_EQ(lastLine(LogLevel::Error), 242);
    EXPECT_STREQ(logRecords().back().file, "libraries/Gui/src/AppBase/vlrControlList");
    EXPECT_EQ(list()->getControl("first"), &first);
    EXPECT_EQ(list()->getNumberOfControls(), 3);
    bool ok = false;
    EXPECT_EQ(list()->getControlNameAtIndex(ok, 1), "notReady");
    EXPECT_TRUE(ok);
    EXPECT_EQ(list()->getControlNameAtIndex(ok, 3), "");
    EXPECT_FALSE(ok);
    EXPECT_FALSE(list()->isControlValid("notReady"));
    emit notReady.becameValid(list(), &notReady);
    EXPECT_TRUE(list()->isControlValid("notReady"));
    EXPECT_EQ(take(calls), "appeared notReady");
    emit first.removed(list(), &first);
    EXPECT_EQ(take(calls), "removed first, all removed");
    EXPECT_EQ(list()->getControl("first"), nullptr);
}

TEST_F(ControlListTest, RefusesPlacementsInOrderWithTheirMessages) {
    addControls();
    TestControl unknown("unknown");
    const std::tuple<TestControl*, unsigned, float, float, const char*, int> cases[] = {
        {nullptr, 4, 2, 2, "Undefined position", 341},
        {nullptr, 3, 2, 2, "Undefined control", 346},
        {&unknown, 0, 1.0000001F, 0.5F, "Width and/or height parameter are wrong", 352},
        {&first, 0, 0.5F, -0.0001F, "Width and/or height parameter are wrong", 352},
        {&first, 0, std::nanf(""), 0.5F, "Width and/or height parameter are wrong", 352},
        {&unknown, 0, 0, 1, "Cannot find controlItem", 359},
        {&notReady, 0, 0, 1, "ControlItem is not valid", 364}};
    for (const auto& [control, position, width, height, message, line] : cases) {
        SCOPED_TRACE(message);
        expectLog(LogLevel::Error, message);
        QWidget* const widget = control ? control->widget.data() : nullptr;
        EXPECT_FALSE(list()->occupyResource(static_cast<ControlList::ResourcePosition>(position),
                                            control, widget, width, height));
        EXPECT_EQ(lastLine(LogLevel::Error), line);
    }
    EXPECT_TRUE(place(0, first, 0.0F, 1.0F));
    const QPointer<QWidget> stack = list()->getWindow();
    ControlList* const same = list();
    delete list()->getViewer();
    expectLog(LogLevel::Error, "No valid controler attached");
    EXPECT_FALSE(same->occupyResource(ControlList::UpperLeft, &first, nullptr, 0.5F, 0.5F));
    expectLog(LogLevel::Error, "Viewer is not defined.");
    same->setViewerDimensions({}, {}, {}, {});
    EXPECT_EQ(lastLine(LogLevel::Error), 660);
    EXPECT_TRUE(ControlList::instance()->getViewer()) << "made anew";
    EXPECT_EQ(list()->getWindow(), stack);
}

TEST_F(ControlListTest, KeepsTheSplitAsThatOfTheUpperLeftView) {
    services.window = nullptr;
    addControls();
    QSize r[4];
    const auto shownUpperLeft = [&r] {
        EXPECT_TRUE(list()->showControl("first"_s));
        list()->viewerDimensions(r[0], r[1], r[2], r[3]);
        return r[0];
    };
    const std::tuple<unsigned, float, float, QSize> cases[] = {{0, 0.3F, 0.2F, {300, 200}},
                                                               {1, 0.3F, 0.2F, {700, 200}},
                                                               {2, 0.3F, 0.2F, {300, 800}},
                                                               {3, 0.3F, 0.2F, {700, 800}},
                                                               {0, 1.0F, 0.0F, {1000, 0}}};
    list()->getViewer()->resize(1000, 1000);
    for (const auto& [position, width, height, upperLeft] : cases) {
        ASSERT_TRUE(place(position, first, width, height));
        EXPECT_EQ(shownUpperLeft(), upperLeft) << position;
        list()->freeResourcesOf(nullptr);
    }
    list()->setViewerDimensions({420, 360}, {580, 360}, {420, 640}, {580, 640});
    list()->getViewer()->undoLayout();
    list()->viewerDimensions(r[0], r[1], r[2], r[3]);
    EXPECT_EQ(r[0], QSize(420, 360)) << "undo begins there";
    list()->getViewer()->equalize();
    EXPECT_EQ(shownUpperLeft(), QSize(420, 360)) << "the layout set while it was current";
    list()->getViewer()->undoLayout();
    list()->viewerDimensions(r[0], r[1], r[2], r[3]);
    EXPECT_EQ(r[0], QSize(420, 360)) << "undo begins there";
    expectLog(LogLevel::Error, "Wrong dimensions:");
    list()->setViewerDimensions({700, 700}, {700, 300}, {300, 700}, {300, 300});
    EXPECT_EQ(shownUpperLeft(), QSize(420, 360)) << "a refused one is not kept";
}

TEST_F(ControlListTest, ATakenPaneIsTakenFromAllOfItsControls) {
    addControls();
    expectLog(LogLevel::CaError, "Child REMOVED");
    ASSERT_TRUE(place(0, first));
    ASSERT_TRUE(place(0, first)) << "again";
    EXPECT_EQ(pane(0)->contentWidget(), first.widget.data());
    const QPointer<QWidget> former = first.widget;
    first.widget = new QLabel("another"_s);
    ASSERT_TRUE(place(0, first));
    ASSERT_TRUE(former) << "the caller's again";
    EXPECT_EQ(former->parent(), nullptr);
    EXPECT_FALSE(former->isVisible());
    EXPECT_EQ(pane(0)->layout()->count(), 1);
    delete former;
    EXPECT_EQ(first.releases, 0);
    const QPointer<QWidget> more = new QLabel("more"_s);
    ASSERT_TRUE(list()->occupyResource(ControlList::LowerRight, &first, more, 0.5F, 0.5F));
    testing::internal::CaptureStdout();
    ASSERT_TRUE(place(0, second));
    const std::string line =
        "void vlr::ControlList::cleanControler( std::vector<controlerT>::iterator index )\n";
    EXPECT_EQ(testing::internal::GetCapturedStdout(), line + line);
    EXPECT_EQ(first.releases, 1);
    EXPECT_TRUE(first.widget) << "it took this one back";
    EXPECT_FALSE(more) << "and left that one to the pane";
    EXPECT_EQ(pane(0)->contentWidget(), second.widget.data());
    EXPECT_EQ(pane(3)->contentWidget(), nullptr);
    for (const int index : {-1, 4, 1})
        list()->freeResource(index);
    EXPECT_TRUE(second.widget);
    list()->freeResource(0);
    EXPECT_EQ(second.releases, 0);
    EXPECT_FALSE(second.widget);
}

TEST_F(ControlListTest, TheWholeAreaBelongsToOneControl) {
    addControls();
    ASSERT_TRUE(place(1, second));
    EXPECT_EQ(page(), 1);
    ASSERT_TRUE(list()->occupyResource(&first, first.widget));
    EXPECT_EQ(page(), 0);
    const QLayout* const whole = first.widget->parentWidget()->layout();
    EXPECT_EQ(whole->spacing(), 0);
    EXPECT_EQ(whole->contentsMargins(), QMargins(10, 0, 10, 2));
    ASSERT_TRUE(place(3, third));
    EXPECT_EQ(page(), 1);
    EXPECT_TRUE(list()->showControl("first"_s));
    EXPECT_TRUE(list()->hideControl("third"_s));
    EXPECT_EQ(page(), 0);
    ASSERT_TRUE(list()->occupyResource(&second, second.widget));
    EXPECT_EQ(first.releases, 1);
    EXPECT_EQ(first.widget->parent(), nullptr);

    expectLog(LogLevel::CaError, "Child REMOVED");
    // Whoever holds a pane comes back when the area is empty.
    ASSERT_TRUE(place(0, first));
    ASSERT_TRUE(place(1, second));
    auto other = std::make_unique<QLabel>("other"_s);
    const std::tuple<const char*, std::function<void()>, int, bool> ends[] = {
        {"a pane of its own", [&] { (void)place(1, second); }, 1, false},
        {"nobody's place", [&] { (void)list()->occupyResource(nullptr, nullptr); }, 1, false},
        {"its places freed", [&] { list()->freeResourcesOf(&second); }, 1, false},
        {"its hiding", [&] { (void)list()->hideControl("second"_s); }, 1, true},
        {"its removal", [&] { list()->removeControl(&second); }, 1, true},
        {"no pane held", [&] { list()->removeControl(&first), list()->removeControl(nullptr); }, 0,
         false}};
    for (const auto& [what, end, pageAfter, isReleased] : ends) {
        SCOPED_TRACE(what);
        second.widget = second.widget ? second.widget.data() : new QLabel;
        ASSERT_TRUE(list()->occupyResource(&second, other.get()));
        EXPECT_EQ(page(), 0);
        const int releases = second.releases;
        end();
        EXPECT_EQ(other->parent(), nullptr);
        EXPECT_EQ(page(), pageAfter);
        EXPECT_EQ(second.releases > releases, isReleased);
    }
    ASSERT_TRUE(place(3, third));
    ASSERT_TRUE(list()->occupyResource(&first, other.get()));
    other.reset();
    QCoreApplication::processEvents();
    EXPECT_EQ(page(), 1) << "the widget's end";
}

TEST_F(ControlListTest, ShowsAndHidesInTheWindow) {
    list()->addControl(&first);
    list()->addControl(&notReady);
    ASSERT_TRUE(place(2, first));
    calls.clear();
    EXPECT_TRUE(list()->showControl("first"_s));
    EXPECT_EQ(take(calls), "current first, appeared first");
    EXPECT_EQ(list()->getWindow()->window(), window.get());
    EXPECT_EQ(list()->getViewer()->getCurrentView(), 2);
    EXPECT_FALSE(list()->showControl("notReady"_s));
    EXPECT_FALSE(list()->showControl("nobody"_s));
    EXPECT_EQ(take(calls), "current , current ");

    QWidget moduleWidget;
    QPointer<QWidget> stack = list()->getWindow();
    window->occupyWindow(nullptr, &moduleWidget);
    EXPECT_EQ(logCount(LogLevel::Info, "Hide control: first"), 1);
    EXPECT_EQ(lastLine(LogLevel::Info), 594);
    EXPECT_EQ(take(calls), "current , hidden first, current , hidden notReady");
    EXPECT_EQ(first.releases, 1);
    EXPECT_EQ(stack->parent(), nullptr);
    EXPECT_EQ(moduleWidget.window(), window.get());
    EXPECT_EQ(list()->getViewer()->getCurrentView(), -1);
    window->occupyWindow(nullptr, nullptr);
}

TEST_F(ControlListTest, ThePressedPaneNamesTheCurrentControl) {
    addControls();
    ASSERT_TRUE(place(3, first));
    pane(3)->widgetActivatedSL();
    pane(0)->widgetActivatedSL();
    EXPECT_EQ(take(calls), "current first, current ");
    pane(3)->widgetActivatedSL();
    list()->removeControl(&first);
    expectLog(LogLevel::Error, "Control first is not defined.");
    list()->setViewerDimensions({500, 500}, {500, 500}, {500, 500}, {500, 500});
    EXPECT_EQ(lastLine(LogLevel::Error), 673);
}

TEST_F(ControlListTest, AControlThatBecomesInvalidLosesItsPanes) {
    addControls();
    ASSERT_TRUE(place(1, first));
    emit first.becameInvalid(list(), &first);
    EXPECT_EQ(logCount(LogLevel::Info, "Remove widget: 1"), 1);
    EXPECT_EQ(lastLine(LogLevel::Info), 142);
    EXPECT_EQ(first.releases, 1);
    EXPECT_FALSE(list()->isControlValid("first"));
    EXPECT_EQ(pane(1)->contentWidget(), nullptr);
    pane(1)->widgetActivatedSL();
    EXPECT_EQ(take(calls), "current ");
}

TEST_F(ControlListTest, OutlivesAWindowAndIsMadeAnewWhenDestroyed) {
    addControls();
    ASSERT_TRUE(place(0, first));
    const QPointer<QWidget> stack = list()->getWindow();
    {
        QtAppMainWindow other(nullptr, nullptr, Qt::Window);
        services.window = &other;
        ASSERT_TRUE(list()->showControl("first"_s));
        services.window = window.get();
    }
    EXPECT_EQ(list()->getWindow(), stack);
    EXPECT_EQ(first.widget->parent(), pane(0));
    delete stack.data();
    EXPECT_FALSE(first.widget);
    first.widget = new QLabel;
    ASSERT_TRUE(place(0, first));
    ASSERT_TRUE(list()->showControl("first"_s));
    EXPECT_EQ(first.widget->window(), window.get());
}

// Controls are careless: they are destroyed without a word, also from within their own release.
TEST_F(ControlListTest, SurvivesControlsThatGoWhileTheyAreReleased) {
    expectLog(LogLevel::Error, "was destroyed without having been removed");
    expectLog(LogLevel::Error, "is not in the list.");
    auto* const silent = new TestControl("silent");
    silent->saysGoodbye = false;
    list()->addControl(silent);
    ASSERT_TRUE(place(0, *silent));
    testing::internal::CaptureStdout();
    delete silent;
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("cleanControler"));

    list()->addControl(&first);
    using Act = std::function<void(TestControl*)>;
    const Act releases[] = {
        [&](TestControl*) { (void)place(0, first); },
        [&](TestControl*) { (void)list()->occupyResource(&first, first.widget); },
        [](TestControl* control) { (void)list()->hideControl(control->title()); },
        [](TestControl* control) { list()->controlInvalid(control); },
        [](TestControl* control) { list()->removeControl(control); }};
    const Act answers[] = {[](TestControl* control) { delete control; },
                           [](TestControl* control) { list()->removeControl(control); },
                           [](TestControl*) { list()->hideAll(); }};
    for (const Act& release : releases)
        for (const Act& answer : answers)
            for (const bool isOverAll : {false, true}) {
                const QPointer<TestControl> control = new TestControl("control");
                control->saysGoodbye = false;
                control->onRelease = [&] { answer(control); };
                list()->addControl(control);
                ASSERT_TRUE(isOverAll ? list()->occupyResource(control, control->widget)
                                      : place(0, *control));
                release(control);
                delete control.data();
                EXPECT_EQ(list()->getNumberOfControls(), 1);
            }
}
