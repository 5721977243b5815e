#pragma once

#include "kelvo_host/Scene.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/Node.h"

#include <gtest/gtest.h>

#include <string>

namespace trevik::kelvo::assets::testing {

/** Registers the back end's classes; creating and loading their objects needs no GL. */
void RegisterBackend(ClassRegistry& registry);

/** A new node of a class that is registered, or a TransformNode. */
Ref<Node> CreateNode(ClassRegistry const& registry, std::string const& className);

/** A scene text around the text of its nodes. */
std::string SceneOf(std::string const& nodes);

/** Reads a scene that must be right; file names in it are relative to the folder, which ends in "/". */
void ReadGood(std::string const& text, Scene& scene, std::string const& folder = "");

/** The message for a scene that must be wrong, without its "scene.json:". */
std::string ErrorOf(std::string const& text, std::string const& folder = "");

/** The node with a name, which must be there. */
Node& Find(Scene const& scene, char const* pName);

/** A node's property, which must be of this type. */
template <class T>
BaseProperty<T>& PropertyOf(Node& node, char const* pName) {
    PropertyList::Entry const* const pEntry = node.GetProperties().Find(HashName(pName));
    EXPECT_TRUE(pEntry && pEntry->m_pDescriptor->m_type == PropertyTypeOf<T>::value) << pName;
    return *static_cast<BaseProperty<T>*>(pEntry->m_pProperty);
}

} // namespace trevik::kelvo::assets::testing
