#include "AEOpenGLContext.h"

#include <cstdint>
#include <iostream>
#include <mutex>

#include <glbinding/Binding.h>
#include <glbinding/ContextInfo.h>
#include <glbinding/Meta.h>
#include <glbinding/Version.h>
#include <glbinding/gl/gl.h>

using namespace gl;

namespace Ostrivane {
namespace GaussianBlur {

namespace {

// glbinding 2 asks GLX for the current context, which is null under EGL, so every context is
// named to it explicitly by its EGL handle.
glbinding::ContextHandle handleOf(EGLContext context) {
    return static_cast<glbinding::ContextHandle>(reinterpret_cast<std::uintptr_t>(context));
}

}  // namespace

AEOpenGLContext::AEOpenGLContext(const AEOpenGLContext* share) {
    mContext = createPlatformContext(share != nullptr ? share->mContext : EGL_NO_CONTEXT);
    try {
        EGLPlatform::makeCurrent(mContext);
        InitializeOpenGLBindings(mContext);
        mExtensions = glbinding::ContextInfo::extensions(nullptr);
    } catch (...) {
        // The context must not outlive a constructor that failed.
        if (EGLPlatform::currentContext() == mContext) EGLPlatform::makeCurrent(EGL_NO_CONTEXT);
        EGLPlatform::destroyContext(mContext);
        throw;
    }
}

// glbinding 2.1 keeps its per-context tables in slots by creation order, and releasing them in
// any other order corrupts the table of a live context (an assertion in its state lookup), so a
// binding is kept for the life of the process. Its function addresses are libGL's dispatch entries,
// valid for any context, so a later context that EGL gives the same handle may use it again.
AEOpenGLContext::~AEOpenGLContext() {
    // EGL keeps a context that is current on some thread alive until it is released there, so
    // the current state of every thread stays as it was.
    EGLPlatform::destroyContext(mContext);
}

void AEOpenGLContext::makeContextCurrent() {
    if (mContext != EGL_NO_CONTEXT) EGLPlatform::makeCurrent(mContext);
    makeCurrentFlush(mContext);
    glbinding::Binding::useContext(handleOf(mContext));
}

EGLContext AEOpenGLContext::createPlatformContext(EGLContext share) {
    return EGLPlatform::createContext(share);
}

void AEOpenGLContext::InitializeOpenGLBindings(EGLContext context) {
    glbinding::Binding::initialize(handleOf(context), true, false);
    // initialize returns at once for a handle it has seen, without selecting it.
    glbinding::Binding::useContext(handleOf(context));
    // Every context of the process comes from the same driver (the shared data context, then one
    // per render thread), so its report is said once, not once a context.
    static std::once_flag reported;
    std::call_once(reported, [] {
        std::cout << std::endl;
        std::cout << "OpenGL Version:  " << glbinding::ContextInfo::version() << std::endl;
        std::cout << "OpenGL Vendor:   " << glbinding::ContextInfo::vendor() << std::endl;
        std::cout << "OpenGL Renderer: " << glbinding::ContextInfo::renderer() << std::endl;
        std::cout << "OpenGL Revision: " << glbinding::Meta::glRevision() << " (gl.xml)" << std::endl;
        std::cout << std::endl;
    });
}

void AEOpenGLContext::flushOutgoing() {
    if (EGLPlatform::currentContext() == EGL_NO_CONTEXT) return;
    GLint binding = 0;
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &binding);
    if (binding == 0 || glCheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE) glFlush();
}

void AEOpenGLContext::makeCurrentFlush(EGLContext context) {
    if (EGLPlatform::currentContext() == context) return;
    flushOutgoing();
    EGLPlatform::makeCurrent(context);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
