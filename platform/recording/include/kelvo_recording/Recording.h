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
    char const* name = "";                 ///< of the function's parameter
    ArgumentKind kind = ArgumentKind::Int; ///< what its bits mean
    std::int64_t integer = 0;              ///< the value, unless it is a float or a pointer
    double number = 0;                     ///< the value, unless it is a pointer
    void const* pointer = nullptr;         ///< the value, where it is one
};

/** One vertex attribute array, as far as a draw call read it. */
struct VertexStream {
    std::string name;              ///< the program's attribute that reads it; empty when none does
    GLint size = 4;                ///< components of a vertex, 1 to 4
    GLenum type = GL_FLOAT;        ///< type of a component
    bool normalized = false;       ///< whether whole numbers stand for 0 to 1, or -1 to 1
    GLsizei stride = 0;            ///< bytes from vertex to vertex; 0: packed
    void const* pointer = nullptr; ///< or the offset into buffer
    GLuint buffer = 0;             ///< 0: client memory
    std::vector<float> values; ///< the vertices drawn, in drawing order, as GL reads them: fixed point and
                               ///< normalised values converted

    /** The values of one vertex, counted in drawing order. */
    std::vector<float> Vertex(std::size_t index) const;
};

/** One attribute's array, as glVertexAttribPointer has set it. */
struct VertexAttribute {
    bool enabled = false;          ///< whether draws read it
    GLint size = 4;                ///< components of a vertex, 1 to 4
    GLenum type = GL_FLOAT;        ///< type of a component
    bool normalized = false;       ///< whether whole numbers stand for 0 to 1, or -1 to 1
    GLsizei stride = 0;            ///< bytes from vertex to vertex; 0: packed
    void const* pointer = nullptr; ///< or the offset into buffer
    GLuint buffer = 0;             ///< 0: client memory
};

/** The stencil test of one side, as the glStencil*Separate functions have set it. */
struct StencilFace {
    GLenum func = GL_ALWAYS;    ///< the comparison
    GLint ref = 0;              ///< what is compared with
    GLuint mask = ~0u;          ///< the bits that are compared
    GLenum fail = GL_KEEP;      ///< where the stencil test fails
    GLenum depthFail = GL_KEEP; ///< where the depth test fails
    GLenum depthPass = GL_KEEP; ///< where both pass
};

/** Texture units that a context has. */
constexpr std::size_t TextureUnits = 32;
/** Vertex attributes that a context has. */
constexpr std::size_t VertexAttributes = 16;

/** The state of one context, with the initial values that OpenGL ES 2.0 gives it. */
struct State {
    std::array<GLint, 4> viewport = {};                       ///< x, y, width, height
    std::array<GLfloat, 4> clearColor = {};                   ///< of glClearColor
    GLint clearStencil = 0;                                   ///< of glClearStencil
    GLenum blendSourceRGB = GL_ONE;                           ///< factor of what is drawn
    GLenum blendTargetRGB = GL_ZERO;                          ///< factor of what is there
    GLenum blendSourceAlpha = GL_ONE;                         ///< factor of what is drawn
    GLenum blendTargetAlpha = GL_ZERO;                        ///< factor of what is there
    GLenum blendEquationRGB = GL_FUNC_ADD;                    ///< of glBlendEquation
    GLenum blendEquationAlpha = GL_FUNC_ADD;                  ///< of glBlendEquation
    bool depthMask = true;                                    ///< whether depths are written
    std::array<bool, 4> colorMask = {true, true, true, true}; ///< whether red, green, blue, alpha are written
    StencilFace stencilFront;                                 ///< of front faces
    StencilFace stencilBack;                                  ///< of back faces
    GLenum frontFace = GL_CCW;                                ///< which way front faces go round
    GLfloat lineWidth = 1;                                    ///< pixels
    GLint packAlignment = 4;                                  ///< of rows that are read, bytes
    GLint unpackAlignment = 4;                                ///< of rows that are uploaded, bytes
    GLuint program = 0;                                       ///< in use; 0: none
    GLuint activeTexture = 0;                                 ///< the unit's index, not its enumerant
    std::array<GLuint, TextureUnits> textures = {};           ///< bound to each unit, 0: none
    GLuint framebuffer = 0;                                   ///< bound; 0: the window's
    GLuint renderbuffer = 0;                                  ///< bound; 0: none
    GLuint arrayBuffer = 0;                                   ///< bound; 0: none
    GLuint elementBuffer = 0;                                 ///< bound; 0: none
    std::array<VertexAttribute, VertexAttributes> attributes; ///< by location
    std::uint32_t enabled = 1u << 2; ///< a bit for each capability; at first that of dithering

