#pragma once

#include "vlrCoreExport.h"

#include <functional>
#include <memory>

/// Something that can be observed by name of event.
///
///     config->attach(Data::CHANGED, this, &Panel::reconfigure);
///     ...
///     config->detach(Data::CHANGED, this);          // in ~Panel, or use CaConnection
///
/// Events are told apart by their text. During a notification an observer may detach itself
/// or others, attach new ones (they hear the next event) or destroy itself, other observers or
/// the subject. GUI thread only. A copy of a subject starts without observers.
class VLR_CORE_EXPORT CaSubject {
public:
    /// Arguments: the subject, the client data given at attachment, the event, and what the
    /// subject passed with it.
    using Callback = std::function<void(CaSubject*, void*, const char*, void*)>;

    CaSubject();
    CaSubject(const CaSubject& other);
    CaSubject& operator=(const CaSubject& other);
    virtual ~CaSubject();

    /// Calls the callback at every such event until the observer is detached. `observer` is
    /// only the key for detach(); it is never followed.
    void attach(const char* event, const void* observer, Callback callback,
                void* clientData = nullptr);
    template <class Observer>
    void attach(const char* event, Observer* observer,
                void (Observer::*method)(CaSubject*, void*, const char*, void*),
                void* clientData = nullptr) {
        attach(
            event, static_cast<const void*>(observer),
            [observer, method](CaSubject* subject, void* client, const char* name, void* data) {
                (observer->*method)(subject, client, name, data);
            },
            clientData);
    }

    void detach(const char* event, const void* observer); ///< From this event.
    void detach(const void* observer);                    ///< From every event.

    /// Calls the observers of the event in the order in which they were attached.
    void notify(const char* event, void* eventData = nullptr);

private:
    struct Attachment;
    struct Attachments;
    friend class CaConnection;
    std::shared_ptr<Attachments> m_attachments;
};

/// Keeps an observer attached for as long as it lives; the subject may die first.
///
///     m_connection = CaConnection(*subject, Data::CHANGED, [this](...) { refresh(); });
class VLR_CORE_EXPORT CaConnection {
public:
    CaConnection();
    CaConnection(CaSubject& subject, const char* event, CaSubject::Callback callback);
    CaConnection(CaConnection&& other) noexcept;
    CaConnection& operator=(CaConnection&& other) noexcept;
    ~CaConnection();

    void disconnect();

private:
    std::weak_ptr<CaSubject::Attachments> m_attachments;
    std::unique_ptr<char> m_key; ///< Its address identifies the attachment.
};
