#include "image/PngWriter.h"

#include "file/FileBytes.h"

#include <png.h>

#include <csetjmp>
#include <cstdio>
#include <new>
#include <utility>

namespace trevik::kelvo::assets {

namespace {

/**
 * Runs libpng into a list of bytes; as in the reader, nothing that needs a destructor lies in the way of its
 * jumps.
 */
class PngEncoder {
public:
    PngEncoder() = default;
    PngEncoder(PngEncoder const&) = delete;
    PngEncoder& operator=(PngEncoder const&) = delete;
    ~PngEncoder() { png_destroy_write_struct(&m_pPng, &m_pInfo); }

    bool Write(PngPicture const& picture, std::size_t stride);
    std::vector<std::uint8_t>& GetBytes() { return m_bytes; }
    char const* GetError() const { return m_sError; }

private:
    static void OnError(png_structp png, png_const_charp message);
    static void OnWarning(png_structp, png_const_charp) {}
    static void OnWrite(png_structp png, png_bytep data, size_t count);
    static void OnFlush(png_structp) {}
    bool Append(std::uint8_t const* data, std::size_t count);

    png_structp m_pPng = nullptr;
    png_infop m_pInfo = nullptr;
    std::vector<std::uint8_t> m_bytes;
    char m_sError[128] = "out of memory";
};

void PngEncoder::OnError(png_structp png, png_const_charp message) {
    auto* self = static_cast<PngEncoder*>(png_get_error_ptr(png));
    std::snprintf(self->m_sError, sizeof self->m_sError, "%s", message);
    png_longjmp(png, 1);
}

bool PngEncoder::Append(std::uint8_t const* data, std::size_t count) {
    try {
        m_bytes.insert(m_bytes.end(), data, data + count);
        return true;
    } catch (std::bad_alloc const&) {
        return false;
    }
}

void PngEncoder::OnWrite(png_structp png, png_bytep data, size_t count) {
    if (!static_cast<PngEncoder*>(png_get_io_ptr(png))->Append(data, count)) {
        png_error(png, "out of memory");
    }
}

bool PngEncoder::Write(PngPicture const& picture, std::size_t stride) {
    m_pPng = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
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
    png_set_write_fn(m_pPng, this, OnWrite, OnFlush);
    png_set_IHDR(m_pPng, m_pInfo, png_uint_32(picture.width), png_uint_32(picture.height), 8,
                 picture.channels == 4 ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_write_info(m_pPng, m_pInfo);
    std::uint8_t const* row = picture.pixels;
    for (int y = 0; y < picture.height; ++y, row += stride) {
        png_write_row(m_pPng, row);
    }
    png_write_end(m_pPng, m_pInfo);
    return true;
}

} // namespace

bool EncodePng(PngPicture const& picture, std::string const& name, std::vector<std::uint8_t>& out,
               Fault& fault) {
    if (!picture.pixels || picture.width < 1 || picture.height < 1) {
        return Fail(fault, name, "there are no pixels to write");
    }
    if (picture.channels != 3 && picture.channels != 4) {
        return Fail(fault, name,
                    "pixels of " + std::to_string(picture.channels) +
                        " channels cannot be written, only 3 or 4");
    }
    std::size_t const row = std::size_t(picture.width) * std::size_t(picture.channels);
    if (picture.stride != 0 && picture.stride < row) {
        return Fail(fault, name,
                    "rows of " + std::to_string(row) + " bytes overlap at a stride of " +
                        std::to_string(picture.stride));
    }
    PngEncoder encoder;
    if (!encoder.Write(picture, picture.stride ? picture.stride : row)) {
        return Fail(fault, name, "cannot be encoded", encoder.GetError());
    }
    out = std::move(encoder.GetBytes());
    return true;
}

bool SavePng(std::string const& path, PngPicture const& picture, Fault& fault) {
    std::vector<std::uint8_t> bytes;
    return EncodePng(picture, path, bytes, fault) &&
           WriteFiles({{path, {bytes.data(), bytes.size()}}}, fault);
}

} // namespace trevik::kelvo::assets
