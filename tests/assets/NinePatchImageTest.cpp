#include "NinePatchImage.h"

#include "PixelPacking.h"
#include "TestImages.h"

#include <gtest/gtest.h>

#include <zlib.h>

namespace trevik::kelvo::assets::testing {
namespace {

using Bands = std::vector<std::pair<int, int>>;

Bands ToPairs(std::vector<NinePatchInfo::Band> const& bands) {
    Bands pairs;
    for (NinePatchInfo::Band const& band : bands) {
        pairs.emplace_back(band.first, band.count);
    }
    return pairs;
}

/** The four bytes of a border pixel's letter. */
Bytes Colour(char letter) {
    switch (letter) {
    case '#':
        return {0, 0, 0, 255};
    case 'w':
        return {255, 255, 255, 255};
    case 'r':
        return {255, 0, 0, 255};
    case 'h': // half of black
        return {0, 0, 0, 128};
    case 'g':
        return {0, 128, 0, 255};
    case 't': // transparent, but not black
        return {200, 100, 50, 0};
    default:
        return {0, 0, 0, 0};
    }
}

/** A border, as letters without the corners: '.' is transparent, '#' black; see Colour for the others. */
struct Border {
    std::string top;
    std::string left;
    std::string bottom;
    std::string right;
};

constexpr int Width = 9;
constexpr int Height = 7;

/** A picture that is its own largest fault, if it gets mixed up with the border. */
Bytes Inner() {
    return GradientRgba(Width, Height);
}

Bytes SourcePng(Border const& border, char corner = 'h') {
    Bytes pixels;
    auto const append = [&pixels](Bytes const& pixel) {
        pixels.insert(pixels.end(), pixel.begin(), pixel.end());
    };
    auto const appendRow = [&](std::string const& letters) {
        append(Colour(corner));
        for (char const letter : letters) {
            append(Colour(letter));
        }
        append(Colour(corner));
    };
    EXPECT_EQ(border.top.size(), std::size_t(Width));
    EXPECT_EQ(border.right.size(), std::size_t(Height));
    appendRow(border.top);
    for (std::size_t y = 0; y < Height; ++y) {
        append(Colour(border.left[y]));
        Bytes const inner = Inner();
        auto const row = inner.begin() + std::ptrdiff_t(y * Width * 4);
        append(Bytes(row, row + Width * 4));
        append(Colour(border.right[y]));
    }
    appendRow(border.bottom);
    return RgbaPng(Width + 2, Height + 2, pixels);
}

Border const Plain = {"..###....", ".##....", ".........", "......."};

void AppendBig32(Bytes& bytes, std::uint32_t number) {
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes.push_back(std::uint8_t(number >> shift));
    }
}

Bytes PngChunk(char const* pName, Bytes const& content) {
    Bytes chunk;
    AppendBig32(chunk, std::uint32_t(content.size()));
    chunk.insert(chunk.end(), pName, pName + 4);
    chunk.insert(chunk.end(), content.begin(), content.end());
    AppendBig32(chunk, std::uint32_t(crc32(0, chunk.data() + 4, unsigned(chunk.size() - 4))));
    return chunk;
}

/** What the chunk says: left, right, top and bottom padding, and the divisions. */
struct Compiled {
    std::vector<int> padding;
    std::vector<int> columns;
    std::vector<int> rows;
};

Compiled const PlainCompiled = {{1, 2, 3, 4}, {2, 5}, {1, 3}};

Bytes Description(Compiled const& compiled, std::size_t nColours = 3) {
    Bytes bytes = {1, std::uint8_t(compiled.columns.size()), std::uint8_t(compiled.rows.size()),
                   std::uint8_t(nColours)};
    bytes.resize(12, 0xEE);
    for (std::vector<int> const& numbers : {compiled.padding, {-1}, compiled.columns, compiled.rows}) {
        for (int const number : numbers) {
            AppendBig32(bytes, std::uint32_t(number));
        }
    }
    bytes.resize(bytes.size() + 4 * nColours, 1);
    return bytes;
}

/** Puts chunks behind the header of a PNG file, or in front of its end. */
Bytes WithChunk(Bytes file, Bytes const& description, bool fBehindPixels = false) {
    Bytes const chunk = PngChunk("npTc", description);
    std::ptrdiff_t const at = fBehindPixels ? std::ptrdiff_t(file.size()) - 12 : 33;
    file.insert(file.begin() + at, chunk.begin(), chunk.end());
    return file;
}

Bytes CompiledPng(Compiled const& compiled, bool fBehindPixels = false) {
    return WithChunk(RgbaPng(Width, Height, Inner()), Description(compiled), fBehindPixels);
}

struct Loaded {
    bool fLoaded = false;
    ImageData image = Untouched();
    NinePatchInfo info;
    std::string error;
};

Loaded Load(Bytes const& file, ImageOptions const& options = {}) {
    Loaded loaded;
    loaded.info.x = {{77, 88}};
    loaded.fLoaded =
        LoadNinePatch(Span(file), "button.9.png", options, loaded.image, loaded.info, loaded.error);
    return loaded;
}

void ExpectInfo(Loaded const& loaded, Bands const& x, Bands const& y, std::vector<int> const& margins) {
    ASSERT_TRUE(loaded.fLoaded) << loaded.error;
    EXPECT_EQ(ToPairs(loaded.info.x), x);
    EXPECT_EQ(ToPairs(loaded.info.y), y);
    EXPECT_EQ((std::vector<int>{loaded.info.left, loaded.info.top, loaded.info.right, loaded.info.bottom}),
              margins);
    EXPECT_EQ(loaded.image.width, Width);
    EXPECT_EQ(loaded.image.height, Height);
    EXPECT_EQ(loaded.image.pixels, Inner());
}

void ExpectFault(Loaded const& loaded, std::string const& fault) {
    EXPECT_FALSE(loaded.fLoaded);
    EXPECT_EQ(loaded.error, "button.9.png: " + fault);
    EXPECT_TRUE(IsUntouched(loaded.image));
    EXPECT_EQ(ToPairs(loaded.info.x), (Bands{{77, 88}}));
}

TEST(NinePatchSource, SaysWhatStretchesAndWhereContentGoes) {
    struct Case {
        char const* what;
        Border border;
        std::vector<int> margins = {2, 1, 4, 4}; // those of the plain border, as the bands are
        Bands x = {{2, 3}};
        Bands y = {{4, 2}}; ///< from the bottom
    } const cases[] = {
        {"one band", Plain},
        {"a white border", {"ww###wwww", "w##wwww", "wwwwwwwww", "wwwwwww"}},
        {"several bands",
         {"#.##..#.#", "##..#.#", ".........", "......."},
         {0, 0, 0, 0},
         {{0, 1}, {2, 2}, {6, 1}, {8, 1}},
         {{0, 1}, {2, 1}, {5, 2}}},
        {"bands all over",
         {"#########", "#######", ".........", "......."},
         {0, 0, 0, 0},
         {{0, 9}},
         {{0, 7}}},
        {"content", {"..###....", ".##....", ".#####...", "...###."}, {1, 3, 3, 1}},
        {"content in one direction", {"..###....", ".##....", "########.", "......."}, {0, 1, 1, 4}},
        {"content of several bands' extent",
         {".#..##...", "..#.#..", ".........", "......."},
         {1, 2, 3, 2},
         {{1, 1}, {4, 2}},
         {{2, 1}, {4, 1}}},
        {"optical bounds", {"..###....", ".##....", "r.####.rr", "rr....r"}, {2, 1, 3, 4}},
        {"pixels of either kind", {"wt###..wt", "w##..ww", "t..w.....", "...t..w"}},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.what);
        for (char const corner : {'#', 'w', 'r', 'g', 'h', '.'}) {
            ExpectInfo(Load(SourcePng(each.border, corner)), each.x, each.y, each.margins);
        }
    }
}

