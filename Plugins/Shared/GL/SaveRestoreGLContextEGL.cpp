#include "SaveRestoreGLContextEGL.h"

#include "AEOpenGLContext.h"

namespace Ostrivane {
namespace GaussianBlur {

namespace {

bool sameState(const EGLPlatform::Current& a, const EGLPlatform::Current& b) {
    return a.display == b.display && a.context == b.context && a.draw == b.draw && a.read == b.read;
}

}  // namespace

SaveRestoreGLContextEGL::SaveRestoreGLContextEGL() : mSaved(EGLPlatform::current()) {}

SaveRestoreGLContextEGL::~SaveRestoreGLContextEGL() {
    restore();
}

void SaveRestoreGLContextEGL::restore() {
    if (mRestored) return;
    mRestored = true;
    if (mSaved.context == EGL_NO_CONTEXT) {
        // The host's API choice is its own even when it had no context.
        eglBindAPI(mSaved.api);
        return;
    }
    if (!sameState(mSaved, EGLPlatform::current())) {
        // EGL has one level of handles, so the flush comes before the one switch.
        AEOpenGLContext::flushOutgoing();
        EGLPlatform::setCurrent(mSaved);
    }
    eglBindAPI(mSaved.api);
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
