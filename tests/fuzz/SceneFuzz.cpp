// Loads scenes from hostile documents. The input is either a document's bytes (first byte 0) or a recipe for
// one, in which tags, types and attributes are numbers of those that loaders know, so that variations stay
// close to scenes. What loads must be playable, must save, and must load again the same.

#include "../host/TestFonts.h"
#include "FuzzChecks.h"
#include "kelvo_host/Scene.h"

using namespace trevik;
using namespace trevik::kelvo;
using namespace trevik::kelvo::test;
using fuzz::Require;

namespace {

constexpr char const* g_tags[] = {"Node",     "Property", "Controller", "Camera", "Effect", "Mask",
                                  "Textures", "Texture",  "Background", "Fonts",  "Font",   "Mesh"};
constexpr char const* g_types[] = {"Timeline",
                                   "Sprite",
                                   "Text",
                                   "Camera",
                                   "TransformNode",
                                   "Texture",
                                   "Font",
                                   "GaussianBlurEffect",
                                   "TestResource",
                                   "Sample",
                                   "Position",
                                   "Scale",
                                   "Opacity",
                                   "Size",
                                   "LastFrame",
                                   "PlaybackMode",
                                   "Text",
                                   "Visible",
                                   "PolygonalFont",
                                   "Box",
                                   "FontSize",
                                   "HorizontalAlignment",
                                   "VerticalAlignment",
                                   "WordWrap",
                                   "LetterSpacing",
                                   "TabWidth",
                                   "Shadow",
                                   "UnderlineScale"};
constexpr char const* g_attributes[] = {
    "NodeName",   "Value",     "StartFrame",    "Size",       "Samples",   "Texture",     "Vertices",
    "Shape",      "MipLevels", "TimeMap",       "FrameDelay", "AutoPlay",  "SurfaceSize", "FrameRate",
    "FirstFrame", "LastFrame", "SurfaceFormat", "ClearColor", "CameraWay", "Font",        "Metrics",
    "Glyphs",     "Kerning",   "Positions",     "Indices"};

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
    unsigned int OneOf(char const* const (&names)[N]) {
        return HashName(names[Byte() % N]);
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

void Examine(Ref<DocumentNode> const& pDocument) {
    TestFontRegistry registry;
    TestDevice device;
    device.m_fNoting = false;
    device.m_pResource = new EffectResource;
    Scene scene;
    Deserializer deserializer(pDocument, registry);
    bool const fLoaded = scene.Load(deserializer);
    Require(fLoaded == (scene.GetRoot() != nullptr) && deserializer.GetDepth() == 0);
    Require(fLoaded || !deserializer.GetError().IsEmpty());
    if (!fLoaded) {
        return;
    }
    if (!HasInertController(*pDocument)) {
        fuzz::RequireSavesTheSame(scene, registry);
    }
    for (RealFloat frame :
         {RealFloat(-2), RealFloat(0), RealFloat(0.5), RealFloat(7), RealFloat(3), RealFloat(1e9)}) {
        scene.Update(device, frame);
        scene.RenderFrame(device);
        scene.Pick(device, Vector2(1, 1));
    }
    Ref<Node> const pCopy(scene.GetRoot()->CloneTree());
    Require(pCopy && pCopy->GetChildCount() == scene.GetRoot()->GetChildCount());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    fuzz::DropTraces();
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
