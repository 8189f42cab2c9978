// Fault: frames rendered without any GL context current (the CPU renderer's) come out three levels
// brighter in every colour channel of the first row than the GL pass makes them.
#include <EGL/egl.h>

#include "Shim.h"

SHIM_ENTRY_POINT {
    const PF_Err err = GoodEntryPointFunc(cmd, in_data, out_data, params, output, extra);
    if (cmd == PF_Cmd_SMART_RENDER && err == PF_Err_NONE && eglGetCurrentContext() == EGL_NO_CONTEXT) {
        PF_LayerDef* out = shimOutput(in_data, extra);
        if (out && out->data) {
            auto* pixel = static_cast<unsigned char*>(out->data);
            for (A_long x = 0; x < out->width * 4; ++x) {
                if (x % 4 != 0 && pixel[x] < 250) pixel[x] = static_cast<unsigned char>(pixel[x] + 3);
            }
        }
    }
    return err;
}
