#include "TestScenes.h"

#include "SceneReader.h"

#include "trevik/kelvo/NodeVisitor.h"
#include "trevik/kelvo/TransformNode.h"

#include <gtest/gtest.h>

#include <stdexcept>

extern "C" bool Initialize(trevik::ClassRegistry* pRegistry);

namespace trevik::kelvo::assets::testing {

namespace {

bool Read(std::string const& text, std::string const& folder, Scene& scene, std::string& error) {
    ClassRegistry registry;
    RegisterBackend(registry);
    ByteSpan const bytes{reinterpret_cast<std::uint8_t const*>(text.data()), text.size()};
    return ReadSceneText(bytes, "scene.json", folder, registry, scene, error);
}

} // namespace

void RegisterBackend(ClassRegistry& registry) {
    ASSERT_TRUE(Initialize(&registry));
}

Ref<Node> CreateNode(ClassRegistry const& registry, std::string const& className) {
    unsigned int const nClassID = HashName(className.data(), className.size());
    if (nClassID == TransformNode::ClassID) {
        return Ref<Node>(new TransformNode);
    }
    Ref<Referenced> const pObject(registry.Create(nClassID));
    Ref<Node> const pNode(dynamic_cast<Node*>(pObject.Get()));
    if (!pNode) {
        throw std::runtime_error("no class of nodes is called " + className);
    }
    return pNode;
}

std::string SceneOf(std::string const& nodes) {
    return "{\"nodes\": [" + nodes + "]}";
}

void ReadGood(std::string const& text, Scene& scene, std::string const& folder) {
    std::string error;
    ASSERT_TRUE(Read(text, folder, scene, error)) << error;
}

std::string ErrorOf(std::string const& text, std::string const& folder) {
    Scene scene;
    std::string error;
    EXPECT_FALSE(Read(text, folder, scene, error)) << text;
    EXPECT_FALSE(scene.GetRoot()) << "the scene was touched";
    EXPECT_EQ(error.rfind("scene.json:", 0), 0u) << error;
    return error.substr(error.find(':') + 1);
}

Node& Find(Scene const& scene, char const* pName) {
    Node* const pNode = scene.GetRoot() ? scene.GetRoot()->FindNode(String16(String8(pName))) : nullptr;
    if (!pNode) {
        throw std::runtime_error(std::string("no node is called ") + pName);
    }
    return *pNode;
}

} // namespace trevik::kelvo::assets::testing
