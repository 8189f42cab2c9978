#include "AEOpenglMainFrameBuffer.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <new>

#include <glbinding/gl/gl.h>

#include "PFTypes.h"

using namespace gl;

namespace Ostrivane {
namespace GaussianBlur {

namespace {

const int kRequestedSamples = 8;

void deleteFramebuffer(unsigned int& name) {
    if (name != 0) {
        glDeleteFramebuffers(1, &name);
        name = 0;
    }
}

// The steps that every render texture shares. Magnification is set before minification;
// GL_NONE as `magFilter` leaves GL's default, GL_LINEAR. Level 0 is zeroed from GL_RGBA bytes in
// every internal format, so no float data is needed.
// With `zeroed` false the texels are left undefined, for a caller that overwrites them all.
GLuint emptyTexture(GLenum internalFormat, GLsizei width, GLsizei height, GLenum minFilter, GLenum magFilter,
                    bool zeroed = true) {
    GLuint texture = 0;
    glGenTextures(1, &texture);
    glBindTexture(GL_TEXTURE_2D, texture);
    if (magFilter != GL_NONE)
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, static_cast<GLint>(magFilter));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, static_cast<GLint>(minFilter));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, static_cast<GLint>(GL_CLAMP_TO_EDGE));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, static_cast<GLint>(GL_CLAMP_TO_EDGE));
    // The byte count in 64 bits: a frame of 2^30 pixels must not wrap to a short buffer.
    const std::size_t byteCount = static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
    unsigned char* bytes = zeroed ? new (std::nothrow) unsigned char[byteCount]() : nullptr;
    if (zeroed && bytes == nullptr) {
        glBindTexture(GL_TEXTURE_2D, 0);
        glDeleteTextures(1, &texture);
        throw int(PF_Err_OUT_OF_MEMORY);
    }
    glTexImage2D(GL_TEXTURE_2D, 0, static_cast<GLint>(internalFormat), width, height, 0, GL_RGBA,
                 GL_UNSIGNED_BYTE, bytes);
    delete[] bytes;
    glBindTexture(GL_TEXTURE_2D, 0);
    return texture;
}

// A size's components truncated to texture dimensions. False for NaN, negative values and
// dimensions the driver refuses, before any host buffer is sized from them.
bool textureSize(const Vec2& size, GLsizei& width, GLsizei& height) {
    GLint maxSize = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxSize);
    if (!(size.x >= 0.0 && size.x < static_cast<double>(maxSize) + 1.0 && size.y >= 0.0 &&
          size.y < static_cast<double>(maxSize) + 1.0))
        return false;
    width = static_cast<GLsizei>(size.x);
    height = static_cast<GLsizei>(size.y);
    return true;
}

// Truncated to an int, with NaN and negative values as 0 so that the conversion is defined.
GLsizei viewportExtent(double v) {
    if (!(v > 0.0)) return 0;
    if (v >= static_cast<double>(std::numeric_limits<GLsizei>::max()))
        return std::numeric_limits<GLsizei>::max();
    return static_cast<GLsizei>(v);
}

GLenum floatMinFilter(bool linear, bool mipmap) {
    // Nearest with mipmaps still blends within a level: GL_LINEAR_MIPMAP_NEAREST.
    if (mipmap) return linear ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR_MIPMAP_NEAREST;
    return linear ? GL_LINEAR : GL_NEAREST;
}

GLenum floatMagFilter(bool linear, bool mipmap) {
    if (mipmap) return GL_NONE;
    return linear ? GL_LINEAR : GL_NEAREST;
}

// Step one of both pushes: a temporary frame buffer of the current context, its name kept
// nowhere; the pop finds it again as the bound draw frame buffer.
void attachNormalTarget(GLuint texture, GLint level) {
    GLuint temporary = 0;
    glGenFramebuffers(1, &temporary);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, temporary);
    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, level);
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT);
}

}  // namespace

AEOpenglMainFrameBuffer* AEOpenglMainFrameBuffer::mainFrameBuffer() {
    static AEOpenglMainFrameBuffer* kSharedMainFrameBuffer = new AEOpenglMainFrameBuffer();
    return kSharedMainFrameBuffer;
}

