#include "Observer/CaSubject.h"
#include "Progress/CaProgressMonitor.h"

#include <gmock/gmock.h>
#include <memory>
#include <string>
#include <vector>

using testing::ElementsAre;

namespace {

const char* const event = "Test::CHANGED";

struct CaSubjectTest : testing::Test {
    // An observer that notes its number whenever it is told the event, and then acts.
    void attach(int number, const std::function<void()>& action = {}) {
        subject->attach(event, &keys[number], [this, number, action](auto&&...) {
            calls.push_back(number);
            if (action)
                action();
        });
    }

    std::unique_ptr<CaSubject> subject = std::make_unique<CaSubject>();
    std::vector<int> calls;
    char keys[6] = {};
};

} // namespace

TEST_F(CaSubjectTest, TellsTheObserversOfAnEventWithAllArguments) {
    int client = 0;
    int data = 0;
    std::vector<std::string> events;
    const auto record = [&](CaSubject* from, void* clientData, const char* name, void* eventData) {
        EXPECT_EQ(from, subject.get());
        EXPECT_EQ(clientData, &client);
        EXPECT_EQ(eventData, &data);
        events.emplace_back(name);
    };
    subject->attach("one", &client, record, &client);
    subject->attach("two", &client, record, &client);
    // Events are told apart by text, not by address.
    for (const char* name : {"two", "one", "three"})
        subject->notify(std::string(name).c_str(), &data);
    EXPECT_THAT(events, ElementsAre("two", "one"));
}

TEST_F(CaSubjectTest, ObserversMayComeAndGoDuringANotification) {
    attach(1, [&] { subject->detach(event, &keys[1]); });
    attach(2, [&] {
        subject->detach(&keys[3]);
        subject->detach(&keys[2]);
        attach(5); // hears the next one
    });
    attach(3);
    attach(4);
    subject->notify(event);
    EXPECT_THAT(calls, ElementsAre(1, 2, 4));
    subject->notify(event);
    EXPECT_THAT(calls, ElementsAre(1, 2, 4, 4, 5));
}

TEST_F(CaSubjectTest, MayBeDestroyedDuringItsOwnNotification) {
    attach(1, [&] { subject.reset(); });
    attach(2);
    subject->notify(event);
    EXPECT_THAT(calls, ElementsAre(1));
}

TEST_F(CaSubjectTest, ACopyStartsWithoutObservers) {
    attach(1);
    CaSubject copy(*subject);
    CaSubject assigned;
    assigned = *subject;
    copy.notify(event);
    assigned.notify(event);
    EXPECT_THAT(calls, ElementsAre());
    subject->notify(event);
    EXPECT_THAT(calls, ElementsAre(1));
}

TEST_F(CaSubjectTest, AConnectionDetachesWhenItGoesAndOutlivesTheSubject) {
    const auto note = [this](auto&&...) { calls.push_back(0); };
    {
        CaConnection connection(*subject, event, note);
        CaConnection moved(std::move(connection));
        subject->notify(event);
    }
    subject->notify(event);
    EXPECT_THAT(calls, ElementsAre(0));

    CaConnection connection(*subject, event, note);
    connection = CaConnection(*subject, event, [](auto&&...) {}); // which ends the first one
    subject->notify(event);
    EXPECT_THAT(calls, ElementsAre(0));
    subject.reset();
    connection.disconnect();
}

TEST(CaProgressMonitor, BelongsToTheLibraryUntilAnotherOneComes) {
    static int monitors = 0;
    struct Monitor : CaProgressMonitor {
        Monitor() { ++monitors; }
        ~Monitor() override { --monitors; }
    };
    auto* const monitor = new Monitor;
    for (int i = 0; i < 2; ++i)
        CaProgressMonitor::setInstance(monitor);
    EXPECT_EQ(monitors, 1);
    CaProgressMonitor::setInstance(nullptr);
    EXPECT_EQ(monitors, 0);
}
