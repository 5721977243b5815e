#pragma once

#include "trevik/Export.h"
#include "trevik/StringEncoded.h"

#include <pthread.h>

namespace trevik {

/**
 * Something that threads wait for. Once set it stays signalled: a manual-reset event until Reset, letting all
 * waiters through; any other until one waiter has come through. The name is for debugging.
 */
class TREVIK_API Event {
public:
    /** Signalled from the start or not, and until Reset or until one waiter has come through. */
    Event(StringEncoded<UTF16Encoding> const& name, bool signalled, bool manualReset);

    /** No thread may be waiting. */
    ~Event();

    Event(Event const&) = delete;
    Event& operator=(Event const&) = delete;

    /** Signals: lets waiters through, all of them or one. Any thread. */
    void Set();
    /** Takes the signal back. Any thread. */
    void Reset();

    /** Waits until the event is signalled. */
    void Wait();

    /** Waits no longer than this; 0 only looks. @return whether the event was signalled. */
    bool Wait(unsigned int milliseconds);

    /** The name that it was made with. */
    StringEncoded<UTF16Encoding> const& GetName() const { return m_sName; }

private:
    bool Pass();

    StringEncoded<UTF16Encoding> m_sName;
    pthread_mutex_t m_mutex;
    pthread_cond_t m_condition;
    bool m_fSignalled;
    bool const m_fManualReset;
};

/** An event that stays signalled until it is reset; not signalled at first. */
class ManualResetEvent : public Event {
public:
    /** Signalled from the start or not. */
    explicit ManualResetEvent(bool signalled = false)
        : Event(StringEncoded<UTF16Encoding>(), signalled, true) {}
};

} // namespace trevik
