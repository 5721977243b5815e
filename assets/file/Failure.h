#pragma once

#include "kelvo_host/Fault.h"

#include <string>

namespace trevik::kelvo::assets {

/** A fault of texts in UTF-8; see Fault. */
Fault MakeFault(std::string const& where, std::string const& what, std::string const& why = {});

/** Sets `fault` and returns false: how every function of this room reports a failure. */
bool Fail(Fault& fault, std::string const& where, std::string const& what, std::string const& why = {});

/** Fault::Within. */
Fault PutWithin(Fault const& fault, std::string const& where);

/** The whole fault in one line. */
std::string TextOf(Fault const& fault);

} // namespace trevik::kelvo::assets
