// Fault: after a frame that succeeds, the effect's own context is left current on the host's thread.
#include "AEOpenGLContextManager.h"
#include "Shim.h"

using namespace Ostrivane::GaussianBlur;

SHIM_AFTER_EACH_FRAME {
    AEOpenGLContextManager::getCurrentRenderContext()->makeContextCurrent();
}
