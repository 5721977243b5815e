#include "image/PngReader.h"

#include "file/FileBytes.h"
#include "image/PixelPacking.h"

#include <png.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <cstring>
#include <new>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t SignatureBytes = 8;
/** Signature, and of the header chunk its length, name, thirteen bytes and checksum. */
constexpr std::size_t HeaderEnd = SignatureBytes + 8 + 13 + 4;

std::uint32_t ReadBig32(std::uint8_t const* bytes) {
    return std::uint32_t(bytes[0]) << 24 | std::uint32_t(bytes[1]) << 16 | std::uint32_t(bytes[2]) << 8 |
           bytes[3];
}

/**
 * Runs libpng over bytes in memory. libpng reports errors by jumping out of the call that met them, past any
 * destructor in between; so each operation here that calls it owns nothing itself, and what must be cleaned
 * up belongs to the object.
 */
class PngDecoder {
public:
    explicit PngDecoder(ByteSpan bytes) : m_bytes(bytes) {}
    PngDecoder(PngDecoder const&) = delete;
    PngDecoder& operator=(PngDecoder const&) = delete;
    ~PngDecoder() { png_destroy_read_struct(&m_pPng, &m_pInfo, nullptr); }

    /**
     * Reads all that comes before the pixels and arranges for four bytes a pixel, or one where there is a
     * palette.
     */
    bool ReadHeader(ImageLimits const& limits);

    /** Reads the pixels into rows that have room for four bytes a pixel, and what comes after them. */
    bool ReadRows(png_bytepp rows);

    int GetWidth() const { return int(png_get_image_width(m_pPng, m_pInfo)); }
    int GetHeight() const { return int(png_get_image_height(m_pPng, m_pInfo)); }
    bool HasAlpha() const { return m_fHasAlpha; }
    bool HasPalette() const { return m_nPaletteEntries > 0; }
    int GetPaletteEntries() const { return m_nPaletteEntries; }
    /** R, G, B, A of one entry. */
    std::uint8_t const* GetPaletteEntry(int index) const { return m_palette[index]; }
    /** Bytes that all rows have in the file once inflated, filter bytes aside. */
    std::uint64_t GetStoredBytes() const { return m_nStoredBytes; }
    /** What libpng reported, and where. */
    std::string DescribeError() const;

private:
    static void OnError(png_structp png, png_const_charp message);
    static void OnWarning(png_structp, png_const_charp) {}
    static void OnRead(png_structp png, png_bytep out, size_t count);
    void ReadPalette();
    void RequestRgba();

    ByteSpan m_bytes;
    std::size_t m_nPosition = 0;
    png_structp m_pPng = nullptr;
    png_infop m_pInfo = nullptr;
    bool m_fHasAlpha = false;
    std::uint64_t m_nStoredBytes = 0;
    int m_nPaletteEntries = 0;
    std::uint8_t m_palette[256][4] = {};
    char m_sError[128] = "out of memory";
};

void PngDecoder::OnError(png_structp png, png_const_charp message) {
    auto* self = static_cast<PngDecoder*>(png_get_error_ptr(png));
    std::snprintf(self->m_sError, sizeof self->m_sError, "%s", message);
    png_longjmp(png, 1);
}

void PngDecoder::OnRead(png_structp png, png_bytep out, size_t count) {
    auto* self = static_cast<PngDecoder*>(png_get_io_ptr(png));
    if (count > self->m_bytes.size - self->m_nPosition) {
        self->m_nPosition = self->m_bytes.size;
        png_error(png, "the file ends too early");
    }
    std::memcpy(out, self->m_bytes.data + self->m_nPosition, count);
    self->m_nPosition += count;
}

