// Buffers that a thread writes again and again while a context of its own is current, so that the layer takes
// their pixels up there: how this shows, and that it shows nowhere else.

#include "PlatformBuffer.h"
#include "kelvo_test/Threads.h"

#include <GLES3/gl3.h>
#include <dlfcn.h>
#include <pthread.h>

#include <algorithm>
#include <vector>

namespace kelvokit::test {
namespace {

constexpr int ManyTimes = 5; // after a few the layer stays in the context

constexpr Pixel White = {255, 255, 255, 255};

/** Another colour for each write. */
Pixel Colour(int n) {
    return {std::uint8_t(20 * n + 5), std::uint8_t(250 - 30 * n), std::uint8_t(90 + 7 * n), 255};
}

Pixel Gradient(int x, int y, int n) {
    return {std::uint8_t(9 * x), std::uint8_t(20 * y), std::uint8_t(40 * n), 255};
}

class PlatformBufferContext : public PlatformBuffer {
protected:
    /** The lowest names, and those around the layer's. */
    template <class Use>
    static void ForNames(Use const& use) {
        for (GLuint const first : {1u, 0x40000F00u}) {
            for (GLuint name = first; name < first + 0x200; ++name) {
                use(name);
            }
        }
    }
    static std::vector<GLuint> Names() {
        std::vector<GLuint> names;
        ForNames([&](GLuint name) {
            if (glIsTexture(name)) {
                names.push_back(name);
            }
        });
        return names;
    }
    /** Gives `name` a white texture, whether GL gave that name or not. */
    static void MakeWhite(GLuint name) {
        std::vector<std::uint8_t> const white(std::size_t(4) * Width * Height, 255);
        glBindTexture(GL_TEXTURE_2D, name);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, Width, Height, 0, GL_RGBA, GL_UNSIGNED_BYTE, white.data());
    }
    static bool IsWhite(GLuint texture) {
        GLuint framebuffer = 0;
        glGenFramebuffers(1, &framebuffer);
        glBindFramebuffer(GL_FRAMEBUFFER, framebuffer);
        glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
        std::uint8_t read[4] = {};
        glReadPixels(0, 0, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE, read);
        glDeleteFramebuffers(1, &framebuffer);
        return std::all_of(read, read + 4, [](std::uint8_t each) { return each == 255; });
    }
    EGLContext NewContext(EGLContext share) const {
        EGLint const version[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
        return eglCreateContext(m_display, Config(), share, version);
    }
    /** The driver's own, whose calls the layer does not see; the layer keeps the driver loaded. */
    template <class Function>
    static Function* OfDriver(Function& function, char const* name) {
        void* const pLibrary = dlopen("libEGL.so.1", RTLD_NOW);
        auto* const pFound = reinterpret_cast<Function*>(dlsym(pLibrary, name));
        dlclose(pLibrary);
        EXPECT_TRUE(pFound && pFound != &function) << name;
        return pFound;
    }
    void MakeCurrent(EGLContext context) const {
        EXPECT_TRUE(eglMakeCurrent(m_display, m_surface, m_surface, context));
    }

    void FillManyTimes(GraphicBuffer& buffer, GLuint texture) {
        for (int n = 0; n < ManyTimes; ++n) {
            Fill(buffer, Colour(n));
            EXPECT_TRUE(Shows(texture, Colour(n))) << n;
        }
    }

    /** Whether the current context is one in which the layer stays. */
    static bool IsStayedIn() {
        GLint nMajor = 0;
        GLint nMinor = 0;
        glGetIntegerv(GL_MAJOR_VERSION, &nMajor);
        glGetIntegerv(GL_MINOR_VERSION, &nMinor);
        glGetError(); // of contexts that do not have these
        return nMajor > 3 || (nMajor == 3 && nMinor > 0);
    }
};

TEST_F(PlatformBufferContext, EachFormatIsSampledInItsColoursHoweverOftenItWasWritten) {
    for (FormatCase const& test : FormatCases()) {
        SCOPED_TRACE(test.format);
        sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, test.format);
        GLuint const texture = MakeTexture(MakeImage(pBuffer));
        std::vector<std::uint8_t> const zeros(test.bytes.size());
        Pixel const zero = {0, 0, 0, std::uint8_t(test.colour.a == 255 ? 255 : 0)};
        for (int n = 0; n < ManyTimes; ++n) {
            Write(*pBuffer, test.bytes.size(), [&](int, int) { return n % 2 == 0 ? zeros : test.bytes; });
            EXPECT_TRUE(Shows(texture, n % 2 == 0 ? zero : test.colour)) << n;
        }
    }
}

TEST_F(PlatformBufferContext, RowsLieAStrideApartAndWhatWasDrawnBeforeStaysAsItWas) {
    for (int const nFormat : {android::PIXEL_FORMAT_RGBA_8888, android::PIXEL_FORMAT_RGBX_8888}) {
        sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, nFormat);
        GLuint const texture = MakeTexture(MakeImage(pBuffer));
        for (int n = 0; n < ManyTimes; ++n) {
            glPixelStorei(GL_UNPACK_ALIGNMENT, 8); // which no row of the window's width has
            Write(*pBuffer, 4, [&](int x, int y) { return ToBytes(Gradient(x, y, n)); });
            Draw(texture);
            Fill(*pBuffer, Red);
            Image const expected =
                test::MakeImage(Width, Height, [&](int x, int y) { return Gradient(x, y, n); });
            EXPECT_TRUE(CompareImages(Show(), expected)) << nFormat << ", " << n;
            EXPECT_TRUE(Shows(texture, Red)) << nFormat << ", " << n;
        }
    }
}

