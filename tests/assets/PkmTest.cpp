#include "Pkm.h"
#include "Etc1.h"
#include "TestImages.h"

#include <gtest/gtest.h>

#include <filesystem>

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
    for (int i = 0; i < extendedWidth * extendedHeight / 2; ++i)
        file.push_back(std::uint8_t(firstByte + i));
    return file;
}

Bytes Blocks(const Bytes& file) {
    return Bytes(file.begin() + 16, file.end());
}

/** The message for a file "x.pkm" that must not be read, and leaves the image that was there as it is. */
std::string ErrorOf(const Bytes& file, ByteSpan alpha = {}, const ImageOptions& options = {}) {
    ImageData image = Untouched();
    std::string error;
    EXPECT_FALSE(LoadPkm(Span(file), alpha, "x.pkm", options, image, error));
    EXPECT_TRUE(IsUntouched(image));
    return error;
}

Bytes Changed(Bytes file, std::size_t at, std::uint8_t value) {
    file[at] = value;
    return file;
}

TEST(Pkm, ReadsUsedAndExtendedSizeAndTheBlocksAsTheyAre) {
    const Bytes file = PkmFile(8, 12, 7, 9);
    ImageData image;
    std::string error;
    ASSERT_TRUE(LoadPkm(Span(file), {}, "x.pkm", {}, image, error)) << error;
    EXPECT_EQ(image.format, TextureFormat::ETC1_RGB);
    EXPECT_EQ(image.width, 7);
    EXPECT_EQ(image.height, 9);
    EXPECT_EQ(image.allocatedWidth, 8);
    EXPECT_EQ(image.allocatedHeight, 12);
    ASSERT_EQ(image.levels.size(), 1u);
    EXPECT_EQ(image.levels[0], (MipLevel{8, 12, 0, 48}));
    EXPECT_EQ(image.pixels, Blocks(file));
}

TEST(Pkm, AnAlphaFileBesideMakesEtc1WithAlpha) {
    TemporaryFolder folder;
    const Bytes colour = PkmFile(8, 4, 5, 4);
    const Bytes alpha = PkmFile(8, 4, 5, 4, 100);
    folder.Write("a.pkm", colour);
    folder.Write("a.alpha.pkm", alpha);
    folder.Write("b.pkm", colour);
    ImageData image;
    std::string error;
    ASSERT_TRUE(LoadPkm(folder.Path("a.pkm"), {}, image, error)) << error;
    EXPECT_EQ(image.format, TextureFormat::ETC1_RGBA);
    EXPECT_EQ(image.levels[0], (MipLevel{8, 4, 0, 16}));
    Bytes expected = Blocks(colour);
    const Bytes alphaBlocks = Blocks(alpha);
    expected.insert(expected.end(), alphaBlocks.begin(), alphaBlocks.end());
    EXPECT_EQ(image.pixels, expected);
    ASSERT_TRUE(LoadPkm(folder.Path("b.pkm"), {}, image, error)) << error;
    EXPECT_EQ(image.format, TextureFormat::ETC1_RGB);
    ASSERT_TRUE(LoadPkm(folder.Path("a.alpha.pkm"), {}, image, error)) << error;
    EXPECT_EQ(image.format, TextureFormat::ETC1_RGB);
}

