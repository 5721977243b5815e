#include "file/Failure.h"

namespace trevik::kelvo::assets {

Fault MakeFault(std::string const& where, std::string const& what, std::string const& why) {
    return Fault(where, what, why);
}

bool Fail(Fault& fault, std::string const& where, std::string const& what, std::string const& why) {
    fault = MakeFault(where, what, why);
    return false;
}

Fault PutWithin(Fault const& fault, std::string const& where) {
    return fault.Within(where);
}

std::string TextOf(Fault const& fault) {
    return fault.GetText();
}

} // namespace trevik::kelvo::assets
