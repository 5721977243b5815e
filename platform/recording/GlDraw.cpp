#include "Driver.h"

#include <algorithm>
#include <cstring>
#include <limits>

// Buffers, vertex arrays, and draw calls with the vertices that they would have read.
namespace kelvokit::recording {

namespace {

std::size_t TypeSize(GLenum type) {
    switch (type) {
    case GL_BYTE:
    case GL_UNSIGNED_BYTE:
        return 1;
    case GL_SHORT:
    case GL_UNSIGNED_SHORT:
        return 2;
    case GL_FIXED:
    case GL_FLOAT:
        return 4;
    default:
        return 0;
    }
}

template <class T>
T Load(std::uint8_t const* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <class T>
float LoadInteger(std::uint8_t const* bytes, bool fNormalized) {
    auto const value = static_cast<float>(Load<T>(bytes));
    if (!fNormalized) {
        return value;
    }
    auto const largest = static_cast<float>(std::numeric_limits<T>::max());
    return std::is_signed_v<T> ? (2 * value + 1) / (2 * largest + 1) : value / largest;
}

/** One component as GL reads it. */
float LoadComponent(std::uint8_t const* bytes, GLenum type, bool fNormalized) {
    switch (type) {
    case GL_BYTE:
        return LoadInteger<GLbyte>(bytes, fNormalized);
    case GL_UNSIGNED_BYTE:
        return LoadInteger<GLubyte>(bytes, fNormalized);
    case GL_SHORT:
        return LoadInteger<GLshort>(bytes, fNormalized);
    case GL_UNSIGNED_SHORT:
        return LoadInteger<GLushort>(bytes, fNormalized);
    case GL_FIXED:
        return static_cast<float>(Load<GLint>(bytes)) / 65536.0f;
    default:
        return Load<GLfloat>(bytes);
    }
}

/** Where an array's data begins, and how much of it there is; client memory counts as endless. */
struct Source {
    std::uint8_t const* bytes = nullptr;
    std::size_t size = std::numeric_limits<std::size_t>::max();
};

Source FindSource(ShareGroup const& objects, GLuint buffer, void const* pointer) {
    Source source;
    if (buffer == 0) {
        source.bytes = static_cast<std::uint8_t const*>(pointer);
        return source;
    }
    Buffer const* pObject = objects.buffers.Find(buffer);
    auto const offset = reinterpret_cast<std::uintptr_t>(pointer);
    if (!pObject || offset > pObject->bytes.size()) {
        return source;
    }
    source.bytes = pObject->bytes.data() + offset;
    source.size = pObject->bytes.size() - offset;
    return source;
}

/** The vertices of one array; an array without data, or a vertex beyond its buffer, gives none. */
VertexStream ReadStream(ShareGroup const& objects, VertexAttribute const& attribute,
                        std::vector<GLuint> const& vertices) {
    VertexStream stream;
    stream.size = attribute.size;
    stream.type = attribute.type;
    stream.normalized = attribute.normalized;
    stream.stride = attribute.stride;
    stream.pointer = attribute.pointer;
    stream.buffer = attribute.buffer;
    Source const source = FindSource(objects, attribute.buffer, attribute.pointer);
    std::size_t const nComponent = TypeSize(attribute.type);
    std::size_t const nVertex = nComponent * static_cast<std::size_t>(attribute.size);
    std::size_t const nStride = attribute.stride != 0 ? static_cast<std::size_t>(attribute.stride) : nVertex;
    for (GLuint const index : vertices) {
        if (!source.bytes || index * nStride + nVertex > source.size) {
            return stream;
        }
        std::uint8_t const* at = source.bytes + index * nStride;
        for (std::size_t i = 0; i < nVertex; i += nComponent) {
            stream.values.push_back(LoadComponent(at + i, attribute.type, attribute.normalized));
        }
    }
    return stream;
}

std::vector<GLuint> ReadIndices(ShareGroup const& objects, GLuint buffer, GLsizei count, GLenum type,
                                void const* pointer) {
    std::vector<GLuint> indices;
    Source const source = FindSource(objects, buffer, pointer);
    std::size_t const nSize = TypeSize(type);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        if (!source.bytes || (i + 1) * nSize > source.size) {
            return indices;
        }
        std::uint8_t const* at = source.bytes + i * nSize;
        indices.push_back(type == GL_UNSIGNED_BYTE ? *at : Load<GLushort>(at));
    }
    return indices;
}

/** Adds the state, the uniforms and the vertices to a draw whose indices are known. */
void NoteDraw(Invocation& call, Draw draw) {
    draw.state = call.GetState();
    auto const program = call.Objects().programs.find(draw.state.program);
    if (program != call.Objects().programs.end()) {
        for (Uniform const& uniform : program->second.uniforms) {
            draw.uniforms[uniform.name] = uniform.values;
        }
    }
    auto const nameOf = [&](GLuint location) {
        if (program != call.Objects().programs.end()) {
            for (auto const& attribute : program->second.attributes) {
                if (attribute.second == static_cast<GLint>(location)) {
                    return attribute.first;
                }
            }
        }
        return std::string();
    };
    for (GLuint i = 0; i < VertexAttributes; ++i) {
        if (draw.state.attributes[i].enabled) {
            draw.streams[i] = ReadStream(call.Objects(), draw.state.attributes[i], draw.indices);
            draw.streams[i].name = nameOf(i);
        }
    }
    call.NoteDraw(std::make_shared<Draw const>(std::move(draw)));
}

/** Raises what is wrong with a draw call; false when something is. A missing program is no error. */
bool MayDraw(Invocation& call, GLenum mode, GLint first, GLsizei count) {
    if (mode > GL_TRIANGLE_FAN) {
        call.Raise(GL_INVALID_ENUM);
    } else if (first < 0 || count < 0) {
        call.Raise(GL_INVALID_VALUE);
    } else if (FramebufferStatus(call.Context(), call.GetSession()) != GL_FRAMEBUFFER_COMPLETE) {
        call.Raise(GL_INVALID_FRAMEBUFFER_OPERATION);
    } else {
        return true;
    }
    return false;
}

GLuint* BufferBinding(State& state, GLenum target) {
    return target == GL_ARRAY_BUFFER           ? &state.arrayBuffer
           : target == GL_ELEMENT_ARRAY_BUFFER ? &state.elementBuffer
                                               : nullptr;
}

/** The buffer bound to a target, or null after raising what is wrong. */
Buffer* RequireBuffer(Invocation& call, GLenum target) {
    GLuint const* pBinding = BufferBinding(call.GetState(), target);
    Buffer* pBuffer = pBinding ? call.Objects().buffers.Find(*pBinding) : nullptr;
    if (!pBuffer) {
        call.Raise(pBinding ? GL_INVALID_OPERATION : GL_INVALID_ENUM);
    }
    return pBuffer;
}

/** The attribute with that index, or null after raising. */
VertexAttribute* RequireAttribute(Invocation& call, GLuint index) {
    if (index < VertexAttributes) {
        return &call.GetState().attributes[index];
    }
    call.Raise(GL_INVALID_VALUE);
    return nullptr;
}

} // namespace

namespace answer {

// ---- Draw calls

void glDrawArrays(Invocation& call, GLenum mode, GLint first, GLsizei count) {
    if (!MayDraw(call, mode, first, count) || !call.IsNoting()) {
        return;
    }
    Draw draw;
    draw.mode = mode;
    draw.first = first;
    draw.count = count;
    for (GLsizei i = 0; i < count; ++i) {
        draw.indices.push_back(static_cast<GLuint>(first + i));
    }
    NoteDraw(call, std::move(draw));
}

void glDrawElements(Invocation& call, GLenum mode, GLsizei count, GLenum type, void const* indices) {
    if (!MayDraw(call, mode, 0, count)) {
        return;
    }
    if (type != GL_UNSIGNED_BYTE && type != GL_UNSIGNED_SHORT) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (!call.IsNoting()) {
        return;
    }
    Draw draw;
    draw.mode = mode;
    draw.count = count;
    draw.indexType = type;
    draw.indices = ReadIndices(call.Objects(), call.GetState().elementBuffer, count, type, indices);
    NoteDraw(call, std::move(draw));
}

// ---- Vertex arrays

void glEnableVertexAttribArray(Invocation& call, GLuint index) {
    if (VertexAttribute* pAttribute = RequireAttribute(call, index)) {
        pAttribute->enabled = true;
    }
}

void glDisableVertexAttribArray(Invocation& call, GLuint index) {
    if (VertexAttribute* pAttribute = RequireAttribute(call, index)) {
        pAttribute->enabled = false;
    }
}

void glVertexAttribPointer(Invocation& call, GLuint index, GLint size, GLenum type, GLboolean normalized,
                           GLsizei stride, void const* pointer) {
    VertexAttribute* pAttribute = RequireAttribute(call, index);
    if (!pAttribute) {
        return;
    }
    if (TypeSize(type) == 0) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (size < 1 || size > 4 || stride < 0) {
        return call.Raise(GL_INVALID_VALUE);
    }
    pAttribute->size = size;
    pAttribute->type = type;
    pAttribute->normalized = normalized != GL_FALSE;
    pAttribute->stride = stride;
    pAttribute->pointer = pointer;
    pAttribute->buffer = call.GetState().arrayBuffer;
}

// ---- Buffers

void glGenBuffers(Invocation& call, GLsizei n, GLuint* buffers) {
    GenerateNames(call, n, buffers, call.Objects().buffers, Object::Buffer);
}

void glDeleteBuffers(Invocation& call, GLsizei n, GLuint const* buffers) {
    DeleteNames(call, n, buffers, call.Objects().buffers, Object::Buffer, [&](GLuint name) {
        State& state = call.GetState();
        state.arrayBuffer = state.arrayBuffer == name ? 0 : state.arrayBuffer;
        state.elementBuffer = state.elementBuffer == name ? 0 : state.elementBuffer;
        for (VertexAttribute& attribute : state.attributes) {
            if (attribute.buffer == name) {
                attribute.buffer = 0;
                attribute.pointer = nullptr; // it was an offset
            }
        }
    });
}

void glBindBuffer(Invocation& call, GLenum target, GLuint buffer) {
    GLuint* pBinding = BufferBinding(call.GetState(), target);
    if (!pBinding) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (buffer != 0) {
        call.Objects().buffers.Make(buffer);
    }
    *pBinding = buffer;
}

void glBufferData(Invocation& call, GLenum target, GLsizeiptr size, void const* data, GLenum usage) {
    if (usage != GL_STREAM_DRAW && usage != GL_STATIC_DRAW && usage != GL_DYNAMIC_DRAW) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (size < 0) {
        return call.Raise(GL_INVALID_VALUE);
    }
    Buffer* pBuffer = RequireBuffer(call, target);
    if (!pBuffer) {
        return;
    }
    pBuffer->usage = usage;
    pBuffer->bytes.assign(static_cast<std::size_t>(size), 0);
    if (data && size > 0) {
        std::memcpy(pBuffer->bytes.data(), data, static_cast<std::size_t>(size));
    }
}

void glBufferSubData(Invocation& call, GLenum target, GLintptr offset, GLsizeiptr size, void const* data) {
    Buffer* pBuffer = RequireBuffer(call, target);
    if (!pBuffer) {
        return;
    }
    if (offset < 0 || size < 0 || static_cast<std::size_t>(offset + size) > pBuffer->bytes.size()) {
        return call.Raise(GL_INVALID_VALUE);
    }
    std::memcpy(pBuffer->bytes.data() + offset, data, static_cast<std::size_t>(size));
}

} // namespace answer

} // namespace kelvokit::recording
