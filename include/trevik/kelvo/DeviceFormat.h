#pragma once

namespace trevik::kelvo {

/** Surface formats that an application may ask a graphics device for. */
struct DeviceFormat {
    enum Enum : int {
        RGB565 = 0,
        RGB888 = 1,
        RGBX8888 = 2, ///< asks for the same surface as RGB888
        RGBA8888 = 3
    };
};

} // namespace trevik::kelvo
