// The host's own headless GL context, as a real host has one current when it
// calls an effect. It is never shared with the effect's contexts; the host only
// makes it current before a command and checks afterwards that it still is.
// Construction throws std::runtime_error when EGL offers no display or context.
#pragma once

#include <EGL/egl.h>

#include <string>

namespace fxhost {

class HostGLContext {
public:
    HostGLContext();
    ~HostGLContext();

    HostGLContext(const HostGLContext&) = delete;
    HostGLContext& operator=(const HostGLContext&) = delete;

    void makeCurrent();
    bool isCurrent() const;
    // What differs on the calling thread from the state makeCurrent() sets (bound API, display,
    // context, draw and read surfaces), in words; empty when it is all as the host left it.
    std::string stateDifference() const;
    EGLDisplay display() const { return mDisplay; }
    EGLContext context() const { return mContext; }

    // The largest texture width or height the GL implementation takes (GL_MAX_TEXTURE_SIZE),
    // asked with this context current; 0 when it cannot be asked.
    int maxTextureSize();

    // Releases whatever context is current on the calling thread.
    static void releaseCurrent();

private:
    EGLDisplay mDisplay;
    EGLContext mContext;
};

}  // namespace fxhost
