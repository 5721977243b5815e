#include "trevik/Memory.h"

#include "trevik/Allocation.h"

#include <atomic>
#include <new>

namespace trevik {

namespace {

std::atomic<unsigned long long> g_nAllocated{0};
std::atomic<unsigned long long> g_nFreed{0};
std::atomic<bool> g_fLimited{false};
std::atomic<long long> g_nAllowed{0};

bool IsRefused() {
    return g_fLimited.load(std::memory_order_relaxed) &&
           g_nAllowed.fetch_sub(1, std::memory_order_relaxed) <= 0;
}

} // namespace

void* AllocateMemory(std::size_t bytes) noexcept {
    void* const memory = IsRefused() ? nullptr : ::operator new(bytes, std::nothrow);
    if (memory) {
        g_nAllocated.fetch_add(1, std::memory_order_relaxed);
    }
    return memory;
}

void FreeMemory(void* memory) noexcept {
    if (memory) {
        g_nFreed.fetch_add(1, std::memory_order_relaxed);
        ::operator delete(memory);
    }
}

void Allocation::FailAfter(unsigned int count) {
    g_nAllowed.store(count);
    g_fLimited.store(true);
}

void Allocation::FailNever() {
    g_fLimited.store(false);
}

unsigned long long Allocation::GetCount() {
    return g_nAllocated.load();
}

long long Allocation::GetLiveCount() {
    unsigned long long const freed = g_nFreed.load();
    return static_cast<long long>(g_nAllocated.load() - freed);
}

} // namespace trevik
