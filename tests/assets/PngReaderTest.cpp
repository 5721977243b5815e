#include "PngReader.h"
#include "ImageReader.h"
#include "TestImages.h"

#include <climits>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>

#include <png.h>

namespace trevik::kelvo::assets::testing {
namespace {

/**
 * Little of it is checked by the reader itself, so the checksum of a changed chunk has to be made right
 * again.
 */
void FixChecksum(Bytes& file, std::size_t chunk) {
    const std::size_t length = std::size_t(file[chunk + 2]) << 8 | file[chunk + 3];
    std::uint32_t crc = 0xFFFFFFFFu;
    for (std::size_t i = chunk + 4; i < chunk + 8 + length; ++i) {
        crc ^= file[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320u : 0);
    }
    for (std::size_t i = 0; i < 4; ++i)
        file[chunk + 8 + length + i] = std::uint8_t(~crc >> (24 - 8 * i));
}

std::size_t FindChunk(const Bytes& file, const char* name) {
    for (std::size_t at = 8; at + 8 <= file.size();) {
        if (std::memcmp(file.data() + at + 4, name, 4) == 0)
            return at;
        at += 12 + (std::size_t(file[at + 2]) << 8 | file[at + 3]);
    }
    ADD_FAILURE() << "no chunk " << name;
    return 0;
}

Bytes WithHeaderSize(Bytes file, std::uint32_t width, std::uint32_t height) {
    for (std::size_t i = 0; i < 4; ++i) {
        file[16 + i] = std::uint8_t(width >> (24 - 8 * i));
        file[20 + i] = std::uint8_t(height >> (24 - 8 * i));
    }
    FixChecksum(file, 8);
    return file;
}

Bytes WithoutChunk(Bytes file, const char* name) {
    const std::size_t at = FindChunk(file, name);
    const std::size_t length = std::size_t(file[at + 2]) << 8 | file[at + 3];
    file.erase(file.begin() + std::ptrdiff_t(at), file.begin() + std::ptrdiff_t(at + 12 + length));
    return file;
}

Bytes WithChunkBefore(Bytes file, const char* before, const char* name) {
    Bytes chunk = {0, 0, 0, 1};
    chunk.insert(chunk.end(), name, name + 4);
    chunk.insert(chunk.end(), {7, 0, 0, 0, 0});
    FixChecksum(chunk, 0);
    file.insert(file.begin() + std::ptrdiff_t(FindChunk(file, before)), chunk.begin(), chunk.end());
    return file;
}

Bytes SmallRgba() {
    return RgbaPng(3, 2, GradientRgba(3, 2));
}

Bytes WithoutAlpha(const Bytes& rgba) {
    Bytes out;
    for (std::size_t i = 0; i < rgba.size(); ++i)
        if (i % 4 != 3)
            out.push_back(rgba[i]);
    return out;
}

struct Kind {
    const char* name;
    int colorType;
    std::vector<int> bitDepths;
    bool alphaChannel;
};

const Kind kKinds[] = {{"grey", PNG_COLOR_TYPE_GRAY, {1, 2, 4, 8, 16}, false},
                       {"grey with alpha", PNG_COLOR_TYPE_GRAY_ALPHA, {8, 16}, true},
                       {"RGB", PNG_COLOR_TYPE_RGB, {8, 16}, false},
                       {"RGBA", PNG_COLOR_TYPE_RGB_ALPHA, {8, 16}, true},
                       {"palette", PNG_COLOR_TYPE_PALETTE, {1, 2, 4, 8}, false}};

void ExpectDecodes(const PngSource& source, bool fAlpha) {
    const ImageData image = LoadGood(EncodePngSource(source));
    EXPECT_EQ(image.format, fAlpha ? TextureFormat::RGBA8888 : TextureFormat::RGB888);
    EXPECT_EQ(image.width, source.width);
    EXPECT_EQ(image.height, source.height);
    EXPECT_EQ(image.allocatedWidth, source.width);
    EXPECT_EQ(image.allocatedHeight, source.height);
    ASSERT_EQ(image.levels.size(), 1u);
    const Bytes expected = ExpectedRgba(source);
    EXPECT_EQ(image.pixels, fAlpha ? expected : WithoutAlpha(expected));
}

TEST(PngReader, DecodesEveryColourTypeDepthAndInterlacing) {
    for (const Kind& kind : kKinds) {
        for (int depth : kind.bitDepths) {
            for (bool interlaced : {false, true}) {
                SCOPED_TRACE(std::string(kind.name) + " " + std::to_string(depth) +
                             (interlaced ? " interlaced" : ""));
                ExpectDecodes(NoisePng(kind.colorType, depth, interlaced, false), kind.alphaChannel);
                if (!kind.alphaChannel) {
                    SCOPED_TRACE("with a transparency chunk");
                    ExpectDecodes(NoisePng(kind.colorType, depth, interlaced, true), true);
                }
            }
        }
    }
}

TEST(PngReader, EveryTruncationIsAnErrorThatNamesTheFileAndThePlace) {
    for (const Bytes& file :
         {SmallRgba(), EncodePngSource(NoisePng(PNG_COLOR_TYPE_PALETTE, 4, true, true))}) {
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
    const Bytes file = EncodePngSource(NoisePng(PNG_COLOR_TYPE_PALETTE, 2, true, true));
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
    PngSource shortPalette = NoisePng(PNG_COLOR_TYPE_PALETTE, 4, false, false);
    shortPalette.palette.resize(6);
    Bytes badTransparency = EncodePngSource(NoisePng(PNG_COLOR_TYPE_PALETTE, 2, false, true));
    badTransparency[FindChunk(badTransparency, "tRNS") + 8] ^= 1;
    Bytes wrongDepth = SmallRgba();
    wrongDepth[24] = 4;
    FixChecksum(wrongDepth, 8);
    const struct {
        const char* what;
        Bytes file;
        const char* expected;
    } cases[] = {
        {"nothing", {}, "x.png: is empty"},
        {"a text", {'h', 'e', 'l', 'l', 'o', ',', ' ', 'y', 'o', 'u'}, "is not a PNG file"},
        {"no header chunk", WithoutChunk(SmallRgba(), "IHDR"),
         "the first chunk is not a PNG header (at byte 8)"},
        {"no width", WithHeaderSize(SmallRgba(), 0, 2), "0 x 2 pixels"},
        {"a depth that RGBA cannot have", wrongDepth, "(chunk IHDR, at byte 33)"},
        {"more rows than data", WithHeaderSize(SmallRgba(), 3, 3), "Not enough image data"},
        {"more data than rows", WithHeaderSize(SmallRgba(), 3, 1), "(chunk IDAT"},
        {"no palette", WithoutChunk(EncodePngSource(shortPalette), "PLTE"), "x.png: "},
        {"an index beyond the palette", EncodePngSource(shortPalette), "into a palette of 2"},
        {"damaged transparency", badTransparency, "(chunk tRNS"},
        {"an unknown critical chunk", WithChunkBefore(SmallRgba(), "IDAT", "KELV"), "(chunk KELV"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const std::string error = ErrorOfPng(c.file);
        EXPECT_NE(error.find(c.expected), std::string::npos) << error;
    }
}

TEST(PngReader, IgnoresChunksThatDoNotConcernPixelsAndWhatFollowsTheEnd) {
    // A gamma chunk of one byte is malformed, but nothing here wants the gamma.
    Bytes file = WithChunkBefore(WithChunkBefore(SmallRgba(), "IDAT", "keLv"), "IDAT", "gAMA");
    file.insert(file.end(), {1, 2, 3});
    EXPECT_EQ(LoadGood(file).pixels, GradientRgba(3, 2));
}

TEST(PngReader, RefusesSizesBeyondTheLimitsBeforeItAllocates) {
    ImageOptions narrow;
    narrow.limits.maxWidth = 16;
    ImageOptions wide;
    wide.limits.maxWidth = INT_MAX;
    ImageOptions small;
    small.limits.maxBytes = 3 * 2 * 4 - 1;
    const struct {
        const char* what;
        Bytes file;
        ImageOptions options;
        const char* expected;
    } cases[] = {
        {"wider than textures are", WithHeaderSize(SmallRgba(), 16385, 1), wide,
         "16385 x 1 pixels are more than the 16384 x 16384 allowed"},
        {"too high", WithHeaderSize(SmallRgba(), 1, 16385), {}, "1 x 16385 pixels are more than"},
        {"beyond 31 bits",
         WithHeaderSize(SmallRgba(), 0xFFFFFFFFu, 0xFFFFFFFFu),
         {},
         "4294967295 x 4294967295"},
        {"a narrower limit", WithHeaderSize(SmallRgba(), 17, 1), narrow,
         "17 x 1 pixels are more than the 16 x 16384"},
        {"more bytes than allowed", SmallRgba(), small,
         "3 x 2 pixels need 24 bytes, more than the 23 allowed"},
        {"a size that the file cannot hold",
         WithHeaderSize(SmallRgba(), 8192, 8192),
         {},
         "bytes are too few for 8192"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ResetLargestAllocation();
        const std::string error = ErrorOfPng(c.file, c.options);
        EXPECT_LT(LargestAllocation(), 1024u);
        EXPECT_NE(error.find(c.expected), std::string::npos) << error;
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
    ImageData image;
    std::string error;
    EXPECT_TRUE(LoadImage(folder.Path("really-png.pkm"), {}, image, error)) << error;
    EXPECT_EQ(image.format, TextureFormat::RGBA8888);
    EXPECT_TRUE(LoadImage(folder.Path("really-pkm.png"), {}, image, error)) << error;
    EXPECT_EQ(image.format, TextureFormat::ETC1_RGB);
    EXPECT_FALSE(LoadImage(folder.Path("neither.png"), {}, image, error));
    EXPECT_EQ(error, folder.Path("neither.png") + ": is neither a PNG nor a PKM file (at byte 0)");
}

} // namespace
} // namespace trevik::kelvo::assets::testing
