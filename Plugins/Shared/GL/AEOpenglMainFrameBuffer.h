#pragma once

#include <map>
#include <vector>

#include "EGLPlatform.h"
#include "ScreenRender.h"
#include "Vec2.h"

namespace Ostrivane {
namespace GaussianBlur {

/// The process-wide off-screen target, sized per frame: a stack of render levels (premultiplied
/// RGBA, multisampled with up to 8 samples as the driver allows, or plain) and a result
/// renderbuffer that `endDrawing` fills with the host's channel order and straight alpha.
/// Frame buffer objects are kept per context, so threads with contexts of their own can take turns.
/// After `destory`, a `prepare` on a new set-up builds everything again.
class AEOpenglMainFrameBuffer {
public:
    /// The singleton; the first call constructs it, which makes no GL call.
    static AEOpenglMainFrameBuffer* mainFrameBuffer();

    /// Creates the objects of a `width` × `height` frame; at the size it already has, does nothing
    /// and `multisample` is ignored.
    void prepare(long width, long height, bool multisample);
    void unprepare();
    /// Final teardown with a context of the group current: deletes what it can name from there,
    /// forgets the frame buffers of other contexts (they end with them) and the size.
    void destory();

    void beginDrawing();
    /// Pops the last level through ScreenRender into the result renderbuffer, which stays attached
    /// to the bound frame buffer for the read-back. Does nothing if the stack is empty.
    void endDrawing(float multiplier16bit);

    void pushRenderContext(bool unused, bool stencil);
    /// Resolves the top level into a new texture that the caller owns; 0 on an empty stack.
    unsigned int popRenderContext();
    void clearStack();
    /// An empty, zeroed GL_RGBA texture of the frame's size.
    unsigned int createRenderTexture(bool mipmap);

    // Render textures: empty and zeroed, level 0 only, clamped to the edge; the caller owns them.
    // A `size` holds the width in x and the height in y, truncated to integers; a negative or NaN
    // component, or one beyond GL_MAX_TEXTURE_SIZE, gives 0 and makes no texture. A host buffer
    // that can't be had throws the int 4.
    /// GL_RGBA, linear, or with mipmap GL_LINEAR_MIPMAP_LINEAR for minifying.
    unsigned int createRenderTexture(const Vec2& size, bool mipmap);
    /// GL_RGBA32F of the frame's size: linear or nearest, or with mipmap GL_LINEAR_MIPMAP_LINEAR
    /// and GL_LINEAR_MIPMAP_NEAREST for minifying.
    unsigned int createFloatRenderTexture(bool linear, bool mipmap);
    unsigned int createFloatRenderTexture(const Vec2& size, bool linear, bool mipmap);

    // Normal contexts: drawing straight into a caller's texture through a temporary frame buffer
    // of the current context, above any level and not on the stack. They don't nest.
    /// Binds level 0 of `texture` and clears it to transparent black; the viewport stays.
    void pushNormalRenderContext(unsigned int texture);
    /// The same with mipmap `level`, then the viewport (0, 0, size.x, size.y). Levels above 0 have
    /// no storage until the caller gives them some (glGenerateMipmap, for instance).
    void pushNormalRenderContext(unsigned int texture, const Vec2& size, int level);
    /// Takes down the bound temporary frame buffer, leaving frame buffer 0 bound, or with levels on
    /// the stack the top level again with the frame's viewport. Without a normal context bound
    /// (frame buffer 0 or one of the levels') it does nothing.
    void popNormalRenderContext();

    /// The low 16 bits of the frame's size.
    unsigned short width() const { return static_cast<unsigned short>(mWidth); }
    unsigned short height() const { return static_cast<unsigned short>(mHeight); }

private:
    AEOpenglMainFrameBuffer();

    struct Framebuffers {
        unsigned int mResolveFramebuffer = 0;
        unsigned int mFramebuffer = 0;
        unsigned int mMultisampleFramebuffer = 0;
    };

    /// The current context's frame buffers, made on its first need.
    Framebuffers& framebuffers();

    std::map<EGLContext, Framebuffers> mFramebuffers;
    unsigned int mResultRenderbuffer = 0;
    bool mMultisampled = true;
    unsigned int mWidth = 0;
    unsigned int mHeight = 0;
    int mSamples = 8;
    /// A multisampled level's colour renderbuffer kept from its pop for the next push at the same
    /// size, so that a steady run of frames makes no new multisampled storage; 0 when none.
    unsigned int mSpareLevel = 0;
    std::vector<unsigned int> mColorStack;
    std::map<unsigned int, unsigned int> mStencilBuffers;
    ScreenRender* mScreenRender;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
