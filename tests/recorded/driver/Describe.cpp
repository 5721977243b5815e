#include "Driver.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace recording {

namespace {

std::string FloatText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value == 0 ? 0.0 : value);
    return text;
}

template <class T, class Write>
std::string ListText(const std::vector<T>& values, Write write) {
    std::string text = "{";
    for (const T& value : values)
        text += (text.size() > 1 ? ", " : "") + write(value);
    return text + "}";
}

std::string HandleText(const char* sortName, Handle sort, const void* handle, const char* null) {
    if (handle == nullptr)
        return null;
    const std::uintptr_t index = HandleIndex(sort, handle);
    return index < 0x1000 ? sortName + std::to_string(index) : "*";
}

std::string ClearText(std::int64_t mask) {
    static const std::pair<std::int64_t, const char*> s_bits[] = {
        {GL_COLOR_BUFFER_BIT, "GL_COLOR_BUFFER_BIT"},
        {GL_DEPTH_BUFFER_BIT, "GL_DEPTH_BUFFER_BIT"},
        {GL_STENCIL_BUFFER_BIT, "GL_STENCIL_BUFFER_BIT"}};
    std::string text;
    for (const auto& bit : s_bits) {
        if ((mask & bit.first) != 0)
            text += (text.empty() ? "" : " | ") + std::string(bit.second);
        mask &= ~bit.first;
    }
    if (mask != 0 || text.empty())
        text += (text.empty() ? "" : " | ") + std::to_string(mask);
    return text;
}

std::string PrimitiveText(std::int64_t mode) {
    static const char* const s_names[] = {"GL_POINTS",      "GL_LINES",     "GL_LINE_LOOP",
                                          "GL_LINE_STRIP",  "GL_TRIANGLES", "GL_TRIANGLE_STRIP",
                                          "GL_TRIANGLE_FAN"};
    return mode >= 0 && mode < 7 ? s_names[mode] : EnumName(static_cast<GLenum>(mode));
}

std::string LocationText(std::int64_t location, const ContextData& context) {
    const auto program = context.objects->programs.find(context.state.program);
    if (program == context.objects->programs.end())
        return std::to_string(location);
    for (const Uniform& uniform : program->second.uniforms) {
        const std::int64_t element = location - uniform.location;
        if (element == 0)
            return uniform.name;
        if (element > 0 && element < uniform.size)
            return uniform.name + "[" + std::to_string(element) + "]";
    }
    return std::to_string(location);
}

std::string AttributeText(std::int64_t key, std::int64_t value) {
    if (key == EGL_RENDERABLE_TYPE && value == EGL_OPENGL_ES2_BIT)
        return "EGL_OPENGL_ES2_BIT";
    if (key == EGL_IMAGE_PRESERVED_KHR && (value == EGL_TRUE || value == EGL_FALSE))
        return value == EGL_TRUE ? "EGL_TRUE" : "EGL_FALSE";
    return value >= EGL_SUCCESS ? EglEnumName(static_cast<EGLint>(value)) : std::to_string(value);
}

std::string AttributesText(const std::vector<std::int64_t>& list) {
    std::string text = "{";
    for (std::size_t i = 0; i + 1 < list.size(); i += 2)
        text += EglEnumName(static_cast<EGLint>(list[i])) + ", " + AttributeText(list[i], list[i + 1]) + ", ";
    return text + "EGL_NONE}";
}

std::string QuotedText(const std::string& text) {
    constexpr std::size_t kLongest = 40;
    std::string quoted = "\"";
    for (const char c : text.substr(0, kLongest))
        quoted += c == '\n' ? std::string("\\n") : std::string(1, c);
    return quoted + (text.size() > kLongest ? "...\"" : "\"");
}

/** The value of another argument of the same call, such as "count"; 1 when it has none. */
std::size_t Sibling(const Call& call, const char* name) {
    for (const Argument& argument : call.arguments)
        if (std::strcmp(argument.name, name) == 0)
            return static_cast<std::size_t>(std::max<std::int64_t>(argument.integer, 0));
    return 1;
}

