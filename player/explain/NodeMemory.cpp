#include "explain/NodeMemory.h"

#include "trevik/kelvo/Font.h"
#include "trevik/kelvo/MemoryTracer.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Text.h"
#include "trevik/kelvo/Texture.h"

#include <algorithm>
#include <set>

namespace kelvokit::player {

using trevik::kelvo::Font;
using trevik::kelvo::MemoryTracer;
using trevik::kelvo::MemoryType;
using trevik::kelvo::Node;
using trevik::kelvo::Sprite;
using trevik::kelvo::Text;
using trevik::kelvo::Texture;

namespace {

/** What nodes draw with; each once. */
struct Resources {
    std::set<Texture const*> textures;
    std::set<Font const*> fonts;

    void AddTextureOf(Sprite* pSprite) {
        Texture* const pTexture = pSprite ? pSprite->GetTexture() : nullptr;
        if (pTexture) {
            textures.insert(pTexture);
        }
    }

    void Add(Node& node) {
        if (node.IsKindOf(Sprite::ClassID)) {
            AddTextureOf(static_cast<Sprite*>(&node));
        } else if (node.IsKindOf(Text::ClassID)) {
            Text& text = static_cast<Text&>(node);
            AddTextureOf(text.GetBackground());
            if (text.GetFont()) {
                fonts.insert(text.GetFont());
            }
        }
    }
};

unsigned long long GetBytes(Font const& font, std::set<Texture const*>& pages) {
    MemoryTracer tracer;
    const_cast<Font&>(font).Emit(&tracer); // which changes nothing
    for (unsigned int nGlyph = 0; nGlyph < font.GetGlyphCount(); ++nGlyph) {
        pages.insert(font.GetGlyphAt(nGlyph)->m_pTexture.Get());
    }
    return tracer.GetBytes(MemoryType::Font);
}

void SetMemory(Cost& cost, Resources const& resources) {
    for (Texture const* const pTexture : resources.textures) {
        // Each of a texture's surfaces is a picture of its own.
        cost.nTextures += 1ull * pTexture->GetByteSize() *
                          static_cast<unsigned int>(std::max(pTexture->GetWantedSurfaces(), 1));
    }
    std::set<Texture const*> pages;
    for (Font const* const pFont : resources.fonts) {
        cost.nFonts += GetBytes(*pFont, pages);
    }
    for (Texture const* const pPage : pages) {
        cost.nFonts += pPage ? pPage->GetByteSize() : 0;
    }
}

} // namespace

void MeasureMemory(NodeCosts& costs) {
    std::vector<NodeCost>& nodes = costs.GetNodes();
    for (std::size_t nNode = 0; nNode < nodes.size(); ++nNode) {
        Resources itself;
        itself.Add(*nodes[nNode].pNode);
        SetMemory(nodes[nNode].itself, itself);
        for (std::size_t nBelow = nNode + 1; nBelow < nodes[nNode].nEnd; ++nBelow) {
            itself.Add(*nodes[nBelow].pNode);
        }
        SetMemory(nodes[nNode].sum, itself);
    }
}

} // namespace kelvokit::player
