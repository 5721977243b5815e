#pragma once

#include "trevik/Referenced.h"

namespace trevik::kelvo {

/** Base of whatever an application hangs on a node with Node::SetUserData. Neither cloned nor saved. */
class NodeUserdata : public Referenced {};

} // namespace trevik::kelvo