TEST(Pkm, AnAlphaFileThatDoesNotFitIsAnErrorThatNamesIt) {
    const Bytes colour = PkmFile(8, 4, 5, 4);
    const struct {
        const char* what;
        Bytes alpha;
        const char* expected;
    } cases[] = {
        {"another used size", PkmFile(8, 4, 6, 4), ": has 6 x 4 in 8 x 4 pixels, but "},
        {"another extended size", PkmFile(8, 8, 5, 4), ": has 5 x 4 in 8 x 8 pixels, but "},
        {"no blocks", Bytes(colour.begin(), colour.begin() + 16), ": 5 x 4 in 8 x 4 pixels need 32 bytes"},
        {"nothing", {}, ": is empty"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        TemporaryFolder folder;
        folder.Write("a.pkm", colour);
        folder.Write("a.alpha.pkm", c.alpha);
        ImageData image = Untouched();
        std::string error;
        EXPECT_FALSE(LoadPkm(folder.Path("a.pkm"), {}, image, error));
        EXPECT_EQ(error.rfind(folder.Path("a.alpha.pkm") + c.expected, 0), 0u) << error;
        EXPECT_TRUE(IsUntouched(image));
    }
    TemporaryFolder folder;
    folder.Write("a.pkm", colour);
    std::filesystem::create_directory(folder.Path("a.alpha.pkm"));
    ImageData image = Untouched();
    std::string error;
    EXPECT_FALSE(LoadPkm(folder.Path("a.pkm"), {}, image, error));
    EXPECT_EQ(error, folder.Path("a.alpha.pkm") + ": is not a regular file");
}

TEST(Pkm, NamesWhatIsWrongAndWhere) {
    Bytes longer = PkmFile(8, 4, 8, 4);
    longer.push_back(0);
    ImageOptions small;
    small.limits.maxBytes = 8 * 4 * 4 - 1;
    const Bytes whole = PkmFile(8, 4, 8, 4);
    const struct {
        const char* what;
        Bytes file;
        ImageOptions options;
        const char* expected;
    } cases[] = {
        {"another kind of file", Changed(whole, 0, 'X'), {}, "is not a PKM file (at byte 0)"},
        {"another version", Changed(whole, 4, '2'), {}, "another version than 10 (at byte 4)"},
        {"another type", Changed(whole, 7, 3), {}, "type 3, not of type 0, ETC1 (at byte 6)"},
        {"no multiple of four across", PkmFile(6, 4, 6, 4), {}, "no multiple of 4 (at byte 8)"},
        {"no multiple of four down", PkmFile(8, 5, 8, 4), {}, "no multiple of 4 (at byte 8)"},
        {"used wider than extended", Changed(whole, 13, 9), {}, "does not fit (at byte 12)"},
        {"used higher than extended", Changed(whole, 15, 5), {}, "does not fit (at byte 12)"},
        {"nothing used", PkmFile(8, 4, 8, 0), {}, "8 x 0 pixels holds no picture"},
        {"nothing at all", PkmFile(0, 0, 0, 0), {}, "0 x 0 pixels holds no picture"},
        {"a byte more", longer, {}, "need 32 bytes, but the file ends at byte 33"},
        {"more bytes than allowed", whole, small, "8 x 4 pixels need 128 bytes, more than the 127 allowed"},
        {"a size that is not there",
         Changed(Changed(whole, 8, 0x40), 10, 0x40),
         {},
         "16392 x 16388 pixels are more"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ResetLargestAllocation();
        const std::string error = ErrorOf(c.file, {}, c.options);
        EXPECT_LT(LargestAllocation(), 1024u);
        EXPECT_EQ(error.rfind("x.pkm: ", 0), 0u) << error;
        EXPECT_NE(error.find(c.expected), std::string::npos) << error;
    }
}

TEST(Pkm, EveryTruncationIsAnError) {
    const Bytes file = PkmFile(8, 8, 7, 6);
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
    const Bytes file = PkmFile(12, 4, 12, 4);
    const struct {
        ImageOptions options;
        ByteSpan alpha;
        const char* expected;
    } cases[] = {{other, {}, "have texture format 13 and cannot become format 0"},
                 {flipped, {}, "cannot be flipped"},
                 {padded, {}, "cannot be padded"},
                 {levels, Span(file), "cannot have mip levels"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        const std::string error = ErrorOf(file, c.alpha, c.options);
        EXPECT_NE(error.find(c.expected), std::string::npos) << error;
    }
    ImageData image;
    std::string error;
    EXPECT_TRUE(LoadPkm(Span(PkmFile(8, 4, 7, 4)), {}, "x.pkm", padded, image, error)) << error;
}

TEST(Pkm, MipLevelsKeepTheFilesOwnBlocks) {
    ImageOptions options;
    options.mipLevels = true;
    const Bytes file = PkmFile(8, 4, 8, 4);
    ImageData image;
    std::string error;
    ASSERT_TRUE(LoadPkm(Span(file), {}, "x.pkm", options, image, error)) << error;
    const std::vector<MipLevel> expected = {{8, 4, 0, 16}, {4, 2, 16, 8}, {2, 1, 24, 8}, {1, 1, 32, 8}};
    EXPECT_EQ(image.levels, expected);
    EXPECT_EQ(Bytes(image.pixels.begin(), image.pixels.begin() + 16), Blocks(file));
}

ImageData Encoded(bool fAlpha) {
    ImageData image = RgbaImage(6, 5, GradientRgba(6, 5));
    image.format = fAlpha ? TextureFormat::RGBA8888 : TextureFormat::RGBX8888;
    std::string error;
    EXPECT_TRUE(EncodeEtc1(image, false, "x", image, error)) << error;
    return image;
}

TEST(Pkm, WhatIsWrittenReadsBack) {
    TemporaryFolder folder;
    for (bool fAlpha : {false, true}) {
        SCOPED_TRACE(fAlpha);
        const ImageData written = Encoded(fAlpha);
        const std::string path = folder.Path(fAlpha ? "with.pkm" : "without.pkm");
        ImageData image;
        std::string error;
        ASSERT_TRUE(SavePkm(path, written, error)) << error;
        ASSERT_TRUE(LoadPkm(path, {}, image, error)) << error;
        EXPECT_EQ(image.format, written.format);
        EXPECT_EQ(image.width, 6);
        EXPECT_EQ(image.height, 5);
        EXPECT_EQ(image.levels, written.levels);
        EXPECT_EQ(image.pixels, written.pixels);
    }
    EXPECT_EQ(folder.List(), (Names{"with.alpha.pkm", "with.pkm", "without.pkm"}));
}

TEST(Pkm, RefusesToWriteWhatAReaderWouldNotGetBack) {
    TemporaryFolder folder;
    folder.Write("taken.alpha.pkm", {1});
    ImageData levels = Encoded(false);
    levels.levels.push_back({4, 4, 0, 8});
    const struct {
        const char* name;
        ImageData image;
        std::string expected;
    } cases[] = {
        {"a.pkm", Untouched(),
         folder.Path("a.pkm") + ": only ETC1 images can be written, not texture format 6"},
        {"a.pkm", levels, folder.Path("a.pkm") + ": a PKM file holds one level, not 2"},
        {"a.etc", Encoded(true),
         folder.Path("a.etc") + ": an image with alpha needs a path that ends in .pkm and not in .alpha.pkm"},
        {"taken.pkm", Encoded(false),
         folder.Path("taken.alpha.pkm") +
             ": lies beside an image without alpha and would be taken for its alpha"},
        {"none/a.pkm", Encoded(true),
         folder.Path("none/a.pkm") + ": cannot be created: No such file or directory"},
    };
    for (const auto& c : cases) {
        std::string error;
        EXPECT_FALSE(SavePkm(folder.Path(c.name), c.image, error));
        EXPECT_EQ(error, c.expected);
    }
    EXPECT_EQ(folder.List(), (Names{"taken.alpha.pkm"}));
}

} // namespace
} // namespace trevik::kelvo::assets::testing
