#include "PngReader.h"
#include "ImageReader.h"
#include "TestFiles.h"
#include "TestImages.h"
#include "kelvo_test/GoldenText.h"

#include <climits>
#include <gtest/gtest.h>

#include <filesystem>

namespace trevik::kelvo::assets::testing {
namespace {

Bytes SmallRgba() {
    return RgbaPng(3, 2, GradientRgba(3, 2));
}

/** The pixels of every file of a folder, which libpng wrote from noise. */
TEST(PngReader, DecodesEveryColourTypeDepthAndInterlacing) {
    std::string text;
    for (const std::string& name : Files("images")) {
        if (std::filesystem::path(name).extension() == ".png") {
            text += name + ": " + Describe(LoadGood(ReadData("images/" + name))) + "\n";
        }
    }
    EXPECT_TRUE(::kelvo::test::IsGolden(KELVO_TEST_ASSETS "/images/decoded.txt", text));
}

TEST(PngReader, EveryTruncationIsAnErrorThatNamesTheFileAndThePlace) {
    for (const Bytes& file : {SmallRgba(), ReadData("images/palette-4-interlaced-transparency.png")}) {
        for (std::size_t size = 0; size < file.size(); ++size) {
            // A copy of exactly this size lets the address sanitizer see a read past the end.
            const Bytes part(file.begin(), file.begin() + std::ptrdiff_t(size));
            SCOPED_TRACE(size);
            const std::string error = ErrorOfPng(part);
            EXPECT_EQ(error.rfind("x.png: ", 0), 0u) << error;
            EXPECT_EQ(error.find('\n'), std::string::npos) << error;
            if (size >= 8) {
                EXPECT_NE(error.find("at byte " + std::to_string(size)), std::string::npos) << error;
            }
        }
    }
}

TEST(PngReader, EveryDamagedByteIsAnError) {
    const Bytes file = ReadData("images/palette-2-interlaced-transparency.png");
    for (std::size_t at = 0; at < file.size(); ++at) {
        for (unsigned mask : {0x01u, 0x20u, 0x80u}) {
            Bytes damaged = file;
            damaged[at] = std::uint8_t(damaged[at] ^ mask);
            SCOPED_TRACE(at);
            EXPECT_NE(ErrorOfPng(damaged), "");
        }
    }
}

TEST(PngReader, NamesWhatIsWrongAndWhere) {
    for (const TextCase& bad : ReadCases("images/errors.txt")) {
        const std::string error = ErrorOfPng(ReadData("images/bad/" + bad.text));
        EXPECT_TRUE(IsMessage(error, "x.png: " + bad.expected));
    }
}

TEST(PngReader, RefusesSizesBeyondTheLimitsBeforeItAllocates) {
    ImageOptions narrow;
    narrow.limits.maxWidth = 2;
    ImageOptions wide;
    wide.limits.maxWidth = INT_MAX;
    ImageOptions small;
    small.limits.maxBytes = 3 * 2 * 4 - 1;
    const struct {
        Bytes file;
        ImageOptions options;
        const char* expected;
    } cases[] = {
        {ReadData("images/bad/wider-than-textures-are.png"), wide,
         "x.png: 16385 x 1 pixels are more than the 16384 x 16384 allowed"},
        {ReadData("images/bad/a-size-that-the-file-cannot-hold.png"), {}, "*bytes are too few for 8192*"},
        {SmallRgba(), narrow, "x.png: 3 x 2 pixels are more than the 2 x 16384*"},
        {SmallRgba(), small, "x.png: 3 x 2 pixels need 24 bytes, more than the 23 allowed"},
    };
    for (const auto& c : cases) {
        ResetLargestAllocation();
        const std::string error = ErrorOfPng(c.file, c.options);
        EXPECT_LT(LargestAllocation(), 1024u) << error;
        EXPECT_TRUE(IsMessage(error, c.expected));
    }
    small.limits.maxBytes = 3 * 2 * 4;
    LoadGood(SmallRgba(), small);
}

TEST(PngReader, ReadsHighlyCompressedFilesAtTheirFullSize) {
    // One colour compresses to about a thousandth: the file must not be taken for one that cannot hold its
    // size.
    const Bytes file = RgbPng(2000, 1500, Bytes(2000 * 1500 * 3, 0));
    ASSERT_LT(file.size(), 12000u);
    LoadGood(file);
}

TEST(PngReader, ReadsFilesAndReportsThoseItCannotRead) {
    TemporaryFolder folder;
    folder.Write("a.png", SmallRgba());
    ImageData image;
    std::string error;
    ASSERT_TRUE(LoadPng(folder.Path("a.png"), {}, image, error)) << error;
    EXPECT_EQ(image.pixels, GradientRgba(3, 2));

    std::filesystem::create_directory(folder.Path("folder.png"));
    ImageOptions tiny;
    tiny.limits.maxFileBytes = SmallRgba().size() - 1;
    image = Untouched();
    EXPECT_FALSE(LoadPng(folder.Path("none.png"), {}, image, error));
    EXPECT_EQ(error, folder.Path("none.png") + ": cannot be opened: No such file or directory");
    EXPECT_FALSE(LoadPng(folder.Path("folder.png"), {}, image, error));
    EXPECT_EQ(error, folder.Path("folder.png") + ": is not a regular file");
    EXPECT_FALSE(LoadPng(folder.Path("a.png"), tiny, image, error));
    EXPECT_NE(error.find("more than the " + std::to_string(tiny.limits.maxFileBytes)), std::string::npos)
        << error;
    EXPECT_TRUE(IsUntouched(image));
}

TEST(ImageReader, TellsTheKindOfFileByItsContent) {
    TemporaryFolder folder;
    folder.Write("really-png.pkm", SmallRgba());
    folder.Write("really-pkm.png",
                 {'P', 'K', 'M', ' ', '1', '0', 0, 0, 0, 4, 0, 4, 0, 3, 0, 2, 0, 0, 0, 2, 0, 0, 0, 0});
    folder.Write("neither.png", {'G', 'I', 'F', '8'});
    folder.Write("short", {'P', 'K', 'M', ' '});
    ImageData image;
    std::string error;
    EXPECT_TRUE(LoadImage(folder.Path("really-png.pkm"), {}, image, error)) << error;
    EXPECT_EQ(image.format, TextureFormat::RGBA8888);
    EXPECT_TRUE(LoadImage(folder.Path("really-pkm.png"), {}, image, error)) << error;
    EXPECT_EQ(image.format, TextureFormat::ETC1_RGB);
    EXPECT_FALSE(LoadImage(folder.Path("neither.png"), {}, image, error));
    EXPECT_EQ(error, folder.Path("neither.png") + ": is neither a PNG nor a PKM file (at byte 0)");
    EXPECT_FALSE(LoadImage(folder.Path("short"), {}, image, error));
    EXPECT_EQ(error.find("neither"), error.npos) << error;
}

} // namespace
} // namespace trevik::kelvo::assets::testing
