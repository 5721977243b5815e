// Reads hostile scene files. A scene is read whole or not at all, what is wrong is said in one line, and what
// has been read can be saved and loaded again.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "SceneReader.h"

#include "kelvo_host/Scene.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Debug.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/Serializer.h"

using namespace trevik;
using namespace trevik::kelvo;

extern "C" bool Initialize(ClassRegistry* pRegistry);

namespace {

void Require(bool fHolds) {
    if (!fHolds) {
        std::abort();
    }
}

List<unsigned char> Save(Scene const& scene) {
    Serializer serializer;
    List<unsigned char> bytes;
    Require(scene.Save(serializer));
    Ref<DocumentNode> const pDocument = serializer.Finish();
    Require(pDocument && pDocument->Write(bytes));
    return bytes;
}

void CheckSavesTheSame(Scene const& scene, ClassRegistry& registry) {
    List<unsigned char> const first = Save(scene);
    Ref<DocumentNode> const pDocument = DocumentNode::Read(first.GetData(), first.GetCount());
    Require(static_cast<bool>(pDocument));
    Deserializer deserializer(pDocument, registry);
    Scene again;
    Require(again.Load(deserializer));
    Require(Save(again) == first);
}

void DropTrace(void*, TraceLevel::Enum, String16 const&) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Debug::SetSink(&DropTrace);
    ClassRegistry registry;
    Initialize(&registry);
    Scene scene;
    std::string error;
    if (assets::ReadSceneText({data, size}, "scene.json", KELVO_FUZZ_PICTURES, registry, scene, error)) {
        Require(scene.GetRoot() && error.empty());
        CheckSavesTheSame(scene, registry);
    } else {
        Require(!scene.GetRoot());
        Require(error.rfind("scene.json:", 0) == 0 && error.find('\n') == std::string::npos);
    }
    return 0;
}
