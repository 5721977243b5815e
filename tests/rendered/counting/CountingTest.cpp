// The layer that counts: what draws ask of GL and which pixels they write, while the picture stays what it
// is.

#include "kelvo_test/Stage.h"
#include "trevik/kelvo/GaussianBlurEffect.h"
#include "trevik/kelvo/Mask.h"

#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>
#include <kelvo_counting/Counting.h>
#include <kelvo_counting/Coverage.h>

#include <map>
#include <numeric>

namespace kelvokit::test {
namespace {

using namespace trevik::kelvo;
using counting::Counts;

/** How often each pixel of a target was written, the top row first. */
struct Times {
    int nWidth = 0;
    int nHeight = 0;
    std::vector<int> times;

    Times() = default;
    Times(int width, int height)
        : nWidth(width), nHeight(height), times(std::size_t(width) * std::size_t(height)) {}
    void Add(int x, int y, int nTimes) {
        times.at(std::size_t(nHeight - 1 - y) * std::size_t(nWidth) + std::size_t(x)) += nTimes;
    }
    /** Adds 1 to a rectangle; x and y are its lower left corner's, from the target's. */
    void Fill(int x, int y, int width, int height) {
        for (int n = 0; n < width * height; ++n) {
            Add(x + n % width, y + n / width, 1);
        }
    }
    int Sum() const { return std::accumulate(times.begin(), times.end(), 0); }
};

class CountingTest : public Stage, public counting::CoverageListener {
protected:
    /** Draws a frame whose pixels are counted, and the same without, which has to be the same picture. */
    Times const& Measure(bool fAlphaTest = false) {
        m_times.clear();
        Image measured(1, 1);
        {
            counting::Coverage coverage(Width, Height, *this);
            measured = DrawFrame(fAlphaTest);
            coverage.Flush();
            EXPECT_EQ(coverage.GetUnmeasuredDraws(), 0u);
        }
        EXPECT_TRUE(CompareImages(measured, DrawFrame(fAlphaTest), {0, 0, "the same calls"}));
        return m_times[0];
    }

    void TakePixels(counting::WrittenPixels const& pixels) override {
        Times& times = m_times.try_emplace(pixels.nFramebuffer, pixels.nWidth, pixels.nHeight).first->second;
        for (int n = 0; n < pixels.nColumns * pixels.nRows; ++n) {
            times.Add(pixels.nLeft + n % pixels.nColumns, pixels.nBottom + n / pixels.nColumns,
                      pixels.pTimes[n]);
        }
    }

