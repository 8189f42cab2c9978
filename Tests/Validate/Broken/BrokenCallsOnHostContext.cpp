// Fault: after a frame has handed the host its context back, one more GL call is made on it (a host
// that asked for the CPU renderer has no context to misuse).
#include <EGL/egl.h>
#include <glbinding/gl/gl.h>

#include "Shim.h"

SHIM_ENTRY_POINT {
    const PF_Err err = GoodEntryPointFunc(cmd, in_data, out_data, params, output, extra);
    if (cmd == PF_Cmd_SMART_RENDER && err == PF_Err_NONE && eglGetCurrentContext() != EGL_NO_CONTEXT) gl::glFlush();
    return err;
}