template <class To, class From>
void ReadValues(std::vector<To>& to, const void* pointer, std::size_t count) {
    const auto* from = static_cast<const From*>(pointer);
    to.assign(from, from + count);
}

template <class Element>
void ReadAttributes(Call& call, const void* pointer) {
    const auto* list = static_cast<const Element*>(pointer);
    for (; *list != EGL_NONE; list += 2) {
        call.integers.push_back(static_cast<std::int64_t>(list[0]));
        call.integers.push_back(static_cast<std::int64_t>(list[1]));
    }
    call.integers.push_back(EGL_NONE);
}

void ReadSources(Call& call, const void* pointer) {
    const auto* strings = static_cast<const char* const*>(pointer);
    const auto* lengths = static_cast<const GLint*>(call.arguments.back().pointer);
    for (std::size_t i = 0; i < Sibling(call, "count"); ++i)
        call.text += lengths != nullptr && lengths[i] >= 0
                         ? std::string(strings[i], static_cast<std::size_t>(lengths[i]))
                         : std::string(strings[i]);
}

/** How many values an argument of the kinds IntsN and FloatsN has in all. */
std::size_t ValueCount(const Call& call, ArgumentKind kind) {
    static const std::size_t s_sizes[] = {1, 2, 3, 4, 1, 2, 3, 4, 9, 16};
    return s_sizes[static_cast<std::size_t>(kind) - static_cast<std::size_t>(ArgumentKind::Ints1)] *
           Sibling(call, "count");
}

/** Copies what one client pointer points to into the call. */
void ReadContents(Call& call, const Argument& argument) {
    switch (argument.kind) {
    case ArgumentKind::String:
        call.text = static_cast<const char*>(argument.pointer);
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
                     kUploadCap));
        break;
    default:
        if (argument.kind >= ArgumentKind::Floats1)
            ReadValues<float, float>(call.floats, argument.pointer, ValueCount(call, argument.kind));
        else if (argument.kind >= ArgumentKind::Ints1)
            ReadValues<std::int64_t, GLint>(call.integers, argument.pointer, ValueCount(call, argument.kind));
    }
}

/** What ReadContents read, as text; kinds without contents of a known size show as "*". */
std::string ContentsText(const Call& call, ArgumentKind kind) {
    const auto integer = [](std::int64_t value) { return std::to_string(value); };
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

std::string ArgumentText(const Call& call, const Argument& argument, const ContextData& context) {
    const auto value = static_cast<GLenum>(argument.integer);
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
        return argument.pointer == TheDisplay() ? "display" : argument.pointer ? "*" : "EGL_NO_DISPLAY";
    case ArgumentKind::Config:
        return HandleText("config", Handle::Config, argument.pointer, "NULL");
    case ArgumentKind::Surface:
        return HandleText("surface", Handle::Surface, argument.pointer, "EGL_NO_SURFACE");
    case ArgumentKind::Context:
        return HandleText("context", Handle::Context, argument.pointer, "EGL_NO_CONTEXT");
    case ArgumentKind::Image:
        return HandleText("image", Handle::Image, argument.pointer, "EGL_NO_IMAGE_KHR");
    case ArgumentKind::Sync:
        return HandleText("sync", Handle::Sync, argument.pointer, "EGL_NO_SYNC");
    default:
        return argument.pointer == nullptr ? "NULL" : ContentsText(call, argument.kind);
    }
}

} // namespace

void DescribeCall(Call& call, const ContextData& context) {
    for (const Argument& argument : call.arguments)
        if (argument.pointer != nullptr)
            ReadContents(call, argument);
    call.line = call.name + "(";
    for (const Argument& argument : call.arguments) {
        call.line += call.line.back() == '(' ? "" : ", ";
        call.line += ArgumentText(call, argument, context);
    }
    call.line += ")";
}

} // namespace recording
