#include "Driver.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace kelvokit::recording {

namespace {

std::string FloatText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value == 0 ? 0.0 : value);
    return text;
}

template <class T, class Write>
std::string ListText(std::vector<T> const& values, Write write) {
    std::string text = "{";
    for (T const& value : values) {
        text += (text.size() > 1 ? ", " : "") + write(value);
    }
    return text + "}";
}

std::string ClearText(std::int64_t mask) {
    static std::pair<std::int64_t, char const*> const s_bits[] = {
        {GL_COLOR_BUFFER_BIT, "GL_COLOR_BUFFER_BIT"},
        {GL_DEPTH_BUFFER_BIT, "GL_DEPTH_BUFFER_BIT"},
        {GL_STENCIL_BUFFER_BIT, "GL_STENCIL_BUFFER_BIT"}};
    std::string text;
    for (auto const& bit : s_bits) {
        if ((mask & bit.first) != 0) {
            text += (text.empty() ? "" : " | ") + std::string(bit.second);
        }
        mask &= ~bit.first;
    }
    if (mask != 0 || text.empty()) {
        text += (text.empty() ? "" : " | ") + std::to_string(mask);
    }
    return text;
}

std::string PrimitiveText(std::int64_t mode) {
    static char const* const s_names[] = {"GL_POINTS",      "GL_LINES",     "GL_LINE_LOOP",
                                          "GL_LINE_STRIP",  "GL_TRIANGLES", "GL_TRIANGLE_STRIP",
                                          "GL_TRIANGLE_FAN"};
    return mode >= 0 && mode < 7 ? s_names[mode] : EnumName(static_cast<GLenum>(mode));
}

std::string LocationText(std::int64_t location, ContextData const& context) {
    auto const program = context.objects->programs.find(context.state.program);
    if (program == context.objects->programs.end()) {
        return std::to_string(location);
    }
    for (Uniform const& uniform : program->second.uniforms) {
        std::int64_t const nElement = location - uniform.location;
        if (nElement == 0) {
            return uniform.name;
        }
        if (nElement > 0 && nElement < uniform.size) {
            return uniform.name + "[" + std::to_string(nElement) + "]";
        }
    }
    return std::to_string(location);
}

std::string AttributeText(std::int64_t key, std::int64_t value) {
    if (key == EGL_RENDERABLE_TYPE && value == EGL_OPENGL_ES2_BIT) {
        return "EGL_OPENGL_ES2_BIT";
    }
    if (key == EGL_IMAGE_PRESERVED_KHR && (value == EGL_TRUE || value == EGL_FALSE)) {
        return value == EGL_TRUE ? "EGL_TRUE" : "EGL_FALSE";
    }
    return value >= EGL_SUCCESS ? EglEnumName(static_cast<EGLint>(value)) : std::to_string(value);
}

std::string AttributesText(std::vector<std::int64_t> const& list) {
    std::string text = "{";
    for (std::size_t i = 0; i + 1 < list.size(); i += 2) {
        text += EglEnumName(static_cast<EGLint>(list[i])) + ", " + AttributeText(list[i], list[i + 1]) + ", ";
    }
    return text + "EGL_NONE}";
}

std::string QuotedText(std::string const& text) {
    constexpr std::size_t Longest = 40;
    std::string quoted = "\"";
    for (char const c : text.substr(0, Longest)) {
        quoted += c == '\n' ? std::string("\\n") : std::string(1, c);
    }
    return quoted + (text.size() > Longest ? "...\"" : "\"");
}

/** The value of another argument of the same call, such as "count"; 1 when it has none. */
std::size_t Sibling(Call const& call, char const* name) {
    for (Argument const& argument : call.arguments) {
        if (std::strcmp(argument.name, name) == 0) {
            return static_cast<std::size_t>(std::max<std::int64_t>(argument.integer, 0));
        }
    }
    return 1;
}

template <class To, class From>
void ReadValues(std::vector<To>& to, void const* pointer, std::size_t count) {
    auto const* from = static_cast<From const*>(pointer);
    to.assign(from, from + count);
}

template <class Element>
void ReadAttributes(Call& call, void const* pointer) {
    auto const* list = static_cast<Element const*>(pointer);
    for (; *list != EGL_NONE; list += 2) {
        call.integers.push_back(static_cast<std::int64_t>(list[0]));
        call.integers.push_back(static_cast<std::int64_t>(list[1]));
    }
    call.integers.push_back(EGL_NONE);
}

void ReadSources(Call& call, void const* pointer) {
    auto const* strings = static_cast<char const* const*>(pointer);
    auto const* lengths = static_cast<GLint const*>(call.arguments.back().pointer);
    for (std::size_t i = 0; i < Sibling(call, "count"); ++i) {
        call.text += lengths && lengths[i] >= 0
                         ? std::string(strings[i], static_cast<std::size_t>(lengths[i]))
                         : std::string(strings[i]);
    }
}

/** How many values an argument of the kinds IntsN and FloatsN has in all. */
std::size_t ValueCount(Call const& call, ArgumentKind kind) {
    static std::size_t const s_sizes[] = {1, 2, 3, 4, 1, 2, 3, 4, 9, 16};
    return s_sizes[static_cast<std::size_t>(kind) - static_cast<std::size_t>(ArgumentKind::Ints1)] *
           Sibling(call, "count");
}

