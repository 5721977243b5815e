#include "PngWriter.h"
#include "PngReader.h"
#include "TestImages.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace trevik::kelvo::assets::testing {
namespace {

using Names = std::vector<std::string>;

TEST(PngWriter, WhatIsWrittenReplacesAFileAndReadsBackWithAndWithoutAlpha) {
    TemporaryFolder folder;
    folder.Write("a.png", {1, 2, 3});
    const Bytes rgba = GradientRgba(5, 3);
    const Bytes rgb(rgba.begin(),
                    rgba.begin() + 4 * 3 * 3); // 4 x 3 pixels of three bytes: rows need no padding
    ImageData image;
    std::string error;
    ASSERT_TRUE(SavePng(folder.Path("a.png"), {rgba.data(), 5, 3, 4, 0}, error)) << error;
    ASSERT_TRUE(LoadPng(folder.Path("a.png"), {}, image, error)) << error;
    EXPECT_EQ(image.format, TextureFormat::RGBA8888);
    EXPECT_EQ(image.pixels, rgba);
    ASSERT_TRUE(SavePng(folder.Path("b.png"), {rgb.data(), 4, 3, 3, 0}, error)) << error;
    ASSERT_TRUE(LoadPng(folder.Path("b.png"), {}, image, error)) << error;
    EXPECT_EQ(image.format, TextureFormat::RGB888);
    EXPECT_EQ(image.pixels, rgb);
    EXPECT_EQ(folder.List(), (Names{"a.png", "b.png"}));
}

TEST(PngWriter, SkipsTheBytesBetweenRows) {
    const Bytes rows = {1, 2, 3, 4, 99, 99, 5, 6, 7, 8};
    Bytes file;
    std::string error;
    ASSERT_TRUE(EncodePng({rows.data(), 1, 2, 4, 6}, "x.png", file, error)) << error;
    EXPECT_EQ(LoadGood(file).pixels, (Bytes{1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(PngWriter, AFailureNamesThePathAndKeepsWhatWasThere) {
    TemporaryFolder folder;
    folder.Write("a.png", {1, 2, 3});
    std::filesystem::create_directory(folder.Path("taken.png"));
    const Bytes rgba = GradientRgba(2, 2);
    const struct {
        const char* name;
        PngPicture picture;
        const char* expected;
    } cases[] = {
        {"a.png", {nullptr, 2, 2, 4, 0}, ": there are no pixels to write"},
        {"a.png", {rgba.data(), 0, 2, 4, 0}, ": there are no pixels to write"},
        {"a.png", {rgba.data(), 2, 2, 2, 0}, ": pixels of 2 channels cannot be written, only 3 or 4"},
        {"a.png", {rgba.data(), 2, 2, 4, 7}, ": rows of 8 bytes overlap at a stride of 7"},
        {"none/a.png", {rgba.data(), 2, 2, 4, 0}, ": cannot be created: No such file or directory"},
        {"taken.png", {rgba.data(), 2, 2, 4, 0}, ": cannot be replaced: Is a directory"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        std::string error;
        EXPECT_FALSE(SavePng(folder.Path(c.name), c.picture, error));
        EXPECT_EQ(error, folder.Path(c.name) + c.expected);
        EXPECT_EQ(folder.Read("a.png"), (Bytes{1, 2, 3}));
        EXPECT_EQ(folder.List(), (Names{"a.png", "taken.png"}));
    }
}

} // namespace
} // namespace trevik::kelvo::assets::testing
