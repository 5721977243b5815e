#pragma once

#include "trevik/Export.h"
#include "trevik/Referenced.h"

namespace trevik::kelvo {

/** Base of objects that an application attaches to nodes with Node::SetUserData. Neither cloned nor saved. */
class TREVIK_API NodeUserdata : public Referenced {
public:
    ~NodeUserdata() override;
};

} // namespace trevik::kelvo
