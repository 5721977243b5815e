#include "trevik/Event.h"

#include <cerrno>
#include <ctime>

namespace trevik {

Event::Event(StringEncoded<UTF16Encoding> const& name, bool signalled, bool manualReset)
    : m_sName(name), m_fSignalled(signalled), m_fManualReset(manualReset) {
    pthread_mutex_init(&m_mutex, nullptr);
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes,
                              CLOCK_MONOTONIC); // a wait must not depend on the wall clock being set
    pthread_cond_init(&m_condition, &attributes);
    pthread_condattr_destroy(&attributes);
}

Event::~Event() {
    pthread_cond_destroy(&m_condition);
    pthread_mutex_destroy(&m_mutex);
}

void Event::Set() {
    pthread_mutex_lock(&m_mutex);
    m_fSignalled = true;
    if (m_fManualReset) {
        pthread_cond_broadcast(&m_condition);
    } else {
        pthread_cond_signal(&m_condition);
    }
    pthread_mutex_unlock(&m_mutex);
}

void Event::Reset() {
    pthread_mutex_lock(&m_mutex);
    m_fSignalled = false;
    pthread_mutex_unlock(&m_mutex);
}

/** Under the lock: whether a waiter may go on. An automatic event is reset for the one that does. */
bool Event::Pass() {
    bool const signalled = m_fSignalled;
    m_fSignalled = signalled && m_fManualReset;
    return signalled;
}

void Event::Wait() {
    pthread_mutex_lock(&m_mutex);
    while (!Pass()) {
        pthread_cond_wait(&m_condition, &m_mutex);
    }
    pthread_mutex_unlock(&m_mutex);
}

bool Event::Wait(unsigned int milliseconds) {
    timespec deadline;
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += milliseconds / 1000;
    deadline.tv_nsec += static_cast<long>(milliseconds % 1000) * 1000000;
    if (deadline.tv_nsec >= 1000000000) {
        deadline.tv_nsec -= 1000000000;
        ++deadline.tv_sec;
    }
    pthread_mutex_lock(&m_mutex);
    bool passed = Pass();
    while (!passed && milliseconds > 0) {
        bool const late = pthread_cond_timedwait(&m_condition, &m_mutex, &deadline) == ETIMEDOUT;
        passed = Pass();
        if (late) {
            break;
        }
    }
    pthread_mutex_unlock(&m_mutex);
    return passed;
}

} // namespace trevik