/** Copies what one client pointer points to into the call. */
void ReadContents(Call& call, Argument const& argument) {
    switch (argument.kind) {
    case ArgumentKind::String:
        call.text = static_cast<char const*>(argument.pointer);
        break;
    case ArgumentKind::Sources:
        ReadSources(call, argument.pointer);
        break;
    case ArgumentKind::Attributes:
        ReadAttributes<EGLint>(call, argument.pointer);
        break;
    case ArgumentKind::LongAttributes:
        ReadAttributes<EGLAttrib>(call, argument.pointer);
        break;
    case ArgumentKind::Names:
    case ArgumentKind::OutNames:
        ReadValues<std::int64_t, GLuint>(call.integers, argument.pointer, Sibling(call, "n"));
        break;
    case ArgumentKind::Bytes:
        ReadValues<std::uint8_t, std::uint8_t>(
            call.bytes, argument.pointer,
            std::min(Sibling(call, call.name.compare(0, 8, "glBuffer") == 0 ? "size" : "imageSize"),
                     UploadCap));
        break;
    default:
        if (argument.kind >= ArgumentKind::Floats1) {
            ReadValues<float, float>(call.floats, argument.pointer, ValueCount(call, argument.kind));
        } else if (argument.kind >= ArgumentKind::Ints1) {
            ReadValues<std::int64_t, GLint>(call.integers, argument.pointer, ValueCount(call, argument.kind));
        }
    }
}

/** What ReadContents read, as text; kinds without contents of a known size show as "*". */
std::string ContentsText(Call const& call, ArgumentKind kind) {
    auto const integer = [](std::int64_t value) { return std::to_string(value); };
    switch (kind) {
    case ArgumentKind::String:
    case ArgumentKind::Sources:
        return QuotedText(call.text);
    case ArgumentKind::Attributes:
    case ArgumentKind::LongAttributes:
        return AttributesText(call.integers);
    case ArgumentKind::Pointer:
    case ArgumentKind::Out:
    case ArgumentKind::Native:
    case ArgumentKind::Bytes:
        return "*";
    default:
        return kind >= ArgumentKind::Floats1 ? ListText(call.floats, FloatText)
                                             : ListText(call.integers, integer);
    }
}

/** A handle's name; null by the name that EGL has for it, where it has one. */
std::string HandleText(ArgumentKind kind, void const* handle) {
    static std::pair<ArgumentKind, char const*> const s_nulls[] = {{ArgumentKind::Display, "EGL_NO_DISPLAY"},
                                                                   {ArgumentKind::Surface, "EGL_NO_SURFACE"},
                                                                   {ArgumentKind::Context, "EGL_NO_CONTEXT"},
                                                                   {ArgumentKind::Image, "EGL_NO_IMAGE_KHR"}};
    for (auto const& null : s_nulls) {
        if (!handle && null.first == kind) {
            return null.second;
        }
    }
    return HandleName(handle);
}

std::string ArgumentText(Call const& call, Argument const& argument, ContextData const& context) {
    auto const value = static_cast<GLenum>(argument.integer);
    char text[32];
    switch (argument.kind) {
    case ArgumentKind::Int:
    case ArgumentKind::UInt:
        return std::to_string(argument.integer);
    case ArgumentKind::Float:
        return FloatText(argument.number);
    case ArgumentKind::Boolean:
        return argument.integer == 0 ? "GL_FALSE" : "GL_TRUE";
    case ArgumentKind::Enum:
        return EnumName(value);
    case ArgumentKind::EglEnum:
        return EglEnumName(static_cast<EGLint>(value));
    case ArgumentKind::Primitive:
        return PrimitiveText(argument.integer);
    case ArgumentKind::BlendFactor:
        return value == GL_ZERO ? "GL_ZERO" : value == GL_ONE ? "GL_ONE" : EnumName(value);
    case ArgumentKind::StencilOp:
        return value == GL_ZERO ? "GL_ZERO" : EnumName(value);
    case ArgumentKind::ClearBits:
        return ClearText(argument.integer);
    case ArgumentKind::Hex:
        std::snprintf(text, sizeof text, "0x%08X", value);
        return text;
    case ArgumentKind::Location:
        return LocationText(argument.integer, context);
    case ArgumentKind::Display:
    case ArgumentKind::Surface:
    case ArgumentKind::Context:
    case ArgumentKind::Image:
    case ArgumentKind::Config:
    case ArgumentKind::Sync:
        return HandleText(argument.kind, argument.pointer);
    default:
        return argument.pointer ? ContentsText(call, argument.kind) : "NULL";
    }
}

} // namespace

std::string HandleName(void const* handle) {
    static std::pair<Handle, char const*> const s_sorts[] = {{Handle::Config, "config"},
                                                             {Handle::Surface, "surface"},
                                                             {Handle::Context, "context"},
                                                             {Handle::Image, "image"}};
    for (auto const& sort : s_sorts) {
        if (HandleIndex(sort.first, handle) < 0x1000) {
            return sort.second + std::to_string(HandleIndex(sort.first, handle));
        }
    }
    return !handle ? "NULL" : handle == TheDisplay() ? "display" : "*";
}

void DescribeCall(Call& call, ContextData const& context) {
    for (Argument const& argument : call.arguments) {
        if (argument.pointer) {
            ReadContents(call, argument);
        }
    }
    call.line = call.name + "(";
    for (Argument const& argument : call.arguments) {
        call.line += call.line.back() == '(' ? "" : ", ";
        call.line += ArgumentText(call, argument, context);
    }
    call.line += ")";
}

} // namespace kelvokit::recording
