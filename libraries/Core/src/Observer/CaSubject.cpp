#include "Observer/CaSubject.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

struct CaSubject::Attachment {
    std::string event;
    const void* observer;
    Callback callback;
    void* clientData;
    bool attached = true;
};

struct CaSubject::Attachments {
    std::vector<std::shared_ptr<Attachment>> list;

    // A running notification works on a copy of the list: what is detached meanwhile is marked,
    // so that it is not called any more although the copy still holds it.
    template <class Predicate>
    void remove(Predicate matches) {
        const auto end = std::remove_if(list.begin(), list.end(), [&](const auto& attachment) {
            if (!matches(*attachment))
                return false;
            attachment->attached = false;
            return true;
        });
        list.erase(end, list.end());
    }
};

CaSubject::CaSubject() : m_attachments(std::make_shared<Attachments>()) {}

CaSubject::CaSubject(const CaSubject&) : CaSubject() {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): nothing is taken over
CaSubject& CaSubject::operator=(const CaSubject&) {
    return *this;
}

CaSubject::~CaSubject() {
    m_attachments->remove([](const Attachment&) { return true; });
}

void CaSubject::attach(const char* event, const void* observer, Callback callback,
                       void* clientData) {
    if (!event || !callback)
        return;
    m_attachments->list.push_back(
        std::make_shared<Attachment>(Attachment{event, observer, std::move(callback), clientData}));
}

void CaSubject::detach(const char* event, const void* observer) {
    if (!event)
        return;
    m_attachments->remove([&](const Attachment& attachment) {
        return attachment.observer == observer && attachment.event == event;
    });
}

void CaSubject::detach(const void* observer) {
    m_attachments->remove(
        [&](const Attachment& attachment) { return attachment.observer == observer; });
}

void CaSubject::notify(const char* event, void* eventData) {
    if (!event || m_attachments->list.empty())
        return;
    const auto snapshot = m_attachments->list;
    for (const auto& attachment : snapshot)
        if (attachment->attached && attachment->event == event)
            attachment->callback(this, attachment->clientData, event, eventData);
}

CaConnection::CaConnection() = default;

CaConnection::CaConnection(CaSubject& subject, const char* event, CaSubject::Callback callback)
    : m_attachments(subject.m_attachments), m_key(std::make_unique<char>()) {
    subject.attach(event, static_cast<const void*>(m_key.get()), std::move(callback));
}

CaConnection::CaConnection(CaConnection&& other) noexcept = default;

CaConnection& CaConnection::operator=(CaConnection&& other) noexcept {
    if (this != &other) {
        disconnect();
        m_attachments = std::move(other.m_attachments);
        m_key = std::move(other.m_key);
    }
    return *this;
}

CaConnection::~CaConnection() {
    disconnect();
}

void CaConnection::disconnect() {
    const auto attachments = m_attachments.lock();
    if (attachments && m_key)
        attachments->remove([this](const CaSubject::Attachment& attachment) {
            return attachment.observer == m_key.get();
        });
    m_attachments.reset();
    m_key.reset();
}