    /** Whether a capability of glEnable is on; false for an enumerant that is none. */
    bool IsEnabled(GLenum capability) const;
};

/** What one draw call would have drawn: its vertices and the state it saw. */
struct Draw {
    GLenum mode = GL_TRIANGLES;                         ///< what the vertices make
    GLint first = 0;                                    ///< of glDrawArrays
    GLsizei count = 0;                                  ///< vertices, or indices
    GLenum indexType = GL_NONE;                         ///< GL_NONE: glDrawArrays
    std::vector<GLuint> indices;                        ///< of glDrawElements
    std::map<GLuint, VertexStream> streams;             ///< by attribute location, the enabled arrays only
    std::map<std::string, std::vector<float>> uniforms; ///< by name, as the draw saw them
    State state;                                        ///< as the draw saw it

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
    std::string text;                    ///< what BeginGroup was given
    std::shared_ptr<Group const> parent; ///< the group around it; null: none
};

/** One call. Of what a client pointer pointed to, that field is filled which fits. */
struct Call {
    std::string name;                   ///< the function's
    std::string line;                   ///< "glUniform4f(vColor, 1, 1, 1, 0.5)", see Calls()
    std::vector<Argument> arguments;    ///< in the function's order
    std::string text;                   ///< shader source, or the name of a uniform, an attribute, a function
    std::vector<float> floats;          ///< values of glUniform*fv, glUniformMatrix*fv, glVertexAttrib*fv
    std::vector<std::int64_t> integers; ///< object names, attribute lists, values of glUniform*iv
    std::vector<std::uint8_t> bytes;    ///< uploads, up to UploadCap bytes
    std::shared_ptr<Group const> group; ///< the innermost that was open; null: none
    std::shared_ptr<Draw const> draw;   ///< of glDrawArrays and glDrawElements, unless the call failed
    std::thread::id thread;             ///< that called
    EGLContext context = EGL_NO_CONTEXT; ///< current when the call was made
    std::int64_t result = 0;             ///< what the function answered; 0 for void
    unsigned error = 0;                  ///< the GL or EGL error that this call raised; 0: none

    /** An argument that is no float and no pointer; throws std::out_of_range. */
    std::int64_t Integer(std::size_t index) const { return arguments.at(index).integer; }
    /** An argument that is a number; throws std::out_of_range. */
    float Float(std::size_t index) const { return static_cast<float>(arguments.at(index).number); }
    /** An argument that is a pointer; throws std::out_of_range. */
    void const* Pointer(std::size_t index) const { return arguments.at(index).pointer; }
};

/** Bytes of an upload that are noted, at most. */
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
/** The number of Calls(pattern). */
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
/** Ends the group that was begun last. */
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

/** The sorts of objects that are counted. */
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

/** How many objects of a sort there were and are. */
struct ObjectCounts {
    int created = 0; ///< by a call
    int deleted = 0; ///< by a call; objects that go with their context are not counted
    int live = 0;    ///< created less deleted
};

/** One level of a texture. */
struct TextureLevel {
    GLsizei width = 0;               ///< texels
    GLsizei height = 0;              ///< texels
    GLenum internalFormat = GL_NONE; ///< as glTexImage2D was told
    GLenum format = GL_NONE;         ///< GL_NONE for a compressed image
    GLenum type = GL_NONE;           ///< of a component, or of a packed texel
    std::vector<std::uint8_t> bytes; ///< of the last whole upload, up to UploadCap; empty for a null pointer
};

/** A texture's parameters and levels. */
struct Texture {
    GLenum target = GL_NONE;                    ///< what it was bound to first
    GLint minFilter = GL_NEAREST_MIPMAP_LINEAR; ///< GL_TEXTURE_MIN_FILTER
    GLint magFilter = GL_LINEAR;                ///< GL_TEXTURE_MAG_FILTER
    GLint wrapS = GL_REPEAT;                    ///< GL_TEXTURE_WRAP_S
    GLint wrapT = GL_REPEAT;                    ///< GL_TEXTURE_WRAP_T
    std::map<GLint, TextureLevel> levels;       ///< by number, 0 is the largest
    EGLImageKHR image = EGL_NO_IMAGE_KHR;       ///< the source of its pixels, where that is an EGL image
};

