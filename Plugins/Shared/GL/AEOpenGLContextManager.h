#pragma once

#include <atomic>
#include <map>
#include <mutex>

#include "AEOpenGLContext.h"

namespace Ostrivane {
namespace GaussianBlur {

/// Owns every context of the process: one shared data context, the root of the share group, and
/// one render context per thread that renders. Threads get ids 0, 1, ... in the order of their
/// first `getCurrentRenderContext`. A thread whose context is gone after a release gets a new one
/// on its next call, under its old id. Only `getCurrentRenderContext` locks.
class AEOpenGLContextManager {
public:
    AEOpenGLContextManager() = delete;

    /// Creates the shared data context and leaves it current. Called again without a release, it
    /// keeps the existing share group: it makes the shared data context current and creates nothing.
    static void setupContextManager();
    static AEOpenGLContext* getSharedDataContext();
    /// The calling thread's render context, created (and left current) on its first call.
    /// If creation throws, the exception passes through with no entry made and the lock free.
    static AEOpenGLContext* getCurrentRenderContext();
    /// Deletes the render contexts in ascending id order, then the shared data context.
    static void releaseContextManager();

    /// The calling thread's id, or -1 before its first `getCurrentRenderContext`.
    static int currentThreadId();

private:
    static std::atomic<int> mContextCount;
    static std::map<int, AEOpenGLContext*> mRenderContexts;
    static std::recursive_mutex mMutex;
    static AEOpenGLContext* mSharedDataContext;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
