// Fault: after a frame that succeeds, the effect's own context is left current on the host's thread.
#include "AEOpenGLContextManager.h"
#include "Shim.h"

using namespace Ostrivane::GaussianBlur;

SHIM_ENTRY_POINT {
    const PF_Err err = GoodEntryPointFunc(cmd, in_data, out_data, params, output, extra);
    if (cmd == PF_Cmd_SMART_RENDER && err == PF_Err_NONE) {
        AEOpenGLContextManager::getCurrentRenderContext()->makeContextCurrent();
    }
    return err;
}
