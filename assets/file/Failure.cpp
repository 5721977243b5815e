#include "file/Failure.h"

namespace trevik::kelvo::assets {

bool Fail(Fault& fault, std::string const& where, std::string const& what, std::string const& why) {
    fault = Fault(where, what, why);
    return false;
}

} // namespace trevik::kelvo::assets
