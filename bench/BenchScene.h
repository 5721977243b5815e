#pragma once

#include "trevik/ClassRegistry.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/DocumentNode.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Texture.h"
#include "trevik/kelvo/Timeline.h"

#include <cstdint>
#include <random>
#include <vector>

namespace kelvokit::bench {

/** Whose properties are driven by samples, a new value each frame. */
enum class Moving {
    None,
    Topmost,       ///< the nodes directly below the timeline, which take those below them along
    OneInAHundred, ///< every hundredth node
    All
};

/** The properties that are driven, as bits of a set. */
enum Driven : unsigned int {
    DrivenPosition = 1,
    DrivenTurn = 2,   ///< the rotation about z
    DrivenTumble = 4, ///< the rotation about all three axes
    DrivenScale = 8,
    DrivenOpacity = 16
};

/** What the nodes of a scene are. */
enum class NodeKind {
    Sprite,
    NinePatch, ///< with a band each way, scaled up: a grid of 16 vertices that stays as it is
    Timeline   ///< draws nothing but what every timeline does before and after its children
};

/** What a measured scene consists of. Everything random comes from a fixed seed. */
struct SceneOptions {
    unsigned int m_nNodes = 1000;
    NodeKind m_kind = NodeKind::Sprite;
    unsigned int m_nLevels = 1;   ///< 1: all nodes are the timeline's children; else they hang in chains
    unsigned int m_nTextures = 8; ///< used in turn; 0 makes single-coloured sprites
    int m_nSpriteSize = 1;        ///< pixels, square
    Moving m_moving = Moving::All;
    unsigned int m_nDriven = DrivenPosition; ///< of the nodes that m_moving names
};

/** A back end brought up on a window, and the classes it registered. */
class Backend {
public:
    /**
     * False, said on standard error, without a device. `pWindow` is as GraphicsDevice::Initialize takes it;
     * null is enough for a driver that draws nothing.
     */
    bool Initialize(void* pWindow, int nWidth, int nHeight);
    ~Backend();

    trevik::ClassRegistry& GetRegistry() { return m_registry; }
    trevik::kelvo::GraphicsDevice& GetDevice() { return *m_pDevice; }

private:
    trevik::ClassRegistry m_registry;
    trevik::kelvo::GraphicsDevice* m_pDevice = nullptr;
};

/** A timeline of nodes of one kind, spread over a 640 × 360 surface. */
class BenchScene {
public:
    BenchScene(Backend& backend, SceneOptions const& options);

    /**
     * Brings the scene to frame `nFrame`; nodes move half a sample per frame, so every value is
     * interpolated.
     */
    void Update(unsigned int nFrame);
    /** Draws the scene without clearing or presenting. */
    void Render();
    /** A whole frame: update, clear, render, present, queued work. */
    void RunFrame(unsigned int nFrame);

    trevik::kelvo::Timeline& GetRoot() { return *m_pRoot; }
    /** Of a scene of sprites or nine-patches. */
    std::vector<trevik::kelvo::Sprite*> const& GetSprites() const { return m_sprites; }
    std::vector<trevik::Ref<trevik::kelvo::Texture>> const& GetTextures() const { return m_textures; }

private:
    void Drive(trevik::kelvo::TransformNode& node, unsigned int nDriven, std::mt19937& random);
    trevik::kelvo::TransformNode* AddNode(trevik::kelvo::Node& parent, unsigned int nClassID,
                                          trevik::kelvo::DocumentNode& saved);
    void GiveTexture(trevik::kelvo::Sprite& sprite);

    Backend& m_backend;
    std::vector<trevik::Ref<trevik::kelvo::Texture>> m_textures;
    trevik::Ref<trevik::kelvo::Timeline> m_pRoot;
    std::vector<trevik::kelvo::Sprite*> m_sprites; ///< held by the root and by each other
};

} // namespace kelvokit::bench
