#include "image/NinePatchImage.h"

#include "TestImages.h"
#include "image/PixelPacking.h"
#include "kelvo_test/PngChunk.h"
#include "kelvo_test/TestFiles.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <utility>

namespace trevik::kelvo::assets::testing {
namespace {

/** Letters of a border's pixels, and their four bytes. Others are transparent. */
std::map<char, Bytes> const Colours = {
    {'#', {0, 0, 0, 255}},   {'w', {255, 255, 255, 255}}, {'r', {255, 0, 0, 255}}, {'h', {0, 0, 0, 128}},
    {'g', {0, 128, 0, 255}}, {'t', {200, 100, 50, 0}},    {'.', {0, 0, 0, 0}},
};

using kelvokit::test::AppendBig32;
using kelvokit::test::PngHeaderEnd;
using kelvokit::test::WithPngChunk;
using Bands = std::vector<NinePatchInfo::Band>;

constexpr int Width = 9;
constexpr int Height = 7;

/** A picture that is its own largest fault, if it gets mixed up with the border. */
Bytes Inner() {
    return GradientRgba(Width, Height);
}

/** A picture with a border: its letters at the top, left, bottom and right, without the corners. */
Bytes SourcePng(std::string const& border, char corner = 'h') {
    std::istringstream sides(border);
    std::string top, left, bottom, right;
    sides >> top >> left >> bottom >> right;
    EXPECT_EQ(top.size() + bottom.size(), 2u * Width);
    EXPECT_EQ(left.size() + right.size(), 2u * Height);
    Bytes const inner = Inner();
    Bytes pixels;
    auto const append = [&pixels](Bytes const& some) {
        pixels.insert(pixels.end(), some.begin(), some.end());
    };
    auto const appendRow = [&](std::string const& letters) {
        for (char const letter : corner + letters + corner) {
            append(Colours.at(letter));
        }
    };
    appendRow(top);
    for (std::size_t y = 0; y < Height; ++y) {
        append(Colours.at(left[y]));
        append(Bytes(inner.begin() + std::ptrdiff_t(y * Width * 4),
                     inner.begin() + std::ptrdiff_t((y + 1) * Width * 4)));
        append(Colours.at(right[y]));
    }
    appendRow(bottom);
    return RgbaPng(Width + 2, Height + 2, pixels);
}

char const* const Plain = "..###.... .##.... ......... .......";

char const* const PlainCompiled = "1 2 3 4 / 2 5 / 1 3";

/** The chunk for a text: left, right, top and bottom padding, and the divisions of columns and of rows. */
Bytes ChunkOf(std::string const& text) {
    std::istringstream words(text);
    Bytes bytes = {1, 0, 0, 3}; // three colours
    bytes.resize(12, 0xEE);
    std::size_t nPart = 0;
    for (std::string word; words >> word;) {
        if (word != "/") {
            AppendBig32(bytes, std::uint32_t(std::stoi(word)));
            bytes[nPart] += nPart != 0;
        } else if (++nPart == 1) {
            AppendBig32(bytes, 0xFFFFFFFF);
        }
    }
    bytes.resize(bytes.size() + 4 * 3, 1);
    return bytes;
}

/** Puts a chunk behind the header of a PNG file, or in front of its end. */
Bytes WithChunk(Bytes const& file, Bytes const& description, bool fBehindPixels = false) {
    return WithPngChunk(file, fBehindPixels ? std::ptrdiff_t(file.size()) - 12 : PngHeaderEnd, "npTc",
                        description);
}

struct Loaded {
    bool fLoaded = false;
    ImageData image = Untouched();
    NinePatchInfo info;
    Fault fault;
};

Loaded Load(Bytes const& file, ImageOptions const& options = {}) {
    Loaded loaded;
    loaded.info.x = {{77, 88}};
    loaded.fLoaded =
        LoadNinePatch(Span(file), "button.9.png", options, loaded.image, loaded.info, loaded.fault);
    return loaded;
}

std::string ToText(Bands const& bands) {
    std::string text;
    for (NinePatchInfo::Band const& band : bands) {
        text += " " + std::to_string(band.first) + "+" + std::to_string(band.count);
    }
    return text;
}

void ExpectFault(Loaded const& loaded, std::string const& fault) {
    EXPECT_FALSE(loaded.fLoaded);
    EXPECT_TRUE(IsMessage(loaded.fault.GetText(), "button.9.png: " + fault));
    EXPECT_TRUE(IsUntouched(loaded.image));
    EXPECT_EQ(ToText(loaded.info.x), " 77+88");
}

/** Either what the image is expected to be, or why it is refused. */
void ExpectLoads(Loaded const& loaded, std::string const& expected) {
    if (expected.rfind("x ", 0) != 0) {
        return ExpectFault(loaded, expected);
    }
    ASSERT_TRUE(loaded.fLoaded) << loaded.fault.GetText();
    NinePatchInfo const& info = loaded.info;
    EXPECT_EQ("x" + ToText(info.x) + ", y" + ToText(info.y) + ", margins " + std::to_string(info.left) + " " +
                  std::to_string(info.top) + " " + std::to_string(info.right) + " " +
                  std::to_string(info.bottom),
              expected);
    EXPECT_EQ(loaded.image.width, Width);
    EXPECT_EQ(loaded.image.height, Height);
    EXPECT_EQ(loaded.image.pixels, Inner());
}

TEST(NinePatchSource, SaysWhatStretchesAndWhereContentGoes) {
    for (TextCase const& test : ReadCases("image/data/nine-patches.txt")) {
        SCOPED_TRACE(test.text);
        for (char const corner : {'#', 'w', 'r', 'g', 'h', '.'}) {
            ExpectLoads(Load(SourcePng(test.text, corner)), test.expected);
        }
    }
}

TEST(NinePatchSource, NeedsRoomForAPictureAndUsesTenBands) {
    ExpectFault(Load(RgbaPng(2, 3, Bytes(24))), "2 x 3 pixels have no room for a picture inside a border");
    ExpectFault(Load(RgbaPng(3, 2, Bytes(24))), "3 x 2 pixels have no room for a picture inside a border");
    Bytes smallest(9 * 4, 0);
    smallest[1 * 4 + 3] = smallest[3 * 4 + 3] = 255;
    Loaded const loaded = Load(RgbaPng(3, 3, smallest));
    ASSERT_TRUE(loaded.fLoaded) << loaded.fault.GetText();
    EXPECT_EQ(loaded.image.width, 1);
    EXPECT_EQ(ToText(loaded.info.x), " 0+1");

    auto const comb = [](int nTeeth) {
        int const nWidth = 2 * nTeeth + 1;
        Bytes pixels(std::size_t(nWidth) * 3 * 4, 0);
        for (int n = 0; n < nTeeth; ++n) {
            pixels[std::size_t(2 * n + 1) * 4 + 3] = 255;
        }
        pixels[std::size_t(nWidth) * 4 + 3] = 255;
        return RgbaPng(nWidth, 3, pixels);
    };
    EXPECT_EQ(Load(comb(10)).info.x.size(), 10u);
    ExpectFault(Load(comb(11)), "11 bands of columns stretch; sprites use 10 at most");
}

TEST(NinePatchSource, BecomesWhatTheOptionsSayWithoutItsBorder) {
    ImageOptions options;
    options.format = TextureFormat::RGBA4444;
    options.padToPowerOfTwo = true;
    options.mipLevels = true;
    options.flipRows = true;
    Loaded const loaded = Load(SourcePng(Plain), options);
    ASSERT_TRUE(loaded.fLoaded) << loaded.fault.GetText();
    ImageData expected;
    Fault fault;
    ASSERT_TRUE(BuildImage({Width, Height, Inner()}, true, options, "", expected, fault)) << fault.GetText();
    EXPECT_EQ(loaded.image.pixels, expected.pixels);
    EXPECT_EQ(loaded.image.levels, expected.levels);
    EXPECT_EQ(loaded.image.allocatedWidth, 16);
    EXPECT_EQ(loaded.image.allocatedHeight, 8);
    // Upside down the picture stretches where it did, which is counted from its other end.
    EXPECT_EQ(ToText(loaded.info.y), " 1+2");
    EXPECT_EQ((std::vector<int>{loaded.info.top, loaded.info.bottom}), (std::vector<int>{4, 1}));

    // The bounds of the file, and not of the picture, are what is limited.
    ImageOptions narrow;
    narrow.limits.maxWidth = Width + 1;
    ExpectFault(Load(SourcePng(Plain), narrow), "11 x 9 pixels are more than the 10 x 16384 allowed");
}

TEST(NinePatchSource, MayHaveNoAlpha) {
    Bytes pixels(3 * 3 * 3, 255);
    for (std::size_t n : {1u, 3u, 4u}) {
        std::fill_n(pixels.begin() + std::ptrdiff_t(n * 3), 3, std::uint8_t(0));
    }
    Loaded const loaded = Load(RgbPng(3, 3, pixels));
    ASSERT_TRUE(loaded.fLoaded) << loaded.fault.GetText();
    EXPECT_EQ(loaded.image.format, TextureFormat::RGB888);
    EXPECT_EQ(loaded.image.pixels, (Bytes{0, 0, 0}));
}

TEST(NinePatchCompiled, SaysWhatStretchesAndWhereContentGoes) {
    Bytes const file = RgbaPng(Width, Height, Inner());
    for (TextCase const& test : ReadCases("image/data/nine-patch-chunks.txt")) {
        SCOPED_TRACE(test.text);
        for (bool const fBehindPixels : {false, true}) {
            ExpectLoads(Load(WithChunk(file, ChunkOf(test.text), fBehindPixels)), test.expected);
        }
    }
}

TEST(NinePatchCompiled, IsRefusedForAChunkThatIsTooShortOrThereTwice) {
    Bytes const file = RgbaPng(Width, Height, Inner());
    Bytes const whole = ChunkOf(PlainCompiled);
    ASSERT_EQ(whole.size(), 32u + 4 * (2 + 2 + 3));
    for (auto const& [nSize, nNeeded] : {std::pair(0, 32), {31, 32}, {59, 60}}) {
        ExpectFault(Load(WithChunk(file, Bytes(whole.begin(), whole.begin() + nSize))),
                    "chunk npTc: has " + std::to_string(nSize) + " bytes, too few for the " +
                        std::to_string(nNeeded) + " of its content");
    }
    ExpectFault(Load(WithChunk(WithChunk(file, whole), whole, true)), "has 2 chunks npTc");
    // Nothing behind the file's end counts.
    Bytes const source = SourcePng(Plain);
    ExpectLoads(
        Load(WithPngChunk(source, std::ptrdiff_t(source.size()), "npTc", ChunkOf("0 0 0 0 / 0 1 / 0 1"))),
        "x 2+3, y 4+2, margins 2 1 4 4");
}

TEST(NinePatchImage, FailsAsPngFilesDo) {
    Bytes damaged = WithChunk(RgbaPng(Width, Height, Inner()), ChunkOf(PlainCompiled));
    damaged[33 + 8] ^= 1; // the checksum of the chunk tells
    ExpectFault(Load(damaged), "*npTc*");
    ExpectFault(Load({}), "is empty");

    TemporaryFolder const folder;
    folder.Write("a.9.png", SourcePng(Plain));
    ImageData image;
    NinePatchInfo info;
    Fault fault;
    EXPECT_TRUE(LoadNinePatch(folder.Path("a.9.png"), {}, image, info, fault)) << fault.GetText();
    EXPECT_EQ(ToText(info.x), " 2+3");
    EXPECT_FALSE(LoadNinePatch(folder.Path("b.9.png"), {}, image, info, fault));
    EXPECT_EQ(fault.GetText(), folder.Path("b.9.png") + ": cannot be opened: No such file or directory");
}

} // namespace
} // namespace trevik::kelvo::assets::testing
