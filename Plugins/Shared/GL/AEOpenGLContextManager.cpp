#include "AEOpenGLContextManager.h"

#include <memory>

namespace Ostrivane {
namespace GaussianBlur {

namespace {

thread_local int mThread = -1;

}  // namespace

std::atomic<int> AEOpenGLContextManager::mContextCount(0);
std::map<int, AEOpenGLContext*> AEOpenGLContextManager::mRenderContexts;
std::recursive_mutex AEOpenGLContextManager::mMutex;
AEOpenGLContext* AEOpenGLContextManager::mSharedDataContext = nullptr;

void AEOpenGLContextManager::setupContextManager() {
    // Replacing the root would leave the render contexts in a share group of their own.
    if (mSharedDataContext != nullptr) {
        mSharedDataContext->makeContextCurrent();
        return;
    }
    mSharedDataContext = new AEOpenGLContext(nullptr);
}

AEOpenGLContext* AEOpenGLContextManager::getSharedDataContext() {
    return mSharedDataContext;
}

AEOpenGLContext* AEOpenGLContextManager::getCurrentRenderContext() {
    std::lock_guard<std::recursive_mutex> lock(mMutex);
    if (mThread == -1) mThread = mContextCount.fetch_add(1);
    const auto found = mRenderContexts.find(mThread);
    if (found != mRenderContexts.end() && found->second != nullptr) return found->second;
    // The entry is made only once the context exists, so a failed construction leaves none.
    std::unique_ptr<AEOpenGLContext> context(new AEOpenGLContext(mSharedDataContext));
    mRenderContexts[mThread] = context.get();
    return context.release();
}

void AEOpenGLContextManager::releaseContextManager() {
    for (auto& entry : mRenderContexts) delete entry.second;
    mRenderContexts.clear();
    delete mSharedDataContext;
    mSharedDataContext = nullptr;
}

int AEOpenGLContextManager::currentThreadId() {
    return mThread;
}

}  // namespace GaussianBlur
}  // namespace Ostrivane
