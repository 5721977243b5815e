#pragma once

namespace trevik::kelvo {

/**
 * Values of a sprite's blend mode property that have a name. A sprite with another value does not draw itself
 * either; effects draw it as they draw Normal.
 */
struct BlendMode {
    enum Enum {
        Normal = 2,   ///< drawn by the sprite itself
        Additive = 4, ///< the rest need a BlendModeEffect (4 also a DirectionalBlurEffect) on the node
        Multiply = 5,
        Screen = 6,
        ColorDodge = 23,
        Invert = 25
    };
};

} // namespace trevik::kelvo
