#include "trevik/Dispatcher.h"

#include <new>

namespace trevik {

OperationBase::~OperationBase() {}

void Operation::Execute() {
    m_callable();
}

Dispatcher::Dispatcher() : m_pTickets(new (std::nothrow) TakeANumber) {}

Dispatcher::~Dispatcher() {}

QueueDispatcher::QueueDispatcher()
    : m_queued(String16::FromLiteral(u"operations queued"), false, false), m_nFirstTicket(0),
      m_executingThread(), m_fExecutingThreadKnown(false), m_fExecuting(false) {}

QueueDispatcher::~QueueDispatcher() {}

bool QueueDispatcher::Enqueue(Ref<OperationBase>& operation) {
    int ticket;
    return EnqueueWithTicket(operation.Get(), ticket);
}

bool QueueDispatcher::Invoke(Ref<OperationBase>& operation) {
    if (!operation || !operation->IsValid()) {
        return false;
    }
    if (IsExecutingThread()) {
        operation->Execute();
        return true;
    }
    int ticket;
    return EnqueueWithTicket(operation.Get(), ticket) && m_pTickets->WaitFor(ticket);
}

bool QueueDispatcher::EnqueueWithTicket(OperationBase* operation, int& ticket) {
    ScopedLock lock(m_mutex);
    if (!operation || !operation->IsValid() || !m_pTickets ||
        !m_queue.Append(Ref<OperationBase>(operation))) {
        return false;
    }
    ticket = m_pTickets->AssignNext();
    if (m_queue.GetCount() == 1) {
        m_nFirstTicket = ticket;
    }
    m_idle.Reset();
    m_queued.Set();
    return true;
}

void QueueDispatcher::ExecuteEnqueuedOperations() {
    int ticket;
    {
        ScopedLock lock(m_mutex);
        if (m_fExecuting) {
            return;
        }
        m_executingThread = pthread_self();
        m_fExecutingThreadKnown = true;
        if (m_queue.IsEmpty()) {
            return;
        }
        m_fExecuting = true;
        m_batch.Swap(m_queue);
        ticket = m_nFirstTicket;
        m_queued.Reset();
    }
    for (Ref<OperationBase>& operation : m_batch) {
        operation->Execute();
        operation.Reset();
        m_pTickets->Process(ticket);
        ticket = static_cast<int>(static_cast<unsigned int>(ticket) + 1u);
    }
    ScopedLock lock(m_mutex);
    m_batch.Clear();
    m_fExecuting = false;
    if (m_queue.IsEmpty()) {
        m_idle.Set();
    }
}

bool QueueDispatcher::WaitForOperations(unsigned int milliseconds) {
    return m_queued.Wait(milliseconds);
}

bool QueueDispatcher::WaitUntilIdle(unsigned int milliseconds) {
    {
        ScopedLock lock(m_mutex);
        if (m_queue.IsEmpty() && !m_fExecuting) {
            return true;
        }
    }
    return m_idle.Wait(milliseconds);
}

unsigned int QueueDispatcher::GetPendingCount() {
    ScopedLock lock(m_mutex);
    return m_queue.GetCount();
}

bool QueueDispatcher::IsExecutingThread() {
    ScopedLock lock(m_mutex);
    return m_fExecutingThreadKnown && pthread_equal(m_executingThread, pthread_self()) != 0;
}

} // namespace trevik