    std::map<unsigned int, Times> m_times; ///< by framebuffer
};

TEST_F(CountingTest, CountsPixelsThatAreWrittenHoweverOftenAndNoOthers) {
    Open();
    AddSprite(Root(), 3, 5, 20, 10, {1, 0, 0});
    AddSprite(Root(), 13, 2, 20, 10, {0, 1, 0, 0.001}); // not seen, but written
    AddSprite(Root(), Width - 4, Height - 3, 9, 9, {0, 0, 1});
    AddSprite(Root(), -30, 5, 20, 10, {1, 1, 1});
    Times expected(Width, Height);
    expected.Fill(3, 5, 20, 10);
    expected.Fill(13, 2, 20, 10);
    expected.Fill(Width - 4, Height - 3, 4, 3);
    EXPECT_EQ(Measure().times, expected.times);
}

TEST_F(CountingTest, CountsMoreTimesThanAByteHolds) {
    Open();
    Times expected(Width, Height);
    for (int n = 0; n < 300; ++n) {
        AddSprite(Root(), 7, 9, 5, 3, {1, 0, 0});
        expected.Fill(7, 9, 5, 3);
    }
    EXPECT_EQ(Measure().times, expected.times);
}

TEST_F(CountingTest, FollowsMasksAndScissorsAndLeavesThemAsTheyAre) {
    Open();
    Ref<Timeline> const pTimeline = AddTimeline(Root());
    Vector const corners[] = {{4, 3, 0}, {24, 3, 0}, {4, 23, 0}, {4, 23, 0}, {24, 3, 0}, {24, 23, 0}};
    Ref<Mask> const pMask(new Mask);
    ASSERT_TRUE(pMask->SetTriangles(corners, 6));
    pTimeline->AddMask(pMask.Get());
    AddSprite(*pTimeline, 14, 0, 20, 37, {0, 1, 0}); // the mask leaves a half of its own width
    AddSprite(Root(), 40, 0, 20, 10, {1, 0, 0});
    glScissor(0, 0, 45, Height);
    glEnable(GL_SCISSOR_TEST);
    Times expected(Width, Height);
    expected.Fill(14, 3, 10, 20); // the mask itself writes stencil values alone
    expected.Fill(40, 0, 5, 10);
    EXPECT_EQ(Measure().times, expected.times);
    EXPECT_TRUE(glIsEnabled(GL_SCISSOR_TEST));
}

TEST_F(CountingTest, LeavesOutWhatAFragmentShaderDiscards) {
    Open();
    Image picture(12, 8, {255, 255, 255, 255});
    picture.Fill(2, 1, 5, 4, {255, 255, 255, 10}); // below the alpha test's tenth
    AddSprite(Root(), 10, 10, MakeTexture(picture));
    Times expected(Width, Height);
    expected.Fill(10, 10, 12, 8);
    EXPECT_EQ(Measure().times, expected.times);
    for (int n = 0; n < 5 * 4; ++n) {
        expected.Add(12 + n % 5, 10 + 8 - 1 - 4 + n / 5, -1);
    }
    EXPECT_EQ(Measure(true).times, expected.times);
}

TEST_F(CountingTest, TellsOtherTargetsApart) {
    Open(DeviceFormat::RGBA8888);
    ASSERT_TRUE(Device().InitializeTargetBuffers());
    Ref<GaussianBlurEffect> const pEffect = Make<GaussianBlurEffect>("GaussianBlurEffect");
    pEffect->GetAmountProperty().SetValue(1);
    Root().AddEffect(pEffect.Get());
    AddSprite(Root(), 3, 5, 20, 10, {1, 0, 0});
    DrawFrame(); // the first one makes the targets
    EXPECT_EQ(Measure().Sum(), Width * Height);
    std::multimap<int, int> sums; // by the target's width
    for (auto const& target : m_times) {
        sums.emplace(target.second.nWidth, target.second.Sum());
    }
    // The frame target has the sprite; two of half the size have a pass each, over the whole of them.
    int const nHalf = (Width / 2) * (Height / 2);
    std::multimap<int, int> const expected = {
        {Width / 2, nHalf}, {Width / 2, nHalf}, {Width, Width * Height}, {Width, 20 * 10}};
    EXPECT_EQ(sums, expected);
    Root().RemoveEffect(pEffect.Get());
}

TEST_F(CountingTest, CountsCallsAndWhatTheyChange) {
    Open();
    ASSERT_TRUE(counting::IsInFront());
    ASSERT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    Counts const before = counting::GetCounts();
    glEnable(GL_BLEND);
    glDisable(GL_BLEND);
    glDisable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_DST_COLOR);
    glBlendFuncSeparate(GL_ONE, GL_DST_COLOR, GL_ONE, GL_DST_COLOR);
    GLuint textures[2] = {};
    glGenTextures(2, textures);
    glActiveTexture(GL_TEXTURE1);
    glBindTexture(GL_TEXTURE_2D, textures[0]);
    glBindTexture(GL_TEXTURE_CUBE_MAP, 0);
    glActiveTexture(GL_TEXTURE0);
    glBindTexture(GL_TEXTURE_2D, textures[0]);
    glDeleteTextures(2, textures);
    glBindTexture(GL_TEXTURE_2D, 0);
    glUseProgram(0);
    for (int const nMode : {GL_TRIANGLES, GL_TRIANGLE_STRIP, GL_TRIANGLE_FAN, GL_LINES}) {
        glDrawArrays(static_cast<GLenum>(nMode), 0, 7);
    }
    EXPECT_EQ(eglGetProcAddress("glFinish"),
              reinterpret_cast<__eglMustCastToProperFunctionPointerType>(&glFinish));
    Counts const counts = counting::GetCounts() - before;
    EXPECT_EQ(counts.nCalls, 18u);
    EXPECT_EQ(counts.nDraws, 4u);
    EXPECT_EQ(counts.nTriangles, 2u + 5 + 5);
    EXPECT_EQ(counts.nBlendChanges, 2u); // the device has left it on
    EXPECT_EQ(counts.nBlendRepetitions, 3u);
    EXPECT_EQ(counts.nTextureChanges, 2u);
    EXPECT_EQ(counts.nTextureRepetitions, 2u);
    EXPECT_EQ(counts.nProgramChanges, 0u);
    EXPECT_EQ(counts.nProgramRepetitions, 1u);
    std::map<std::string, unsigned long long> calls;
    for (unsigned int n = 0; n < counting::FunctionCount; ++n) {
        if (counts.calls[n] > 0) {
            calls[counting::GetFunctionName(n)] = counts.calls[n];
        }
    }
    std::map<std::string, unsigned long long> const expected = {
        {"glEnable", 1},      {"glDisable", 2},       {"glBlendFunc", 1},   {"glBlendFuncSeparate", 1},
        {"glGenTextures", 1}, {"glActiveTexture", 2}, {"glBindTexture", 4}, {"glDeleteTextures", 1},
        {"glUseProgram", 1},  {"glDrawArrays", 4}};
    EXPECT_EQ(calls, expected);
}

} // namespace
} // namespace kelvokit::test
