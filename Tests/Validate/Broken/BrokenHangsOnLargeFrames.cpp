// Fault: a frame of a million pixels or more never returns.
#include <unistd.h>

#include "Shim.h"

SHIM_ENTRY_POINT {
    if (cmd == PF_Cmd_SMART_RENDER) {
        const PF_LayerDef* out = shimOutput(in_data, extra);
        if (out && static_cast<long>(out->width) * out->height >= 1000000) {
            for (;;) pause();
        }
    }
    return GoodEntryPointFunc(cmd, in_data, out_data, params, output, extra);
}
