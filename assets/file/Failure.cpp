#include "file/Failure.h"

namespace trevik::kelvo::assets {

namespace {

String8 ToString8(std::string const& text) {
    return String8(text.data(), static_cast<unsigned int>(text.size()));
}

} // namespace

Fault MakeFault(std::string const& where, std::string const& what, std::string const& why) {
    return Fault(ToString8(where), ToString8(what), ToString8(why));
}

bool Fail(Fault& fault, std::string const& where, std::string const& what, std::string const& why) {
    fault = MakeFault(where, what, why);
    return false;
}

Fault PutWithin(Fault const& fault, std::string const& where) {
    return fault.Within(ToString8(where));
}

std::string TextOf(Fault const& fault) {
    return TextOf(fault.GetText());
}

std::string TextOf(String8 const& sPart) {
    return std::string(sPart.GetData(), sPart.GetLength());
}

} // namespace trevik::kelvo::assets
