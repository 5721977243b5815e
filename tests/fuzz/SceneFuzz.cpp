// Loads scenes from hostile documents. The input is either a document's bytes (first byte 0) or a recipe for
// one, in which tags, types and attributes are numbers of those that loaders know, so that variations stay
// close to scenes. What loads must be playable, must save, and must load again the same.

#include <cstdint>
#include <cstdlib>

#include "../host/TestFonts.h"
#include "kelvo_host/Scene.h"

using namespace trevik;
using namespace trevik::kelvo;
using namespace trevik::kelvo::test;

namespace {

constexpr unsigned int g_tags[] = {HashName("Node"),     HashName("Property"), HashName("Controller"),
                                   HashName("Camera"),   HashName("Effect"),   HashName("Mask"),
                                   HashName("Textures"), HashName("Texture"),  HashName("Background"),
                                   HashName("Fonts"),    HashName("Font"),     HashName("Mesh")};
constexpr unsigned int g_types[] = {HashName("Timeline"),
                                    HashName("Sprite"),
                                    HashName("Text"),
                                    HashName("Camera"),
                                    HashName("TransformNode"),
                                    HashName("Texture"),
                                    HashName("Font"),
                                    HashName("GaussianBlurEffect"),
                                    HashName("TestResource"),
                                    HashName("Sample"),
                                    HashName("Position"),
                                    HashName("Scale"),
                                    HashName("Opacity"),
                                    HashName("Size"),
                                    HashName("LastFrame"),
                                    HashName("PlaybackMode"),
                                    HashName("Text"),
                                    HashName("Visible"),
                                    HashName("PolygonalFont"),
                                    HashName("Box"),
                                    HashName("FontSize"),
                                    HashName("HorizontalAlignment"),
                                    HashName("VerticalAlignment"),
                                    HashName("WordWrap"),
                                    HashName("LetterSpacing"),
                                    HashName("TabWidth"),
                                    HashName("Shadow"),
                                    HashName("UnderlineScale")};
constexpr unsigned int g_attributes[] = {
    HashName("NodeName"),      HashName("Value"),      HashName("StartFrame"), HashName("Size"),
    HashName("Samples"),       HashName("Texture"),    HashName("Vertices"),   HashName("Shape"),
    HashName("MipLevels"),     HashName("TimeMap"),    HashName("FrameDelay"), HashName("AutoPlay"),
    HashName("SurfaceSize"),   HashName("FrameRate"),  HashName("FirstFrame"), HashName("LastFrame"),
    HashName("SurfaceFormat"), HashName("ClearColor"), HashName("CameraWay"),  HashName("Font"),
    HashName("Metrics"),       HashName("Glyphs"),     HashName("Kerning"),    HashName("Positions"),
    HashName("Indices")};

/** Takes an input to pieces; past its end everything is 0. */
class Input {
public:
    Input(std::uint8_t const* pData, std::size_t nSize) : m_pData(pData), m_nSize(nSize) {}

    bool IsEmpty() const { return m_nSize == 0; }
    std::uint8_t Byte() {
        std::uint8_t const nByte = m_nSize != 0 ? *m_pData : std::uint8_t(0);
        Skip(1);
        return nByte;
    }
    template <std::size_t N>
    unsigned int OneOf(unsigned int const (&values)[N]) {
        return values[Byte() % N];
    }
    std::uint8_t const* Take(std::size_t& nLength) {
        nLength = nLength < m_nSize ? nLength : m_nSize;
        std::uint8_t const* const pData = m_pData;
        Skip(nLength);
        return pData;
    }

private:
    void Skip(std::size_t nLength) {
        nLength = nLength < m_nSize ? nLength : m_nSize;
        m_pData += nLength;
        m_nSize -= nLength;
    }

    std::uint8_t const* m_pData;
    std::size_t m_nSize;
};

/** Follows a recipe: child, attribute and end, again and again. */
Ref<DocumentNode> Cook(Input input) {
    Serializer serializer;
    while (!input.IsEmpty()) {
        switch (input.Byte() % 4) {
        case 0: {
            unsigned int const nTagID = input.OneOf(g_tags);
            serializer.PushTag(nTagID, input.OneOf(g_types));
            break;
        }
        case 1:
            serializer.PopTag();
            break;
        default: {
            unsigned int const nID = input.OneOf(g_attributes);
            std::size_t nLength = input.Byte();
            std::uint8_t const* const pData = input.Take(nLength);
            serializer.WriteAttribute(nID, pData, nLength);
            break;
        }
        }
    }
    return serializer.Finish();
}

Ref<DocumentNode> Save(Scene const& scene) {
    Serializer serializer;
    return scene.Save(serializer) ? serializer.Finish() : Ref<DocumentNode>();
}

/**
 * Whether a property that sample controllers do not drive has one all the same: such a controller is inert,
 * it saves nothing, and so the property cannot be loaded again. Intended.
 */
bool HasInertController(DocumentNode const& node) {
    bool const fNotSampled = node.GetTagID() == DocumentID::Property && node.GetTypeID() == HashName("Text");
    for (unsigned int nChild = 0; nChild < node.GetChildCount(); ++nChild) {
        DocumentNode const& child = *node.GetChild(nChild);
        if ((fNotSampled && child.GetTagID() == DocumentID::Controller) || HasInertController(child)) {
            return true;
        }
    }
    return false;
}

void CheckSavesTheSame(Scene const& scene, ClassRegistry& registry) {
    Ref<DocumentNode> const pSaved = Save(scene);
    if (!pSaved) {
        return; // deeper with all its properties than a document can be
    }
    Scene again;
    Deserializer deserializer(pSaved, registry);
    List<unsigned char> first;
    List<unsigned char> second;
    if (!again.Load(deserializer)) {
        std::abort();
    }
    Ref<DocumentNode> const pSavedAgain = Save(again);
    if (!pSavedAgain || !pSaved->Write(first) || !pSavedAgain->Write(second) || first != second) {
        std::abort();
    }
}

void Examine(Ref<DocumentNode> const& pDocument) {
    TestFontRegistry registry;
    TestDevice device;
    device.m_fNoting = false;
    device.m_pResource = new EffectResource;
    Scene scene;
    Deserializer deserializer(pDocument, registry);
    bool const fLoaded = scene.Load(deserializer);
    if (fLoaded == (scene.GetRoot() == nullptr) || deserializer.GetDepth() != 0 ||
        (!fLoaded && deserializer.GetError().IsEmpty())) {
        std::abort();
    }
    if (!fLoaded) {
        return;
    }
    if (!HasInertController(*pDocument)) {
        CheckSavesTheSame(scene, registry);
    }
    for (RealFloat frame :
         {RealFloat(-2), RealFloat(0), RealFloat(0.5), RealFloat(7), RealFloat(3), RealFloat(1e9)}) {
        scene.Update(device, frame);
        scene.RenderFrame(device);
        scene.Pick(device, Vector2(1, 1));
    }
    Ref<Node> const pCopy(scene.GetRoot()->CloneTree());
    if (!pCopy || pCopy->GetChildCount() != scene.GetRoot()->GetChildCount()) {
        std::abort();
    }
}

void DropTrace(void*, TraceLevel::Enum, String16 const&) {}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Debug::SetSink(&DropTrace);
    if (size == 0) {
        return 0;
    }
    Ref<DocumentNode> const pDocument =
        data[0] == 0 ? DocumentNode::Read(data + 1, size - 1) : Cook(Input(data + 1, size - 1));
    if (pDocument) {
        Examine(pDocument);
    }
    return 0;
}
