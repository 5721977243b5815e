#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>

#include "PropertyTestSupport.h"
#include "trevik/kelvo/HostProperties.h"

namespace trevik::kelvo {
namespace {

template <class T>
Ref<SampleController<T>> MakeController(int nStartFrame, std::vector<T> const& samples) {
    return SampleController<T>::Create(nStartFrame, samples.data(),
                                       static_cast<unsigned int>(samples.size()));
}

/** A controller loaded from a document. */
template <class T>
Ref<SampleController<T>> LoadController(int nStartFrame, unsigned int nSizeWord,
                                        std::vector<unsigned char> const& samples) {
    Ref<SampleController<T>> pController(new SampleController<T>);
    Ref<DocumentNode> pNode = MakeSampleNode(nStartFrame, nSizeWord, samples);
    return LoadFrom(Ref<DocumentNode>(pNode->GetChild(0)), *pController) ? pController : nullptr;
}

struct Chunk {
    unsigned int m_nFirst;
    unsigned int m_nLength;
    RealFloat m_value;
};

std::vector<unsigned char> ChunkBytes(std::vector<Chunk> const& chunks) {
    std::vector<unsigned char> bytes;
    for (Chunk const& chunk : chunks) {
        std::vector<unsigned char> const more = BytesOf(chunk.m_nFirst, chunk.m_nLength, chunk.m_value);
        bytes.insert(bytes.end(), more.begin(), more.end());
    }
    return bytes;
}

TEST(PropertySample, EvaluateHoldsTheEndsAndMixesBetween) {
    Ref<SampleController<RealFloat>> pController = MakeController<RealFloat>(10, {1, 3, 7});
    RealFloat const cases[][2] = {
        {-1000, 1}, {9.5f, 1}, {10, 1},    {10.25f, 1.5f}, {10.5f, 2}, {11, 3},    {11.5f, 5},
        {11.75, 6}, {12, 7},   {12.5f, 7}, {1e30f, 7},     {NAN, 1},   {-1e30, 1}, {INFINITY, 7},
    };
    for (auto const& point : cases) {
        EXPECT_EQ(ValueAt<RealFloat>(*pController, point[0]), point[1]) << "frame " << point[0];
    }
}

TEST(PropertySample, NoSamplesGiveNoValue) {
    Ref<SampleController<RealFloat>> pController = MakeController<RealFloat>(0, {});
    RealFloat value = 8;
    EXPECT_FALSE(pController->Evaluate(UpdateContext(), 0, value));
    EXPECT_FALSE(SampleController<RealFloat>().Evaluate(UpdateContext(), 0, value));
    EXPECT_EQ(value, 8);
}

TEST(PropertySample, NegativeFramesMixOutwardsFromTheLaterSample) {
    // -1.5 is truncated to -1: a fraction of -0.5 from sample -1 towards sample 0.
    Ref<SampleController<RealFloat>> pController = MakeController<RealFloat>(-2, {0, 10, 30});
    EXPECT_EQ(ValueAt<RealFloat>(*pController, -1.5f), 10 - 0.5f * 20);
    EXPECT_EQ(ValueAt<RealFloat>(*pController, -0.5f), 30) << "there is no sample past the last: it holds";
}

TEST(PropertySample, IntegersAreTruncatedTowardZero) {
    EXPECT_EQ(ValueAt<int>(*MakeController<int>(0, {1, 2}), 0.5f), 1);
    EXPECT_EQ(ValueAt<int>(*MakeController<int>(0, {-1, -2}), 0.5f), -1);
    EXPECT_EQ(ValueAt<int>(*MakeController<int>(0, {-1, 1}), 0.75f), 0);
    Ref<SampleController<int>> pExtreme = MakeController<int>(0, {INT_MAX, INT_MAX, INT_MIN, INT_MIN});
    EXPECT_EQ(ValueAt<int>(*pExtreme, 0.5f), INT_MAX) << "rounding up to 2^31 does not wrap";
    EXPECT_EQ(ValueAt<int>(*pExtreme, 2.5f), INT_MIN);
}

TEST(PropertySample, EveryComponentIsMixed) {
    EXPECT_EQ(ValueAt<Vector3>(*MakeController<Vector3>(0, {{0, 10, 100}, {1, 30, 500}}), 0.5f),
              Vector3(0.5f, 20, 300));
    EXPECT_EQ(ValueAt<Rectangle>(*MakeController<Rectangle>(0, {{0, 10, 100, 8}, {1, 30, 500, 4}}), 0.25f),
              Rectangle(0.25f, 15, 200, 7));
    EXPECT_EQ(ValueAt<Vector2>(*MakeController<Vector2>(0, {{0, 10}, {1, 30}}), 0.5f), Vector2(0.5f, 20));
    EXPECT_EQ(ValueAt<ColorT<RealFloat>>(
                  *MakeController<ColorT<RealFloat>>(0, {{0, 1, 0.5f, 1}, {1, 0, 0.5f, 0}}), 0.25f),
              ColorT<RealFloat>(0.25f, 0.75f, 0.5f, 0.75f));
    EXPECT_EQ(ValueAt<SizeT<int>>(*MakeController<SizeT<int>>(0, {{0, -3}, {3, 0}}), 0.5f),
              SizeT<int>(1, -1));
    EXPECT_EQ(ValueAt<SizeT<RealFloat>>(*MakeController<SizeT<RealFloat>>(0, {{0, 4}, {3, 0}}), 0.5f),
              SizeT<RealFloat>(1.5f, 2));
}

TEST(PropertySample, BooleansStep) {
    bool const samples[] = {true, false};
    Ref<SampleController<bool>> pController = SampleController<bool>::Create(0, samples, 2);
    EXPECT_TRUE(ValueAt<bool>(*pController, 0.9f));
    EXPECT_FALSE(ValueAt<bool>(*pController, 1));
}

TEST(PropertySample, LoadedSamplesStayInTheirDocumentAndKeepItAlive) {
    Ref<DocumentNode> pNode = MakeSampleNode(-1, 3, BytesOf(4.0f, 6.0f, 5.0f));
    DocumentNode* const pSource = pNode->GetChild(0);
    SampleController<RealFloat> controller;
    ASSERT_TRUE(LoadFrom(Ref<DocumentNode>(pSource), controller));
    EXPECT_TRUE(controller.IsExternal());
    pNode.Reset();
    EXPECT_EQ(pSource->GetReferenceCount(), 1);
    EXPECT_EQ(ValueAt<RealFloat>(controller, 0), 6);
    EXPECT_EQ(ValueAt<RealFloat>(controller, 0.5f), 5.5f);
}

TEST(PropertySample, RunsAreFoundWhereverTheyLie) {
    std::vector<Chunk> const chunks = {{0, 3, 10}, {3, 1, 20}, {4, 10, 30}, {14, 2, 40}, {16, 1, 50}};
    Ref<SampleController<RealFloat>> pController =
        LoadController<RealFloat>(100, 0x80000005u, ChunkBytes(chunks));
    ASSERT_TRUE(pController);
    EXPECT_TRUE(pController->IsChunked());
    EXPECT_EQ(pController->GetSampleCount(), 17u);
    for (Chunk const& chunk : chunks) {
        for (unsigned int n = chunk.m_nFirst; n < chunk.m_nFirst + chunk.m_nLength; ++n) {
            EXPECT_EQ(ValueAt<RealFloat>(*pController, static_cast<RealFloat>(100 + n)), chunk.m_value) << n;
        }
    }
    EXPECT_EQ(ValueAt<RealFloat>(*pController, 103.5f), 25);
    EXPECT_EQ(ValueAt<RealFloat>(*pController, 1000), 50);
    pController = LoadController<RealFloat>(16777215, 0x80000002u, ChunkBytes({{0, 2, 10}, {2, 1, 20}}));
    EXPECT_EQ(ValueAt<RealFloat>(*pController, 16777216), 10) << "as a float, the last frame is this one";
}

TEST(PropertySample, RunsThatDoNotCoverTheFramesInOrderAreSearchedAsTheyStand) {
    struct {
        char const* m_pWhat;
        std::vector<Chunk> m_chunks;
        RealFloat m_frame;
        RealFloat m_expected;
    } const cases[] = {
        {"a gap between runs", {{0, 1, 10}, {5, 9, 20}}, 2, 20},
        {"runs that start late", {{7, 4, 10}, {11, 4, 20}}, 0, 20},
        {"runs that all lie beyond the sample count", {{900, 2, 10}, {902, 2, 20}}, 1, 20},
        {"runs out of order, of which halving misses one", {{4, 2, 10}, {0, 2, 20}, {2, 2, 30}}, 4, 30},
        {"a run that ends past 32 bits", {{0, 1, 10}, {3, 0xfffffffdu, 20}, {9, 1, 30}}, 5, 20},
    };
    for (auto const& document : cases) {
        unsigned int const nSizeWord = static_cast<unsigned int>(document.m_chunks.size()) | 0x80000000u;
        Ref<SampleController<RealFloat>> pController =
            LoadController<RealFloat>(0, nSizeWord, ChunkBytes(document.m_chunks));
        ASSERT_TRUE(pController) << document.m_pWhat;
        EXPECT_EQ(ValueAt<RealFloat>(*pController, document.m_frame), document.m_expected)
            << document.m_pWhat;
    }
}

TEST(PropertySample, HostileSampleBlocksFailTheLoad) {
    struct {
        char const* m_pWhat;
        unsigned int m_nSizeWord;
        std::vector<unsigned char> m_samples;
        bool m_fLoads;
    } const cases[] = {
        {"as many as it says", 2, BytesOf(1.0f, 2.0f), true},
        {"more than it says", 1, BytesOf(1.0f, 2.0f), true},
        {"none, and says so", 0, {}, true},
        {"no runs, and says so", 0x80000000u, {}, true},
        {"one byte short", 2, std::vector<unsigned char>(7), false},
        {"none, but says one", 1, {}, false},
        {"a count whose bytes wrap around 32 bits", 0x40000001u, BytesOf(1.0f), false},
        {"the largest count", 0x7fffffffu, BytesOf(1.0f), false},
        {"one run", 0x80000001u, ChunkBytes({{0, 1, 1}}), true},
        {"a run cut short", 0x80000002u, std::vector<unsigned char>(23), false},
        {"the largest run count", 0xffffffffu, ChunkBytes({{0, 1, 1}}), false},
        {"runs of 2^32 - 1 frames", 0x80000002u, ChunkBytes({{0, 0xfffffffeu, 1}, {1, 1, 2}}), true},
        {"runs of 2^32 frames", 0x80000002u, ChunkBytes({{0, 0xffffffffu, 1}, {1, 1, 2}}), false},
    };
    for (auto const& document : cases) {
        Ref<SampleController<RealFloat>> pController =
            LoadController<RealFloat>(0, document.m_nSizeWord, document.m_samples);
        EXPECT_EQ(bool(pController), document.m_fLoads) << document.m_pWhat;
        for (RealFloat frame : {-1.0f, 0.0f, 0.5f, 3.5f, 1e9f, 5e9f}) {
            if (pController) {
                ValueAt<RealFloat>(*pController, frame);
            }
        }
    }
}

TEST(PropertySample, BooleansHaveNoRuns) {
    EXPECT_FALSE(LoadController<bool>(0, 0x80000001u, std::vector<unsigned char>(64)));
    Ref<SampleController<bool>> pController = LoadController<bool>(0, 2, {0, 0xfe});
    ASSERT_TRUE(pController);
    EXPECT_TRUE(ValueAt<bool>(*pController, 1)) << "any byte but 0 is true";
}

/** Samples of which the first `nEqual` are equal and the others all different. */
template <class T>
std::vector<T> MakeSamples(unsigned int nCount, unsigned int nEqual, T (*pfnMake)(int)) {
    std::vector<T> samples;
    for (unsigned int n = 0; n < nCount; ++n) {
        samples.push_back(pfnMake(n < nEqual ? 0 : static_cast<int>(n)));
    }
    return samples;
}

template <class T>
void ExpectCompaction(char const* pType, unsigned int nCount, unsigned int nEqual, bool fChunked,
                      T (*pfnMake)(int)) {
    std::vector<T> const samples = MakeSamples(nCount, nEqual, pfnMake);
    Ref<SampleController<T>> pController = MakeController(0, samples);
    EXPECT_EQ(pController->Compact(), fChunked) << pType << ": " << nEqual << " of " << nCount << " equal";
    EXPECT_EQ(pController->GetChunkCount(), fChunked ? nCount - nEqual + 1 : 0) << pType;
    EXPECT_EQ(pController->GetSampleCount(), nCount) << pType;
    for (unsigned int n = 0; n < nCount; ++n) {
        EXPECT_EQ(ValueAt<T>(*pController, static_cast<RealFloat>(n)), samples[n])
            << pType << ", sample " << n;
    }
}

TEST(PropertySample, RunsAreMadeOnlyWhereStrictlySmaller) {
    // Per run 8 bytes more than a sample: for vectors 20 bytes a run against 12 a sample, and so on.
    auto const MakeReal = [](int n) { return static_cast<RealFloat>(n); };
    auto const MakeVector = [](int n) { return Vector3(0, 0, static_cast<RealFloat>(n)); };
    auto const MakeRectangle = [](int n) { return Rectangle(0, 0, 0, static_cast<RealFloat>(n)); };
    ExpectCompaction<Vector3>("vector", 3, 2, false, MakeVector);         // 40 against 36
    ExpectCompaction<Vector3>("vector", 3, 3, true, MakeVector);          // 20 against 36
    ExpectCompaction<Vector3>("vector", 5, 3, false, MakeVector);         // 60 against 60
    ExpectCompaction<Vector3>("vector", 5, 4, true, MakeVector);          // 40 against 60
    ExpectCompaction<RealFloat>("real", 3, 3, false, MakeReal);           // 12 against 12
    ExpectCompaction<RealFloat>("real", 4, 4, true, MakeReal);            // 12 against 16
    ExpectCompaction<Rectangle>("rectangle", 3, 2, false, MakeRectangle); // 48 against 48
    ExpectCompaction<Rectangle>("rectangle", 4, 3, true, MakeRectangle);  // 48 against 64
    ExpectCompaction<RealFloat>("real", 0, 0, false, MakeReal);
}

TEST(PropertySample, RunsCompareComponentsAsNumbers) {
    RealFloat const nan = std::numeric_limits<RealFloat>::quiet_NaN();
    EXPECT_TRUE(MakeController<RealFloat>(0, {0.0f, -0.0f, 0.0f, -0.0f})->Compact())
        << "both zeros are equal";
    EXPECT_FALSE(MakeController<RealFloat>(0, {nan, nan, nan, nan})->Compact())
        << "no two of these are equal";
    EXPECT_FALSE(MakeController<int>(0, {16777216, 16777217, 16777216, 16777217})->Compact())
        << "integers that a float cannot tell apart stay apart";
}

TEST(PropertySample, CompactionTakesSamplesOutOfTheDocument) {
    Ref<SampleController<RealFloat>> pController = LoadController<RealFloat>(0, 2, BytesOf(4.0f, 6.0f));
    ASSERT_TRUE(pController);
    EXPECT_FALSE(pController->Compact());
    EXPECT_FALSE(pController->IsExternal());
    EXPECT_EQ(ValueAt<RealFloat>(*pController, 0.5f), 5);

    Ref<SampleController<RealFloat>> pChunked =
        LoadController<RealFloat>(0, 0x80000001u, ChunkBytes({{0, 9, 3}}));
    ASSERT_TRUE(pChunked);
    EXPECT_TRUE(pChunked->Compact());
    EXPECT_TRUE(pChunked->IsExternal()) << "runs stay where they are";
}

template <class T>
void ExpectInert() {
    SampleController<T> controller;
    T value{};
    EXPECT_FALSE(controller.Evaluate(UpdateContext(), 0, value));
    EXPECT_FALSE(controller.IsFinished());
    EXPECT_TRUE(LoadFrom(Ref<DocumentNode>(new DocumentNode(0, 0)), controller));
    Ref<DocumentNode> pSaved = SaveToNode(controller);
    ASSERT_TRUE(pSaved);
    EXPECT_EQ(pSaved->GetChildCount(), 0u);
}

TEST(PropertySample, ControllersOfListsAndTextsAreInert) {
    ExpectInert<List<Vector2T<int>>>();
    ExpectInert<String16>();
}

} // namespace
} // namespace trevik::kelvo