TEST(NinePatchSource, IsRefusedForABorderThatSaysNothingClear) {
    std::string const black = "; it may be black, white, transparent";
    std::string const sides = " (red is for the bottom and right)";
    struct {
        Border border;
        std::string fault;
    } const cases[] = {
        {{".........", ".##....", ".........", "......."}, "no columns stretch"},
        {{"..###....", ".......", ".........", "......."}, "no rows stretch"},
        {{"g.###....", ".##....", ".........", "......."},
         "pixel (1, 0) in the top border is #008000ff" + black + sides},
        {{"..###....", ".##...h", ".........", "......."},
         "pixel (0, 7) in the left border is #00000080" + black + sides},
        {{"..#r#....", ".##....", ".........", "......."},
         "pixel (4, 0) in the top border is #ff0000ff" + black + sides},
        {{"..###....", "r##....", ".........", "......."},
         "pixel (0, 1) in the left border is #ff0000ff" + black + sides},
        {{"..###....", ".##....", "........g", "......."},
         "pixel (9, 8) in the bottom border is #008000ff" + black + ", red"},
        {{"..###....", ".##....", ".........", "...g..."},
         "pixel (10, 4) in the right border is #008000ff" + black + ", red"},
        {{"..###....", ".##....", ".##..#...", "......."},
         "the bottom border marks content in 2 pieces; it must be one"},
        {{"..###....", ".##....", ".........", "#.#.#.#"},
         "the right border marks content in 4 pieces; it must be one"},
        {{"..###....", ".##....", "##r##....", "......."},
         "the bottom border marks content in 2 pieces; it must be one"},
    };
    for (auto const& each : cases) {
        ExpectFault(Load(SourcePng(each.border)), each.fault);
    }
}