/** A renderbuffer. */
struct Renderbuffer {
    GLenum format = GL_RGBA4; ///< as glRenderbufferStorage was told
    GLsizei width = 0;        ///< pixels
    GLsizei height = 0;       ///< pixels
};

/** What one attachment point of a framebuffer has. */
struct Attachment {
    GLenum type = GL_NONE;                            ///< GL_TEXTURE or GL_RENDERBUFFER
    GLuint name = 0;                                  ///< of the texture or renderbuffer; 0: nothing
    std::shared_ptr<Texture const> texture;           ///< what is attached, though its name may be gone
    std::shared_ptr<Renderbuffer const> renderbuffer; ///< what is attached, though its name may be gone
};

/** A framebuffer's attachments. */
struct Framebuffer {
    Attachment color;   ///< GL_COLOR_ATTACHMENT0
    Attachment depth;   ///< GL_DEPTH_ATTACHMENT
    Attachment stencil; ///< GL_STENCIL_ATTACHMENT
};

/** A shader. */
struct Shader {
    GLenum type = GL_VERTEX_SHADER; ///< its stage
    std::string source;             ///< as glShaderSource was given it, in one
    std::string log;                ///< of the last glCompileShader
    bool compiled = false;          ///< whether the last glCompileShader succeeded
    bool deleted = false;           ///< flagged, and kept by the programs that it is attached to
    int attachments = 0;            ///< programs that it is attached to
};

/** An active uniform of a program. */
struct Uniform {
    std::string name;          ///< as the shader declares it, without [0]
    GLenum type = GL_FLOAT;    ///< as glGetActiveUniform answers
    GLint size = 1;            ///< elements of an array; 1: no array
    GLint location = -1;       ///< of its first element
    std::vector<float> values; ///< one float for each component, integers too
};

/** A program. */
struct Program {
    bool linked = false;                     ///< whether the last glLinkProgram succeeded
    bool deleted = false;                    ///< flagged, and kept while it is in use
    std::string log;                         ///< of the last glLinkProgram
    std::vector<GLuint> shaders;             ///< attached to it
    std::map<std::string, GLuint> bindings;  ///< as glBindAttribLocation asked
    std::map<std::string, GLint> attributes; ///< the active ones, with their locations
    std::vector<Uniform> uniforms;           ///< the active ones, with their current values

    /** The active uniform of that name; null when there is none. */
    Uniform const* Find(std::string const& uniform) const;
};

/** EGL, as the calling thread sees it. */
struct EglState {
    bool initialized = false; ///< whether eglInitialize has been called, and eglTerminate not since
    EGLDisplay display = EGL_NO_DISPLAY;     ///< current on the calling thread, like the next three
    EGLSurface drawSurface = EGL_NO_SURFACE; ///< what draws go to
    EGLSurface readSurface = EGL_NO_SURFACE; ///< what is read from
    EGLContext context = EGL_NO_CONTEXT;     ///< what is current
    int swaps = 0;                           ///< successful eglSwapBuffers calls, on any thread
};

/** The state of the calling thread's context; see above for which that is. */
State GetState();
/** The state of EGL, as the calling thread sees it. */
EglState GetEglState();
/** How many objects of one sort were made and deleted since Reset(), in all contexts. */
ObjectCounts Counts(Object object);
/** The names in use, ascending; names that were generated and never bound are among them. */
std::vector<GLuint> LiveNames(Object object);
/** A texture by its name; nothing when there is none. */
std::optional<Texture> FindTexture(GLuint name);
/** A framebuffer by its name; nothing when there is none. */
std::optional<Framebuffer> FindFramebuffer(GLuint name);
/** A shader by its name; nothing when there is none. */
std::optional<Shader> FindShader(GLuint name);
/** A program by its name; nothing when there is none. */
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

/** Sizes of an EGL config. */
struct Config {
    int red = 8;     ///< bits
    int green = 8;   ///< bits
    int blue = 8;    ///< bits
    int alpha = 8;   ///< bits
    int depth = 16;  ///< bits
    int stencil = 4; ///< bits
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
/** As EnumName, of EGL's names. */
std::string EglEnumName(EGLint value);
/** "display", "config0", "surface1", "context1", "image1"; "NULL", and "*" for what is no handle. */
std::string HandleName(void const* handle);

} // namespace kelvokit::recording
