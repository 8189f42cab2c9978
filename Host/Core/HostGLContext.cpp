#include "HostGLContext.h"

#include <cstdio>
#include <stdexcept>

#include "EGLPlatform.h"

using Ostrivane::GaussianBlur::EGLPlatform;

namespace fxhost {

namespace {

// The shared library's EGL layer reports a refusal as a thrown int; the host speaks in exceptions.
template <typename F>
auto orFail(const char* what, F f) -> decltype(f()) {
    try {
        return f();
    } catch (int) {
        throw std::runtime_error(what);
    }
}

}  // namespace

HostGLContext::HostGLContext()
    : mDisplay(orFail("no EGL display for the host", [] { return EGLPlatform::display(); })),
      mContext(orFail("EGL refused the host's GL context",
                      [] { return EGLPlatform::createContext(EGL_NO_CONTEXT); })) {}

HostGLContext::~HostGLContext() {
    if (isCurrent()) releaseCurrent();
    EGLPlatform::destroyContext(mContext);
}

void HostGLContext::makeCurrent() {
    orFail("EGL cannot make the host's GL context current", [this] {
        EGLPlatform::makeCurrent(mContext);
        return 0;
    });
}

bool HostGLContext::isCurrent() const {
    return eglGetCurrentContext() == mContext;
}

int HostGLContext::maxTextureSize() {
    // The host links no GL library of its own; EGL hands out the entry point.
    using GetIntegerv = void (*)(unsigned int, int*);
    constexpr unsigned int kMaxTextureSize = 0x0D33;
    const auto getIntegerv = reinterpret_cast<GetIntegerv>(eglGetProcAddress("glGetIntegerv"));
    if (!getIntegerv) return 0;
    makeCurrent();
    int size = 0;
    getIntegerv(kMaxTextureSize, &size);
    return size;
}

std::string HostGLContext::stateDifference() const {
    auto hex = [](const void* p) {
        char text[32];
        std::snprintf(text, sizeof text, "%p", p);
        return std::string(text);
    };
    std::string text;
    auto add = [&text](const std::string& what) { text += (text.empty() ? "" : "; ") + what; };
    const EGLenum api = eglQueryAPI();
    if (api != EGL_OPENGL_API) {
        char bound[64];
        std::snprintf(bound, sizeof bound, "the bound API is 0x%x, not OpenGL", static_cast<unsigned>(api));
        add(bound);
    }
    // The current context is a property of the bound API, so it is asked with OpenGL bound.
    if (api != EGL_OPENGL_API) eglBindAPI(EGL_OPENGL_API);
    const EGLContext context = eglGetCurrentContext();
    const EGLDisplay display = eglGetCurrentDisplay();
    const EGLSurface draw = eglGetCurrentSurface(EGL_DRAW), read = eglGetCurrentSurface(EGL_READ);
    if (api != EGL_OPENGL_API) eglBindAPI(api);
    if (context != mContext) {
        add(context == EGL_NO_CONTEXT
                ? "no context is current"
                : "context " + hex(context) + " is current instead of the host's " + hex(mContext));
    }
    if (context != EGL_NO_CONTEXT && display != mDisplay) add("the current display is not the host's");
    if (draw != EGL_NO_SURFACE) add("draw surface " + hex(draw) + " is current, the host had none");
    if (read != EGL_NO_SURFACE) add("read surface " + hex(read) + " is current, the host had none");
    return text;
}

void HostGLContext::releaseCurrent() {
    EGLDisplay display = eglGetCurrentDisplay();
    if (display != EGL_NO_DISPLAY) {
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
}

}  // namespace fxhost