TEST_F(PlatformBufferContext, StateAndErrorsOfTheContextStayAsTheyWere) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    Draw(texture); // with a program, which has to be there before the first error
    GLuint own = 0;
    glGenTextures(1, &own);
    glActiveTexture(GL_TEXTURE2);
    glBindTexture(GL_TEXTURE_2D, own);
    bool const fStayedIn = IsStayedIn();
    struct {
        GLenum name;
        GLint nValue;
    } expected[] = {{GL_ACTIVE_TEXTURE, GL_TEXTURE2},   {GL_TEXTURE_BINDING_2D, GLint(own)},
                    {GL_UNPACK_ALIGNMENT, 8},           {GL_UNPACK_ROW_LENGTH, 40},
                    {GL_UNPACK_SKIP_ROWS, 2},           {GL_UNPACK_SKIP_PIXELS, 3},
                    {GL_PIXEL_UNPACK_BUFFER_BINDING, 0}};
    GLuint buffer = 0;
    if (fStayedIn) {
        glGenBuffers(1, &buffer);
        glBindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer);
        glBufferData(GL_PIXEL_UNPACK_BUFFER, 16, nullptr, GL_STATIC_DRAW);
        expected[6].nValue = GLint(buffer);
    }
    for (int n = 2; n < (fStayedIn ? 6 : 3); ++n) {
        glPixelStorei(expected[n].name, expected[n].nValue);
    }
    ASSERT_EQ(glGetError(), GLenum(GL_NO_ERROR));
    for (int n = 0; n < ManyTimes; ++n) {
        glEnable(GL_TEXTURE_2D); // leaves an error
        Fill(*pBuffer, Colour(n));
        EXPECT_EQ(glGetError(), GLenum(GL_INVALID_ENUM)) << n;
        for (int nState = 0; nState < (fStayedIn ? 7 : 3); ++nState) {
            GLint nValue = -1;
            glGetIntegerv(expected[nState].name, &nValue);
            EXPECT_EQ(nValue, expected[nState].nValue) << n << ", state " << nState;
        }
        glActiveTexture(GL_TEXTURE0);
        EXPECT_TRUE(Shows(texture, Colour(n))) << n;
        glActiveTexture(GL_TEXTURE2);
    }
    glBindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
}

TEST_F(PlatformBufferContext, TexturesOfNamesThatTheProgramDeletedAndUsesAnewAreLeftAlone) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    FillManyTimes(*pBuffer, texture);
    for (bool const fAnew : {false, true}) {
        SCOPED_TRACE(fAnew);
        std::vector<GLuint> names = Names();
        names.erase(std::remove(names.begin(), names.end(), texture), names.end());
        glDeleteTextures(GLsizei(names.size()), names.data());
        for (GLuint const name : names) {
            if (fAnew) {
                MakeWhite(name);
            }
        }
        FillManyTimes(*pBuffer, texture);
        for (GLuint const name : names) {
            EXPECT_TRUE(!fAnew || Shows(name, White)) << name;
        }
        EXPECT_EQ(Names().size(), (fAnew ? names.size() : 0) + (IsStayedIn() ? 2 : 1)) << "it did not stay";
    }
}

