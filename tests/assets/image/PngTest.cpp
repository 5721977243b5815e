#include "TestImages.h"
#include "image/ImageReader.h"
#include "image/PngReader.h"
#include "image/PngWriter.h"
#include "kelvo_test/GoldenText.h"
#include "kelvo_test/TestFiles.h"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>

namespace trevik::kelvo::assets::testing {
namespace {

Bytes SmallRgba() {
    return RgbaPng(3, 2, GradientRgba(3, 2));
}

/** The pixels of every file of a folder, which libpng wrote from noise. */
TEST(PngReader, DecodesEveryColourTypeDepthAndInterlacing) {
    std::string text;
    for (std::string const& name : Files("image/data")) {
        if (std::filesystem::path(name).extension() == ".png") {
            text += name + ": " + Describe(LoadGood(ReadData("image/data/" + name))) + "\n";
        }
    }
    EXPECT_TRUE(kelvokit::test::IsGolden(KELVO_TEST_ASSETS "/image/data/decoded.txt", text));
}

TEST(PngReader, EveryTruncationIsAnErrorThatNamesTheFileAndThePlace) {
    for (Bytes const& file : {SmallRgba(), ReadData("image/data/palette-4-interlaced-transparency.png")}) {
        for (std::size_t size = 0; size < file.size(); ++size) {
            // A copy of exactly this size lets the address sanitizer see a read past the end.
            Bytes const part(file.begin(), file.begin() + std::ptrdiff_t(size));
            std::string const error = ErrorOfPng(part);
            EXPECT_TRUE(IsMessage(error, "x.png: *"));
            EXPECT_EQ(error.find("at byte " + std::to_string(size)) != error.npos, size > 0) << error;
        }
    }
}

TEST(PngReader, EveryDamagedByteIsAnError) {
    Bytes const file = ReadData("image/data/palette-2-interlaced-transparency.png");
    for (std::size_t at = 0; at < file.size(); ++at) {
        for (unsigned mask : {0x01u, 0x20u, 0x80u}) {
            Bytes damaged = file;
            damaged[at] = std::uint8_t(damaged[at] ^ mask);
            EXPECT_NE(ErrorOfPng(damaged), "") << at;
        }
    }
}

TEST(PngReader, NamesWhatIsWrongAndWhere) {
    for (TextCase const& test : ReadCases("image/data/errors.txt")) {
        std::string const error = ErrorOfPng(ReadData("image/data/bad/" + test.text));
        EXPECT_TRUE(IsMessage(error, "x.png: " + test.expected));
    }
}

TEST(PngReader, RefusesSizesBeyondTheLimitsBeforeItAllocates) {
    ImageOptions narrow;
    narrow.limits.maxWidth = 2;
    ImageOptions wide;
    wide.limits.maxWidth = INT_MAX;
    ImageOptions small;
    small.limits.maxBytes = 3 * 2 * 4 - 1;
    Bytes header = ReadData("image/data/bad/wider-than-textures-are.png");
    header.resize(33); // no byte behind it is looked at
    const struct {
        Bytes file;
        ImageOptions options;
        char const* expected;
    } cases[] = {
        {header, wide, "x.png: 16385 x 1 pixels are more than the 16384 x 16384 allowed"},
        {ReadData("image/data/bad/a-size-that-the-file-cannot-hold.png"), {}, "*bytes are too few for 8192*"},
        {SmallRgba(), narrow, "x.png: 3 x 2 pixels are more than the 2 x 16384*"},
        {SmallRgba(), small, "x.png: 3 x 2 pixels need 24 bytes, more than the 23 allowed"},
    };
    for (auto const& test : cases) {
        LargestAllocation() = 0;
        std::string const error = ErrorOfPng(test.file, test.options);
        EXPECT_LT(LargestAllocation(), 1024u) << error;
        EXPECT_TRUE(IsMessage(error, test.expected));
    }
    small.limits.maxBytes = 3 * 2 * 4;
    LoadGood(SmallRgba(), small);
}

TEST(PngReader, ReadsHighlyCompressedFilesAtTheirFullSize) {
    // One colour compresses to about a thousandth: the file must not be taken for one that cannot hold its
    // size.
    Bytes const file = RgbPng(2000, 1500, Bytes(2000 * 1500 * 3, 0));
    ASSERT_LT(file.size(), 12000u);
    LoadGood(file);
}

TEST(ImageReader, TellsTheKindOfFileByItsContentAndReportsWhatItCannotRead) {
    TemporaryFolder folder;
    folder.Write("png.pkm", SmallRgba());
    folder.Write("pkm.png",
                 {'P', 'K', 'M', ' ', '1', '0', 0, 0, 0, 4, 0, 4, 0, 3, 0, 2, 0, 0, 0, 2, 0, 0, 0, 0});
    folder.Write("neither.png", {'G', 'I', 'F', '8'});
    folder.Write("short", {'P', 'K', 'M', ' '});
    std::filesystem::create_directory(folder.Path("folder.png"));
    ImageOptions tiny;
    tiny.limits.maxFileBytes = SmallRgba().size() - 1;
    const struct {
        char const* name;
        ImageOptions options;
        char const* expected; ///< the message, or the format
    } cases[] = {
        {"png.pkm", {}, "6"},
        {"pkm.png", {}, "13"},
        {"neither.png", {}, ": is no PNG, JPEG, WebP or PKM file (at byte 0)"},
        {"short", {}, ": 4 bytes are too few for a PKM header of 16"},
        {"none.png", {}, ": cannot be opened: No such file or directory"},
        {"folder.png", {}, ": is not a regular file"},
        {"png.pkm", tiny, ": has * bytes, more than the * allowed"},
    };
    for (auto const& test : cases) {
        ImageData image = Untouched();
        Fault fault;
        if (LoadImage(folder.Path(test.name), test.options, image, fault)) {
            EXPECT_EQ(std::to_string(image.format), test.expected);
        } else {
            EXPECT_TRUE(IsMessage(fault.GetText(), folder.Path(test.name) + test.expected));
            EXPECT_TRUE(IsUntouched(image));
        }
    }
    ImageData image;
    Fault fault;
    ASSERT_TRUE(LoadPng(folder.Path("png.pkm"), {}, image, fault)) << fault.GetText();
    EXPECT_EQ(image.pixels, GradientRgba(3, 2));
}

using Names = std::vector<std::string>;

TEST(PngWriter, WhatIsWrittenReplacesAFileAndReadsBackWithAndWithoutAlpha) {
    TemporaryFolder folder;
    folder.Write("a.png", {1, 2, 3});
    Bytes const rgba = GradientRgba(5, 3);
    Bytes const rgb(rgba.begin(),
                    rgba.begin() + 4 * 3 * 3); // 4 x 3 pixels of three bytes: rows need no padding
    ImageData image;
    Fault fault;
    ASSERT_TRUE(SavePng(folder.Path("a.png"), {rgba.data(), 5, 3, 4, 0}, fault)) << fault.GetText();
    ASSERT_TRUE(LoadPng(folder.Path("a.png"), {}, image, fault)) << fault.GetText();
    EXPECT_EQ(image.format, TextureFormat::RGBA8888);
    EXPECT_EQ(image.pixels, rgba);
    ASSERT_TRUE(SavePng(folder.Path("b.png"), {rgb.data(), 4, 3, 3, 0}, fault)) << fault.GetText();
    ASSERT_TRUE(LoadPng(folder.Path("b.png"), {}, image, fault)) << fault.GetText();
    EXPECT_EQ(image.format, TextureFormat::RGB888);
    EXPECT_EQ(image.pixels, rgb);
    EXPECT_EQ(folder.List(), (Names{"a.png", "b.png"}));
}

TEST(PngWriter, SkipsTheBytesBetweenRows) {
    Bytes const rows = {1, 2, 3, 4, 99, 99, 5, 6, 7, 8};
    Bytes file;
    Fault fault;
    ASSERT_TRUE(EncodePng({rows.data(), 1, 2, 4, 6}, "x.png", file, fault)) << fault.GetText();
    EXPECT_EQ(LoadGood(file).pixels, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(PngWriter, AFailureNamesThePathAndKeepsWhatWasThere) {
    TemporaryFolder folder;
    folder.Write("a.png", {1, 2, 3});
    std::filesystem::create_directory(folder.Path("taken.png"));
    Bytes const rgba = GradientRgba(2, 2);
    const struct {
        char const* name;
        PngPicture picture;
        char const* expected;
    } cases[] = {
        {"a.png", {nullptr, 2, 2, 4, 0}, ": there are no pixels to write"},
        {"a.png", {rgba.data(), 0, 2, 4, 0}, ": there are no pixels to write"},
        {"a.png", {rgba.data(), 2, 2, 2, 0}, ": pixels of 2 channels cannot be written, only 3 or 4"},
        {"a.png", {rgba.data(), 2, 2, 4, 7}, ": rows of 8 bytes overlap at a stride of 7"},
        {"none/a.png", {rgba.data(), 2, 2, 4, 0}, ": cannot be created: No such file or directory"},
        {"taken.png", {rgba.data(), 2, 2, 4, 0}, ": cannot be replaced: Is a directory"},
    };
    for (auto const& test : cases) {
        SCOPED_TRACE(test.expected);
        Fault fault;
        EXPECT_FALSE(SavePng(folder.Path(test.name), test.picture, fault));
        EXPECT_EQ(fault.GetText(), folder.Path(test.name) + test.expected);
        EXPECT_EQ(folder.Read("a.png"), (Bytes{1, 2, 3}));
        EXPECT_EQ(folder.List(), (Names{"a.png", "taken.png"}));
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