TEST(NinePatchSource, NeedsRoomForAPictureAndUsesTenBands) {
    ExpectFault(Load(RgbaPng(2, 3, Bytes(24))), "2 x 3 pixels have no room for a picture inside a border");
    ExpectFault(Load(RgbaPng(3, 2, Bytes(24))), "3 x 2 pixels have no room for a picture inside a border");
    Bytes smallest(9 * 4, 0);
    smallest[1 * 4 + 3] = smallest[3 * 4 + 3] = 255;
    Loaded const loaded = Load(RgbaPng(3, 3, smallest));
    ASSERT_TRUE(loaded.fLoaded) << loaded.error;
    EXPECT_EQ(loaded.image.width, 1);
    EXPECT_EQ(ToPairs(loaded.info.x), (Bands{{0, 1}}));

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
    ASSERT_TRUE(loaded.fLoaded) << loaded.error;
    ImageData expected;
    std::string error;
    ASSERT_TRUE(BuildImage({Width, Height, Inner()}, true, options, "", expected, error)) << error;
    EXPECT_EQ(loaded.image.pixels, expected.pixels);
    EXPECT_EQ(loaded.image.levels, expected.levels);
    EXPECT_EQ(loaded.image.allocatedWidth, 16);
    EXPECT_EQ(loaded.image.allocatedHeight, 8);
    // Upside down the picture stretches where it did, which is counted from its other end.
    EXPECT_EQ(ToPairs(loaded.info.y), (Bands{{1, 2}}));
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
    ASSERT_TRUE(loaded.fLoaded) << loaded.error;
    EXPECT_EQ(loaded.image.format, TextureFormat::RGB888);
    EXPECT_EQ(loaded.image.pixels, (Bytes{0, 0, 0}));
}

TEST(NinePatchCompiled, SaysWhatStretchesAndWhereContentGoes) {
    struct {
        char const* what;
        Compiled compiled;
        Bands x;
        Bands y; ///< from the bottom
        std::vector<int> margins;
    } const cases[] = {
        {"one band", PlainCompiled, {{2, 3}}, {{4, 2}}, {1, 3, 2, 4}},
        {"several bands",
         {{0, 0, 0, 0}, {0, 1, 2, 4, 4, 9}, {0, 2, 5, 7}},
         {{0, 1}, {2, 2}, {4, 5}},
         {{0, 2}, {5, 2}},
         {0, 0, 0, 0}},
        {"empty bands", {{9, 0, 0, 7}, {0, 0, 2, 5, 9, 9}, {1, 3, 3, 3}}, {{2, 3}}, {{4, 2}}, {9, 0, 0, 7}},
        {"as many as sprites use",
         {{0, 0, 0, 0}, {0, 0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9, 9}, {0, 7}},
         {{0, 1}, {1, 1}, {2, 1}, {3, 1}, {4, 1}, {5, 1}, {6, 1}, {7, 1}, {8, 1}},
         {{0, 7}},
         {0, 0, 0, 0}},
    };
    for (auto const& each : cases) {
        SCOPED_TRACE(each.what);
        for (bool const fBehindPixels : {false, true}) {
            ExpectInfo(Load(CompiledPng(each.compiled, fBehindPixels)), each.x, each.y, each.margins);
        }
    }
}