TEST_F(PlatformBufferContext, WritesOfOtherThreadsAndContextsComeBetween) {
    EGLContext const first = eglGetCurrentContext();
    EGLint const version[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    EGLContext const contexts[] = {first, eglCreateContext(m_display, Config(), first, version),
                                   eglCreateContext(m_display, Config(), EGL_NO_CONTEXT, version),
                                   EGL_NO_CONTEXT};
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    int nColour = 0;
    auto const fill = [&] { Fill(*pBuffer, Colour(nColour % 8)); };
    auto const look = [&](char const* pWhere) {
        EXPECT_TRUE(Shows(texture, Colour(nColour % 8))) << pWhere << ' ' << nColour;
        ++nColour;
    };
    for (int n = 0; n < ManyTimes; ++n) {
        for (EGLContext const context : contexts) {
            EGLSurface const surface = context == EGL_NO_CONTEXT ? EGL_NO_SURFACE : m_surface;
            ASSERT_TRUE(eglMakeCurrent(m_display, surface, surface, context));
            fill();
            EXPECT_EQ(eglGetCurrentContext(), context);
            ASSERT_TRUE(eglMakeCurrent(m_display, m_surface, m_surface, first));
            look("another context");
        }
        RunOnThreads(1, [&](int) { fill(); });
        look("another thread");
        fill();
        look("its own");
    }
    std::size_t nNames = Names().size();
    ASSERT_TRUE(eglMakeCurrent(m_display, m_surface, m_surface, contexts[2]));
    nNames += Names().size();
    EXPECT_LE(nNames, 2u) << "the test's, and one of the layer's in one of the contexts";
    // With the context whose texture it may be gone, and another one in its place.
    ASSERT_TRUE(eglMakeCurrent(m_display, m_surface, m_surface, contexts[1]));
    ASSERT_TRUE(eglDestroyContext(m_display, first));
    for (int n = 0; n < ManyTimes; ++n, ++nColour) {
        fill();
        Image const frame = Show(texture); // the program is the other context's
        ASSERT_TRUE(CompareImages(frame, Image(Width, Height, frame.At(0, 0))));
    }
    ASSERT_TRUE(eglDestroyContext(m_display, contexts[1]));
    fill();
    EGLContext const last = eglCreateContext(m_display, Config(), EGL_NO_CONTEXT, version);
    ASSERT_TRUE(eglMakeCurrent(m_display, m_surface, m_surface, last));
    m_fProgram = false;
    GLuint const lastTexture = MakeTexture(MakeImage(pBuffer));
    FillManyTimes(*pBuffer, lastTexture);
}

TEST_F(PlatformBufferContext, NothingStaysBehindInItWhenImagesGo) {
    std::vector<GLuint> const before = Names();
    struct {
        int format;
        bool fOtherThread;
    } const cases[] = {{android::PIXEL_FORMAT_RGBA_8888, false},
                       {android::PIXEL_FORMAT_RGBA_8888, true},
                       {android::PIXEL_FORMAT_RGBX_8888, false}};
    for (auto const& test : cases) {
        sp<GraphicBuffer> const pBuffer = MakeBuffer(Width, Height, test.format);
        EGLImageKHR const image = MakeImage(pBuffer);
        GLuint const texture = MakeTexture(image);
        FillManyTimes(*pBuffer, texture);
        EXPECT_EQ(Names().size(), before.size() + (IsStayedIn() ? 2 : 1)) << "it did not stay, or too often";
        auto const destroy = [&](int) { EXPECT_TRUE(eglDestroyImage(m_display, image)); };
        if (test.fOtherThread) {
            RunOnThreads(1, destroy);
            Show();
        } else {
            destroy(0);
        }
        glDeleteTextures(1, &texture);
        EXPECT_EQ(Names(), before) << test.format << ", " << test.fOtherThread;
    }
}

TEST_F(PlatformBufferContext, NamesThatTheProgramChoosesAreItsOwn) {
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    EGLImageKHR const image = MakeImage(pBuffer);
    GLuint const texture = MakeTexture(image);
    FillManyTimes(*pBuffer, texture);
    constexpr GLuint Chosen = 60;
    for (GLuint name = texture + 1; name < Chosen; ++name) {
        MakeWhite(name);
    }
    Fill(*pBuffer, Colour(1));
    EXPECT_TRUE(Shows(texture, Colour(1)));
    EXPECT_TRUE(eglDestroyImage(m_display, image));
    for (GLuint name = texture + 1; name < Chosen; ++name) {
        EXPECT_TRUE(glIsTexture(name) && Shows(name, White)) << name;
    }
}

TEST_F(PlatformBufferContext, ATextureThatIsOnlyBoundStays) {
    EGLContext const first = eglGetCurrentContext();
    EGLContext const second = NewContext(first);
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    sp<GraphicBuffer> const pLate = MakeBuffer();
    sp<GraphicBuffer> const pGone = MakeBuffer();
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    GLuint const late = MakeTexture(MakeImage(pLate));
    EGLImageKHR const gone = MakeImage(pGone);
    FillManyTimes(*pBuffer, texture);
    for (int n = 0; n < ManyTimes; ++n) {
        Fill(*pGone, Red);
    }
    std::size_t const nNames = Names().size();
    GLuint own = 0;
    glGenTextures(1, &own);
    MakeWhite(own);
    MakeCurrent(second);
    glDeleteTextures(1, &own);
    MakeCurrent(first);
    for (int n = 0; n < ManyTimes; ++n) {
        Fill(*pBuffer, Colour(n));
        Fill(*pLate, Colour(n + 1)); // of which the layer has nothing in the context yet
    }
    EXPECT_TRUE(eglDestroyImage(m_display, gone));
    EXPECT_FALSE(glIsTexture(own));
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 4);
    EXPECT_TRUE(Shows(0, White));
    EXPECT_TRUE(Shows(texture, Colour(ManyTimes - 1)));
    EXPECT_TRUE(Shows(late, Colour(ManyTimes)));
    EXPECT_EQ(Names().size(), nNames - (IsStayedIn() ? 1 : 0)) << "of the image that is gone";
    EXPECT_TRUE(eglDestroyContext(m_display, second));
}

