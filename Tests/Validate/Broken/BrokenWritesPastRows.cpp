// Fault: after each frame, one row more than the output has is written, right after its last row.
#include <cstring>

#include "Shim.h"

SHIM_ENTRY_POINT {
    const PF_Err err = GoodEntryPointFunc(cmd, in_data, out_data, params, output, extra);
    if (cmd == PF_Cmd_SMART_RENDER && err == PF_Err_NONE) {
        PF_LayerDef* out = shimOutput(in_data, extra);
        if (out && out->data && out->rowbytes > 0) {
            char* pastTheEnd = static_cast<char*>(out->data) + static_cast<long>(out->height) * out->rowbytes;
            std::memset(pastTheEnd, 0, static_cast<size_t>(out->width) * 4);
        }
    }
    return err;
}
