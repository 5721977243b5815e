#include "Driver.h"

#include <algorithm>

// Framebuffers, renderbuffers, and reading pixels back.
namespace kelvokit::recording {

namespace {

/** An attached image: its size, its bits, and what it can be attached as. */
struct Image {
    GLsizei width = 0;
    GLsizei height = 0;
    Config bits = {0, 0, 0, 0, 0, 0};
};

/** The bits that an image's format has; all zero for one that cannot be attached. */
Config BitsOf(GLenum format) {
    static std::pair<GLenum, Config> const s_formats[] = {{GL_RGB, {8, 8, 8, 0, 0, 0}},
                                                          {GL_RGBA, {8, 8, 8, 8, 0, 0}},
                                                          {GL_UNSIGNED_SHORT_5_6_5, {5, 6, 5, 0, 0, 0}},
                                                          {GL_UNSIGNED_SHORT_4_4_4_4, {4, 4, 4, 4, 0, 0}},
                                                          {GL_UNSIGNED_SHORT_5_5_5_1, {5, 5, 5, 1, 0, 0}},
                                                          {GL_UNSIGNED_SHORT, {0, 0, 0, 0, 16, 0}},
                                                          {GL_DEPTH_COMPONENT, {0, 0, 0, 0, 24, 0}},
                                                          {GL_DEPTH_STENCIL_OES, {0, 0, 0, 0, 24, 8}},
                                                          {GL_RGBA4, {4, 4, 4, 4, 0, 0}},
                                                          {GL_RGB5_A1, {5, 5, 5, 1, 0, 0}},
                                                          {GL_RGB565, {5, 6, 5, 0, 0, 0}},
                                                          {GL_DEPTH_COMPONENT16, {0, 0, 0, 0, 16, 0}},
                                                          {GL_DEPTH_COMPONENT24_OES, {0, 0, 0, 0, 24, 0}},
                                                          {GL_STENCIL_INDEX8, {0, 0, 0, 0, 0, 8}},
                                                          {GL_DEPTH24_STENCIL8_OES, {0, 0, 0, 0, 24, 8}}};
    for (auto const& entry : s_formats) {
        if (entry.first == format) {
            return entry.second;
        }
    }
    return {0, 0, 0, 0, 0, 0};
}

/** A level's bits: packed types say them, other images have those of their format. */
Config TextureBits(TextureLevel const& level) {
    Config const packed = BitsOf(level.type);
    return packed.red != 0 || packed.depth != 0 ? packed : BitsOf(level.format);
}

/** What is attached; without size when it has no image, which leaves the framebuffer incomplete. */
Image AttachedImage(Attachment const& attachment) {
    Image image;
    if (attachment.renderbuffer) {
        image.width = attachment.renderbuffer->width;
        image.height = attachment.renderbuffer->height;
        image.bits = BitsOf(attachment.renderbuffer->format);
    } else if (attachment.texture && attachment.texture->levels.count(0) != 0) {
        TextureLevel const& level = attachment.texture->levels.at(0);
        image.width = level.width;
        image.height = level.height;
        image.bits = TextureBits(level);
    }
    return image;
}

/** The framebuffer's slot for an attachment point; null for an enumerant that is none. */
Attachment* FindAttachment(Framebuffer& framebuffer, GLenum point) {
    switch (point) {
    case GL_COLOR_ATTACHMENT0:
        return &framebuffer.color;
    case GL_DEPTH_ATTACHMENT:
        return &framebuffer.depth;
    case GL_STENCIL_ATTACHMENT:
        return &framebuffer.stencil;
    default:
        return nullptr;
    }
}

/**
 * The slot that an attach call means, or null after raising what is wrong with target or attachment point.
 */
Attachment* RequireAttachment(Invocation& call, GLenum target, GLenum point) {
    Framebuffer* pFramebuffer = call.Context().framebuffers.Find(call.GetState().framebuffer);
    Framebuffer none;
    if (target != GL_FRAMEBUFFER || !FindAttachment(none, point)) {
        call.Raise(GL_INVALID_ENUM);
    } else if (!pFramebuffer) {
        call.Raise(GL_INVALID_OPERATION);
    } else {
        return FindAttachment(*pFramebuffer, point);
    }
    return nullptr;
}

} // namespace

Config DrawBits(ContextData const& context) {
    Framebuffer const* pFramebuffer = context.framebuffers.Find(context.state.framebuffer);
    if (!pFramebuffer) {
        return context.config;
    }
    Config bits = AttachedImage(pFramebuffer->color).bits;
    bits.depth = AttachedImage(pFramebuffer->depth).bits.depth;
    bits.stencil = AttachedImage(pFramebuffer->stencil).bits.stencil;
    return bits;
}

GLenum FramebufferStatus(ContextData const& context, Session const& session) {
    if (session.framebufferStatus != 0) {
        return session.framebufferStatus;
    }
    Framebuffer const* pFramebuffer = context.framebuffers.Find(context.state.framebuffer);
    if (!pFramebuffer) {
        return GL_FRAMEBUFFER_COMPLETE;
    }
    GLsizei nWidth = 0;
    GLsizei nHeight = 0;
    for (Attachment const* pAttachment :
         {&pFramebuffer->color, &pFramebuffer->depth, &pFramebuffer->stencil}) {
        if (pAttachment->type == GL_NONE) {
            continue;
        }
        Image const image = AttachedImage(*pAttachment);
        int const nBits = pAttachment == &pFramebuffer->color   ? image.bits.red
                          : pAttachment == &pFramebuffer->depth ? image.bits.depth
                                                                : image.bits.stencil;
        if (image.width == 0 || image.height == 0 || nBits == 0) {
            return GL_FRAMEBUFFER_INCOMPLETE_ATTACHMENT;
        }
        if (nWidth != 0 && (nWidth != image.width || nHeight != image.height)) {
            return GL_FRAMEBUFFER_INCOMPLETE_DIMENSIONS;
        }
        nWidth = image.width;
        nHeight = image.height;
    }
    return nWidth == 0 ? GL_FRAMEBUFFER_INCOMPLETE_MISSING_ATTACHMENT : GL_FRAMEBUFFER_COMPLETE;
}

void DetachFromBound(ContextData& context, GLenum type, GLuint name) {
    Framebuffer* pFramebuffer = context.framebuffers.Find(context.state.framebuffer);
    if (!pFramebuffer) {
        return;
    }
    for (Attachment* pAttachment : {&pFramebuffer->color, &pFramebuffer->depth, &pFramebuffer->stencil}) {
        if (pAttachment->type == type && pAttachment->name == name) {
            *pAttachment = Attachment();
        }
    }
}

std::uint8_t ReadPixelsPattern(int x, int y, int component) {
    return static_cast<std::uint8_t>((x * 3 + y * 29 + component * 64 + 1) & 0xFF);
}

namespace answer {

// ---- Framebuffers

void glGenFramebuffers(Invocation& call, GLsizei n, GLuint* framebuffers) {
    GenerateNames(call, n, framebuffers, call.Context().framebuffers, Object::Framebuffer);
}

void glDeleteFramebuffers(Invocation& call, GLsizei n, GLuint const* framebuffers) {
    DeleteNames(call, n, framebuffers, call.Context().framebuffers, Object::Framebuffer, [&](GLuint name) {
        GLuint& bound = call.GetState().framebuffer;
        bound = bound == name ? 0 : bound;
    });
}

void glBindFramebuffer(Invocation& call, GLenum target, GLuint framebuffer) {
    if (target != GL_FRAMEBUFFER) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (framebuffer != 0) {
        call.Context().framebuffers.Make(framebuffer);
    }
    call.GetState().framebuffer = framebuffer;
}

GLenum glCheckFramebufferStatus(Invocation& call, GLenum target) {
    if (call.IsFailing()) {
        return static_cast<GLenum>(call.FailureError(GL_FRAMEBUFFER_UNSUPPORTED));
    }
    if (target != GL_FRAMEBUFFER) {
        call.Raise(GL_INVALID_ENUM);
        return 0;
    }
    return FramebufferStatus(call.Context(), call.GetSession());
}

void glFramebufferTexture2D(Invocation& call, GLenum target, GLenum attachment, GLenum textarget,
                            GLuint texture, GLint level) {
    Attachment* pSlot = RequireAttachment(call, target, attachment);
    if (!pSlot) {
        return;
    }
    if (texture == 0) {
        *pSlot = Attachment();
        return;
    }
    if (textarget != GL_TEXTURE_2D) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (!call.Objects().textures.Find(texture)) {
        return call.Raise(GL_INVALID_OPERATION);
    }
    if (level != 0) {
        return call.Raise(GL_INVALID_VALUE);
    }
    *pSlot = {GL_TEXTURE, texture, call.Objects().textures.Share(texture), nullptr};
}

void glFramebufferRenderbuffer(Invocation& call, GLenum target, GLenum attachment, GLenum renderbuffertarget,
                               GLuint renderbuffer) {
    Attachment* pSlot = RequireAttachment(call, target, attachment);
    if (!pSlot) {
        return;
    }
    if (renderbuffer == 0) {
        *pSlot = Attachment();
        return;
    }
    if (renderbuffertarget != GL_RENDERBUFFER) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (!call.Objects().renderbuffers.Find(renderbuffer)) {
        return call.Raise(GL_INVALID_OPERATION);
    }
    *pSlot = {GL_RENDERBUFFER, renderbuffer, nullptr, call.Objects().renderbuffers.Share(renderbuffer)};
}

// ---- Renderbuffers

void glGenRenderbuffers(Invocation& call, GLsizei n, GLuint* renderbuffers) {
    GenerateNames(call, n, renderbuffers, call.Objects().renderbuffers, Object::Renderbuffer);
}

void glDeleteRenderbuffers(Invocation& call, GLsizei n, GLuint const* renderbuffers) {
    DeleteNames(call, n, renderbuffers, call.Objects().renderbuffers, Object::Renderbuffer, [&](GLuint name) {
        GLuint& bound = call.GetState().renderbuffer;
        bound = bound == name ? 0 : bound;
        DetachFromBound(call.Context(), GL_RENDERBUFFER, name);
    });
}

void glBindRenderbuffer(Invocation& call, GLenum target, GLuint renderbuffer) {
    if (target != GL_RENDERBUFFER) {
        return call.Raise(GL_INVALID_ENUM);
    }
    if (renderbuffer != 0) {
        call.Objects().renderbuffers.Make(renderbuffer);
    }
    call.GetState().renderbuffer = renderbuffer;
}

void glRenderbufferStorage(Invocation& call, GLenum target, GLenum internalformat, GLsizei width,
                           GLsizei height) {
    // Of the formats those for renderbuffers alone have numbers from 0x8000 on.
    Config const bits = internalformat < 0x8000 ? Config{0, 0, 0, 0, 0, 0} : BitsOf(internalformat);
    if (target != GL_RENDERBUFFER || (bits.red == 0 && bits.depth == 0 && bits.stencil == 0)) {
        return call.Raise(GL_INVALID_ENUM);
    }
    GLint const nMost = call.GetSession().limits[GL_MAX_RENDERBUFFER_SIZE];
    if (width < 0 || height < 0 || width > nMost || height > nMost) {
        return call.Raise(GL_INVALID_VALUE);
    }
    Renderbuffer* pRenderbuffer = call.Objects().renderbuffers.Find(call.GetState().renderbuffer);
    if (!pRenderbuffer) {
        return call.Raise(GL_INVALID_OPERATION);
    }
    *pRenderbuffer = {internalformat, width, height};
}

// ---- Read-back

/**
 * Reads RGBA, as every implementation must, and RGB, the one further format that this one chooses to offer.
 */
void glReadPixels(Invocation& call, GLint x, GLint y, GLsizei width, GLsizei height, GLenum format,
                  GLenum type, void* pixels) {
    if (width < 0 || height < 0) {
        return call.Raise(GL_INVALID_VALUE);
    }
    if ((format != GL_RGBA && format != GL_RGB) || type != GL_UNSIGNED_BYTE) {
        return call.Raise(GL_INVALID_OPERATION);
    }
    if (FramebufferStatus(call.Context(), call.GetSession()) != GL_FRAMEBUFFER_COMPLETE) {
        return call.Raise(GL_INVALID_FRAMEBUFFER_OPERATION);
    }
    int const nComponents = format == GL_RGBA ? 4 : 3;
    auto const alignment = static_cast<std::size_t>(call.GetState().packAlignment);
    std::size_t const nPitch =
        (static_cast<std::size_t>(width * nComponents) + alignment - 1) / alignment * alignment;
    for (int nRow = 0; nRow < height; ++nRow) {
        auto* to = static_cast<std::uint8_t*>(pixels) + nPitch * static_cast<std::size_t>(nRow);
        for (int nColumn = 0; nColumn < width; ++nColumn) {
            for (int nComponent = 0; nComponent < nComponents; ++nComponent) {
                *to++ = ReadPixelsPattern(x + nColumn, y + nRow, nComponent);
            }
        }
    }
}

} // namespace answer

} // namespace kelvokit::recording
