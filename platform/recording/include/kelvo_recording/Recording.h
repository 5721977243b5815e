#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GLES2/gl2.h>
#include <GLES2/gl2ext.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

/**
 * A driver that stands in for the system's EGL and OpenGL ES 2.0 libraries.
 *
 * An executable that links it ahead of the code under test gets every egl* and gl* call of that code: the
 * driver notes the call with its arguments, answers as a conforming driver would (or as a test tells it to)
 * and keeps the state that the call changed. It draws nothing.
 *
 * Everything here may be called from any thread. Where an operation looks at GL state, it means the context
 * that is current on the calling thread; failing that, the context used last. GL calls made while no context
 * is current work on a context of their own, so that a class can be tested without a device; such calls carry
 * no context, and CallsWithoutContext() finds them.
 */
namespace kelvokit::recording {

/** What the bits of an argument mean, where its C type does not tell. */
enum class ArgumentKind {
    Int,
    UInt,
    Float,
    Boolean,
    Enum,
    EglEnum,
    Primitive,
    BlendFactor,
    StencilOp,
    ClearBits,
    Hex,
    Location,
    Display,
    Config,
    Surface,
    Context,
    Image,
    Sync,
    Native,
    Pointer,
    Out,
    String,
    Sources,
    Attributes,
    LongAttributes,
    Names,
    OutNames,
    Bytes,
    Ints1,
    Ints2,
    Ints3,
    Ints4,
    Floats1,
    Floats2,
    Floats3,
    Floats4,
    Floats9,
    Floats16
};

/** One argument. integer holds integers, enumerants, booleans and object names, number holds floats too. */
struct Argument {
    char const* name = "";
    ArgumentKind kind = ArgumentKind::Int;
    std::int64_t integer = 0;
    double number = 0;
    void const* pointer = nullptr;
};

/** One vertex attribute array, as far as a draw call read it. */
struct VertexStream {
    std::string name; // the program's attribute that reads it; empty when none does
    GLint size = 4;
    GLenum type = GL_FLOAT;
    bool normalized = false;
    GLsizei stride = 0;
    void const* pointer = nullptr; // or the offset into buffer
    GLuint buffer = 0;             // 0: client memory
    std::vector<float> values;     // the vertices drawn, in drawing order, as GL reads them: fixed point and
                                   // normalised values converted

    /** The values of one vertex, counted in drawing order. */
    std::vector<float> Vertex(std::size_t index) const;
};

struct VertexAttribute {
    bool enabled = false;
    GLint size = 4;
    GLenum type = GL_FLOAT;
    bool normalized = false;
    GLsizei stride = 0;
    void const* pointer = nullptr;
    GLuint buffer = 0;
};

struct StencilFace {
    GLenum func = GL_ALWAYS;
    GLint ref = 0;
    GLuint mask = ~0u;
    GLenum fail = GL_KEEP;
    GLenum depthFail = GL_KEEP;
    GLenum depthPass = GL_KEEP;
};

constexpr std::size_t TextureUnits = 32;
constexpr std::size_t VertexAttributes = 16;

/** The state of one context, with the initial values that OpenGL ES 2.0 gives it. */
struct State {
    std::array<GLint, 4> viewport = {};
    std::array<GLfloat, 4> clearColor = {};
    GLint clearStencil = 0;
    GLenum blendSourceRGB = GL_ONE;
    GLenum blendTargetRGB = GL_ZERO;
    GLenum blendSourceAlpha = GL_ONE;
    GLenum blendTargetAlpha = GL_ZERO;
    GLenum blendEquationRGB = GL_FUNC_ADD;
    GLenum blendEquationAlpha = GL_FUNC_ADD;
    bool depthMask = true;
    std::array<bool, 4> colorMask = {true, true, true, true};
    StencilFace stencilFront;
    StencilFace stencilBack;
    GLenum frontFace = GL_CCW;
    GLfloat lineWidth = 1;
    GLint packAlignment = 4;
    GLint unpackAlignment = 4;
    GLuint program = 0;
    GLuint activeTexture = 0; // the unit's index, not its enumerant
    std::array<GLuint, TextureUnits> textures = {};
    GLuint framebuffer = 0;
    GLuint renderbuffer = 0;
    GLuint arrayBuffer = 0;
    GLuint elementBuffer = 0;
    std::array<VertexAttribute, VertexAttributes> attributes;
    std::uint32_t enabled = 1u << 2; // of dithering, as GL starts

