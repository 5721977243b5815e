#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

namespace kelvokit::bench {

/**
 * The GL calls of a frame with their arguments, one after the other, as they can be issued again without
 * anything around them. Linking GlTape.cpp and GlTapeEntryPoints.cpp into an executable puts them between the
 * library and GL: all calls pass there, and are noted while a tape records.
 */
class GlTape {
public:
    /** Notes the calls of `work`, which are made as well. */
    template <class Work>
    void Record(Work work) {
        m_calls.clear();
        s_pRecording = this;
        work();
        s_pRecording = nullptr;
    }
    /** Makes the noted calls. */
    void Play() const {
        for (std::function<void()> const& call : m_calls) {
            call();
        }
    }
    std::size_t GetCount() const { return m_calls.size(); }

    static GlTape* Recording() { return s_pRecording; }
    void Note(std::function<void()> call) { m_calls.push_back(std::move(call)); }

    /** GL's own function behind the one of this name in the executable; ends the program where there is none.
     */
    static void* FindNext(char const* pName);

private:
    static inline GlTape* s_pRecording = nullptr;

    std::vector<std::function<void()>> m_calls;
};

} // namespace kelvokit::bench
