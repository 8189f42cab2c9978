// Fault: after each frame, one row more than the output has is written, right after its last row.
#include <cstring>

#include "Shim.h"

SHIM_AFTER_EACH_FRAME {
    PF_LayerDef* out = shimOutput(in_data, extra);
    if (out && out->data && out->rowbytes > 0) {
        char* pastTheEnd = static_cast<char*>(out->data) + static_cast<long>(out->height) * out->rowbytes;
        std::memset(pastTheEnd, 0, static_cast<size_t>(out->width) * 4);
    }
}
