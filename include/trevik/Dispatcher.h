#pragma once

#include "trevik/Event.h"
#include "trevik/Export.h"
#include "trevik/Function.h"
#include "trevik/List.h"
#include "trevik/Mutex.h"
#include "trevik/Ref.h"
#include "trevik/TakeANumber.h"

#include <pthread.h>

namespace trevik {

/** Work to be done once, on another thread or later. */
class TREVIK_API OperationBase : public Referenced {
public:
    ~OperationBase() override;
    /** Does the work; called once. */
    virtual void Execute() = 0;

    /** Whether there is something to execute; dispatchers refuse operations without. */
    virtual bool IsValid() const { return true; }
};

/** Work given as a callable, which holds copies of, or references to, what it needs. */
class TREVIK_API Operation : public OperationBase {
public:
    /** Anything that a `function<void()>` takes. */
    template <class F>
    explicit Operation(F callable) : m_callable(std::move(callable)) {}

    /** Calls the callable. */
    void Execute() override;

    /** Whether there is something to call; there is not when there was no memory for the callable. */
    bool IsValid() const override { return static_cast<bool>(m_callable); }

private:
    function<void()> m_callable;
};

/** Has operations executed, in the order in which they come. */
class TREVIK_API Dispatcher {
public:
    Dispatcher();
    virtual ~Dispatcher();

    Dispatcher(Dispatcher const&) = delete;
    Dispatcher& operator=(Dispatcher const&) = delete;

    /**
     * Queues an operation, keeping a reference to it, and does not wait for it. Any thread.
     * @return false, with nothing queued, for null, for an invalid operation and without memory.
     */
    virtual bool Enqueue(Ref<OperationBase>& operation) = 0;

    /**
     * Queues an operation and waits until it has been executed; on the executing thread itself, executes it
     * at once, ahead of the queued ones. Any thread.
     * @return false, with nothing executed, for null, for an invalid operation and without memory.
     */
    virtual bool Invoke(Ref<OperationBase>& operation) = 0;

protected:
    Ref<TakeANumber> m_pTickets; ///< one ticket for each queued operation, through when it has been executed
};

/** Keeps operations until the executing thread comes for them. */
class TREVIK_API QueueDispatcher : public Dispatcher {
public:
    QueueDispatcher();

    /** Releases the operations that were never executed. No thread may be using the dispatcher. */
    ~QueueDispatcher() override;

    bool Enqueue(Ref<OperationBase>& operation) override;

    /** The executing thread is the one that last called SetExecutingThread or ExecuteEnqueuedOperations. */
    bool Invoke(Ref<OperationBase>& operation) override;

    /**
     * Makes the calling thread the executing one before it comes for operations, so that it never waits for
     * itself.
     */
    void SetExecutingThread() {
        ScopedLock lock(m_mutex);
        m_executingThread = pthread_self();
        m_fExecutingThreadKnown = true;
    }

    /**
     * Executes the operations that are queued now, in order, on the calling thread, and releases each right
     * after it has been executed. No lock is held meanwhile, so operations may queue others; those wait for
     * the next call. A call from within an operation, or while another thread is executing, does nothing.
     */
    void ExecuteEnqueuedOperations();

    /**
     * Waits until an operation is queued; for a thread that does nothing else. @return false when the time is
     * up.
     */
    bool WaitForOperations(unsigned int milliseconds);

    /**
     * Waits until everything that was queued has been executed. Not on the executing thread, which would wait
     * for itself.
     * @return false when the time is up.
     */
    bool WaitUntilIdle(unsigned int milliseconds);

    /** The number of operations that no ExecuteEnqueuedOperations has taken up yet. */
    unsigned int GetPendingCount();

private:
    bool EnqueueWithTicket(OperationBase* operation, int& ticket);
    bool IsExecutingThread();

    Event m_queued; // set when an operation comes in
    Mutex m_mutex;  // guards the queue and the members after the batch
    List<Ref<OperationBase>> m_queue;
    ManualResetEvent m_idle; // signalled while all that was ever queued has been executed

    List<Ref<OperationBase>> m_batch; // the operations being executed, for the executing thread alone
    int m_nFirstTicket;               // the ticket of the first operation in the queue
    pthread_t m_executingThread;
    bool m_fExecutingThreadKnown;
    bool m_fExecuting;
};

} // namespace trevik
