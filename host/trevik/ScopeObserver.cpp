#include "kelvo_host/ScopeObserver.h"

namespace trevik {

std::atomic<ScopeObserver*> ScopeObserver::s_pObserver{nullptr};

ScopeObserver::~ScopeObserver() = default;

ScopeObserver* ScopeObserver::Set(ScopeObserver* pObserver) {
    return s_pObserver.exchange(pObserver);
}

} // namespace trevik
