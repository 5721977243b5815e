#include "image/Pkm.h"

#include "TestImages.h"
#include "image/Etc1.h"
#include "kelvo_test/TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

namespace trevik::kelvo::assets::testing {
namespace {

using Names = std::vector<std::string>;

/** A file of as many blocks as its extended size asks for, each byte telling where it stands. */
Bytes PkmFile(int extendedWidth, int extendedHeight, int width, int height, int firstByte = 0) {
    Bytes file = {'P', 'K', 'M', ' ', '1', '0', 0, 0};
    for (int extent : {extendedWidth, extendedHeight, width, height}) {
        file.push_back(std::uint8_t(extent >> 8));
        file.push_back(std::uint8_t(extent & 0xFF));
    }
    for (int i = 0; i < extendedWidth * extendedHeight / 2; ++i) {
        file.push_back(std::uint8_t(firstByte + i));
    }
    return file;
}

Bytes Blocks(Bytes const& file) {
    return Bytes(file.begin() + 16, file.end());
}

/** The message for a file "x.pkm" that must not be read, and leaves the image that was there as it is. */
std::string ErrorOf(Bytes const& file, ByteSpan alpha = {}, ImageOptions const& options = {}) {
    ImageData image = Untouched();
    Fault fault;
    EXPECT_FALSE(LoadPkm(Span(file), alpha, "x.pkm", options, image, fault));
    EXPECT_TRUE(IsUntouched(image));
    return fault.GetText();
}

TEST(Pkm, AnAlphaFileBesideMakesEtc1WithAlpha) {
    TemporaryFolder const folder;
    Bytes const colour = PkmFile(8, 12, 7, 9);
    folder.Write("a.pkm", colour);
    folder.Write("a.alpha.pkm", PkmFile(8, 12, 7, 9, 100));
    folder.Write("b.pkm", colour);
    Bytes both = Blocks(colour);
    Bytes const alpha = Blocks(PkmFile(8, 12, 7, 9, 100));
    both.insert(both.end(), alpha.begin(), alpha.end());
    const struct {
        char const* name;
        TextureFormat::Enum format;
        Bytes pixels;
    } cases[] = {{"a.pkm", TextureFormat::ETC1_RGBA, both},
                 {"b.pkm", TextureFormat::ETC1_RGB, Blocks(colour)},
                 {"a.alpha.pkm", TextureFormat::ETC1_RGB, alpha}};
    for (auto const& test : cases) {
        ImageData expected;
        expected.format = test.format;
        expected.width = 7;
        expected.height = 9;
        expected.allocatedWidth = 8;
        expected.allocatedHeight = 12;
        expected.levels = {{8, 12, 0, 48}};
        expected.pixels = test.pixels;
        ImageData image;
        Fault fault;
        EXPECT_TRUE(LoadPkm(folder.Path(test.name), {}, image, fault)) << fault.GetText();
        EXPECT_EQ(Describe(image), Describe(expected));
    }
}

TEST(Pkm, AnAlphaFileThatDoesNotFitIsAnErrorThatNamesIt) {
    TemporaryFolder const folder;
    Bytes const colour = PkmFile(8, 4, 5, 4);
    folder.Write("a.pkm", colour);
    auto const error = [&folder] {
        ImageData image = Untouched();
        Fault fault;
        EXPECT_FALSE(LoadPkm(folder.Path("a.pkm"), {}, image, fault));
        EXPECT_TRUE(IsUntouched(image));
        std::string const text = fault.GetText();
        std::string const start = folder.Path("a.alpha.pkm");
        return text.rfind(start, 0) == 0 ? text.substr(start.size()) : text;
    };
    std::pair<Bytes, char const*> const cases[] = {
        {PkmFile(8, 4, 6, 4), ": has 6 x 4 in 8 x 4 pixels, but *"},
        {PkmFile(8, 8, 5, 4), ": has 5 x 4 in 8 x 8 pixels, but *"},
        {Bytes(colour.begin(), colour.begin() + 16), ": 5 x 4 in 8 x 4 pixels need 32 bytes*"},
        {{}, ": is empty"},
    };
    for (auto const& [alpha, expected] : cases) {
        folder.Write("a.alpha.pkm", alpha);
        EXPECT_TRUE(IsMessage(error(), expected));
    }
    std::filesystem::remove(folder.Path("a.alpha.pkm"));
    std::filesystem::create_directory(folder.Path("a.alpha.pkm"));
    EXPECT_EQ(error(), ": is not a regular file");
}

// The extended and the used size of files, and bytes of them that are others, each behind its offset.
TEST(Pkm, NamesWhatIsWrongAndWhere) {
    for (TextCase const& test : ReadCases("image/data/pkm-errors.txt")) {
        std::istringstream words(test.text);
        int sizes[4] = {};
        words >> sizes[0] >> sizes[1] >> sizes[2] >> sizes[3];
        Bytes file = PkmFile(sizes[0], sizes[1], sizes[2], sizes[3]);
        for (std::size_t offset = 0, value = 0; words >> offset >> value;) {
            file.resize(std::max(file.size(), offset + 1));
            file[offset] = std::uint8_t(value);
        }
        LargestAllocation() = 0;
        std::string const error = ErrorOf(file);
        EXPECT_LT(LargestAllocation(), 1024u) << error;
        EXPECT_TRUE(IsMessage(error, "x.pkm: " + test.expected)) << test.text;
    }
    ImageOptions small;
    small.limits.maxBytes = 8 * 4 * 4 - 1;
    EXPECT_TRUE(IsMessage(ErrorOf(PkmFile(8, 4, 8, 4), {}, small),
                          "x.pkm: 8 x 4 pixels need 128 bytes, more than the 127 allowed"));
}

TEST(Pkm, EveryTruncationIsAnError) {
    Bytes const file = PkmFile(8, 8, 7, 6);
    for (std::size_t size = 0; size < file.size(); ++size) {
        SCOPED_TRACE(size);
        EXPECT_NE(ErrorOf(Bytes(file.begin(), file.begin() + std::ptrdiff_t(size))), "");
    }
}

TEST(Pkm, OptionsThatNeedOtherBlocksAreRefused) {
    ImageOptions other;
    other.format = TextureFormat::RGB565;
    ImageOptions flipped;
    flipped.flipRows = true;
    ImageOptions padded;
    padded.padToPowerOfTwo = true;
    ImageOptions levels;
    levels.mipLevels = true;
    Bytes const file = PkmFile(12, 4, 12, 4);
    const struct {
        ImageOptions options;
        ByteSpan alpha;
        char const* expected;
    } cases[] = {{other, {}, "*have texture format 13 and cannot become format 0*"},
                 {flipped, {}, "*cannot be flipped*"},
                 {padded, {}, "*cannot be padded*"},
                 {levels, Span(file), "*cannot have mip levels*"}};
    for (auto const& test : cases) {
        EXPECT_TRUE(IsMessage(ErrorOf(file, test.alpha, test.options), test.expected));
    }
    // What can be done keeps the file's own blocks.
    padded.mipLevels = true;
    Bytes const whole = PkmFile(8, 4, 7, 4);
    ImageData image;
    Fault fault;
    ASSERT_TRUE(LoadPkm(Span(whole), {}, "x.pkm", padded, image, fault)) << fault.GetText();
    std::vector<MipLevel> const expected = {{8, 4, 0, 16}, {4, 2, 16, 8}, {2, 1, 24, 8}, {1, 1, 32, 8}};
    EXPECT_EQ(image.levels, expected);
    EXPECT_EQ(Bytes(image.pixels.begin(), image.pixels.begin() + 16), Blocks(whole));
}

ImageData Encoded(bool fAlpha) {
    ImageData image = RgbaImage(6, 5, GradientRgba(6, 5));
    image.format = fAlpha ? TextureFormat::RGBA8888 : TextureFormat::RGBX8888;
    Fault fault;
    EXPECT_TRUE(EncodeEtc1(image, false, "x", image, fault)) << fault.GetText();
    return image;
}

TEST(Pkm, WhatIsWrittenReadsBack) {
    TemporaryFolder folder;
    for (bool fAlpha : {false, true}) {
        ImageData const written = Encoded(fAlpha);
        std::string const path = folder.Path(fAlpha ? "with.pkm" : "without.pkm");
        ImageData image;
        Fault fault;
        EXPECT_TRUE(SavePkm(path, written, fault)) << fault.GetText();
        EXPECT_TRUE(LoadPkm(path, {}, image, fault)) << fault.GetText();
        EXPECT_EQ(Describe(image), Describe(written));
    }
    EXPECT_EQ(folder.List(), (Names{"with.alpha.pkm", "with.pkm", "without.pkm"}));
}

TEST(Pkm, RefusesToWriteWhatAReaderWouldNotGetBack) {
    TemporaryFolder folder;
    folder.Write("taken.alpha.pkm", {1});
    ImageData levels = Encoded(false);
    levels.levels.push_back({4, 4, 0, 8});
    ImageData wide = Encoded(false);
    wide.levels[0].m_nWidth = 65536;
    const struct {
        char const* name;
        ImageData image;
        std::string expected;
    } cases[] = {
        {"a.pkm", Untouched(),
         folder.Path("a.pkm") + ": only ETC1 images can be written, not texture format 6"},
        {"a.pkm", levels, folder.Path("a.pkm") + ": a PKM file holds one level, not 2"},
        {"a.pkm", wide, folder.Path("a.pkm") + ": 65536 x 8 pixels do not fit a PKM header"},
        {"a.etc", Encoded(true),
         folder.Path("a.etc") + ": an image with alpha needs a path that ends in .pkm and not in .alpha.pkm"},
        {"taken.pkm", Encoded(false),
         folder.Path("taken.alpha.pkm") +
             ": lies beside an image without alpha and would be taken for its alpha"},
        {"none/a.pkm", Encoded(true),
         folder.Path("none/a.pkm") + ": cannot be created: No such file or directory"},
    };
    for (auto const& test : cases) {
        Fault fault;
        EXPECT_FALSE(SavePkm(folder.Path(test.name), test.image, fault));
        EXPECT_EQ(fault.GetText(), test.expected);
    }
    EXPECT_EQ(folder.List(), (Names{"taken.alpha.pkm"}));
}

} // namespace
} // namespace trevik::kelvo::assets::testing
