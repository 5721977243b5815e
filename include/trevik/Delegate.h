#pragma once

#include "trevik/Export.h"
#include "trevik/Function.h"
#include "trevik/Immortal.h"
#include "trevik/List.h"

namespace trevik {

template <class Signature>
class event;

/**
 * A change that others may listen to. Handlers are called in the order in which they were connected. A
 * handler may connect and disconnect handlers, itself included, and fire the event again: one that is
 * disconnected is not called any more, one that is connected is first called by the next firing. It must not
 * destroy the event.
 *
 * Subscriptions belong to the event's owner: a copy of an event starts without any, and assignment keeps what
 * is there. An event is used by one thread at a time.
 */
template <class... Args>
class event<void(Args...)> {
public:
    event() : m_nFiring(0), m_fStale(false), m_fRefusing(false) {}
    /** Without handlers: a copy of what fires is listened to by nobody. */
    event(event const&) : event() {}
    ~event() {
        for (Callable* handler : m_handlers) {
            delete handler;
        }
    }
    /** Keeps its own handlers and takes none over. */
    event& operator=(event const&) { return *this; }

    /** One that nothing can be connected to, for owners that have no memory for their own. Any thread. */
    static event& GetRefusing() {
        static Immortal<RefusingEvent> s_event;
        return s_event.Get();
    }

    /** Whether no handler is connected. */
    bool IsEmpty() const { return m_handlers.IsEmpty(); }

    /**
     * Adds a handler behind the others.
     * @return false, with nothing changed, when an equal one is connected already, when it is empty, without
     * memory, and by a refusing event.
     */
    bool Connect(function<void(Args...)> const& handler) {
        // A handler is called once, however often it is connected: intended (handler-once).
        if (!handler || m_fRefusing || Find(handler) >= 0) {
            return false;
        }
        function<void(Args...)> copy(handler);
        if (!copy || !m_handlers.Append(copy.Get())) {
            return false;
        }
        copy.Detach();
        return true;
    }

    /** Takes out the handler equal to this one. @return false when there is none. */
    bool Disconnect(function<void(Args...)> const& handler) {
        int const index = Find(handler);
        if (index < 0) {
            return false;
        }
        Callable* const callable = m_handlers[static_cast<unsigned int>(index)];
        if (m_nFiring > 0) {
            // It may be running: it goes when the last firing has ended.
            callable->m_fDisconnected = true;
            m_fStale = true;
            return true;
        }
        m_handlers.RemoveAt(static_cast<unsigned int>(index));
        delete callable;
        return true;
    }

    /** Calls every handler with these arguments. */
    void Fire(Args... args) {
        if (!m_handlers.IsEmpty()) {
            FireHandlers(args...);
        }
    }

    /** Calls every handler with these arguments, as Fire does. */
    void operator()(Args... args) {
        if (!m_handlers.IsEmpty()) {
            FireHandlers(args...);
        }
    }

private:
    using Callable = detail::Callable<void, Args...>;

    struct RefusingEvent;

    int Find(function<void(Args...)> const& handler) const {
        for (unsigned int i = 0; handler && i < m_handlers.GetCount(); ++i) {
            if (!m_handlers[i]->m_fDisconnected && m_handlers[i]->IsEqual(*handler.Get())) {
                return static_cast<int>(i);
            }
        }
        return -1;
    }

    TREVIK_NOINLINE void FireHandlers(std::add_lvalue_reference_t<Args>... args) {
        ++m_nFiring;
        unsigned int const count = m_handlers.GetCount();
        for (unsigned int i = 0; i < count; ++i) {
            Callable* const handler = m_handlers[i];
            if (!handler->m_fDisconnected) {
                handler->Invoke(args...);
            }
        }
        if (--m_nFiring == 0 && m_fStale) {
            Tidy();
        }
    }

    /** Deletes the handlers that were disconnected during a firing. */
    void Tidy() {
        m_fStale = false;
        unsigned int kept = 0;
        for (Callable* handler : m_handlers) {
            if (handler->m_fDisconnected) {
                delete handler;
            } else {
                m_handlers[kept++] = handler;
            }
        }
        m_handlers.Resize(kept);
    }

    List<Callable*> m_handlers;
    unsigned int m_nFiring;
    bool m_fStale;
    bool m_fRefusing; ///< see GetRefusing
};

/** An event that is made as a refusing one. */
template <class... Args>
struct event<void(Args...)>::RefusingEvent : event {
    RefusingEvent() { this->m_fRefusing = true; }
};

} // namespace trevik
