// Fault: set-down releases the effect's contexts before it deletes its frame buffer's renderbuffers,
// so the deletes run on whatever is current then: the host's context, whose own objects share the
// names. (Deleting a renderbuffer that does not exist is no GL error, so nothing else shows it.)
#include "AEOpenGLContextManager.h"
#include "AEOpenglMainFrameBuffer.h"
#include "Shim.h"

using namespace Ostrivane::GaussianBlur;

SHIM_ENTRY_POINT {
    if (cmd == PF_Cmd_GLOBAL_SETDOWN && in_data && out_data) {
        AEOpenGLContextManager::releaseContextManager();
        AEOpenglMainFrameBuffer::mainFrameBuffer()->unprepare();
    }
    return GoodEntryPointFunc(cmd, in_data, out_data, params, output, extra);
}
