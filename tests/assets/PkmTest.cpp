#include "Pkm.h"
#include "Etc1.h"
#include "TestFiles.h"
#include "TestImages.h"

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

TEST(Pkm, ReadsUsedAndExtendedSizeAndTheBlocksAsTheyAre) {
    const Bytes file = PkmFile(8, 12, 7, 9);
    ImageData image;
    std::string error;
    ASSERT_TRUE(LoadPkm(Span(file), {}, "x.pkm", {}, image, error)) << error;
    EXPECT_EQ(Describe(image).substr(0, 47), "format 13, 7 x 9 in 8 x 12; 8 x 12 at 0 of 48: ");
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
        Bytes alpha;
        const char* expected;
    } cases[] = {
        {PkmFile(8, 4, 6, 4), ": has 6 x 4 in 8 x 4 pixels, but "},
        {PkmFile(8, 8, 5, 4), ": has 5 x 4 in 8 x 8 pixels, but "},
        {Bytes(colour.begin(), colour.begin() + 16), ": 5 x 4 in 8 x 4 pixels need 32 bytes"},
        {{}, ": is empty"},
    };
    for (const auto& c : cases) {
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

// The extended and the used size of files, and bytes of them that are others, each behind its offset.
TEST(Pkm, NamesWhatIsWrongAndWhere) {
    for (const TextCase& bad : ReadCases("images/pkm-errors.txt")) {
        std::istringstream words(bad.text);
        int sizes[4] = {};
        words >> sizes[0] >> sizes[1] >> sizes[2] >> sizes[3];
        Bytes file = PkmFile(sizes[0], sizes[1], sizes[2], sizes[3]);
        for (std::size_t offset = 0, value = 0; words >> offset >> value;) {
            file.resize(std::max(file.size(), offset + 1));
            file[offset] = std::uint8_t(value);
        }
        ResetLargestAllocation();
        const std::string error = ErrorOf(file);
        EXPECT_LT(LargestAllocation(), 1024u) << error;
        EXPECT_TRUE(IsMessage(error, "x.pkm: " + bad.expected)) << bad.text;
    }
    ImageOptions small;
    small.limits.maxBytes = 8 * 4 * 4 - 1;
    EXPECT_TRUE(IsMessage(ErrorOf(PkmFile(8, 4, 8, 4), {}, small),
                          "x.pkm: 8 x 4 pixels need 128 bytes, more than the 127 allowed"));
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
    } cases[] = {{other, {}, "*have texture format 13 and cannot become format 0*"},
                 {flipped, {}, "*cannot be flipped*"},
                 {padded, {}, "*cannot be padded*"},
                 {levels, Span(file), "*cannot have mip levels*"}};
    for (const auto& c : cases) {
        EXPECT_TRUE(IsMessage(ErrorOf(file, c.alpha, c.options), c.expected));
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
