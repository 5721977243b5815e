#include "BenchScene.h"

#include <cstdio>
#include <cstdlib>
#include <random>

#include "trevik/Hash.h"
#include "trevik/kelvo/Deserializer.h"
#include "trevik/kelvo/SampleController.h"
#include "trevik/kelvo/Serializer.h"

extern "C" {
bool Initialize(trevik::ClassRegistry* pRegistry);
trevik::kelvo::GraphicsDevice* CreateDevice();
}

namespace bench {

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
    std::vector<std::uint32_t> pixels(TextureSize * TextureSize);
    for (std::uint32_t& pixel : pixels) {
        pixel = static_cast<std::uint32_t>(random()) | 0x80000000u;
    }
    return Texture::CreateTexture(TextureSize, TextureSize, TextureFormat::RGBA8888, pixels.data(),
                                  TextureSize * 4);
}

/** The saved form of one sprite of the right size: geometry is built by loading. */
Ref<DocumentNode> SaveSprite(ClassRegistry& registry, int nSize) {
    Ref<Sprite> const pSprite(static_cast<Sprite*>(registry.Create(HashName("Sprite"))));
    pSprite->GetSizeProperty().SetValue(SizeT<int>(nSize, nSize));
    Serializer serializer;
    if (!pSprite->Save(serializer)) {
        Fail("a sprite cannot be saved");
    }
    return serializer.Finish();
}

} // namespace

bool Backend::Initialize(void* pWindow, int nWidth, int nHeight) {
    ::Initialize(&m_registry);
    m_pDevice = CreateDevice();
    if (m_pDevice == nullptr ||
        !m_pDevice->Initialize(pWindow, DeviceFormat::RGBA8888, SizeT<int>(nWidth, nHeight))) {
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
    m_pRoot = static_cast<Timeline*>(registry.Create(HashName("Timeline")));
    Ref<DocumentNode> const pSaved = SaveSprite(registry, options.m_nSpriteSize);
    std::uniform_real_distribution<RealFloat> x(0, 620);
    std::uniform_real_distribution<RealFloat> y(0, 340);
    m_sprites.reserve(options.m_nSprites);
    for (unsigned int i = 0; i < options.m_nSprites; ++i) {
        bool const fTopmost = i % options.m_nLevels == 0;
        Node* const pParent = fTopmost ? static_cast<Node*>(m_pRoot.Get()) : m_sprites.back();
        Sprite* const pSprite = AddSprite(*pParent, *pSaved);
        if (!m_textures.empty()) {
            pSprite->SetTexture(m_textures[i % m_textures.size()].Get());
        }
        Vector3T<RealFloat> samples[SampleCount];
        for (Vector3T<RealFloat>& sample : samples) {
            sample = Vector3T<RealFloat>(x(random), y(random), 0);
        }
        if (options.m_moving == Moving::All || (options.m_moving == Moving::Topmost && fTopmost)) {
            pSprite->GetPositionProperty().AddController(Ref<Controller<Vector3T<RealFloat>>>(
                SampleController<Vector3T<RealFloat>>::Create(0, samples, SampleCount).Get()));
        } else {
            pSprite->GetPositionProperty().SetValue(samples[0]);
        }
        m_sprites.push_back(pSprite);
    }
}

Sprite* BenchScene::AddSprite(Node& parent, DocumentNode& saved) {
    ClassRegistry& registry = m_backend.GetRegistry();
    Sprite* const pSprite = static_cast<Sprite*>(registry.Create(HashName("Sprite")));
    parent.Attach(pSprite);
    Deserializer deserializer(Ref<DocumentNode>(&saved), registry);
    if (!pSprite->Load(deserializer)) {
        Fail("a sprite cannot be loaded");
    }
    return pSprite;
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

} // namespace bench
