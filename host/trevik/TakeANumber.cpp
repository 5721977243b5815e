#include "trevik/TakeANumber.h"

namespace trevik {

namespace {

// Tickets wrap around after the largest int; what counts is how far they lie apart.
int Distance(int from, int to) {
    return static_cast<int>(static_cast<unsigned int>(to) - static_cast<unsigned int>(from));
}

int Next(int ticket) {
    return static_cast<int>(static_cast<unsigned int>(ticket) + 1u);
}

} // namespace

TakeANumber::TakeANumber() : m_nNext(0), m_nServing(0) {
    pthread_mutex_init(&m_mutex, nullptr);
    pthread_cond_init(&m_condition, nullptr);
}

TakeANumber::~TakeANumber() {
    pthread_cond_destroy(&m_condition);
    pthread_mutex_destroy(&m_mutex);
}

int TakeANumber::AssignNext() {
    pthread_mutex_lock(&m_mutex);
    int const ticket = m_nNext;
    m_nNext = Next(ticket);
    pthread_mutex_unlock(&m_mutex);
    return ticket;
}

bool TakeANumber::Process(int ticket) {
    pthread_mutex_lock(&m_mutex);
    bool turn = Distance(ticket, m_nNext) > 0;
    while (turn && Distance(m_nServing, ticket) > 0) {
        pthread_cond_wait(&m_condition, &m_mutex);
    }
    turn = turn && m_nServing == ticket;
    if (turn) {
        m_nServing = Next(ticket);
        pthread_cond_broadcast(&m_condition);
    }
    pthread_mutex_unlock(&m_mutex);
    return turn;
}

bool TakeANumber::WaitFor(int ticket) {
    pthread_mutex_lock(&m_mutex);
    bool const given = Distance(ticket, m_nNext) > 0;
    while (given && Distance(m_nServing, ticket) >= 0) {
        pthread_cond_wait(&m_condition, &m_mutex);
    }
    pthread_mutex_unlock(&m_mutex);
    return given;
}

} // namespace trevik
