#pragma once

#include "GraphicsDeviceGL2.h"
#include "TimelineGL2.h"
#include "kelvo_test/Diagnostics.h"
#include "kelvo_test/Image.h"
#include "trevik/ClassRegistry.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Window.h"

#include <gtest/gtest.h>
#include <kelvo_desktop/OffscreenWindow.h>

#include <memory>
#include <string>
#include <vector>

namespace kelvokit::test {

using trevik::RealFloat;
using trevik::Ref;
using Vector = trevik::Vector3T<RealFloat>;

/** A colour with straight alpha, 0 to 1 each. */
struct Shade {
    double r, g, b, a = 1;
};

/** Whether the driver of the current context has a GL extension. */
bool HasExtension(char const* pName);

/**
 * Notes GL's errors while it lives, each with the call that raised it, as far as the driver tells: it is
 * asked through its debug callback, or, where it has none, when Take is called.
 */
class ErrorWatch {
public:
    ErrorWatch();
    ~ErrorWatch();
    ErrorWatch(ErrorWatch const&) = delete;
    ErrorWatch& operator=(ErrorWatch const&) = delete;

    /** The errors since the last call but for those that drawing is meant to raise. */
    std::vector<std::string> Take();

private:
    bool m_fCallback = false;
    std::vector<std::string> m_errors;
};

/** What a person should see, put together by the definition of straight-alpha blending, in double precision.
 */
class Canvas {
public:
    Canvas(int width, int height, Shade const& clear = {0, 0, 0});

    /** Blends a shade over a rectangle; x and y, from the lower left corner of the picture, are its own. */
    void Blend(int x, int y, int width, int height, Shade const& shade);
    /** Blends a picture, its lower left corner at (x, y). */
    void Blend(int x, int y, Image const& picture, double opacity = 1);
    /** Rounded to 8 bits; alpha is 255 for surfaces without. */
    Image Picture(bool fAlpha = true) const;

private:
    void BlendPixel(int x, int y, Shade const& shade);

    int m_nWidth;
    int m_nHeight;
    std::vector<Shade> m_shades; ///< top row first
};

/** Blending in 8 bits rounds once for each layer. */
constexpr Tolerance Rounding = {2, 0.5, "rounding of the blend"};

/**
 * A test that draws: a device on an off-screen window of an odd size, and a timeline without parent to put
 * nodes into. Each frame fails the test when GL raised an error in it that drawing is not meant to raise.
 */
class Stage : public testing::Test {
protected:
    static constexpr int Width = 61;
    static constexpr int Height = 37;

    Stage();
    ~Stage() override;

    /** Brings the device up on a window of its own, with its viewport over the whole of it. */
    void Open(trevik::kelvo::DeviceFormat::Enum format = trevik::kelvo::DeviceFormat::RGBA8888,
              int width = Width, int height = Height);
    trevik::kelvo::GraphicsDeviceGL2& Device() { return *m_pDevice; }
    trevik::kelvo::Timeline& Root() { return *m_pRoot; }

    /** An object of a class by the name of its factory. */
    template <class T>
    Ref<T> Make(char const* factory) {
        return Ref<T>(static_cast<T*>(m_registry.Create(trevik::HashName(factory))));
    }
    Ref<trevik::kelvo::Timeline> AddTimeline(trevik::kelvo::Node& parent);
    /** A loaded sprite, not attached yet. */
    Ref<trevik::kelvo::Sprite> MakeSprite(int width, int height, char const* factory = "Sprite");
    /** A single-coloured sprite, attached: its lower left corner at (x, y), the shade's alpha as opacity. */
    Ref<trevik::kelvo::Sprite> AddSprite(trevik::kelvo::Node& parent, int x, int y, int width, int height,
                                         Shade const& shade);
    /** A sprite of the texture's used size, attached at (x, y). */
    Ref<trevik::kelvo::Sprite> AddSprite(trevik::kelvo::Node& parent, int x, int y,
                                         Ref<trevik::kelvo::Texture> const& pTexture);
    /** A texture with a picture's pixels, 8 bits each. */
    static Ref<trevik::kelvo::Texture> MakeTexture(Image const& picture);

    /** Updates and draws the root, all of it with the alpha test or all without, and shows the frame. */
    Image DrawFrame(bool fAlphaTest = false);
    /** Whether the next frame is what a person should see. */
    testing::AssertionResult Shows(Canvas const& canvas, Tolerance const& tolerance = Rounding,
                                   std::string const& label = "");
    /** What DrawFrame draws: the root. A test may draw more, or by another way. */
    virtual void DrawScene();

    trevik::ClassRegistry m_registry;

private:
    using HostWindow = trevik::kelvo::WindowT<ANativeWindow>;

    Diagnostics m_diagnostics; ///< shown when the test fails
    std::unique_ptr<desktop::OffscreenWindowT<HostWindow>> m_pWindow;
    std::unique_ptr<trevik::kelvo::GraphicsDeviceGL2> m_pDevice;
    std::unique_ptr<ErrorWatch> m_pErrors;
    Ref<trevik::kelvo::Timeline> m_pRoot;
};

/** A picture in which no two pixels are alike, whichever way it is turned. */
Image MakePicture(int width, int height);

/** A picture upside down. */
Image Flip(Image const& picture);

} // namespace kelvokit::test
