#include "trevik/ScopeCounter.h"

#include "kelvo_host/ScopeObserver.h"

#include <algorithm>
#include <chrono>

namespace trevik {

namespace {

struct Figures {
    std::atomic<unsigned long long> nCalls{0};
    std::atomic<unsigned long long> nNanoseconds{0};
};

Figures g_figures[ScopeCounter::MaximumIds];

// The frames' record belongs to the thread that marks them: a ring of frames, with one entry for each id.
unsigned long long g_frames[ScopeCounter::MaximumFrames][ScopeCounter::MaximumIds];
unsigned long long g_atLastMark[ScopeCounter::MaximumIds];
unsigned long long g_nLastMark = 0;
unsigned int g_nMarks = 0; // stays at MaximumFrames or below
unsigned int g_nNextFrame = 0;

unsigned long long Now() {
    return static_cast<unsigned long long>(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                               std::chrono::steady_clock::now().time_since_epoch())
                                               .count());
}

void Add(unsigned int id, unsigned long long nanoseconds) {
    g_figures[id].nCalls.fetch_add(1, std::memory_order_relaxed);
    g_figures[id].nNanoseconds.fetch_add(nanoseconds, std::memory_order_relaxed);
}

unsigned long long TimeOf(unsigned int id) {
    return g_figures[id].nNanoseconds.load(std::memory_order_relaxed);
}

/** Begins a frame: time that was counted before belongs to no frame. */
void BeginFrame() {
    for (unsigned int id = 0; id < ScopeCounter::MaximumIds; ++id) {
        g_atLastMark[id] = TimeOf(id);
    }
    g_nLastMark = Now();
}

} // namespace

std::atomic<bool> ScopeCounter::s_fProfiling{false};

void ScopeCounter::SetProfiling(bool profiling) {
    if (profiling && !IsProfiling()) {
        BeginFrame();
    }
    s_fProfiling.store(profiling, std::memory_order_relaxed);
}

void ScopeCounter::ResetFigures() {
    for (Figures& figures : g_figures) {
        figures.nCalls.store(0, std::memory_order_relaxed);
        figures.nNanoseconds.store(0, std::memory_order_relaxed);
    }
    g_nMarks = 0;
    g_nNextFrame = 0;
    BeginFrame();
}

ScopeTotals ScopeCounter::GetTotals(unsigned int id) {
    if (id >= MaximumIds) {
        return ScopeTotals{0, 0};
    }
    return ScopeTotals{g_figures[id].nCalls.load(std::memory_order_relaxed), TimeOf(id)};
}

void ScopeCounter::MarkFrame() {
    if (!IsProfiling()) {
        return;
    }
    unsigned long long const now = Now();
    Add(Frame, now - g_nLastMark);
    g_nLastMark = now;
    for (unsigned int id = 0; id < MaximumIds; ++id) {
        unsigned long long const time = TimeOf(id);
        g_frames[g_nNextFrame][id] = time - g_atLastMark[id];
        g_atLastMark[id] = time;
    }
    g_nNextFrame = (g_nNextFrame + 1) % MaximumFrames;
    g_nMarks = std::min<unsigned int>(g_nMarks + 1, MaximumFrames);
}

ScopeFrameTimes ScopeCounter::GetFrameTimes(unsigned int id) {
    if (id >= MaximumIds || g_nMarks == 0) {
        return ScopeFrameTimes{0, 0, 0, 0, 0};
    }
    unsigned long long sorted[MaximumFrames];
    unsigned int const count = g_nMarks;
    for (unsigned int i = 0; i < count; ++i) {
        sorted[i] = g_frames[i][id];
    }
    std::sort(sorted, sorted + count);
    // The smallest entry that at least this share of the frames does not exceed.
    auto const rank = [&](unsigned int percent) { return sorted[(count * percent + 99) / 100 - 1]; };
    return ScopeFrameTimes{count, rank(50), rank(95), rank(99), sorted[count - 1]};
}

char const* ScopeCounter::GetName(unsigned int id) {
    switch (id) {
    case SpriteRender:
        return "sprite render";
    case TextRender:
        return "text render";
    case GlyphBatch:
        return "glyph batch";
    case PolygonalGlyph:
        return "polygonal glyph";
    case TextureCreation:
        return "texture creation";
    case DeviceInitialization:
        return "device initialisation";
    case Present:
        return "present";
    case ShaderInitialization:
        return "shader initialisation";
    case TimelinePreChildren:
        return "timeline before children";
    case TimelinePostChildren:
        return "timeline after children";
    case JavaReferenceRelease:
        return "Java reference release";
    case JavaBitmapCall:
        return "Java bitmap call";
    case Frame:
        return "frame";
    default:
        return nullptr;
    }
}

unsigned long long ScopeCounter::Enter() {
    return Now();
}

void ScopeCounter::Leave(unsigned int id, unsigned long long start) {
    if (id >= MaximumIds) {
        return;
    }
    unsigned long long const end = Now();
    Add(id, end - start);
    if (ScopeObserver* const pObserver = ScopeObserver::Get()) {
        pObserver->EndScope(id, start, end);
    }
}

} // namespace trevik
