#pragma once

#include "trevik/Export.h"
#include "trevik/StringEncoded.h"

#include <atomic>

namespace trevik {

/** Who is told about named events: a function with a value of its user's choice. */
struct StatisticsListener {
    /** Told one event. */
    using Function = void (*)(void* user, StringEncoded<UTF16Encoding> const& event);

    Function pfnHandle; ///< null: no listener
    void* pUser;        ///< handed to the function
};

/** Counters of the whole process, by number, and named events. Any thread may use them at any time. */
class TREVIK_API Statistics {
public:
    enum : unsigned int {
        MaximumStats = 64,
        StatTextureMemory = 37 ///< bytes of live GL textures
    };

    /** The counters of this process. */
    static Statistics& Instance();

    /** Adds to a counter, or takes off it. Ids from MaximumStats on are ignored. */
    void IncrementStat(unsigned int id, long long amount);
    /** Takes off a counter, as IncrementStat adds to it. */
    void DecrementStat(unsigned int id, long long amount);

    /** The counter's value: 0 at first, and for ids from MaximumStats on. */
    long long GetStat(unsigned int id) const;

    /** The name of a counter, or null when it has none. */
    static char const* GetStatName(unsigned int id);

    /** Tells the listener, if there is one, about something that happened. */
    void FireEvent(StringEncoded<UTF16Encoding> const& event);

    /** Whether somebody listens: for events that are costly to describe. */
    bool HasListener() const;

    /**
     * Installs a listener, null for none, and returns the one before. It is called on the thread that fires,
     * one call at a time; it may fire in turn, but not wait for another thread that does.
     */
    StatisticsListener SetListener(StatisticsListener::Function handle, void* user = nullptr);
    /** The same with a listener that an earlier call has returned. */
    StatisticsListener SetListener(StatisticsListener const& listener);

private:
    Statistics() = default;
    Statistics(Statistics const&) = delete;
    Statistics& operator=(Statistics const&) = delete;

    std::atomic<long long> m_stats[MaximumStats] = {};
    std::atomic<bool> m_fListening{false};
};

} // namespace trevik
