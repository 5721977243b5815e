#pragma once

#include "trevik/Export.h"
#include "trevik/Referenced.h"

namespace trevik::kelvo {

/** Base of whatever an application hangs on a node with Node::SetUserData. Neither cloned nor saved. */
class TREVIK_API NodeUserdata : public Referenced {
public:
    ~NodeUserdata() override;
};

} // namespace trevik::kelvo
