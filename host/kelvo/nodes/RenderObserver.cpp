#include "kelvo_host/RenderObserver.h"

namespace trevik::kelvo {

RenderObserver* RenderObserver::s_pObserver = nullptr;

RenderObserver::~RenderObserver() = default;

RenderObserver* RenderObserver::Set(RenderObserver* pObserver) {
    RenderObserver* const pBefore = s_pObserver;
    s_pObserver = pObserver;
    return pBefore;
}

} // namespace trevik::kelvo