AEOpenglMainFrameBuffer::AEOpenglMainFrameBuffer() : mScreenRender(new ScreenRender) {}

AEOpenglMainFrameBuffer::Framebuffers& AEOpenglMainFrameBuffer::framebuffers() {
    // Frame buffer objects can't be shared; each context that renders gets its own set. They hold
    // no size, so a set outlives a change of size and is only re-attached.
    Framebuffers& set = mFramebuffers[EGLPlatform::currentContext()];
    if (set.mFramebuffer == 0) glGenFramebuffers(1, &set.mFramebuffer);
    if (mMultisampled) {
        if (set.mResolveFramebuffer == 0) glGenFramebuffers(1, &set.mResolveFramebuffer);
        if (set.mMultisampleFramebuffer == 0) glGenFramebuffers(1, &set.mMultisampleFramebuffer);
    }
    return set;
}

void AEOpenglMainFrameBuffer::prepare(long width, long height, bool multisample) {
    if (mScreenRender == nullptr) mScreenRender = new ScreenRender;
    // A prepare that failed part-way (the frame buffer table could not grow) left the size set with
    // no result renderbuffer; the next one at that size must make everything again.
    if (static_cast<long>(mWidth) == width && static_cast<long>(mHeight) == height && mResultRenderbuffer != 0)
        return;
    unprepare();
    mWidth = static_cast<unsigned int>(width);
    mHeight = static_cast<unsigned int>(height);
    mMultisampled = multisample;
    if (mMultisampled) {
        // Drivers differ in how many samples they allow (llvmpipe: 4); asking for more fails.
        GLint maxSamples = 0;
        glGetIntegerv(GL_MAX_SAMPLES, &maxSamples);
        mSamples = std::min(kRequestedSamples, static_cast<int>(maxSamples));
        if (mSamples < 1) mMultisampled = false;
    }
    framebuffers();
    glGenRenderbuffers(1, &mResultRenderbuffer);
    glBindRenderbuffer(GL_RENDERBUFFER, mResultRenderbuffer);
    glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA, static_cast<GLsizei>(mWidth),
                          static_cast<GLsizei>(mHeight));
}

void AEOpenglMainFrameBuffer::unprepare() {
    const auto found = mFramebuffers.find(EGLPlatform::currentContext());
    if (found != mFramebuffers.end()) {
        deleteFramebuffer(found->second.mResolveFramebuffer);
        deleteFramebuffer(found->second.mFramebuffer);
        deleteFramebuffer(found->second.mMultisampleFramebuffer);
        mFramebuffers.erase(found);
    }
    if (mResultRenderbuffer != 0) {
        glDeleteRenderbuffers(1, &mResultRenderbuffer);
        mResultRenderbuffer = 0;
    }
    if (mSpareLevel != 0) {
        glDeleteRenderbuffers(1, &mSpareLevel);
        mSpareLevel = 0;
    }
    clearStack();
}

void AEOpenglMainFrameBuffer::clearStack() {
    for (unsigned int colour : mColorStack) {
        glDeleteRenderbuffers(1, &colour);
        const auto stencil = mStencilBuffers.find(colour);
        if (stencil != mStencilBuffers.end()) glDeleteRenderbuffers(1, &stencil->second);
    }
    mColorStack.clear();
    mStencilBuffers.clear();
}

void AEOpenglMainFrameBuffer::destory() {
    unprepare();
    // The remaining sets belong to contexts that end right after this, at set-down.
    mFramebuffers.clear();
    delete mScreenRender;
    mScreenRender = nullptr;
    mWidth = 0;
    mHeight = 0;
}

void AEOpenglMainFrameBuffer::beginDrawing() {
    glDisable(GL_BLEND);
    if (mMultisampled) glEnable(GL_MULTISAMPLE);
    pushRenderContext(false, false);
    // The draw buffer is state of the bound frame buffer, so it is chosen once the frame's own is
    // bound: a new context still has its default one bound, which refuses it (GL_INVALID_OPERATION).
    glDrawBuffer(GL_COLOR_ATTACHMENT0);
    glViewport(0, 0, static_cast<GLsizei>(mWidth), static_cast<GLsizei>(mHeight));
}

