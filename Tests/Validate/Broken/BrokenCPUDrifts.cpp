// Fault: frames rendered without any GL context current (the CPU renderer's) come out three levels
// brighter in every colour channel of the first row than the GL pass makes them.
#include <EGL/egl.h>

#include "Shim.h"

SHIM_AFTER_EACH_FRAME {
    PF_LayerDef* out = shimOutput(in_data, extra);
    if (eglGetCurrentContext() != EGL_NO_CONTEXT || !out || !out->data) return;
    auto* pixel = static_cast<unsigned char*>(out->data);
    for (A_long x = 0; x < out->width * 4; ++x) {
        if (x % 4 != 0 && pixel[x] < 250) pixel[x] = static_cast<unsigned char>(pixel[x] + 3);
    }
}