    /** Whether a capability of glEnable is on; false for an enumerant that is none. */
    bool IsEnabled(GLenum capability) const;
};

/** What one draw call would have drawn: its vertices and the state it saw. */
struct Draw {
    GLenum mode = GL_TRIANGLES;
    GLint first = 0;
    GLsizei count = 0;
    GLenum indexType = GL_NONE; // GL_NONE: glDrawArrays
    std::vector<GLuint> indices;
    std::map<GLuint, VertexStream> streams; // by attribute location, the enabled arrays only
    std::map<std::string, std::vector<float>> uniforms;
    State state;

    /** The stream's values, or nothing when that array was not enabled. */
    std::vector<float> Values(GLuint attribute) const;
    /**
     * The value that a uniform of the program in use had; empty when the program has no such active uniform.
     */
    std::vector<float> Uniform(std::string const& name) const;
    /** The texture bound to the unit that a sampler uniform names; 0 when there is none. */
    GLuint Texture(std::string const& sampler) const;
};

/** What calls were made for, such as a node that was drawn; see BeginGroup. */
struct Group {
    std::string text;
    std::shared_ptr<Group const> parent;
};

/** One call. Of what a client pointer pointed to, that field is filled which fits. */
struct Call {
    std::string name;
    std::string line; // "glUniform4f(vColor, 1, 1, 1, 0.5)", see Calls()
    std::vector<Argument> arguments;
    std::string text;                   // shader source, or the name of a uniform, an attribute, a function
    std::vector<float> floats;          // values of glUniform*fv, glUniformMatrix*fv, glVertexAttrib*fv
    std::vector<std::int64_t> integers; // object names, attribute lists, values of glUniform*iv
    std::vector<std::uint8_t> bytes;    // uploads, up to UploadCap bytes
    std::shared_ptr<Group const> group; // the innermost that was open; null: none
    std::shared_ptr<Draw const> draw;   // of glDrawArrays and glDrawElements, unless the call failed
    std::thread::id thread;
    EGLContext context = EGL_NO_CONTEXT; // current when the call was made
    std::int64_t result = 0;
    unsigned error = 0; // the GL or EGL error that this call raised; 0: none

