#pragma once

#include <set>

#include <glbinding/gl/extension.h>

#include "EGLPlatform.h"

namespace Ostrivane {
namespace GaussianBlur {

/// One OpenGL 3.3 core context with no drawable, optionally in the share group of another.
/// The constructor leaves it current on the calling thread, connects glbinding to it and prints
/// the driver report (the first context of the process only). If EGL refuses the context, the
/// constructor throws the int 512.
class AEOpenGLContext {
public:
    explicit AEOpenGLContext(const AEOpenGLContext* share);
    virtual ~AEOpenGLContext();

    AEOpenGLContext(const AEOpenGLContext&) = delete;
    AEOpenGLContext& operator=(const AEOpenGLContext&) = delete;

    /// Makes this context current on the calling thread, for EGL and for glbinding.
    void makeContextCurrent();

    EGLContext context() const { return mContext; }
    const std::set<gl::GLextension>& extensions() const { return mExtensions; }

    /// A new platform context in the share group of `share` (EGL_NO_CONTEXT for none); the caller owns it.
    static EGLContext createPlatformContext(EGLContext share);

    /// Connects glbinding to the current context, whose handle is `context`, and prints the report
    /// the first time in the process.
    static void InitializeOpenGLBindings(EGLContext context);

    /// Switches the thread to `context` (EGL_NO_CONTEXT for none), flushing the outgoing context
    /// first unless a frame buffer that isn't complete is bound in it.
    static void makeCurrentFlush(EGLContext context);

    /// The flush half of makeCurrentFlush, on whatever context is current; nothing when none is.
    static void flushOutgoing();

private:
    EGLContext mContext = EGL_NO_CONTEXT;
    std::set<gl::GLextension> mExtensions;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
