#pragma once

#include "GraphicsDeviceGL2.h"
#include "trevik/Dispatcher.h"

#include <new>

namespace trevik::kelvo {

/**
 * Calls `work`, which deletes objects of a context, on the render thread: at once when that is the calling
 * one, else at its next Process, in the order of arrival, without waiting. Once the context is gone `work` is
 * not called: the objects went with the context.
 * @param nContext a GraphicsDeviceGL2::GetContextNumber.
 * @return false, with nothing called and nothing queued, without memory.
 */
template <class F>
bool DoInContext(unsigned int nContext, F const& work) {
    if (nContext != GraphicsDeviceGL2::GetContextNumber()) {
        return true;
    }
    if (GraphicsDeviceGL2::InRenderThread()) {
        work();
        return true;
    }
    Ref<OperationBase> pOperation(new (std::nothrow) Operation([nContext, work] {
        if (nContext == GraphicsDeviceGL2::GetContextNumber()) {
            work();
        }
    }));
    return GraphicsDeviceGL2::GetDispatcher()->Enqueue(pOperation);
}

} // namespace trevik::kelvo