    std::int64_t Integer(std::size_t index) const { return arguments.at(index).integer; }
    float Float(std::size_t index) const { return static_cast<float>(arguments.at(index).number); }
    void const* Pointer(std::size_t index) const { return arguments.at(index).pointer; }
};

constexpr std::size_t UploadCap = 1 << 20;

// ---- What was called

/**
 * The calls noted since the last Clear() or Reset(), oldest first.
 *
 * A pattern selects some of them: a bare function name, or a glob over the call's line, in which '*' stands
 * for any run of characters ("glBindTexture(GL_TEXTURE_2D, *)", "glUniform*"). The empty pattern selects all.
 *
 * In a line, enumerants are written by name, uniform locations by the uniform's name in the program in use
 * (or -1), EGL handles as display, config0, surface1, context1, image1 (configs count from 0, the others from
 * 1), strings in quotes, known contents in braces, null pointers as NULL and every other pointer as *. Floats
 * are written with up to six digits, and -0 as 0.
 */
std::vector<Call> Calls(std::string const& pattern = {});
/** The lines of Calls(pattern). */
std::vector<std::string> Lines(std::string const& pattern = {});
std::size_t Count(std::string const& pattern = {});
/** The index, among all calls, of the first match at or after `from`; -1 when there is none. */
std::ptrdiff_t IndexOf(std::string const& pattern, std::size_t from = 0);
/** The last match; a call with an empty name when there is none. */
Call LastCall(std::string const& pattern);
/** The draws of the noted draw calls, in order. */
std::vector<Draw> Draws();
/** The lines of the calls that raised an error, each followed by " -> " and the error's name. */
std::vector<std::string> Errors();
/** The lines of the gl* calls that were made while no context was current on their thread. */
std::vector<std::string> CallsWithoutContext();
/** Forgets the noted calls and nothing else. */
void Clear();

/** Begins a group: the calls from here to EndGroup belong to it. Groups nest. */
void BeginGroup(std::string const& text);
void EndGroup();
/** Notes a line of the application's own among the calls, as a call without a name. */
void Remark(std::string const& line);

/**
 * The calls as text, a call to a line, in which nothing depends on addresses or on the run: each call as in
 * Calls(), with " = " and what it answered where that is a name or a handle, and " -> " and the error that it
 * raised. Lines are indented below the headings of their groups. Below a draw call stand its indices and, by
 * the names of the attributes, the vertices that it read; below an upload its bytes, or where these are more
 * than 64, their number and FNV-1a hash, and so below a shader's source. Groups without calls are left out.
 */
std::string ToText(std::vector<Call> const& calls = Calls());

/** Whether a call's line, or its name where the pattern has no parenthesis, matches. */
bool Matches(std::string const& pattern, Call const& call);

/**
 * While one lives, calls have their effect, but nothing is noted, and a call that changes no object's size
 * allocates no memory. For tests that count allocations, or that draw many frames to warm up.
 */
class Unnoted {
public:
    Unnoted();
    ~Unnoted();
    Unnoted(Unnoted const&) = delete;
    Unnoted& operator=(Unnoted const&) = delete;

private:
    bool m_fBefore;
};

// ---- What the driver holds

enum class Object {
    Texture,
    Buffer,
    Framebuffer,
    Renderbuffer,
    Shader,
    Program,
    EglImage,
    EglSurface,
    EglContext
};

struct ObjectCounts {
    int created = 0;
    int deleted = 0; // by a call; objects that go with their context are not counted
    int live = 0;    // created less deleted
};

struct TextureLevel {
    GLsizei width = 0;
    GLsizei height = 0;
    GLenum internalFormat = GL_NONE;
    GLenum format = GL_NONE; // GL_NONE for a compressed image
    GLenum type = GL_NONE;
    std::vector<std::uint8_t> bytes; // of the last whole upload, up to UploadCap; empty for a null pointer
};

struct Texture {
    GLenum target = GL_NONE;
    GLint minFilter = GL_NEAREST_MIPMAP_LINEAR;
    GLint magFilter = GL_LINEAR;
    GLint wrapS = GL_REPEAT;
    GLint wrapT = GL_REPEAT;
    std::map<GLint, TextureLevel> levels;
    EGLImageKHR image = EGL_NO_IMAGE_KHR; // the source of its pixels, where that is an EGL image
};

struct Renderbuffer {
    GLenum format = GL_RGBA4;
    GLsizei width = 0;
    GLsizei height = 0;
};

struct Attachment {
    GLenum type = GL_NONE; // GL_TEXTURE or GL_RENDERBUFFER
    GLuint name = 0;
    std::shared_ptr<Texture const> texture;
    std::shared_ptr<Renderbuffer const> renderbuffer;
};

struct Framebuffer {
    Attachment color;
    Attachment depth;
    Attachment stencil;
};

struct Shader {
    GLenum type = GL_VERTEX_SHADER;
    std::string source;
    std::string log;
    bool compiled = false;
    bool deleted = false; // flagged, and kept by the programs that it is attached to
    int attachments = 0;
};

struct Uniform {
    std::string name;
    GLenum type = GL_FLOAT;
    GLint size = 1;
    GLint location = -1;
    std::vector<float> values;
};

struct Program {
    bool linked = false;
    bool deleted = false; // flagged, and kept while it is in use
    std::string log;
    std::vector<GLuint> shaders;
    std::map<std::string, GLuint> bindings; // as glBindAttribLocation asked
    std::map<std::string, GLint> attributes;
    std::vector<Uniform> uniforms; // the active ones, with their current values

