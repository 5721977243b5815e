#pragma once

#include "image/PngWriter.h"

#include <optional>

struct WebPAnimEncoder;

namespace trevik::kelvo::assets {

/** How frames become an animated WebP. */
struct WebpOptions {
    std::optional<int> quality; /**< 0 to 100: lossy, the more the better; none: lossless, every byte stays */
    int loops = 0;              /**< how often it is shown, up to 65535; 0: without end */
};

/** Encodes frames of one size, 1 to 16383 pixels to a side, into an animated WebP in memory. */
class WebpWriter {
public:
    explicit WebpWriter(WebpOptions const& options) : m_options(options) {}
    ~WebpWriter();
    WebpWriter(WebpWriter const&) = delete;
    WebpWriter& operator=(WebpWriter const&) = delete;

    /**
     * Adds a frame that is shown from `milliseconds` on, 0 for the first and later for each that follows.
     * False with a `fault` that names no file.
     */
    bool Add(PngPicture const& picture, int milliseconds, Fault& fault);
    /** Ends the last frame at `milliseconds`, and gives the file's bytes. */
    bool Finish(int milliseconds, std::vector<std::uint8_t>& out, Fault& fault);

private:
    bool Start(PngPicture const& picture);
    bool FailToEncode(Fault& fault) const;

    WebpOptions const m_options;
    WebPAnimEncoder* m_pEncoder = nullptr;
};

} // namespace trevik::kelvo::assets