bool PngDecoder::ReadHeader(ImageLimits const& limits) {
    m_pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
    if (!m_pPng) {
        return false;
    }
    if (setjmp(png_jmpbuf(m_pPng))) {
        return false;
    }
    m_pInfo = png_create_info_struct(m_pPng);
    if (!m_pInfo) {
        return false;
    }
    png_set_read_fn(m_pPng, this, OnRead);
    png_set_user_limits(m_pPng, png_uint_32(limits.maxWidth), png_uint_32(limits.maxHeight));
    // What libpng would only warn of is damage too, and nothing but pixels, palette and transparency is of
    // interest.
    png_set_benign_errors(m_pPng, 0);
    png_set_crc_action(m_pPng, PNG_CRC_ERROR_QUIT, PNG_CRC_ERROR_QUIT);
    png_set_keep_unknown_chunks(m_pPng, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
    png_read_info(m_pPng, m_pInfo);
    m_nStoredBytes = std::uint64_t(png_get_rowbytes(m_pPng, m_pInfo)) * png_get_image_height(m_pPng, m_pInfo);
    m_fHasAlpha = (png_get_color_type(m_pPng, m_pInfo) & PNG_COLOR_MASK_ALPHA) != 0 ||
                  png_get_valid(m_pPng, m_pInfo, PNG_INFO_tRNS) != 0;
    if (png_get_color_type(m_pPng, m_pInfo) == PNG_COLOR_TYPE_PALETTE) {
        ReadPalette();
    } else {
        RequestRgba();
    }
    png_set_interlace_handling(m_pPng);
    png_read_update_info(m_pPng, m_pInfo);
    if (png_get_rowbytes(m_pPng, m_pInfo) != std::size_t(GetWidth()) * (HasPalette() ? 1 : 4)) {
        png_error(m_pPng, "the pixels cannot be brought to whole bytes");
    }
    return true;
}

/** The colours are looked up here and not by libpng, which takes indices without an entry for black. */
void PngDecoder::ReadPalette() {
    png_colorp colors = nullptr;
    png_bytep alpha = nullptr;
    int alphaEntries = 0;
    png_get_PLTE(m_pPng, m_pInfo, &colors, &m_nPaletteEntries);
    png_get_tRNS(m_pPng, m_pInfo, &alpha, &alphaEntries, nullptr);
    for (int i = 0; i < m_nPaletteEntries; ++i) {
        m_palette[i][0] = colors[i].red;
        m_palette[i][1] = colors[i].green;
        m_palette[i][2] = colors[i].blue;
        m_palette[i][3] = i < alphaEntries ? alpha[i] : 255;
    }
    png_set_check_for_invalid_index(m_pPng, 0);
    png_set_packing(m_pPng);
}

void PngDecoder::RequestRgba() {
    png_set_expand(m_pPng);
    png_set_scale_16(m_pPng);
    png_set_gray_to_rgb(m_pPng);
    png_set_add_alpha(m_pPng, 0xFF, PNG_FILLER_AFTER);
}

bool PngDecoder::ReadRows(png_bytepp rows) {
    if (setjmp(png_jmpbuf(m_pPng))) {
        return false;
    }
    png_read_image(m_pPng, rows);
    png_read_end(m_pPng, nullptr);
    return true;
}

std::string PngDecoder::DescribeError() const {
    std::string where = "at byte " + std::to_string(m_nPosition);
    std::uint32_t const chunk = m_pPng ? png_get_io_chunk_type(m_pPng) : 0;
    std::string chunkName;
    for (int shift = 24; shift >= 0; shift -= 8) {
        char const letter = char(chunk >> shift & 0xFF);
        if ((letter >= 'A' && letter <= 'Z') || (letter >= 'a' && letter <= 'z')) {
            chunkName += letter;
        }
    }
    if (chunkName.size() == 4) {
        where = "chunk " + chunkName + ", " + where;
    }
    return std::string(m_sError) + " (" + where + ")";
}

/**
 * Looks at the first chunk without libpng, so that a wrong size is refused with a clear line and before all
 * else.
 */
bool CheckHeader(ByteSpan bytes, std::string const& name, ImageLimits const& limits, Fault& fault) {
    static std::uint8_t const s_signature[SignatureBytes] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    std::size_t const present = std::min(bytes.size, SignatureBytes);
    if (present == 0) {
        return Fail(fault, name, "is empty");
    }
    if (std::memcmp(bytes.data, s_signature, present) != 0) {
        return Fail(fault, name, "is not a PNG file (its first 8 bytes are not the signature)");
    }
    if (bytes.size < HeaderEnd) {
        return Fail(fault, name,
                    "the file ends too early (chunk IHDR, at byte " + std::to_string(bytes.size) + ")");
    }
    std::uint8_t const* chunk = bytes.data + SignatureBytes;
    if (ReadBig32(chunk) != 13 || std::memcmp(chunk + 4, "IHDR", 4) != 0) {
        return Fail(fault, name, "the first chunk is not a PNG header (at byte 8)");
    }
    return CheckSize(name, ReadBig32(chunk + 8), ReadBig32(chunk + 12), limits, fault);
}

/**
 * Deflate cannot shrink anything to less than 1/1032, so a small file with a huge header is known to be
 * broken.
 */
bool CheckFileCanHold(PngDecoder const& decoder, ByteSpan bytes, std::string const& name, Fault& fault) {
    constexpr std::uint64_t MostInflation = 1032;
    if (decoder.GetStoredBytes() / MostInflation <= bytes.size) {
        return true;
    }
    return Fail(fault, name,
                std::to_string(bytes.size) + " bytes are too few for " + std::to_string(decoder.GetWidth()) +
                    " x " + std::to_string(decoder.GetHeight()) + " pixels");
}

/**
 * Replaces the indices at the beginning of each row by colours, from the right, so that none is overwritten
 * unread.
 */
bool LookUpColours(PngDecoder const& decoder, std::string const& name, RgbaPicture& picture, Fault& fault) {
    for (int y = 0; y < picture.height; ++y) {
        std::uint8_t* row = picture.At(0, y);
        for (int x = picture.width - 1; x >= 0; --x) {
            int const index = row[x];
            if (index >= decoder.GetPaletteEntries()) {
                return Fail(fault, name,
                            "pixel (" + std::to_string(x) + ", " + std::to_string(y) + ") has index " +
                                std::to_string(index) + " into a palette of " +
                                std::to_string(decoder.GetPaletteEntries()));
            }
            std::memcpy(row + std::size_t(x) * 4, decoder.GetPaletteEntry(index), 4);
        }
    }
    return true;
}

} // namespace

