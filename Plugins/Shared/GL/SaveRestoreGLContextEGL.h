#pragma once

#include "EGLPlatform.h"

namespace Ostrivane {
namespace GaussianBlur {

/// Brackets one host command: notes the calling thread's current EGL state (API, display,
/// context, surfaces) at construction and puts it back in `restore`, which acts at most once and
/// also runs from the destructor, so a command left by an exception hands the host its context
/// back too. If there was no context at the start, the plug-in's context stays current.
class SaveRestoreGLContextEGL {
public:
    SaveRestoreGLContextEGL();
    ~SaveRestoreGLContextEGL();

    SaveRestoreGLContextEGL(const SaveRestoreGLContextEGL&) = delete;
    SaveRestoreGLContextEGL& operator=(const SaveRestoreGLContextEGL&) = delete;

    /// Flushes the outgoing context (unless a frame buffer that isn't complete is bound in it) and
    /// switches back, if the saved context isn't null and isn't current already.
    void restore();

    bool restored() const { return mRestored; }
    const EGLPlatform::Current& saved() const { return mSaved; }

private:
    bool mRestored = false;
    EGLPlatform::Current mSaved;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
