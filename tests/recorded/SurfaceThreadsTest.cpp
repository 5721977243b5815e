// Promoted textures while several threads use them: producers, the renderer, and owners that let go of
// theirs.

#include "NodeTest.h"
#include "TimelineGL2.h"
#include "kelvo_test/Threads.h"
#include "trevik/kelvo/SurfaceInfo.h"

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <thread>
#include <utility>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

constexpr int Frames = 4000;

class SurfaceThreads : public NodeTest {
protected:
    static Ref<TextureGL2> MakePromoted(bool fDoubleBuffered) {
        Ref<TextureGL2> const pTexture = MakeTexture(8, 4);
        EXPECT_TRUE(pTexture->Promote(fDoubleBuffered));
        pTexture->Swap(); // the first one takes the render thread
        return pTexture;
    }
};

/** Fills the surface with one number; false when it cannot be had. */
bool WriteNumber(TextureGL2& texture, std::uint32_t number) {
    auto* const pPixels = static_cast<unsigned char*>(texture.Lock());
    SurfaceInfo info = {};
    bool const fWritten = pPixels && texture.GetSurfaceInfo(&info);
    for (int y = 0; fWritten && y < info.m_nHeight; ++y) {
        auto* const pRow = reinterpret_cast<std::uint32_t*>(pPixels + y * info.m_nStride);
        std::fill_n(pRow, info.m_nWidth, number);
    }
    texture.Unlock();
    return fWritten;
}

TEST_F(SurfaceThreads, TwoProducersARendererAndOwnersOfOthersGetAlong) {
    Ref<TimelineGL2> const pRoot(new TimelineGL2);
    Ref<TextureGL2> const textures[] = {MakePromoted(true), MakePromoted(false)};
    for (Ref<TextureGL2> const& pTexture : textures) {
        Ref<SpriteGL2> const pSprite = MakeSprite(8, 4);
        pSprite->SetTexture(pTexture.Get());
        pRoot->Attach(pSprite.Get());
    }
    std::uint32_t written[2] = {};
    std::mutex mutex;
    std::vector<Ref<TextureGL2>> released; // one thread hands it to another, which lets go of them
    auto const take = [&] {
        std::lock_guard<std::mutex> const lock(mutex);
        return std::exchange(released, {});
    };
    auto const work = [&](int n, int) {
        if (n == 2) {
            take();
        } else if (WriteNumber(*textures[n], written[n] + 1)) {
            textures[n]->Swap();
            ++written[n];
        }
        std::this_thread::yield(); // one mutex serves all surfaces
    };
    kelvokit::test::RunBesideThreads(3, work, [&] {
        Unnoted const unnoted;
        for (int nFrame = 0; nFrame < Frames; ++nFrame) {
            if (nFrame % 4 == 0) {
                Ref<TextureGL2> pTexture = MakePromoted(nFrame % 8 == 0);
                std::lock_guard<std::mutex> const lock(mutex);
                released.push_back(std::move(pTexture));
            }
            RunFrame(*pRoot, static_cast<RealFloat>(nFrame));
        }
    });
    take();
    Device().Process();
    EXPECT_EQ(Counts(Object::EglImage).live, 3);
    for (int i = 0; i < 2; ++i) {
        EXPECT_GT(written[i], 0u);
        // What was written last is what is drawn next.
        EXPECT_EQ(textures[i]->Current(), i == 0 ? static_cast<int>((written[i] + 1) % 2) : 0);
        GLuint const drawn = textures[i]->GetGLTexture();
        Draw(*pRoot);
        ASSERT_EQ(Draws().size(), 2u);
        EXPECT_EQ(Draws()[static_cast<std::size_t>(i)].Texture("sTexture"), drawn);
    }
    EXPECT_TRUE(m_diagnostics.Failures().empty());
    EXPECT_TRUE(m_diagnostics.Messages().empty());
}

} // namespace
