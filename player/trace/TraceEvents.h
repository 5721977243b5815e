#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace kelvokit::player {

/** Nanoseconds of the monotonic clock, as scopes are told in. */
using Nanoseconds = std::uint64_t;

Nanoseconds Now();

/** What took time, from the outside in: of two that began and ended together, the first one is around. */
enum class TraceKind { Frame, Part, Node, Scope };

/** What took time, as text. Any thread adds events; one thread does the rest. */
class TraceEvents {
public:
    TraceEvents();

    /**
     * A number for events of one name.
     * @param arguments members of a JSON object that is shown with each of them; may be empty.
     */
    unsigned int AddName(TraceKind kind, std::string const& name, std::string const& arguments = "");

    void Add(unsigned int nName, Nanoseconds start, Nanoseconds end);
    /** A value that is drawn as a curve over time. */
    void AddCounter(char const* pName, char const* pUnit, Nanoseconds time, long long nValue);

    /**
     * The events that have come since the last call, one JSON object a line with a comma before each, in the
     * order in which they began; what is around others before them.
     */
    std::string TakeText();
    /** The beginning of the JSON object that the events are in. */
    std::string GetHead() const;
    /** Its end. */
    std::string GetTail() const { return "\n]}\n"; }

private:
    struct Name {
        std::string text; ///< the members that all its events have
    };
    struct Event {
        unsigned int nName;
        unsigned int nThread;
        Nanoseconds start, end;
    };
    struct Counter {
        char const* pName;
        char const* pUnit;
        Nanoseconds time;
        long long nValue;
    };

    std::string ToText(Event const& event) const;
    std::string ToText(Counter const& counter) const;
    unsigned int FindThread();

    Nanoseconds const m_origin;
    std::mutex m_mutex; ///< guards the events and threads
    std::vector<Name> m_names;
    std::vector<Event> m_events;
    std::vector<Counter> m_counters;
    std::vector<std::thread::id> m_threads; ///< the first one plays the frames
    std::size_t m_nThreadsTold = 0;
};

} // namespace kelvokit::player
