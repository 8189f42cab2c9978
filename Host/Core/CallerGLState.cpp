#include "CallerGLState.h"

namespace fxhost {

CallerGLState::CallerGLState()
    : mApi(eglQueryAPI()),
      mDisplay(eglGetCurrentDisplay()),
      mContext(eglGetCurrentContext()),
      mDraw(eglGetCurrentSurface(EGL_DRAW)),
      mRead(eglGetCurrentSurface(EGL_READ)) {}

CallerGLState::~CallerGLState() {
    // The effect may have bound another API or left its own context current; either would
    // change what the application's next GL call draws into.
    if (eglQueryAPI() != mApi) eglBindAPI(mApi);
    if (mContext != EGL_NO_CONTEXT) {
        if (eglGetCurrentContext() != mContext || eglGetCurrentDisplay() != mDisplay ||
            eglGetCurrentSurface(EGL_DRAW) != mDraw || eglGetCurrentSurface(EGL_READ) != mRead) {
            eglMakeCurrent(mDisplay, mDraw, mRead, mContext);
        }
        return;
    }
    // The thread had no context: release the effect's, so that the next call, perhaps on another
    // thread, can make it current there (EGL refuses a context current on two threads).
    const EGLDisplay effectDisplay = eglGetCurrentDisplay();
    if (effectDisplay != EGL_NO_DISPLAY) {
        eglMakeCurrent(effectDisplay, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    }
}

}  // namespace fxhost
