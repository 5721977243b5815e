#pragma once

#include "GraphicsDeviceGL2.h"
#include "trevik/Dispatcher.h"

#include <new>

namespace trevik::kelvo {

/**
 * Calls `work` on the render thread: at once when that is the calling one, else at its next Process, in the
 * order of arrival, without waiting. False, with nothing called and nothing queued, without memory.
 */
template <class F>
bool DoInRenderThread(F const& work) {
    if (GraphicsDeviceGL2::InRenderThread()) {
        work();
        return true;
    }
    Ref<OperationBase> pOperation(new (std::nothrow) Operation(work));
    return GraphicsDeviceGL2::GetDispatcher()->Enqueue(pOperation);
}

} // namespace trevik::kelvo
