#pragma once

#include "DeviceTest.h"
#include "SpriteGL2.h"
#include "kelvo_test/Loading.h"
#include "trevik/kelvo/Effect.h"
#include "trevik/kelvo/Timeline.h"

#include <string>
#include <vector>

namespace kelvokit::recording {

using trevik::RealFloat;
using trevik::Ref;

/** Bands of nine-patches: where each begins and how long it is. */
inline trevik::List<trevik::Vector2T<int>> ToList(std::vector<trevik::Vector2T<int>> const& bands) {
    trevik::List<trevik::Vector2T<int>> list;
    for (trevik::Vector2T<int> const& band : bands) {
        list.Append(band);
    }
    return list;
}

/** A test of nodes over a device that is up and has its viewport. */
class NodeTest : public DeviceTest {
protected:
    static constexpr int Width = 61;
    static constexpr int Height = 37;

    NodeTest() { StartDrawing(); }

    /** For fixtures with a device of their own, which they have put into m_pDevice. */
    void StartDrawing() {
        BringUp(Width, Height);
        Device().SetViewport(0, 0, Width, Height);
        Clear();
    }

    /** A sprite, or a nine-patch sprite, that has been loaded with this size. */
    template <class T = trevik::kelvo::SpriteGL2>
    Ref<T> MakeSprite(int width, int height) {
        Ref<T> const pSprite(new T);
        pSprite->GetSizeProperty().SetValue(trevik::SizeT<int>(width, height));
        EXPECT_TRUE(kelvokit::test::LoadItself(*pSprite, m_registry));
        return pSprite;
    }

    /** A texture of one level without an image worth looking at. */
    static Ref<trevik::kelvo::TextureGL2> MakeTexture(int width, int height,
                                                      int format = trevik::kelvo::TextureFormat::RGBA8888) {
        Ref<trevik::kelvo::Texture> const pTexture =
            trevik::kelvo::Texture::CreateTexture(width, height, format, nullptr, 0);
        return Ref(static_cast<trevik::kelvo::TextureGL2*>(pTexture.Get()));
    }

    /** Updates a tree, no time passing, and draws it in a frame of its own, of which only this is noted. */
    void Draw(trevik::kelvo::Node& node) {
        node.Update(Device(), 0);
        Device().Clear();
        Clear();
        node.Render(Device());
    }

    /** A whole frame of a film, as a host runs it. */
    void RunFrame(trevik::kelvo::Timeline& root, RealFloat frame) {
        root.SetFrame(frame);
        root.Update(Device(), frame, 0, false);
        Device().Clear();
        root.Render(Device());
        Device().Present();
        Device().Process();
    }
};

/** Notes in a list that several may share what it is asked; takes sprites over when it is told to. */
class NotingEffect : public trevik::kelvo::Effect {
public:
    TREVIK_EFFECT_REFLECTION(NotingEffect, Effect, "NoResource")

    NotingEffect(std::string name, std::vector<std::string>& notes, bool draws = false)
        : m_notes(notes), m_sName(std::move(name)), m_fDraws(draws) {}

    bool Init(trevik::kelvo::GraphicsDevice&) override { return true; }
    void PreRender(trevik::kelvo::GraphicsDevice&) override { m_notes.push_back(m_sName + " before"); }
    void PostRender(trevik::kelvo::GraphicsDevice&) override { m_notes.push_back(m_sName + " after"); }
    bool OverrideDrawSprite(trevik::kelvo::GraphicsDevice&, trevik::kelvo::Sprite&, RealFloat) override {
        m_notes.push_back(m_sName + " draws");
        return m_fDraws;
    }

    std::vector<std::string>& m_notes;

private:
    std::string m_sName;
    bool m_fDraws;
};

} // namespace kelvokit::recording
