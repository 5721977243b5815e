#include "image/WebpWriter.h"

#include <webp/encode.h>
#include <webp/mux.h>

#include <memory>

namespace trevik::kelvo::assets {

namespace {

/** A picture of the encoder's own, released at the end. */
struct EncoderPicture {
    EncoderPicture() { WebPPictureInit(&picture); }
    EncoderPicture(EncoderPicture const&) = delete;
    EncoderPicture& operator=(EncoderPicture const&) = delete;
    ~EncoderPicture() { WebPPictureFree(&picture); }

    bool Import(PngPicture const& from) {
        picture.use_argb = 1;
        picture.width = from.width;
        picture.height = from.height;
        int const stride = from.stride ? static_cast<int>(from.stride) : from.width * from.channels;
        return (from.channels == 4 ? WebPPictureImportRGBA(&picture, from.pixels, stride)
                                   : WebPPictureImportRGB(&picture, from.pixels, stride)) != 0;
    }

    WebPPicture picture;
};

bool Configure(WebpOptions const& options, WebPConfig& config) {
    if (!WebPConfigInit(&config)) {
        return false;
    }
    config.lossless = options.quality ? 0 : 1;
    config.quality = options.quality ? static_cast<float>(*options.quality) : 75.0f;
    config.exact = 1; // colours below an alpha of 0 stay, too
    return WebPValidateConfig(&config) != 0;
}

} // namespace

WebpWriter::~WebpWriter() {
    WebPAnimEncoderDelete(m_pEncoder);
}

bool WebpWriter::Start(PngPicture const& picture) {
    WebPAnimEncoderOptions options;
    if (!WebPAnimEncoderOptionsInit(&options)) {
        return false;
    }
    options.anim_params.loop_count = m_options.loops;
    options.anim_params.bgcolor = 0;
    m_pEncoder = WebPAnimEncoderNew(picture.width, picture.height, &options);
    return m_pEncoder != nullptr;
}

bool WebpWriter::FailToEncode(Fault& fault) const {
    char const* const reason = m_pEncoder ? WebPAnimEncoderGetError(m_pEncoder) : "";
    return Fail(fault, "", "cannot be encoded", *reason ? reason : "out of memory");
}

bool WebpWriter::Add(PngPicture const& picture, int milliseconds, Fault& fault) {
    if (picture.width > WEBP_MAX_DIMENSION || picture.height > WEBP_MAX_DIMENSION) {
        return Fail(fault, "",
                    "a WebP has at most " + std::to_string(WEBP_MAX_DIMENSION) + " pixels to a side");
    }
    WebPConfig config;
    EncoderPicture frame;
    return (Configure(m_options, config) && (m_pEncoder || Start(picture)) && frame.Import(picture) &&
            WebPAnimEncoderAdd(m_pEncoder, &frame.picture, milliseconds, &config)) ||
           FailToEncode(fault);
}

bool WebpWriter::Finish(int milliseconds, std::vector<std::uint8_t>& out, Fault& fault) {
    WebPData data;
    WebPDataInit(&data);
    std::unique_ptr<WebPData, void (*)(WebPData*)> const cleared(&data, WebPDataClear);
    bool const encoded = m_pEncoder && WebPAnimEncoderAdd(m_pEncoder, nullptr, milliseconds, nullptr) &&
                         WebPAnimEncoderAssemble(m_pEncoder, &data);
    if (encoded) {
        out.assign(data.bytes, data.bytes + data.size);
    }
    return encoded || FailToEncode(fault);
}

} // namespace trevik::kelvo::assets