void AEOpenglMainFrameBuffer::pushRenderContext(bool, bool stencil) {
    const GLsizei width = static_cast<GLsizei>(mWidth);
    const GLsizei height = static_cast<GLsizei>(mHeight);
    const Framebuffers& set = framebuffers();
    GLuint colour = 0;
    if (mMultisampled && mSpareLevel != 0) {
        // Storage of this size and sample count already; the clear below makes it a new level.
        colour = mSpareLevel;
        mSpareLevel = 0;
        glBindRenderbuffer(GL_RENDERBUFFER, colour);
        glBindFramebuffer(GL_FRAMEBUFFER, set.mMultisampleFramebuffer);
    } else if (mMultisampled) {
        glGenRenderbuffers(1, &colour);
        glBindRenderbuffer(GL_RENDERBUFFER, colour);
        glRenderbufferStorageMultisample(GL_RENDERBUFFER, mSamples, GL_RGBA, width, height);
        glBindFramebuffer(GL_FRAMEBUFFER, set.mMultisampleFramebuffer);
    } else {
        glGenRenderbuffers(1, &colour);
        glBindRenderbuffer(GL_RENDERBUFFER, colour);
        glRenderbufferStorage(GL_RENDERBUFFER, GL_RGBA, width, height);
        glBindFramebuffer(GL_FRAMEBUFFER, set.mFramebuffer);
    }
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, colour);
    if (stencil) {
        GLuint stencilBuffer = 0;
        glGenRenderbuffers(1, &stencilBuffer);
        glBindRenderbuffer(GL_RENDERBUFFER, stencilBuffer);
        if (mMultisampled)
            glRenderbufferStorageMultisample(GL_RENDERBUFFER, mSamples, GL_STENCIL_INDEX8, width, height);
        else
            glRenderbufferStorage(GL_RENDERBUFFER, GL_STENCIL_INDEX8, width, height);
        glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_STENCIL_ATTACHMENT, GL_RENDERBUFFER, stencilBuffer);
        mStencilBuffers[colour] = stencilBuffer;
    }
    mColorStack.push_back(colour);
    glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
    glClear(GL_COLOR_BUFFER_BIT);
}

