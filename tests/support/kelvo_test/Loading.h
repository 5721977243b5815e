#pragma once

#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Node.h"
#include "trevik/kelvo/Serializer.h"

namespace kelvokit::test {

/**
 * Saves a node and loads it back into itself, so that it builds what nodes build on loading. For nodes that
 * have no children, masks and effects yet.
 */
inline bool LoadItself(trevik::kelvo::Node& node, trevik::ClassRegistry& registry) {
    trevik::kelvo::Serializer serializer;
    if (!node.Save(serializer)) {
        return false;
    }
    trevik::kelvo::Deserializer deserializer(serializer.Finish(), registry);
    return node.Load(deserializer);
}

} // namespace kelvokit::test
