#pragma once

#include "image/Image.h"
#include "kelvo_host/Fault.h"
#include "trevik/ClassRegistry.h"

#include <string>

namespace trevik::kelvo::assets {

/**
 * Writes the text of a scene, or of a file that scenes include, in one form: keys in the order of the
 * format's description and properties in that of their classes, two spaces inside of brackets, on one line
 * what fits there. What it says stays the same, and so does what is written in that form. False with one line
 * in `fault` when it is no JSON, or has comments, which would be lost.
 */
bool FormatScene(ByteSpan text, std::string const& name, ClassRegistry const& registry,
                 std::string& formatted, Fault& fault);

} // namespace trevik::kelvo::assets
