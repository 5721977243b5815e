#pragma once

#include "kelvo_host/Fault.h"

#include <string>

namespace trevik::kelvo::assets {

/** Sets `fault` and returns false: how every function of this room reports a failure. */
bool Fail(Fault& fault, std::string const& where, std::string const& what, std::string const& why = {});

} // namespace trevik::kelvo::assets
