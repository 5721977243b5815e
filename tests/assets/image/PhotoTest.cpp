// JPEG and WebP pictures, encoded here by the libraries that the readers decode them with.

#include "TestImages.h"
#include "image/ImageReader.h"
#include "image/JpegReader.h"
#include "image/WebpReader.h"
#include "kelvo_test/TestFiles.h"

#include <gtest/gtest.h>
#include <turbojpeg.h>
#include <webp/encode.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>

namespace trevik::kelvo::assets::testing {
namespace {

constexpr int Width = 37;
constexpr int Height = 21;

Bytes MakeJpeg(TJPF format, TJSAMP sampling, int nFlags = 0) {
    Bytes const rgba = GradientRgba(Width, Height);
    unsigned char* pFile = nullptr;
    unsigned long nBytes = 0;
    tjhandle const encoder = tjInitCompress();
    EXPECT_EQ(tjCompress2(encoder, rgba.data(), format == TJPF_CMYK ? Width / 4 * 4 : Width, Width * 4,
                          Height, format, &pFile, &nBytes, sampling, 100, nFlags),
              0);
    Bytes const file(pFile, pFile + nBytes);
    tjFree(pFile);
    tjDestroy(encoder);
    return file;
}

Bytes MakeWebp(bool fLossless) {
    Bytes const rgba = GradientRgba(Width, Height);
    std::uint8_t* pFile = nullptr;
    std::size_t const nBytes = fLossless
                                   ? WebPEncodeLosslessRGBA(rgba.data(), Width, Height, Width * 4, &pFile)
                                   : WebPEncodeRGBA(rgba.data(), Width, Height, Width * 4, 100, &pFile);
    Bytes const file(pFile, pFile + nBytes);
    WebPFree(pFile);
    return file;
}

std::string ErrorOf(Bytes const& file, ImageOptions const& options = {}) {
    TemporaryFolder const folder;
    std::string const path = folder.Path("x");
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<char const*>(file.data()), static_cast<std::streamsize>(file.size()));
    ImageData image = Untouched();
    Fault fault;
    if (LoadImage(path, options, image, fault)) {
        return "";
    }
    EXPECT_TRUE(IsUntouched(image));
    EXPECT_EQ(fault.GetText().rfind(path + ": ", 0), 0u) << fault.GetText();
    return fault.GetText().substr(path.size() + 2);
}

/** The largest difference of a channel from the gradient that was encoded, of so many channels. */
int Difference(ImageData const& image, int nChannels) {
    Bytes const wanted = GradientRgba(Width, Height);
    int nLargest = 0;
    for (std::size_t n = 0; n < wanted.size() / 4; ++n) {
        for (std::size_t nChannel = 0; nChannel < static_cast<std::size_t>(nChannels); ++nChannel) {
            int const found = image.pixels[n * static_cast<std::size_t>(nChannels) + nChannel];
            nLargest = std::max(nLargest, std::abs(found - wanted[n * 4 + nChannel]));
        }
    }
    return nLargest;
}

TEST(PhotoReaders, GiveThePixelsThatWereEncoded) {
    struct {
        char const* pName;
        Bytes file;
        TextureFormat::Enum format;
        int nTolerance; ///< of what each loses at its best quality
    } const cases[] = {
        {"baseline", MakeJpeg(TJPF_RGBA, TJSAMP_444), TextureFormat::RGB888, 4},
        {"progressive", MakeJpeg(TJPF_RGBA, TJSAMP_444, TJFLAG_PROGRESSIVE), TextureFormat::RGB888, 4},
        {"lossless", MakeWebp(true), TextureFormat::RGBA8888, 0},
        {"lossy", MakeWebp(false), TextureFormat::RGBA8888, 24}, // colours at half the size
    };
    for (auto const& test : cases) {
        ImageData image;
        Fault fault;
        bool const fJpeg = test.file[0] == 0xFF;
        ASSERT_TRUE((fJpeg ? LoadJpeg : LoadWebp)(Span(test.file), "x", {}, image, fault)) << fault.GetText();
        EXPECT_EQ(image.format, test.format) << test.pName;
        ASSERT_TRUE(image.width == Width && image.height == Height) << test.pName;
        EXPECT_LE(Difference(image, fJpeg ? 3 : 4), test.nTolerance) << test.pName;
    }
}

TEST(PhotoReaders, ReadGreyAsGrey) {
    Bytes const file = MakeJpeg(TJPF_RGBA, TJSAMP_GRAY);
    ImageData image;
    Fault fault;
    ASSERT_TRUE(LoadJpeg(Span(file), "x", {}, image, fault)) << fault.GetText();
    for (std::size_t n = 0; n < image.pixels.size(); n += 3) {
        EXPECT_TRUE(image.pixels[n] == image.pixels[n + 1] && image.pixels[n] == image.pixels[n + 2]) << n;
    }
}

TEST(PhotoReaders, RefuseWhatIsCutOffAndWhatTheyDoNotRead) {
    for (Bytes const& file : {MakeJpeg(TJPF_RGBA, TJSAMP_420), MakeWebp(true), MakeWebp(false)}) {
        for (std::size_t size = 4; size < file.size() - 2; size += 7) {
            Bytes const part(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(size));
            EXPECT_TRUE(IsMessage(ErrorOf(part), "is *")) << size;
        }
        ImageOptions small;
        small.limits.maxHeight = Height - 1;
        EXPECT_TRUE(IsMessage(ErrorOf(file, small), "*37 x 21*"));
    }
    EXPECT_TRUE(IsMessage(ErrorOf(MakeJpeg(TJPF_CMYK, TJSAMP_444)), "has the four colours of inks*"));
    Bytes animated = MakeWebp(true);
    Bytes const header = {'V', 'P', '8', 'X', 10, 0, 0, 0, 2, 0, 0, 0, Width - 1, 0, 0, Height - 1, 0, 0};
    animated.insert(animated.begin() + 12, header.begin(), header.end());
    EXPECT_TRUE(IsMessage(ErrorOf(animated), "is a WebP animation*"));
}

} // namespace
} // namespace trevik::kelvo::assets::testing
