#include "kelvo_test/Stage.h"

#include "EntryPoints.h"
#include "kelvo_test/Loading.h"

#include <EGL/egl.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace kelvokit::test {

using namespace trevik::kelvo;
using trevik::SizeT;

namespace {

/** The errors that are meant: parts of what drivers call them. */
constexpr char const* MeantErrors[] = {
    "glDisable(GL_TEXTURE_2D)",                      // sprites without texture, masks
    "glTexParameter(param=GL_LINEAR_MIPMAP_LINEAR)", // magnification with several levels
    "glReadPixels(invalid format GL_RGB "            // read-back asks for it first
};

bool IsMeant(std::string const& error) {
    return std::any_of(std::begin(MeantErrors), std::end(MeantErrors),
                       [&error](char const* meant) { return error.find(meant) != std::string::npos; });
}

void GL_APIENTRY NoteError(GLenum, GLenum type, GLuint, GLenum, GLsizei, GLchar const* message,
                           void const* user) {
    if (type == GL_DEBUG_TYPE_ERROR_KHR && !IsMeant(message)) {
        static_cast<std::vector<std::string>*>(const_cast<void*>(user))->push_back(message);
    }
}

void SetDebugCallback(GLDEBUGPROCKHR callback, void const* user) {
    auto const set =
        reinterpret_cast<PFNGLDEBUGMESSAGECALLBACKKHRPROC>(eglGetProcAddress("glDebugMessageCallbackKHR"));
    ASSERT_NE(set, nullptr);
    set(callback, user);
}

std::uint8_t ToByte(double value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

} // namespace

bool HasExtension(char const* pName) {
    char const* const extensions = reinterpret_cast<char const*>(glGetString(GL_EXTENSIONS));
    return extensions && std::string(extensions).find(pName) != std::string::npos;
}

ErrorWatch::ErrorWatch() : m_fCallback(HasExtension("GL_KHR_debug")) {
    testing::Test::RecordProperty("errors", m_fCallback ? "told by a debug callback" : "read from flags");
    if (!m_fCallback) {
        return;
    }
    glEnable(GL_DEBUG_OUTPUT_KHR);
    glEnable(GL_DEBUG_OUTPUT_SYNCHRONOUS_KHR);
    SetDebugCallback(&NoteError, &m_errors);
}

ErrorWatch::~ErrorWatch() {
    if (m_fCallback) {
        SetDebugCallback(nullptr, nullptr);
    }
}

std::vector<std::string> ErrorWatch::Take() {
    for (GLenum error = glGetError(); error != GL_NO_ERROR; error = glGetError()) {
        // Without a callback all that can be told is the kind: the errors that are meant are of this one.
        if (!m_fCallback && error != GL_INVALID_ENUM) {
            char text[32];
            std::snprintf(text, sizeof(text), "error 0x%04X", error);
            m_errors.push_back(text);
        }
    }
    std::vector<std::string> errors;
    errors.swap(m_errors);
    return errors;
}

Stage::Stage() : m_pRoot((::Initialize(&m_registry), Make<Timeline>("Timeline"))) {}

Stage::~Stage() {
    // The scene's textures go while there is a context.
    m_pRoot.Reset();
    if (m_pErrors) {
        EXPECT_EQ(m_pErrors->Take(), std::vector<std::string>()) << "in the release of the scene";
    }
    m_pErrors.reset();
    m_pDevice.reset();
    EXPECT_EQ(m_diagnostics.Failures(), std::vector<std::string>());
    if (HasFailure()) {
        for (std::string const& message : m_diagnostics.Messages()) {
            std::fprintf(stderr, "traced: %s\n", message.c_str());
        }
    }
}

void Stage::Open(DeviceFormat::Enum format, int width, int height) {
    m_pErrors.reset();
    m_pDevice.reset();
    m_pWindow = std::make_unique<desktop::OffscreenWindowT<HostWindow>>(width, height);
    m_pWindow->SetCapture(true);
    m_pDevice = std::make_unique<GraphicsDeviceGL2>();
    HostWindow* const pWindow = m_pWindow.get();
    ASSERT_TRUE(m_pDevice->Initialize(pWindow, format, SizeT<int>(width, height)));
    EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)) << "in the device's start";
    m_pErrors = std::make_unique<ErrorWatch>();
    m_pDevice->SetViewport(0, 0, width, height);
}

Ref<Timeline> Stage::AddTimeline(Node& parent) {
    Ref<Timeline> const pTimeline = Make<Timeline>("Timeline");
    parent.Attach(pTimeline.Get());
    return pTimeline;
}

Ref<Sprite> Stage::MakeSprite(int width, int height, char const* factory) {
    Ref<Sprite> const pSprite = Make<Sprite>(factory);
    pSprite->GetSizeProperty().SetValue(SizeT<int>(width, height));
    EXPECT_TRUE(LoadItself(*pSprite, m_registry));
    return pSprite;
}

