#include "AppBase/vlrControlList.h"
#include "Base/QtQVViewFrame.h"
#include "Base/QtQuadView.h"
#include "Gui/GuiTest.h"

#include <QtTest/QSignalSpy>
#include <QtTest/QTest>
#include <QtWidgets/QHBoxLayout>
#include <QtWidgets/QLabel>
#include <QtWidgets/QStackedWidget>

#include <random>

using namespace vlrTest;
using vlr::ControlList;

namespace {

// Takes its widgets back as a control should, or, when it is careless, does nothing.
class TestControl : public vlr::Control {
public:
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

class ControlListTest : public GuiTest {
protected:
    ControlListTest() {
        services.window = &window;
        for (const char* signal :
             {SIGNAL(controlAdded(QString)), SIGNAL(controlAppeared(QString)),
              SIGNAL(controlHidden(QString)), SIGNAL(controlRemoved(QString)),
              SIGNAL(currentControlChanged(QString)), SIGNAL(controlsRemoved())})
            spies.push_back(std::make_unique<QSignalSpy>(list(), signal));
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

    // The signals since the last call: "added A; current B".
    QString signalTexts() {
        const char* names[] = {"added", "appeared", "hidden", "removed", "current", "all removed"};
        QStringList texts;
        for (std::size_t i = 0; i < spies.size(); ++i) {
            for (const QList<QVariant>& arguments : *spies[i])
                texts << QString::fromLatin1(names[i]) + QLatin1Char(' ') +
                             arguments.value(0).toString();
            spies[i]->clear();
        }
        return texts.join(QStringLiteral("; ")).trimmed();
    }

    FakeServices services;
    QtAppMainWindow window{nullptr, nullptr, Qt::Window};
    std::vector<std::unique_ptr<QSignalSpy>> spies;
};

const vlr::LogRecord* lastRecord(vlr::LogLevel level) {
    const vlr::LogRecord* found = nullptr;
    for (const vlr::LogRecord& record : logRecords())
        if (record.level == level)
            found = &record;
    return found;
}

} // namespace

TEST_F(ControlListTest, KeepsControlsByNameInOrder) {
    TestControl b("b");
    TestControl a("a");
    TestControl notReady("c", false);
    TestControl again("a");
    EXPECT_TRUE(list()->addControl(&b));
    EXPECT_TRUE(list()->addControl(&a));
    EXPECT_TRUE(list()->addControl(&notReady));
    EXPECT_EQ(signalTexts(), QStringLiteral("added b; added a"));
    expectLog(vlr::LogLevel::Error, "control with name: a already exist");
    EXPECT_FALSE(list()->addControl(&again));
    EXPECT_EQ(lastRecord(vlr::LogLevel::Error)->line, 242);
    EXPECT_STREQ(lastRecord(vlr::LogLevel::Error)->file,
                 "libraries/Gui/src/AppBase/vlrControlList");
    EXPECT_EQ(list()->getControl("a"), &a);
    EXPECT_EQ(list()->getNumberOfControls(), 3);
    bool ok = false;
    EXPECT_EQ(list()->getControlNameAtIndex(ok, 1), "b");
    EXPECT_TRUE(ok);
    EXPECT_EQ(list()->getControlNameAtIndex(ok, 3), "");
    EXPECT_FALSE(ok);
    EXPECT_FALSE(list()->isControlValid("c"));
    emit notReady.becameValid(list(), &notReady);
    EXPECT_TRUE(list()->isControlValid("c"));
    EXPECT_EQ(signalTexts(), QStringLiteral("appeared c"));
    list()->removeControl(&a);
    EXPECT_EQ(signalTexts(), QStringLiteral("removed a; all removed"));
    EXPECT_EQ(list()->getControl("a"), nullptr);
}

TEST_F(ControlListTest, RefusesPlacementsInOrderWithTheirMessages) {
    TestControl good("good");
    TestControl unknown("unknown");
    TestControl notReady("notReady", false);
    list()->addControl(&good);
    list()->addControl(&notReady);
    struct Case {
        TestControl* control;
        unsigned position;
        float width, height;
        const char* message;
        int line;
    };
    const Case cases[] = {
        {nullptr, 4, 2, 2, "Undefined position", 341},
        {nullptr, 3, 2, 2, "Undefined control", 346},
        {&unknown, 0, 1.0000001F, 0.5F, "Width and/or height parameter are wrong", 352},
        {&good, 0, 0.5F, -0.0001F, "Width and/or height parameter are wrong", 352},
        {&good, 0, std::nanf(""), 0.5F, "Width and/or height parameter are wrong", 352},
        {&unknown, 0, 0, 1, "Cannot find controlItem", 359},
        {&notReady, 0, 0, 1, "ControlItem is not valid", 364},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.message);
        expectLog(vlr::LogLevel::Error, c.message);
        QWidget* const widget = c.control ? c.control->widget.data() : nullptr;
        EXPECT_FALSE(list()->occupyResource(static_cast<ControlList::ResourcePosition>(c.position),
                                            c.control, widget, c.width, c.height));
        EXPECT_EQ(lastRecord(vlr::LogLevel::Error)->line, c.line);
    }
    EXPECT_TRUE(place(0, good, 0.0F, 1.0F));
    const QPointer<QWidget> stack = list()->getWindow();
    ControlList* const same = list();
    delete list()->getViewer();
    expectLog(vlr::LogLevel::Error, "No valid controler attached");
    EXPECT_FALSE(same->occupyResource(ControlList::UpperLeft, &good, nullptr, 0.5F, 0.5F));
    expectLog(vlr::LogLevel::Error, "Viewer is not defined.");
    same->setViewerDimensions({}, {}, {}, {});
    EXPECT_EQ(lastRecord(vlr::LogLevel::Error)->line, 660);
    EXPECT_TRUE(ControlList::instance()->getViewer()) << "made anew";
    EXPECT_EQ(list()->getWindow(), stack);
}

TEST_F(ControlListTest, KeepsTheSplitAsThatOfTheUpperLeftView) {
    services.window = nullptr;
    TestControl control("control");
    list()->addControl(&control);
    struct Case {
        unsigned position;
        float width, height;
        QSize upperLeft;
    };
    const Case cases[] = {{0, 0.3F, 0.2F, {300, 200}},
                          {1, 0.3F, 0.2F, {700, 200}},
                          {2, 0.3F, 0.2F, {300, 800}},
                          {3, 0.3F, 0.2F, {700, 800}},
                          {0, 1.0F, 0.0F, {1000, 0}}};
    list()->getViewer()->resize(1000, 1000);
    for (const Case& c : cases) {
        ASSERT_TRUE(place(c.position, control, c.width, c.height));
        ASSERT_TRUE(list()->showControl(QStringLiteral("control")));
        QSize r[4];
        list()->viewerDimensions(r[0], r[1], r[2], r[3]);
        EXPECT_EQ(r[0], c.upperLeft) << c.position;
        list()->freeResourcesOf(nullptr);
    }
    list()->setViewerDimensions({420, 360}, {580, 360}, {420, 640}, {580, 640});
    list()->getViewer()->equalize();
    ASSERT_TRUE(list()->showControl(QStringLiteral("control")));
    QSize r[4];
    list()->viewerDimensions(r[0], r[1], r[2], r[3]);
    EXPECT_EQ(r[0], QSize(420, 360)) << "the layout set while it was current";
}

TEST_F(ControlListTest, ATakenPaneIsTakenFromAllOfItsControls) {
    TestControl first("first");
    TestControl second("second");
    list()->addControl(&first);
    list()->addControl(&second);
    expectLog(vlr::LogLevel::CaError, "Child REMOVED");
    ASSERT_TRUE(place(0, first));
    auto* const more = new QLabel(QStringLiteral("more"));
    const QPointer<QWidget> guard(more);
    ASSERT_TRUE(list()->occupyResource(ControlList::LowerRight, &first, more, 0.5F, 0.5F));
    testing::internal::CaptureStdout();
    ASSERT_TRUE(place(0, second));
    const std::string trace = testing::internal::GetCapturedStdout();
    const std::string line =
        "void vlr::ControlList::cleanControler( std::vector<controlerT>::iterator index )\n";
    EXPECT_EQ(trace, line + line);
    EXPECT_EQ(first.releases, 1);
    EXPECT_TRUE(first.widget) << "it took this one back";
    EXPECT_FALSE(guard) << "and left that one to the pane";
    EXPECT_EQ(pane(0)->contentWidget(), second.widget.data());
    EXPECT_EQ(pane(3)->contentWidget(), nullptr);
    list()->freeResource(0);
    EXPECT_EQ(second.releases, 0);
    EXPECT_FALSE(second.widget);
}

TEST_F(ControlListTest, TheWholeAreaBelongsToOneControl) {
    TestControl first("first");
    TestControl second("second");
    list()->addControl(&first);
    list()->addControl(&second);
    ASSERT_TRUE(place(1, second));
    EXPECT_EQ(page(), 1);
    ASSERT_TRUE(list()->occupyResource(&first, first.widget));
    EXPECT_EQ(page(), 0);
    QWidget* const whole = first.widget->parentWidget();
    EXPECT_EQ(whole->layout()->spacing(), 0);
    EXPECT_EQ(whole->layout()->contentsMargins(), QMargins(10, 0, 10, 2));
    auto* const other = new QLabel(QStringLiteral("other"));
    ASSERT_TRUE(list()->occupyResource(&second, other));
    EXPECT_EQ(first.releases, 1);
    EXPECT_EQ(first.widget->parent(), nullptr);
    ASSERT_TRUE(place(1, second));
    EXPECT_EQ(page(), 1);
    EXPECT_EQ(other->parent(), nullptr) << "its own pane ends its full size";
    ASSERT_TRUE(list()->occupyResource(&second, other));
    EXPECT_TRUE(list()->occupyResource(nullptr, nullptr));
    EXPECT_EQ(other->parent(), nullptr);
    ASSERT_TRUE(list()->occupyResource(&second, other));
    const int releases = second.releases;
    list()->removeControl(&second);
    EXPECT_GT(second.releases, releases);
    EXPECT_EQ(other->parent(), nullptr);
    delete other;
}

TEST_F(ControlListTest, OneThatIsPutIntoThePlaceMeanwhileIsReleasedToo) {
    TestControl first("first");
    TestControl second("second");
    TestControl third("third");
    for (TestControl* control : {&first, &second, &third})
        list()->addControl(control);
    ASSERT_TRUE(place(0, first));
    first.onRelease = [&] { (void)place(0, third); };
    ASSERT_TRUE(place(0, second));
    EXPECT_EQ(third.releases, 1);
    EXPECT_EQ(third.widget->parent(), nullptr);
    EXPECT_EQ(pane(0)->contentWidget(), second.widget.data());

    ASSERT_TRUE(list()->occupyResource(&first, first.widget));
    first.onRelease = [&] { (void)list()->occupyResource(&third, third.widget); };
    ASSERT_TRUE(list()->occupyResource(&second, second.widget));
    EXPECT_EQ(third.releases, 2);
    EXPECT_EQ(third.widget->parent(), nullptr);
}

TEST_F(ControlListTest, ShowsAndHidesInTheWindow) {
    TestControl control("control");
    TestControl waiting("waiting", false);
    list()->addControl(&control);
    list()->addControl(&waiting);
    ASSERT_TRUE(place(2, control));
    signalTexts();
    EXPECT_TRUE(list()->showControl(QStringLiteral("control")));
    EXPECT_EQ(signalTexts(), QStringLiteral("appeared control; current control"));
    EXPECT_EQ(list()->getWindow()->window(), &window);
    EXPECT_EQ(list()->getViewer()->getCurrentView(), 2);
    EXPECT_FALSE(list()->showControl(QStringLiteral("waiting")));
    EXPECT_FALSE(list()->showControl(QStringLiteral("nobody")));
    EXPECT_EQ(signalTexts(), QStringLiteral("current ; current"));

    QWidget moduleWidget;
    QPointer<QWidget> stack = list()->getWindow();
    window.occupyWindow(nullptr, &moduleWidget);
    EXPECT_EQ(logCount(vlr::LogLevel::Info, "Hide control: control"), 1);
    EXPECT_EQ(lastRecord(vlr::LogLevel::Info)->line, 594);
    EXPECT_EQ(signalTexts(), QStringLiteral("hidden control; hidden waiting; current ; current"));
    EXPECT_EQ(control.releases, 1);
    EXPECT_EQ(stack->parent(), nullptr);
    EXPECT_EQ(moduleWidget.window(), &window);
    EXPECT_EQ(list()->getViewer()->getCurrentView(), -1);
    window.occupyWindow(nullptr, nullptr);
}

TEST_F(ControlListTest, ThePressedPaneNamesTheCurrentControl) {
    TestControl control("control");
    list()->addControl(&control);
    ASSERT_TRUE(place(3, control));
    signalTexts();
    pane(3)->widgetActivatedSL();
    pane(0)->widgetActivatedSL();
    EXPECT_EQ(signalTexts(), QStringLiteral("current control; current"));
    pane(3)->widgetActivatedSL();
    list()->removeControl(&control);
    expectLog(vlr::LogLevel::Error, "Control control is not defined.");
    list()->setViewerDimensions({500, 500}, {500, 500}, {500, 500}, {500, 500});
    EXPECT_EQ(lastRecord(vlr::LogLevel::Error)->line, 673);
}

TEST_F(ControlListTest, AControlThatBecomesInvalidLosesItsPanes) {
    TestControl control("control");
    list()->addControl(&control);
    ASSERT_TRUE(place(1, control));
    emit control.becameInvalid(list(), &control);
    EXPECT_EQ(logCount(vlr::LogLevel::Info, "Remove widget: 1"), 1);
    EXPECT_EQ(lastRecord(vlr::LogLevel::Info)->line, 142);
    EXPECT_EQ(control.releases, 1);
    EXPECT_FALSE(list()->isControlValid("control"));
    EXPECT_EQ(pane(1)->contentWidget(), nullptr);
}

TEST_F(ControlListTest, OutlivesAWindowAndIsMadeAnewWhenDestroyed) {
    TestControl control("control");
    list()->addControl(&control);
    ASSERT_TRUE(place(0, control));
    const QPointer<QWidget> stack = list()->getWindow();
    {
        QtAppMainWindow other(nullptr, nullptr, Qt::Window);
        services.window = &other;
        ASSERT_TRUE(list()->showControl(QStringLiteral("control")));
        services.window = &window;
    }
    EXPECT_EQ(list()->getWindow(), stack);
    EXPECT_EQ(control.widget->parent(), pane(0));
    delete stack.data();
    EXPECT_FALSE(control.widget);
    control.widget = new QLabel;
    ASSERT_TRUE(place(0, control));
    ASSERT_TRUE(list()->showControl(QStringLiteral("control")));
    EXPECT_EQ(control.widget->window(), &window);
}

// Controls are careless: they are destroyed without a word, also from within their own release.
TEST_F(ControlListTest, SurvivesControlsThatAreDestroyedAtAnyMoment) {
    expectLog(vlr::LogLevel::Error, "was destroyed without having been removed");
    expectLog(vlr::LogLevel::Error, "Undefined control");
    expectLog(vlr::LogLevel::Error, "is not in the list.");
    expectLog(vlr::LogLevel::CaError, "Child REMOVED");
    std::array<QPointer<TestControl>, 6> controls;
    std::mt19937 random(7);
    const auto number = [&random](int to) { return static_cast<unsigned>(random()) % to; };
    for (int step = 0; step < 3000; ++step) {
        QPointer<TestControl>& control = controls[number(6U)];
        if (!control) {
            control = new TestControl("c" + std::to_string(&control - controls.data()));
            control->saysGoodbye = number(3U) == 0;
            control->takesBack = number(2U) == 0;
            if (number(4U) == 0)
                control->onRelease = [&control] { delete control.data(); };
            else if (number(4U) == 0)
                control->onRelease = [&control] { list()->removeControl(control); };
            else if (number(4U) == 0)
                control->onRelease = [] { list()->hideAll(); };
        }
        if (!list()->getControl(control->name())) {
            ASSERT_TRUE(list()->addControl(control));
        }
        if (!control->widget)
            control->widget = new QLabel;
        const QString name = QString::fromStdString(control->name());
        switch (number(10U)) {
        case 0:
        case 1:
        case 2:
            (void)place(number(4U), *control, 0.5F, 0.25F);
            break;
        case 3:
            (void)list()->occupyResource(control, control->widget);
            break;
        case 4:
            (void)list()->showControl(name);
            break;
        case 5:
            (void)list()->hideControl(name);
            break;
        case 6:
            list()->freeResourcesOf(control);
            list()->freeResource(static_cast<int>(number(4U)));
            break;
        case 7:
            list()->controlInvalid(control);
            if (control)
                list()->controlValid(control);
            break;
        case 8:
            list()->removeControl(control);
            if (control && !list()->getControl(control->name()))
                delete control.data();
            break;
        default:
            delete control.data();
        }
        pane(static_cast<int>(number(4U)))->widgetActivatedSL();
    }
    for (const QPointer<TestControl>& control : controls)
        delete control.data();
    EXPECT_EQ(list()->getNumberOfControls(), 0);
}
