#pragma once

#include "trevik/Export.h"
#include "trevik/Referenced.h"

#include <pthread.h>

namespace trevik {

/**
 * Puts threads in an order that was settled beforehand. Each takes a ticket; Process then lets the tickets
 * through in that order, also where threads come in another one.
 *
 * Ticket n is through as soon as Process(n) has returned on some thread; every ticket given out has to be
 * processed once, or those behind it wait for ever.
 */
class TREVIK_API TakeANumber : public Referenced {
public:
    TakeANumber();
    ~TakeANumber() override;

    TakeANumber(TakeANumber const&) = delete;
    TakeANumber& operator=(TakeANumber const&) = delete;

    /** The next ticket: 0, 1, 2 and so on. */
    int AssignNext();

    /**
     * Waits until all tickets before this one are through, and lets it through.
     * @return false, at once, for a ticket that was never given out or is through already.
     */
    bool Process(int ticket);

    /**
     * Waits until this ticket is through, processed by whichever thread.
     * @return false, at once, for a ticket that was never given out.
     */
    bool WaitFor(int ticket);

private:
    pthread_mutex_t m_mutex;
    pthread_cond_t m_condition;
    int m_nNext;    // the ticket that is given out next
    int m_nServing; // the first ticket that is not through
};

} // namespace trevik
