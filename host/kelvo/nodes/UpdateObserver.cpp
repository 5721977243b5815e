#include "kelvo_host/UpdateObserver.h"

#include <utility>

namespace trevik::kelvo {

UpdateObserver* UpdateObserver::s_pObserver = nullptr;

UpdateObserver::~UpdateObserver() = default;

UpdateObserver* UpdateObserver::Set(UpdateObserver* pObserver) {
    return std::exchange(s_pObserver, pObserver);
}

} // namespace trevik::kelvo