Ref<Sprite> Stage::AddSprite(Node& parent, int x, int y, int width, int height, Shade const& shade) {
    Ref<Sprite> const pSprite = MakeSprite(width, height);
    pSprite->GetPositionProperty().SetValue(Vector(RealFloat(x), RealFloat(y), 0));
    pSprite->GetColorProperty().SetValue(Vector(RealFloat(shade.r), RealFloat(shade.g), RealFloat(shade.b)));
    pSprite->GetOpacityProperty().SetValue(RealFloat(shade.a));
    parent.Attach(pSprite.Get());
    return pSprite;
}

Ref<Sprite> Stage::AddSprite(Node& parent, int x, int y, Ref<Texture> const& pTexture) {
    Ref<Sprite> const pSprite =
        AddSprite(parent, x, y, pTexture->GetWidth(), pTexture->GetHeight(), Shade{1, 1, 1});
    pSprite->SetTexture(pTexture.Get());
    return pSprite;
}

Ref<Texture> Stage::MakeTexture(Image const& picture) {
    static_assert(sizeof(Pixel) == 4, "a picture's rows are a texture's");
    return Texture::CreateTexture(picture.Width(), picture.Height(), TextureFormat::RGBA8888,
                                  &picture.At(0, 0), picture.Width() * 4);
}

Image Stage::DrawFrame(bool fAlphaTest) {
    m_pRoot->Update(*m_pDevice, m_pRoot->GetFrame(), 0, false);
    m_pDevice->Clear();
    m_pDevice->SetAlphaTestEnabled(fAlphaTest);
    DrawScene();
    m_pDevice->Present();
    m_pDevice->Process();
    EXPECT_EQ(m_pErrors->Take(), std::vector<std::string>());
    desktop::FinishedFrame const& frame = m_pWindow->LastFrame();
    return Image(frame.width, frame.height, frame.pixels.data());
}

testing::AssertionResult Stage::Shows(Canvas const& canvas, Tolerance const& tolerance,
                                      std::string const& label) {
    return CompareImages(DrawFrame(), canvas.Picture(), tolerance, label);
}

void Stage::DrawScene() {
    m_pRoot->Render(*m_pDevice);
}

Image MakePicture(int width, int height) {
    return MakeImage(width, height, [&](int x, int y) {
        return Pixel{std::uint8_t(255 * x / std::max(width - 1, 1)),
                     std::uint8_t(255 * y / std::max(height - 1, 1)), std::uint8_t(x < width / 2 ? 40 : 200),
                     255};
    });
}

Image Flip(Image const& picture) {
    return MakeImage(picture.Width(), picture.Height(),
                     [&](int x, int y) { return picture.At(x, picture.Height() - 1 - y); });
}

Canvas::Canvas(int width, int height, Shade const& clear)
    : m_nWidth(width), m_nHeight(height), m_shades(std::size_t(width) * std::size_t(height), clear) {}

void Canvas::BlendPixel(int x, int y, Shade const& shade) {
    if (x < 0 || y < 0 || x >= m_nWidth || y >= m_nHeight) {
        return;
    }
    Shade& below = m_shades[std::size_t(m_nHeight - 1 - y) * std::size_t(m_nWidth) + std::size_t(x)];
    below.r = shade.r * shade.a + below.r * (1 - shade.a);
    below.g = shade.g * shade.a + below.g * (1 - shade.a);
    below.b = shade.b * shade.a + below.b * (1 - shade.a);
    below.a = shade.a + below.a * (1 - shade.a);
}

void Canvas::Blend(int x, int y, int width, int height, Shade const& shade) {
    for (int n = 0; n < width * height; ++n) {
        BlendPixel(x + n % width, y + n / width, shade);
    }
}

void Canvas::Blend(int x, int y, Image const& picture, double opacity) {
    int const width = picture.Width();
    for (int n = 0; n < width * picture.Height(); ++n) {
        Pixel const& pixel = picture.At(n % width, picture.Height() - 1 - n / width);
        BlendPixel(x + n % width, y + n / width,
                   {pixel.r / 255.0, pixel.g / 255.0, pixel.b / 255.0, pixel.a / 255.0 * opacity});
    }
}

Image Canvas::Picture(bool fAlpha) const {
    return MakeImage(m_nWidth, m_nHeight, [&](int x, int y) {
        Shade const& shade = m_shades[std::size_t(y) * std::size_t(m_nWidth) + std::size_t(x)];
        return Pixel{ToByte(shade.r), ToByte(shade.g), ToByte(shade.b),
                     fAlpha ? ToByte(shade.a) : std::uint8_t(255)};
    });
}

} // namespace kelvokit::test