TEST_F(PlatformBufferContext, ContextsThatTheDriverSwitchedToGetNothingOfOthers) {
    auto* const makeCurrent = OfDriver(eglMakeCurrent, "eglMakeCurrent");
    EGLContext const contexts[] = {eglGetCurrentContext(), NewContext(EGL_NO_CONTEXT)};
    sp<GraphicBuffer> const buffers[] = {MakeBuffer(), MakeBuffer()};
    EGLImageKHR const images[] = {MakeImage(buffers[0]), MakeImage(buffers[1])};
    GLuint textures[2] = {};
    std::size_t nNames[2] = {};
    for (int n = 0; n < 2; ++n) {
        MakeCurrent(contexts[n]);
        m_fProgram = false;
        textures[n] = MakeTexture(images[n]);
        FillManyTimes(*buffers[n], textures[n]);
        Fill(*buffers[n], Green);
        nNames[n] = Names().size();
    }
    MakeCurrent(contexts[0]);
    ASSERT_TRUE(makeCurrent(m_display, m_surface, m_surface, contexts[1]));
    eglInitialize(EGL_NO_DISPLAY, nullptr, nullptr); // leaves an error
    for (int n = 0; n < ManyTimes; ++n) {
        Fill(*buffers[0], Red);
    }
    EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
    EXPECT_TRUE(Shows(textures[1], Green)) << "the other image";
    EXPECT_TRUE(eglDestroyImage(m_display, images[0]));
    EXPECT_EQ(Names().size(), nNames[1]);
    MakeCurrent(contexts[0]);
    glUseProgram(1);
    EXPECT_TRUE(Shows(textures[0], Red));
    EXPECT_EQ(Names().size(), nNames[0] - (IsStayedIn() ? 1 : 0)) << "of the image that is gone";
}