bool DecodePng(ByteSpan bytes, std::string const& name, ImageLimits const& limits, RgbaPicture& picture,
               bool& fHasAlpha, Fault& fault) {
    if (!CheckHeader(bytes, name, limits, fault)) {
        return false;
    }
    PngDecoder decoder(bytes);
    if (!decoder.ReadHeader(limits)) {
        return Fail(fault, name, decoder.DescribeError());
    }
    if (!CheckFileCanHold(decoder, bytes, name, fault)) {
        return false;
    }
    picture = {decoder.GetWidth(), decoder.GetHeight(), {}};
    picture.bytes.resize(std::size_t(picture.width) * std::size_t(picture.height) * 4);
    std::vector<png_bytep> rows(static_cast<std::size_t>(picture.height));
    for (int y = 0; y < picture.height; ++y) {
        rows[std::size_t(y)] = picture.At(0, y);
    }
    if (!decoder.ReadRows(rows.data())) {
        return Fail(fault, name, decoder.DescribeError());
    }
    fHasAlpha = decoder.HasAlpha();
    return !decoder.HasPalette() || LookUpColours(decoder, name, picture, fault);
}

std::vector<ByteSpan> FindPngChunks(ByteSpan bytes, char const* pChunk) {
    constexpr std::size_t AroundChunk = 12; // length, name and checksum
    std::vector<ByteSpan> found;
    std::size_t at = SignatureBytes;
    while (at + AroundChunk <= bytes.size) {
        std::size_t const length = ReadBig32(bytes.data + at);
        std::uint8_t const* name = bytes.data + at + 4;
        if (length > bytes.size - at - AroundChunk || std::memcmp(name, "IEND", 4) == 0) {
            break;
        }
        if (std::memcmp(name, pChunk, 4) == 0) {
            found.push_back({name + 4, length});
        }
        at += AroundChunk + length;
    }
    return found;
}

bool LoadPng(ByteSpan bytes, std::string const& name, ImageOptions const& options, ImageData& image,
             Fault& fault) {
    try {
        RgbaPicture picture;
        bool fHasAlpha = false;
        return DecodePng(bytes, name, options.limits, picture, fHasAlpha, fault) &&
               BuildImage(std::move(picture), fHasAlpha, options, name, image, fault);
    } catch (std::bad_alloc const&) {
        return Fail(fault, name, "not enough memory for its pixels");
    }
}

bool LoadPng(std::string const& path, ImageOptions const& options, ImageData& image, Fault& fault) {
    std::vector<std::uint8_t> bytes;
    return ReadFile(path, options.limits.maxFileBytes, bytes, fault) &&
           LoadPng({bytes.data(), bytes.size()}, path, options, image, fault);
}

} // namespace trevik::kelvo::assets