unsigned int AEOpenglMainFrameBuffer::popRenderContext() {
    if (mColorStack.empty()) return 0;
    const GLsizei width = static_cast<GLsizei>(mWidth);
    const GLsizei height = static_cast<GLsizei>(mHeight);
    // The resolve or the copy below writes every texel: the texture needs no zeroed contents.
    const GLuint texture = emptyTexture(GL_RGBA, width, height, GL_LINEAR, GL_LINEAR, false);
    const Framebuffers& set = framebuffers();
    if (mMultisampled) {
        glBindFramebuffer(GL_READ_FRAMEBUFFER, set.mMultisampleFramebuffer);
        glBindFramebuffer(GL_DRAW_FRAMEBUFFER, set.mResolveFramebuffer);
        glFramebufferTexture2D(GL_DRAW_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
        glBlitFramebuffer(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
    } else {
        glBindTexture(GL_TEXTURE_2D, texture);
        glCopyTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 0, 0, width, height, 0);
    }

    GLuint top = mColorStack.back();
    mColorStack.pop_back();
    const auto stencil = mStencilBuffers.find(top);
    if (mMultisampled && mSpareLevel == 0 && stencil == mStencilBuffers.end()) {
        // Kept for the next push instead of deleted; this context is left as a deletion leaves
        // it: the renderbuffer neither bound nor attached to the bound read frame buffer.
        mSpareLevel = top;
        GLint bound = 0;
        glGetIntegerv(GL_RENDERBUFFER_BINDING, &bound);
        if (static_cast<GLuint>(bound) == top) glBindRenderbuffer(GL_RENDERBUFFER, 0);
        glFramebufferRenderbuffer(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, 0);
    } else {
        glDeleteRenderbuffers(1, &top);
    }
    if (stencil != mStencilBuffers.end()) {
        GLuint stencilBuffer = stencil->second;
        mStencilBuffers.erase(stencil);
        glDeleteRenderbuffers(1, &stencilBuffer);
    }
    if (mColorStack.empty()) return texture;

    glBindRenderbuffer(GL_RENDERBUFFER, mColorStack.back());
    glBindFramebuffer(GL_FRAMEBUFFER, mMultisampled ? set.mMultisampleFramebuffer : set.mFramebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, mColorStack.back());
    return texture;
}

void AEOpenglMainFrameBuffer::endDrawing(float multiplier16bit) {
    GLuint texture = popRenderContext();
    if (texture == 0) return;
    glBindFramebuffer(GL_FRAMEBUFFER, framebuffers().mFramebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, mResultRenderbuffer);
    glDisable(GL_BLEND);
    glDisable(GL_MULTISAMPLE);
    glClear(GL_COLOR_BUFFER_BIT);
    if (mScreenRender == nullptr) mScreenRender = new ScreenRender;
    mScreenRender->draw(texture, multiplier16bit);
    glDeleteTextures(1, &texture);
}

unsigned int AEOpenglMainFrameBuffer::createRenderTexture(bool mipmap) {
    return emptyTexture(GL_RGBA, static_cast<GLsizei>(mWidth), static_cast<GLsizei>(mHeight),
                        mipmap ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR, mipmap ? GL_NONE : GL_LINEAR);
}

unsigned int AEOpenglMainFrameBuffer::createRenderTexture(const Vec2& size, bool mipmap) {
    GLsizei width = 0, height = 0;
    if (!textureSize(size, width, height)) return 0;
    return emptyTexture(GL_RGBA, width, height, mipmap ? GL_LINEAR_MIPMAP_LINEAR : GL_LINEAR,
                        mipmap ? GL_NONE : GL_LINEAR);
}

unsigned int AEOpenglMainFrameBuffer::createFloatRenderTexture(bool linear, bool mipmap) {
    return emptyTexture(GL_RGBA32F, static_cast<GLsizei>(mWidth), static_cast<GLsizei>(mHeight),
                        floatMinFilter(linear, mipmap), floatMagFilter(linear, mipmap));
}

unsigned int AEOpenglMainFrameBuffer::createFloatRenderTexture(const Vec2& size, bool linear, bool mipmap) {
    GLsizei width = 0, height = 0;
    if (!textureSize(size, width, height)) return 0;
    return emptyTexture(GL_RGBA32F, width, height, floatMinFilter(linear, mipmap),
                        floatMagFilter(linear, mipmap));
}

void AEOpenglMainFrameBuffer::pushNormalRenderContext(unsigned int texture) {
    attachNormalTarget(texture, 0);
}

void AEOpenglMainFrameBuffer::pushNormalRenderContext(unsigned int texture, const Vec2& size, int level) {
    attachNormalTarget(texture, level);
    glViewport(0, 0, viewportExtent(size.x), viewportExtent(size.y));
}

void AEOpenglMainFrameBuffer::popNormalRenderContext() {
    GLint bound = 0;
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &bound);
    const GLuint temporary = static_cast<GLuint>(bound);
    // Only a push's frame buffer is taken down: a pop without one must not delete the levels'.
    if (temporary == 0) return;
    const auto own = mFramebuffers.find(EGLPlatform::currentContext());
    if (own != mFramebuffers.end() &&
        (temporary == own->second.mFramebuffer || temporary == own->second.mResolveFramebuffer ||
         temporary == own->second.mMultisampleFramebuffer))
        return;

    glFramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
    glBindRenderbuffer(GL_RENDERBUFFER, 0);
    glBindFramebuffer(GL_FRAMEBUFFER, 0);
    glDeleteFramebuffers(1, &temporary);
    if (mColorStack.empty()) return;

    const Framebuffers& set = framebuffers();
    const GLenum attachment = GL_COLOR_ATTACHMENT0;
    glBindRenderbuffer(GL_RENDERBUFFER, mColorStack.back());
    glBindFramebuffer(GL_FRAMEBUFFER, mMultisampled ? set.mMultisampleFramebuffer : set.mFramebuffer);
    glFramebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, mColorStack.back());
    glDrawBuffers(1, &attachment);
    glViewport(0, 0, static_cast<GLsizei>(mWidth), static_cast<GLsizei>(mHeight));
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
