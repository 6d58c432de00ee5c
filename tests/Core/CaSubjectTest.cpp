#include "Observer/CaSubject.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace {

const char* const event = "Test::CHANGED";

// Writes its name into the common list whenever it is told the event.
struct Observer {
    Observer(CaSubject& observed, std::vector<std::string>& list, std::string text)
        : subject(&observed), calls(&list), name(std::move(text)) {
        subject->attach(event, this, &Observer::changed);
    }
    ~Observer() {
        if (subject)
            subject->detach(this);
    }
    void changed(CaSubject*, void*, const char*, void*) {
        calls->push_back(name);
        if (action)
            action();
    }
    CaSubject* subject;
    std::vector<std::string>* calls;
    std::string name;
    std::function<void()> action;
};

using Names = std::vector<std::string>;

} // namespace

TEST(CaSubject, TellsTheObserversOfAnEventInOrderWithAllArguments) {
    CaSubject subject;
    int client = 0;
    int data = 0;
    Names calls;
    const auto record = [&](CaSubject* from, void* clientData, const char* name, void* eventData) {
        EXPECT_EQ(from, &subject);
        EXPECT_EQ(clientData, &client);
        EXPECT_EQ(eventData, &data);
        calls.emplace_back(name);
    };
    subject.attach("one", &client, record, &client);
    subject.attach("two", &client, record, &client);
    // Events are told apart by text, not by address.
    subject.notify(std::string("two").c_str(), &data);
    subject.notify("one", &data);
    subject.notify("three", &data);
    EXPECT_EQ(calls, (Names{"two", "one"}));
}

TEST(CaSubject, ObserversMayGoDuringANotification) {
    Names calls;
    CaSubject subject;
    auto first = std::make_unique<Observer>(subject, calls, "first");
    auto second = std::make_unique<Observer>(subject, calls, "second");
    auto third = std::make_unique<Observer>(subject, calls, "third");
    auto fourth = std::make_unique<Observer>(subject, calls, "fourth");
    first->action = [&] { subject.detach(event, first.get()); };
    second->action = [&] {
        third.reset();
        second.reset();
    };

    subject.notify(event);
    EXPECT_EQ(calls, (Names{"first", "second", "fourth"}));
    subject.notify(event);
    EXPECT_EQ(calls, (Names{"first", "second", "fourth", "fourth"}));
}

TEST(CaSubject, AnObserverAttachedDuringANotificationHearsTheNextOne) {
    Names calls;
    CaSubject subject;
    std::unique_ptr<Observer> late;
    Observer first(subject, calls, "first");
    first.action = [&] {
        if (!late)
            late = std::make_unique<Observer>(subject, calls, "late");
    };
    subject.notify(event);
    EXPECT_EQ(calls, (Names{"first"}));
    subject.notify(event);
    EXPECT_EQ(calls, (Names{"first", "first", "late"}));
}

TEST(CaSubject, MayBeDestroyedDuringItsOwnNotification) {
    Names calls;
    auto subject = std::make_unique<CaSubject>();
    Observer first(*subject, calls, "first");
    Observer second(*subject, calls, "second");
    first.action = [&] {
        first.subject = second.subject = nullptr;
        subject.reset();
    };
    subject->notify(event);
    EXPECT_EQ(calls, (Names{"first"}));
}

TEST(CaSubject, ACopyStartsWithoutObservers) {
    Names calls;
    CaSubject original;
    Observer observer(original, calls, "observer");
    CaSubject copy(original);
    CaSubject assigned;
    assigned = original;
    copy.notify(event);
    assigned.notify(event);
    EXPECT_TRUE(calls.empty());
    original.notify(event);
    EXPECT_EQ(calls.size(), 1U);
}

TEST(CaConnection, DetachesWhenItGoesAndOutlivesTheSubject) {
    int calls = 0;
    const auto count = [&](CaSubject*, void*, const char*, void*) { ++calls; };
    auto subject = std::make_unique<CaSubject>();
    {
        CaConnection connection(*subject, event, count);
        CaConnection moved(std::move(connection));
        subject->notify(event);
    }
    subject->notify(event);
    EXPECT_EQ(calls, 1);

    CaConnection connection(*subject, event, count);
    subject.reset();
    connection.disconnect();
}