TEST_F(PlatformBufferContext, ContextsOfWhichTheLayerKnowsNothingStayAsTheyAre) {
    auto* const createContext = OfDriver(eglCreateContext, "eglCreateContext");
    auto* const makeCurrent = OfDriver(eglMakeCurrent, "eglMakeCurrent");
    auto* const bindApi = OfDriver(eglBindAPI, "eglBindAPI");
    EGLint const two[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_NONE};
    EGLint const one[] = {EGL_CONTEXT_CLIENT_VERSION, 1, EGL_NONE};
    EGLint const debug[] = {EGL_CONTEXT_CLIENT_VERSION, 2, EGL_CONTEXT_OPENGL_DEBUG, EGL_TRUE, EGL_NONE};
    EGLint const plain[] = {EGL_NONE};
    struct {
        char const* pWhat;
        EGLenum api;
        EGLint const* pAttributes; ///< null for no context
        bool fShares;
        bool fOwnNames; ///< textures of all the names that the layer may have
    } const cases[] = {{"another one", EGL_OPENGL_ES_API, two, false, true},
                       {"one that shares", EGL_OPENGL_ES_API, two, true, false},
                       {"one for debugging", EGL_OPENGL_ES_API, debug, true, false},
                       {"of an older version", EGL_OPENGL_ES_API, one, true, false},
                       {"of another API", EGL_OPENGL_API, plain, true, false},
                       {"none", EGL_OPENGL_ES_API, nullptr, false, false}};
    EGLContext const first = eglGetCurrentContext();
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    GLuint const texture = MakeTexture(MakeImage(pBuffer));
    FillManyTimes(*pBuffer, texture);
    std::size_t const nNames = Names().size();
    for (auto const& test : cases) {
        SCOPED_TRACE(test.pWhat);
        ASSERT_TRUE(bindApi(test.api));
        EGLContext const share = test.fShares ? first : EGL_NO_CONTEXT;
        EGLContext const foreign =
            test.pAttributes ? createContext(m_display, Config(), share, test.pAttributes) : EGL_NO_CONTEXT;
        EGLSurface const surface = foreign != EGL_NO_CONTEXT ? m_surface : EGL_NO_SURFACE;
        bool const fThere =
            foreign != EGL_NO_CONTEXT || !test.pAttributes; // not every driver has all of them
        ASSERT_TRUE(fThere || test.api != EGL_OPENGL_ES_API || test.pAttributes == one);
        if (fThere && makeCurrent(m_display, surface, surface, foreign)) {
            GLuint own = 0;
            glGenTextures(1, &own);
            ForNames([&](GLuint name) {
                if (test.fOwnNames) {
                    MakeWhite(name);
                }
            });
            glBindTexture(GL_TEXTURE_2D, own);
            eglInitialize(EGL_NO_DISPLAY, nullptr, nullptr); // leaves an error
            for (int n = 0; n < ManyTimes; ++n) {
                Fill(*pBuffer, Colour(n));
            }
            EXPECT_EQ(eglGetError(), EGL_BAD_DISPLAY);
            EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR));
            GLint nBound = 0;
            glGetIntegerv(GL_TEXTURE_BINDING_2D, &nBound);
            EXPECT_EQ(GLuint(nBound), own);
            ForNames([&](GLuint name) { EXPECT_TRUE(!test.fOwnNames || IsWhite(name)) << name; });
            glDeleteTextures(1, &own);
        }
        ASSERT_TRUE(bindApi(EGL_OPENGL_ES_API));
        ASSERT_TRUE(makeCurrent(m_display, m_surface, m_surface, first));
        EXPECT_TRUE(!fThere || Shows(texture, Colour(ManyTimes - 1)));
        FillManyTimes(*pBuffer, texture);
        EXPECT_EQ(Names().size(), nNames) << "the layer has lost its texture";
    }
}

TEST_F(PlatformBufferContext, AThreadMayReleaseItWhenItEnds) {
    EGLContext const context = NewContext(EGL_NO_CONTEXT);
    static EGLDisplay s_display; // for the destructor of what the thread keeps, its last one
    s_display = m_display;
    static bool s_fReleased;
    s_fReleased = false;
    pthread_key_t key;
    ASSERT_EQ(pthread_key_create(&key,
                                 [](void*) {
                                     s_fReleased = eglMakeCurrent(s_display, EGL_NO_SURFACE, EGL_NO_SURFACE,
                                                                  EGL_NO_CONTEXT) &&
                                                   eglReleaseThread();
                                 }),
              0);
    ASSERT_TRUE(eglMakeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT));
    sp<GraphicBuffer> const pBuffer = MakeBuffer();
    EGLImageKHR const image = MakeImage(pBuffer);
    RunOnThreads(1, [&](int) {
        pthread_setspecific(key, &key);
        MakeCurrent(context);
        for (int n = 0; n < ManyTimes; ++n) {
            Fill(*pBuffer, Colour(n));
        }
        // The driver may forget what is current, without an end to it, before the destructor is called.
        auto* const makeCurrent = OfDriver(eglMakeCurrent, "eglMakeCurrent");
        EXPECT_TRUE(makeCurrent(m_display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT));
    });
    EXPECT_TRUE(s_fReleased);
    EXPECT_EQ(pthread_key_delete(key), 0);
    MakeCurrent(context);
    EXPECT_TRUE(Shows(MakeTexture(image), Colour(ManyTimes - 1)));
}

} // namespace
} // namespace kelvokit::test
