#include "BenchScene.h"

#include "EntryPoints.h"
#include "trevik/Hash.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/ListProperty.h"
#include "trevik/kelvo/SampleController.h"
#include "trevik/kelvo/Serializer.h"

#include <cstdio>
#include <cstdlib>
#include <random>

namespace kelvokit::bench {

using namespace trevik;
using namespace trevik::kelvo;

namespace {

constexpr unsigned int SampleCount = 16;
constexpr int TextureSize = 16;

[[noreturn]] void Fail(char const* pWhat) {
    std::fprintf(stderr, "benchmark: %s\n", pWhat);
    std::exit(1);
}

Ref<Texture> MakeTexture(std::mt19937& random) {
    std::vector<std::uint32_t> pixels(std::size_t{TextureSize} * TextureSize);
    for (std::uint32_t& pixel : pixels) {
        pixel = static_cast<std::uint32_t>(random()) | 0x80000000u;
    }
    return Texture::CreateTexture(TextureSize, TextureSize, TextureFormat::RGBA8888, pixels.data(),
                                  TextureSize * 4);
}

unsigned int GetClassID(NodeKind kind) {
    switch (kind) {
    case NodeKind::NinePatch:
        return HashName("NinePatchSprite");
    case NodeKind::Timeline:
        return HashName("Timeline");
    default:
        return HashName("Sprite");
    }
}

/** The saved form of one node, a sprite of the right size: geometry is built by loading. */
Ref<DocumentNode> SaveNode(ClassRegistry& registry, unsigned int nClassID, int nSize) {
    Ref<Node> const pNode(static_cast<Node*>(registry.Create(nClassID)));
    if (pNode->IsKindOf(Sprite::ClassID)) {
        static_cast<Sprite&>(*pNode).GetSizeProperty().SetValue(SizeT<int>(nSize, nSize));
    }
    Serializer serializer;
    if (!pNode->Save(serializer)) {
        Fail("a node cannot be saved");
    }
    return serializer.Finish();
}

/** Makes a nine-patch show a grid: a band each way, and a scale that stretches it. */
void CutAndScale(Sprite& patch) {
    List<Vector2T<int>> bands;
    bands.Append(Vector2T<int>(TextureSize / 4, TextureSize / 2));
    for (char const* const pName : {"NinePatchPairX", "NintPatchPairY"}) {
        Property* const pBands = patch.GetProperties().Find(HashName(pName))->m_pProperty;
        static_cast<ListProperty<Vector2T<int>>*>(pBands)->SetValue(bands);
    }
    patch.GetScaleProperty().SetValue(Vector3T<RealFloat>(2, 2, 1));
}

bool IsMoving(Moving moving, unsigned int nNode, bool fTopmost) {
    return moving == Moving::All || (moving == Moving::Topmost && fTopmost) ||
           (moving == Moving::OneInAHundred && nNode % 100 == 0);
}

/** Lets `property` be driven by samples from `make`, the first of them for frame 0. */
template <class T, class Make>
void Sample(BaseProperty<T>& property, Make const& make) {
    T samples[SampleCount];
    for (T& sample : samples) {
        sample = make();
    }
    property.AddController(Ref<Controller<T>>(SampleController<T>::Create(0, samples, SampleCount).Get()));
}

} // namespace

bool Backend::Initialize(void* pWindow, int nWidth, int nHeight) {
    ::Initialize(&m_registry);
    m_pDevice = CreateDevice();
    if (m_pDevice == nullptr ||
        !m_pDevice->Initialize(pWindow, DeviceFormat::RGBA8888, SizeT<int>(nWidth, nHeight))) {
        std::fprintf(stderr, "the device cannot be initialised\n");
        return false;
    }
    m_pDevice->SetViewport(0, 0, nWidth, nHeight);
    return true;
}

Backend::~Backend() {
    delete m_pDevice;
}

BenchScene::BenchScene(Backend& backend, SceneOptions const& options) : m_backend(backend) {
    std::mt19937 random(12345);
    ClassRegistry& registry = backend.GetRegistry();
    for (unsigned int i = 0; i < options.m_nTextures; ++i) {
        m_textures.push_back(MakeTexture(random));
    }
    m_pRoot = Ref(static_cast<Timeline*>(registry.Create(HashName("Timeline"))));
    unsigned int const nClassID = GetClassID(options.m_kind);
    Ref<DocumentNode> const pSaved = SaveNode(registry, nClassID, options.m_nSpriteSize);
    std::uniform_real_distribution<RealFloat> x(0, 620);
    std::uniform_real_distribution<RealFloat> y(0, 340);
    m_sprites.reserve(options.m_nNodes);
    Node* pParent = m_pRoot.Get();
    for (unsigned int i = 0; i < options.m_nNodes; ++i) {
        bool const fTopmost = i % options.m_nLevels == 0;
        TransformNode* const pNode = AddNode(fTopmost ? *m_pRoot : *pParent, nClassID, *pSaved);
        pParent = pNode;
        if (options.m_kind == NodeKind::NinePatch) {
            CutAndScale(static_cast<Sprite&>(*pNode));
        }
        Vector3T<RealFloat> samples[SampleCount];
        for (Vector3T<RealFloat>& sample : samples) {
            sample = Vector3T<RealFloat>(x(random), y(random), 0);
        }
        unsigned int const nDriven = IsMoving(options.m_moving, i, fTopmost) ? options.m_nDriven : 0;
        if (nDriven & DrivenPosition) {
            unsigned int nSample = 0;
            Sample(pNode->GetPositionProperty(), [&samples, &nSample] { return samples[nSample++]; });
        } else {
            pNode->GetPositionProperty().SetValue(samples[0]);
        }
        Drive(*pNode, nDriven, random);
    }
}

/** Drives the properties besides the position. */
void BenchScene::Drive(TransformNode& node, unsigned int nDriven, std::mt19937& random) {
    std::uniform_real_distribution<RealFloat> degrees(-180, 180);
    std::uniform_real_distribution<RealFloat> factor(RealFloat(0.5), 2);
    std::uniform_real_distribution<RealFloat> opacity(RealFloat(0.1), 1);
    if (nDriven & DrivenTurn) {
        Sample(node.GetRotationProperty(), [&] { return Vector3T<RealFloat>(0, 0, degrees(random)); });
    }
    if (nDriven & DrivenTumble) {
        Sample(node.GetRotationProperty(), [&] {
            RealFloat const x = degrees(random);
            RealFloat const y = degrees(random);
            return Vector3T<RealFloat>(x, y, degrees(random));
        });
    }
    if (nDriven & DrivenScale) {
        Sample(node.GetScaleProperty(), [&] {
            RealFloat const x = factor(random);
            return Vector3T<RealFloat>(x, factor(random), 1);
        });
    }
    if (nDriven & DrivenOpacity) {
        Sample(node.GetOpacityProperty(), [&] { return opacity(random); });
    }
}

TransformNode* BenchScene::AddNode(Node& parent, unsigned int nClassID, DocumentNode& saved) {
    ClassRegistry& registry = m_backend.GetRegistry();
    Node* const pNode = static_cast<Node*>(registry.Create(nClassID));
    parent.Attach(pNode);
    Deserializer deserializer(Ref<DocumentNode>(&saved), registry);
    if (!pNode->Load(deserializer)) {
        Fail("a node cannot be loaded");
    }
    if (pNode->IsKindOf(Sprite::ClassID)) {
        GiveTexture(static_cast<Sprite&>(*pNode));
    }
    return pNode->GetTransformNode();
}

void BenchScene::GiveTexture(Sprite& sprite) {
    if (!m_textures.empty()) {
        sprite.SetTexture(m_textures[m_sprites.size() % m_textures.size()].Get());
    }
    m_sprites.push_back(&sprite);
}

void BenchScene::Update(unsigned int nFrame) {
    RealFloat const rFrame = static_cast<RealFloat>(nFrame % (2 * (SampleCount - 1))) * 0.5f + 0.25f;
    m_pRoot->SetFrame(rFrame);
    m_pRoot->Update(m_backend.GetDevice(), rFrame, 0, false);
}

void BenchScene::Render() {
    m_pRoot->Render(m_backend.GetDevice());
}

void BenchScene::RunFrame(unsigned int nFrame) {
    GraphicsDevice& device = m_backend.GetDevice();
    Update(nFrame);
    device.Clear();
    Render();
    device.Present();
    device.Process();
}

} // namespace kelvokit::bench
