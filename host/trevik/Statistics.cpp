#include "trevik/Statistics.h"

#include "trevik/Immortal.h"
#include "trevik/Mutex.h"

namespace trevik {

namespace {

Mutex& ListenerMutex() {
    static Immortal<Mutex> s_mutex;
    return s_mutex.Get();
}

StatisticsListener g_listener = {nullptr, nullptr};

} // namespace

Statistics& Statistics::Instance() {
    static Statistics s_instance; // nothing to destroy: it serves to the very end
    return s_instance;
}

void Statistics::IncrementStat(unsigned int id, long long amount) {
    if (id < MaximumStats) {
        m_stats[id].fetch_add(amount, std::memory_order_relaxed);
    }
}

void Statistics::DecrementStat(unsigned int id, long long amount) {
    if (id < MaximumStats) {
        m_stats[id].fetch_sub(amount, std::memory_order_relaxed);
    }
}

long long Statistics::GetStat(unsigned int id) const {
    return id < MaximumStats ? m_stats[id].load(std::memory_order_relaxed) : 0;
}

char const* Statistics::GetStatName(unsigned int id) {
    return id == StatTextureMemory ? "texture memory" : nullptr;
}

void Statistics::FireEvent(StringEncoded<UTF16Encoding> const& event) {
    if (!HasListener()) {
        return;
    }
    ScopedLock lock(ListenerMutex());
    StatisticsListener const listener = g_listener;
    if (listener.pfnHandle) {
        listener.pfnHandle(listener.pUser, event);
    }
}

bool Statistics::HasListener() const {
    return m_fListening.load(std::memory_order_relaxed);
}

StatisticsListener Statistics::SetListener(StatisticsListener::Function handle, void* user) {
    return SetListener(StatisticsListener{handle, user});
}

StatisticsListener Statistics::SetListener(StatisticsListener const& listener) {
    ScopedLock lock(ListenerMutex());
    StatisticsListener const before = g_listener;
    g_listener = listener;
    m_fListening.store(listener.pfnHandle != nullptr, std::memory_order_relaxed);
    return before;
}

} // namespace trevik