    Uniform const* Find(std::string const& uniform) const;
};

struct EglState {
    bool initialized = false;
    EGLDisplay display = EGL_NO_DISPLAY; // current on the calling thread, like the next three
    EGLSurface drawSurface = EGL_NO_SURFACE;
    EGLSurface readSurface = EGL_NO_SURFACE;
    EGLContext context = EGL_NO_CONTEXT;
    int swaps = 0; // successful eglSwapBuffers calls, on any thread
};

State GetState();
EglState GetEglState();
/** How many objects of one sort were made and deleted since Reset(), in all contexts. */
ObjectCounts Counts(Object object);
/** The names in use, ascending; names that were generated and never bound are among them. */
std::vector<GLuint> LiveNames(Object object);
std::optional<Texture> FindTexture(GLuint name);
std::optional<Framebuffer> FindFramebuffer(GLuint name);
std::optional<Shader> FindShader(GLuint name);
std::optional<Program> FindProgram(GLuint name);
/**
 * The location of a uniform in a linked program, -1 when it is not active. Differs from program to program.
 */
GLint UniformLocation(GLuint program, std::string const& name);
/** The current value of a uniform: one float for each component, matrices column by column, integers too. */
std::vector<float> UniformValue(GLuint program, std::string const& name);
/**
 * What glReadPixels writes for one component (red 0 to alpha 3) of the pixel at (x, y) of the framebuffer.
 */
std::uint8_t ReadPixelsPattern(int x, int y, int component);

// ---- What the driver answers

/** Back to a driver that was never called: state, objects, calls and all answers set below. */
void Reset();

/**
 * Makes every later call of one function fail.
 *
 * An EGL function then answers false or null and leaves `error` for eglGetError (EGL_BAD_ALLOC unless
 * given). A GL function changes nothing, answers 0 and raises `error` (GL_OUT_OF_MEMORY unless given), with
 * these exceptions: glCompileShader and glLinkProgram set their status to false, glCheckFramebufferStatus
 * answers `error` or GL_FRAMEBUFFER_UNSUPPORTED, glGetUniformLocation and glGetAttribLocation answer -1
 * without an error, glGen* write names 0, and glGetError and eglGetError answer `error`.
 */
void Fail(std::string const& name, int error = 0);
/** The same for the nth call from now only, counted from 1. May be given several times for one function. */
void FailAt(std::string const& name, int nth, int error = 0);
/** Takes back all failures set for one function. */
void Succeed(std::string const& name);
/** Makes shaders of one stage fail to compile, and with them the programs they are attached to. */
void FailCompile(GLenum stage, std::string const& log = "0:1: error: told to fail");
/** Makes glLinkProgram fail with a log. */
void FailLink(std::string const& log = "error: told to fail");
/** What GL_INFO_LOG_LENGTH is for an empty log: 0 (initial), or 1 as from drivers that count the terminator.
 */
void SetEmptyLogLength(GLint length);
/**
 * What glGet answers for a limit or another single integer, such as GL_MAX_TEXTURE_IMAGE_UNITS or
 * GL_RED_BITS.
 */
void SetLimit(GLenum name, GLint value);
/** Whether GL_SHADER_COMPILER is true. */
void SetShaderCompiler(bool fPresent);
/** Leaves an error flag for glGetError, as an earlier call would have. */
void SetError(GLenum error);
/** What glCheckFramebufferStatus answers; 0 (initial): what the attachments amount to. */
void SetFramebufferStatus(GLenum status);

struct Config {
    int red = 8;
    int green = 8;
    int blue = 8;
    int alpha = 8;
    int depth = 16;
    int stencil = 4;
};
/**
 * The configs of the display. eglChooseConfig answers those that have at least the sizes asked for, in this
 * order. Initially 8-8-8-8, 8-8-8-0 and 5-6-5-0, each with 16 bits of depth and 4 of stencil.
 */
void SetConfigs(std::vector<Config> const& configs);
/** The handle that eglChooseConfig gives for the config with this index in the list. */
EGLConfig ConfigHandle(std::size_t index);
/** The size of window surfaces made from now on, and so the first viewport; initially 640 x 480. */
void SetWindowSize(int width, int height);
/** Whether eglGetProcAddress knows a function; initially all of them. */
void SetProcAddress(std::string const& name, bool fPresent);

// ---- Names

/**
 * "GL_BLEND", or the number in hexadecimal. GL_POINTS, GL_ZERO and the like, small numbers shared by several,
 * not.
 */
std::string EnumName(GLenum value);
std::string EglEnumName(EGLint value);
/** "display", "config0", "surface1", "context1", "image1"; "NULL", and "*" for what is no handle. */
std::string HandleName(void const* handle);

} // namespace kelvokit::recording
