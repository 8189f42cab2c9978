#pragma once

#include <EGL/egl.h>

namespace Ostrivane {
namespace GaussianBlur {

/// The context services of the GL runtime on EGL: one display for the whole process (a hardware
/// EGL device where there is one, else Mesa's surfaceless platform, so no window system is needed),
/// OpenGL 3.3 core contexts with no drawable, and the calling thread's current context.
/// When EGL refuses the display or a context, a message goes to standard output and the int
/// PF_Err_INTERNAL_STRUCT_DAMAGED (512) is thrown.
class EGLPlatform {
public:
    /// Everything that makes up a thread's current EGL state.
    struct Current {
        EGLenum api = EGL_OPENGL_API;
        EGLDisplay display = EGL_NO_DISPLAY;
        EGLContext context = EGL_NO_CONTEXT;
        EGLSurface draw = EGL_NO_SURFACE;
        EGLSurface read = EGL_NO_SURFACE;
    };

    /// The process-wide display, initialised on first use. It is never terminated: the host
    /// process may hold contexts on the same display.
    static EGLDisplay display();

    /// A new context of the fixed attributes, in the share group of `share` (EGL_NO_CONTEXT for a
    /// group of its own). Nothing is made current.
    static EGLContext createContext(EGLContext share);

    /// Makes `context` current on the calling thread with no surface; EGL_NO_CONTEXT leaves the
    /// thread with none. Throws as above if EGL refuses.
    static void makeCurrent(EGLContext context);

    /// The calling thread's current OpenGL context, or EGL_NO_CONTEXT.
    static EGLContext currentContext();

    /// The calling thread's current state, whatever API and display it belongs to.
    static Current current();

    /// Puts back a state that `current` returned. Returns false if EGL refused it.
    static bool setCurrent(const Current& state);

    /// Destroys a context. A context that is current somewhere lives on until it is released there.
    static void destroyContext(EGLContext context);

    /// A short name of the chosen platform: "device" or "surfaceless".
    static const char* platformName();
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
