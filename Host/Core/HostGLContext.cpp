#include "HostGLContext.h"

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

void HostGLContext::releaseCurrent() {
    EGLDisplay display = eglGetCurrentDisplay();
    if (display != EGL_NO_DISPLAY) {
        eglMakeCurrent(display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
}

}  // namespace fxhost
