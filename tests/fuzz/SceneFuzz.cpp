// Loads scenes from hostile documents. The input is either a document's bytes (first byte 0) or a recipe for
// one, in which tags, types and attributes are numbers of those that loaders know, so that variations stay
// close to scenes; it is packed, too. What loads must be playable, must save, and must load again the same.

#include "FuzzChecks.h"
#include "kelvo_host/DocumentFile.h"
#include "kelvo_host/Scene.h"
#include "kelvo_test/TestFonts.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace fuzz = kelvokit::fuzz;

using namespace trevik;
using namespace trevik::kelvo;
using namespace trevik::kelvo::test;
using fuzz::Require;

namespace {

constexpr char const* g_tags =
    "Node Property Controller Camera Effect Mask Textures Texture Background Fonts Font Mesh";
constexpr char const* g_types =
    "Timeline Sprite Text Camera TransformNode Texture Font GaussianBlurEffect TestResource Sample Position "
    "Scale "
    "Opacity Size LastFrame PlaybackMode Text Visible PolygonalFont Box FontSize HorizontalAlignment "
    "VerticalAlignment WordWrap LetterSpacing TabWidth Shadow UnderlineScale";
constexpr char const* g_attributes = "NodeName Value StartFrame Size Samples Texture Vertices Shape "
                                     "MipLevels TimeMap FrameDelay AutoPlay SurfaceSize "
                                     "FrameRate FirstFrame LastFrame SurfaceFormat ClearColor CameraWay Font "
                                     "Metrics Glyphs Kerning Positions Indices";

/** Identifiers of a list of names. */
std::vector<unsigned int> HashNames(char const* names) {
    std::istringstream words(names);
    std::vector<unsigned int> ids;
    for (std::string word; words >> word;) {
        ids.push_back(HashName(word.c_str()));
    }
    return ids;
}

/** Follows a recipe: child, attribute and end, again and again. Past the end of the input everything is 0. */
Ref<DocumentNode> Cook(std::uint8_t const* pAt, std::uint8_t const* pEnd) {
    static std::vector<unsigned int> const s_tags = HashNames(g_tags), s_types = HashNames(g_types),
                                           s_attributes = HashNames(g_attributes);
    auto const next = [&pAt, pEnd] { return pAt != pEnd ? *pAt++ : std::uint8_t(0); };
    auto const oneOf = [&next](std::vector<unsigned int> const& ids) { return ids[next() % ids.size()]; };
    Serializer serializer;
    while (pAt != pEnd) {
        std::uint8_t const nWhat = next() % 4;
        if (nWhat == 0) {
            unsigned int const nTagID = oneOf(s_tags);
            serializer.PushTag(nTagID, oneOf(s_types));
        } else if (nWhat == 1) {
            serializer.PopTag();
        } else {
            unsigned int const nID = oneOf(s_attributes);
            std::size_t nLength = next();
            nLength = std::min(nLength, std::size_t(pEnd - pAt));
            serializer.WriteAttribute(nID, pAt, nLength);
            pAt += nLength;
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
    device.m_pResource = Ref(new EffectResource);
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
    for (RealFloat const frame : {-2.0f, 0.0f, 0.5f, 7.0f, 3.0f, 1e9f}) {
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
    Ref<DocumentNode> const pDocument = size == 0      ? nullptr
                                        : data[0] == 0 ? DocumentNode::Read(data + 1, size - 1)
                                                       : Cook(data + 1, data + size);
    List<unsigned char> packed;
    Fault fault;
    if (pDocument) {
        Examine(pDocument);
        Require(DocumentFile::Write(*pDocument, packed));
        Examine(DocumentFile::Read(packed.GetData(), packed.GetCount(), fault));
    }
    return 0;
}
