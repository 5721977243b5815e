#include "trevik/Referenced.h"

namespace trevik {

Referenced::~Referenced() {}

} // namespace trevik
