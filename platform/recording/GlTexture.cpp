#include "Driver.h"

#include <algorithm>
#include <initializer_list>

// Textures: names, bindings, parameters, uploads, and images as their source.
namespace kelvokit::recording {

namespace {

bool OneOf(GLenum value, std::initializer_list<GLenum> allowed) {
    return std::find(allowed.begin(), allowed.end(), value) != allowed.end();
}

/** The error of an image's size and level; GL_NO_ERROR when they are allowed. */
GLenum CheckSize(Invocation& call, GLint level, GLsizei width, GLsizei height, GLint border) {
    GLint const nMost = call.GetSession().limits[GL_MAX_TEXTURE_SIZE];
    if (level < 0 || (level < 31 && (1 << level) > nMost) || width < 0 || height < 0 || width > nMost ||
        height > nMost || border != 0) {
        return GL_INVALID_VALUE;
    }
    return GL_NO_ERROR;
}

bool IsFormat(GLenum format) {
    return OneOf(format, {GL_ALPHA, GL_RGB, GL_RGBA, GL_LUMINANCE, GL_LUMINANCE_ALPHA, GL_DEPTH_COMPONENT,
                          GL_DEPTH_STENCIL_OES});
}

bool IsType(GLenum type) {
    return OneOf(type,
                 {GL_UNSIGNED_BYTE, GL_UNSIGNED_SHORT_5_6_5, GL_UNSIGNED_SHORT_4_4_4_4,
                  GL_UNSIGNED_SHORT_5_5_5_1, GL_UNSIGNED_SHORT, GL_UNSIGNED_INT, GL_UNSIGNED_INT_24_8_OES});
}

std::size_t CompressedSize(GLenum format, GLsizei width, GLsizei height) {
    std::size_t const nBlocks =
        static_cast<std::size_t>((width + 3) / 4) * static_cast<std::size_t>((height + 3) / 4);
    return OneOf(format, {GL_ETC1_RGB8_OES, GL_ATC_RGB_AMD}) ? nBlocks * 8 : nBlocks * 16;
}

bool IsCompressedFormat(GLenum format) {
    return OneOf(format, {GL_ETC1_RGB8_OES, GL_ATC_RGB_AMD, GL_ATC_RGBA_EXPLICIT_ALPHA_AMD,
                          GL_ATC_RGBA_INTERPOLATED_ALPHA_AMD});
}

/** How far apart the rows of an upload lie; the last row ends with its pixels, without the padding. */
std::size_t UploadSize(State const& state, std::size_t pixel, GLsizei width, GLsizei height) {
    if (width <= 0 || height <= 0) {
        return 0;
    }
    auto const alignment = static_cast<std::size_t>(state.unpackAlignment);
    std::size_t const nRow = static_cast<std::size_t>(width) * pixel;
    return (nRow + alignment - 1) / alignment * alignment * static_cast<std::size_t>(height - 1) + nRow;
}

void StoreLevel(TextureLevel& level, void const* pixels, std::size_t size) {
    auto const* bytes = static_cast<std::uint8_t const*>(pixels);
    if (!bytes) {
        level.bytes.clear();
    } else {
        level.bytes.assign(bytes, bytes + std::min(size, UploadCap));
    }
}

bool IsFilter(GLenum filter, bool fMinification) {
    return OneOf(filter, {GL_NEAREST, GL_LINEAR}) ||
           (fMinification && filter >= GL_NEAREST_MIPMAP_NEAREST && filter <= GL_LINEAR_MIPMAP_LINEAR);
}

/** The parameter's place in the texture; null for a name that is none. */
GLint* FindParameter(Texture& texture, GLenum name) {
    static std::pair<GLenum, GLint Texture::*> const s_parameters[] = {
        {GL_TEXTURE_MIN_FILTER, &Texture::minFilter},
        {GL_TEXTURE_MAG_FILTER, &Texture::magFilter},
        {GL_TEXTURE_WRAP_S, &Texture::wrapS},
        {GL_TEXTURE_WRAP_T, &Texture::wrapT}};
    for (auto const& parameter : s_parameters) {
        if (parameter.first == name) {
            return &(texture.*parameter.second);
        }
    }
    return nullptr;
}

bool IsParameterValue(GLenum name, GLint value) {
    if (name == GL_TEXTURE_MIN_FILTER || name == GL_TEXTURE_MAG_FILTER) {
        return IsFilter(static_cast<GLenum>(value), name == GL_TEXTURE_MIN_FILTER);
    }
    return OneOf(static_cast<GLenum>(value), {GL_CLAMP_TO_EDGE, GL_MIRRORED_REPEAT, GL_REPEAT});
}

} // namespace

Texture* BoundTexture(ContextData& context, GLenum target) {
    auto const unit = static_cast<std::size_t>(context.state.activeTexture);
    if (target != GL_TEXTURE_2D) {
        return nullptr;
    }
    GLuint const name = context.state.textures[unit];
    Texture* pTexture = name == 0 ? nullptr : context.objects->textures.Find(name);
    return pTexture ? pTexture : &context.defaultTexture;
}

std::size_t BytesPerPixel(GLenum format, GLenum type) {
    static struct {
        GLenum format, type;
        std::size_t bytes;
    } const s_layouts[] = {{GL_RGBA, GL_UNSIGNED_BYTE, 4},
                           {GL_RGB, GL_UNSIGNED_BYTE, 3},
                           {GL_LUMINANCE_ALPHA, GL_UNSIGNED_BYTE, 2},
                           {GL_ALPHA, GL_UNSIGNED_BYTE, 1},
                           {GL_LUMINANCE, GL_UNSIGNED_BYTE, 1},
                           {GL_RGB, GL_UNSIGNED_SHORT_5_6_5, 2},
                           {GL_RGBA, GL_UNSIGNED_SHORT_4_4_4_4, 2},
                           {GL_RGBA, GL_UNSIGNED_SHORT_5_5_5_1, 2},
                           {GL_DEPTH_COMPONENT, GL_UNSIGNED_SHORT, 2},
                           {GL_DEPTH_COMPONENT, GL_UNSIGNED_INT, 4},
                           {GL_DEPTH_STENCIL_OES, GL_UNSIGNED_INT_24_8_OES, 4}};
    for (auto const& layout : s_layouts) {
        if (layout.format == format && layout.type == type) {
            return layout.bytes;
        }
    }
    return 0;
}

namespace answer {

// ---- Names and bindings

void glGenTextures(Invocation& call, GLsizei n, GLuint* textures) {
    GenerateNames(call, n, textures, call.Objects().textures, Object::Texture);
}

void glDeleteTextures(Invocation& call, GLsizei n, GLuint const* textures) {
    DeleteNames(call, n, textures, call.Objects().textures, Object::Texture, [&](GLuint name) {
        State& state = call.GetState();
        std::replace(state.textures.begin(), state.textures.end(), name, 0u);
        DetachFromBound(call.Context(), GL_TEXTURE, name);
    });
}

void glBindTexture(Invocation& call, GLenum target, GLuint texture) {
    if (target != GL_TEXTURE_2D) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (texture != 0) {
        call.Objects().textures.Make(texture);
    }
    State& state = call.GetState();
    state.textures[state.activeTexture] = texture;
}

void glActiveTexture(Invocation& call, GLenum texture) {
    GLint const nUnits = call.GetSession().limits[GL_MAX_COMBINED_TEXTURE_IMAGE_UNITS];
    if (texture < GL_TEXTURE0 || texture >= GL_TEXTURE0 + static_cast<GLenum>(nUnits)) {
        return call.Raise(GL_INVALID_ENUM);
    }
    call.GetState().activeTexture = texture - GL_TEXTURE0;
}

// ---- Parameters

void glTexParameteri(Invocation& call, GLenum target, GLenum pname, GLint param) {
    Texture* pTexture = BoundTexture(call.Context(), target);
    GLint* pPlace = pTexture ? FindParameter(*pTexture, pname) : nullptr;
    if (!pPlace || !IsParameterValue(pname, param)) {
        return call.Raise(GL_INVALID_ENUM);
    }
    *pPlace = param;
}

void glPixelStorei(Invocation& call, GLenum pname, GLint param) {
    if (!OneOf(pname, {GL_PACK_ALIGNMENT, GL_UNPACK_ALIGNMENT})) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (param != 1 && param != 2 && param != 4 && param != 8) {
        return call.Raise(GL_INVALID_VALUE);
    }
    (pname == GL_PACK_ALIGNMENT ? call.GetState().packAlignment : call.GetState().unpackAlignment) = param;
}

// ---- Uploads

void glTexImage2D(Invocation& call, GLenum target, GLint level, GLint internalformat, GLsizei width,
                  GLsizei height, GLint border, GLenum format, GLenum type, void const* pixels) {
    std::size_t const nSize = UploadSize(call.GetState(), BytesPerPixel(format, type), width, height);
    call.NoteBytes(pixels, nSize);
    Texture* pTexture = BoundTexture(call.Context(), target);
    if (!pTexture || !IsFormat(format) || !IsType(type)) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (GLenum const error = CheckSize(call, level, width, height, border)) {
        return call.Raise(error);
    }
    if (!IsFormat(static_cast<GLenum>(internalformat))) {
        return call.Raise(GL_INVALID_VALUE);
    }
    if (static_cast<GLenum>(internalformat) != format || BytesPerPixel(format, type) == 0) {
        return call.Raise(GL_INVALID_OPERATION);
    }
    TextureLevel& image = pTexture->levels[level];
    image.width = width;
    image.height = height;
    image.internalFormat = static_cast<GLenum>(internalformat);
    image.format = format;
    image.type = type;
    pTexture->image = EGL_NO_IMAGE_KHR;
    StoreLevel(image, pixels, nSize);
}

/** What the pixels become is not known here; sizes and formats are checked. */
void glCopyTexSubImage2D(Invocation& call, GLenum target, GLint level, GLint xoffset, GLint yoffset, GLint,
                         GLint, GLsizei width, GLsizei height) {
    Texture* pTexture = BoundTexture(call.Context(), target);
    if (!pTexture) {
        return call.Raise(GL_INVALID_ENUM);
    }
    auto const image = pTexture->levels.find(level);
    if (image == pTexture->levels.end()) {
        return call.Raise(GL_INVALID_OPERATION);
    }
    if (xoffset < 0 || yoffset < 0 || width < 0 || height < 0 || xoffset + width > image->second.width ||
        yoffset + height > image->second.height) {
        return call.Raise(GL_INVALID_VALUE);
    }
    if (FramebufferStatus(call.Context(), call.GetSession()) != GL_FRAMEBUFFER_COMPLETE) {
        return call.Raise(GL_INVALID_FRAMEBUFFER_OPERATION);
    }
    bool const fNoAlpha = BitsAttribute(DrawBits(call.Context()), GL_ALPHA_BITS).value_or(0) == 0;
    if (image->second.format == GL_RGBA && fNoAlpha) {
        call.Raise(GL_INVALID_OPERATION);
    }
}

void glCompressedTexImage2D(Invocation& call, GLenum target, GLint level, GLenum internalformat,
                            GLsizei width, GLsizei height, GLint border, GLsizei imageSize,
                            void const* data) {
    Texture* pTexture = BoundTexture(call.Context(), target);
    if (!pTexture || !IsCompressedFormat(internalformat)) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (GLenum const error = CheckSize(call, level, width, height, border)) {
        return call.Raise(error);
    }
    if (imageSize < 0 ||
        static_cast<std::size_t>(imageSize) != CompressedSize(internalformat, width, height)) {
        return call.Raise(GL_INVALID_VALUE);
    }
    TextureLevel& image = pTexture->levels[level];
    image.width = width;
    image.height = height;
    image.internalFormat = internalformat;
    image.format = GL_NONE;
    image.type = GL_NONE;
    pTexture->image = EGL_NO_IMAGE_KHR;
    StoreLevel(image, data, static_cast<std::size_t>(imageSize));
}

void glEGLImageTargetTexture2DOES(Invocation& call, GLenum target, GLeglImageOES image) {
    if (target != GL_TEXTURE_2D) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (call.GetSession().images.count(image) == 0) {
        return call.Raise(GL_INVALID_VALUE);
    }
    Texture* pTexture = BoundTexture(call.Context(), target);
    pTexture->levels.clear();
    pTexture->image = image;
}

} // namespace answer

} // namespace kelvokit::recording
