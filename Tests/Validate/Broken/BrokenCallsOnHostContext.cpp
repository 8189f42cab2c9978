// Fault: after a frame has handed the host its context back, one more GL call is made on it (a host
// that asked for the CPU renderer has no context to misuse).
#include <EGL/egl.h>
#include <glbinding/gl/gl.h>

#include "Shim.h"

SHIM_AFTER_EACH_FRAME {
    if (eglGetCurrentContext() != EGL_NO_CONTEXT) gl::glFlush();
}
