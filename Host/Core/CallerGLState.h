// Notes the calling thread's whole EGL state (bound API, display, context, draw and read
// surfaces) when made and puts exactly that back when destroyed: the application's own context
// is current again, and a thread that had none is left with none, not with the effect's.
#pragma once

#include <EGL/egl.h>

namespace fxhost {

class CallerGLState {
public:
    CallerGLState();
    ~CallerGLState();

    CallerGLState(const CallerGLState&) = delete;
    CallerGLState& operator=(const CallerGLState&) = delete;

private:
    EGLenum mApi;
    EGLDisplay mDisplay;
    EGLContext mContext;
    EGLSurface mDraw;
    EGLSurface mRead;
};

}  // namespace fxhost
