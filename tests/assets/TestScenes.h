#pragma once

#include "kelvo_host/Scene.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Node.h"
#include "trevik/kelvo/PropertyList.h"

#include <string>

namespace trevik::kelvo::assets::testing {

/** Registers the back end's classes; creating and loading their objects needs no GL. */
void RegisterBackend(ClassRegistry& registry);

/** A new node of a class that is registered, or a TransformNode. */
Ref<Node> CreateNode(ClassRegistry const& registry, std::string const& className);

/** Reads a scene "scene.json"; file names in it are relative to the folder, which ends in "/". */
bool ReadScene(std::string const& text, std::string const& folder, Scene& scene, std::string& error);

/** The message for a scene that must be wrong, without its "scene.json:". */
std::string ErrorOf(std::string const& text, std::string const& folder = "");

/** A property's value as text. */
std::string DescribeValueOf(PropertyList::Entry const& entry);

/**
 * A scene as text, a line for each object, and for each value that is another one than a new object's; what
 * is animated, at each half frame of the scene that changes it.
 */
std::string DescribeScene(Scene const& scene);

} // namespace trevik::kelvo::assets::testing