TEST(NinePatchCompiled, IsRefusedForAChunkThatDoesNotFit) {
    Bytes const file = RgbaPng(Width, Height, Inner());
    Bytes const whole = Description(PlainCompiled);
    ASSERT_EQ(whole.size(), 32u + 4 * (2 + 2 + 3));
    struct {
        Bytes file;
        std::string fault;
    } const cases[] = {
        {WithChunk(file, {}), "has 0 bytes, too few for the 32 of its content"},
        {WithChunk(file, Bytes(31)), "has 31 bytes, too few for the 32 of its content"},
        {WithChunk(file, Bytes(whole.begin(), whole.end() - 1)),
         "has 59 bytes, too few for the 60 of its content"},
        {CompiledPng({{0, 0, 0, 0}, {2, 5, 6}, {1, 3}}),
         "3 column divisions are not pairs of a beginning and an end"},
        {CompiledPng({{0, 0, 0, 0}, {2, 5}, {1}}), "1 row divisions are not pairs of a beginning and an end"},
        {CompiledPng({{0, 0, 0, 0}, {5, 2}, {1, 3}}), "column division 1 is at 2, and must be from 5 to 9"},
        {CompiledPng({{0, 0, 0, 0}, {2, 5, 4, 6}, {1, 3}}),
         "column division 2 is at 4, and must be from 5 to 9"},
        {CompiledPng({{0, 0, 0, 0}, {-1, 5}, {1, 3}}), "column division 0 is at -1, and must be from 0 to 9"},
        {CompiledPng({{0, 0, 0, 0}, {2, 10}, {1, 3}}), "column division 1 is at 10, and must be from 2 to 9"},
        {CompiledPng({{0, 0, 0, 0}, {2, 5}, {1, 8}}), "row division 1 is at 8, and must be from 1 to 7"},
        {CompiledPng({{-1, 0, 0, 0}, {2, 5}, {1, 3}}), "a padding of -1 and 0 does not fit 9 texels"},
        {CompiledPng({{5, 5, 0, 0}, {2, 5}, {1, 3}}), "a padding of 5 and 5 does not fit 9 texels"},
        {CompiledPng({{0, 0, 0, 0x7FFFFFFF}, {2, 5}, {1, 3}}),
         "a padding of 0 and 2147483647 does not fit 7 texels"},
    };
    for (auto const& each : cases) {
        ExpectFault(Load(each.file), "chunk npTc: " + each.fault);
    }
    ExpectFault(Load(CompiledPng({{0, 0, 0, 0}, {}, {1, 3}})), "no columns stretch");
    ExpectFault(Load(CompiledPng({{0, 0, 0, 0}, {2, 5}, {3, 3}})), "no rows stretch");
    ExpectFault(Load(WithChunk(WithChunk(file, whole), whole, true)), "has 2 chunks npTc");
}

TEST(NinePatchImage, FailsAsPngFilesDo) {
    Bytes damaged = CompiledPng(PlainCompiled);
    damaged[33 + 8] ^= 1; // the checksum of the chunk tells
    Loaded const loaded = Load(damaged);
    EXPECT_FALSE(loaded.fLoaded);
    EXPECT_NE(loaded.error.find("npTc"), std::string::npos) << loaded.error;
    EXPECT_TRUE(IsUntouched(loaded.image));
    ExpectFault(Load({}), "is empty");

    TemporaryFolder const folder;
    folder.Write("a.9.png", SourcePng(Plain));
    ImageData image;
    NinePatchInfo info;
    std::string error;
    EXPECT_TRUE(LoadNinePatch(folder.Path("a.9.png"), {}, image, info, error)) << error;
    EXPECT_EQ(ToPairs(info.x), (Bands{{2, 3}}));
    EXPECT_FALSE(LoadNinePatch(folder.Path("b.9.png"), {}, image, info, error));
    EXPECT_EQ(error, folder.Path("b.9.png") + ": cannot be opened: No such file or directory");
}

} // namespace
} // namespace trevik::kelvo::assets::testing
