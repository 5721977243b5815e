#pragma once

#include <condition_variable>
#include <mutex>

namespace kelvokit::live {

/**
 * Lets a producer and the renderer take turns with a surface: the producer writes one while the other one is
 * drawn, and each frame shows what was written for it, whole.
 */
class Handover {
public:
    // The producer's side. Each waits for the other side; false when the other side has given up.

    bool WaitUntilFree() { return WaitFor(State::Free); }
    void SetWritten() { Set(State::Written); }

    // The renderer's side.

    bool WaitUntilWritten() { return WaitFor(State::Written); }
    void SetFree() { Set(State::Free); }

    /** Either side. */
    void GiveUp() { Set(State::GivenUp); }

private:
    enum class State { Free, Written, GivenUp };

    bool WaitFor(State state) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [&] { return m_state == state || m_state == State::GivenUp; });
        return m_state == state;
    }

    void Set(State state) {
        std::lock_guard<std::mutex> const lock(m_mutex);
        if (m_state != State::GivenUp) {
            m_state = state;
        }
        m_changed.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state = State::Free;
};

} // namespace kelvokit::live
