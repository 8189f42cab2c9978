#include <atomic>
#include <cstdlib>
#include <new>
#include <thread>

#include "AEOpenGLContextManager.h"
#include "FailingAllocation.h"
#include "GLFixture.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

// Every form of new and delete is replaced together, so every pair stays matched under
// AddressSanitizer too.
thread_local std::size_t tFailAllocationOfSize = 0;

namespace {

void* allocate(std::size_t size) {
    if (tFailAllocationOfSize != 0 && size == tFailAllocationOfSize) {
        tFailAllocationOfSize = 0;
        return nullptr;
    }
    return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void* operator new(std::size_t size) {
    if (void* memory = allocate(size)) return memory;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}

// The compiler takes these for a free() of memory from the standard operator new; here
// new is malloc, so the pair matches.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}
#pragma GCC diagnostic pop

namespace {

class ContextManagerTest : public GLFixture {
protected:
    void SetUp() override {
        GLFixture::SetUp();
        testing::internal::CaptureStdout();
        AEOpenGLContextManager::setupContextManager();
    }
    void TearDown() override {
        AEOpenGLContextManager::getSharedDataContext()->makeContextCurrent();
        AEOpenGLContextManager::releaseContextManager();
        testing::internal::GetCapturedStdout();
        GLFixture::context()->makeContextCurrent();
    }

    struct ThreadResult {
        int id = -2;
        AEOpenGLContext* first = nullptr;
        AEOpenGLContext* second = nullptr;
        bool seesSharedTexture = false;
    };

    // Two calls on a fresh thread, which then lets its context go.
    static ThreadResult renderOnNewThread(GLuint sharedTexture) {
        ThreadResult result;
        std::thread thread([&] {
            result.first = AEOpenGLContextManager::getCurrentRenderContext();
            result.second = AEOpenGLContextManager::getCurrentRenderContext();
            result.id = AEOpenGLContextManager::currentThreadId();
            result.first->makeContextCurrent();
            result.seesSharedTexture = glIsTexture(sharedTexture) == GL_TRUE;
            EGLPlatform::makeCurrent(EGL_NO_CONTEXT);
        });
        thread.join();
        return result;
    }
};

TEST_F(ContextManagerTest, ThreadsGetConsecutiveIdsAndKeepTheirOwnContextInTheShareGroup) {
    const GLuint shared = makeTexture(1, 1, {0, 0, 0, 0});
    const ThreadResult one = renderOnNewThread(shared);
    const ThreadResult two = renderOnNewThread(shared);

    EXPECT_GE(one.id, 0);
    EXPECT_EQ(two.id, one.id + 1);
    EXPECT_EQ(one.first, one.second);
    EXPECT_EQ(two.first, two.second);
    EXPECT_NE(one.first, two.first);
    EXPECT_NE(one.first, AEOpenGLContextManager::getSharedDataContext());
    EXPECT_TRUE(one.seesSharedTexture);
    EXPECT_TRUE(two.seesSharedTexture);
    AEOpenGLContextManager::getSharedDataContext()->makeContextCurrent();
    glDeleteTextures(1, &shared);
}

TEST_F(ContextManagerTest, AThreadWhoseContextWasReleasedGetsANewOne) {
    AEOpenGLContext* first = AEOpenGLContextManager::getCurrentRenderContext();
    const int id = AEOpenGLContextManager::currentThreadId();
    ASSERT_NE(first, nullptr);

    AEOpenGLContextManager::getSharedDataContext()->makeContextCurrent();
    AEOpenGLContextManager::releaseContextManager();
    EXPECT_EQ(AEOpenGLContextManager::getSharedDataContext(), nullptr);
    AEOpenGLContextManager::setupContextManager();
    const GLuint shared = makeTexture(1, 1, {0, 0, 0, 0});

    AEOpenGLContext* again = AEOpenGLContextManager::getCurrentRenderContext();
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(AEOpenGLContextManager::currentThreadId(), id);
    EXPECT_EQ(EGLPlatform::currentContext(), again->context());
    EXPECT_EQ(glIsTexture(shared), GL_TRUE);
    EXPECT_EQ(AEOpenGLContextManager::getCurrentRenderContext(), again);
    glDeleteTextures(1, &shared);
}

TEST_F(ContextManagerTest, AFailedCreationLeavesTheLockFreeAndNoEntry) {
    tFailAllocationOfSize = sizeof(AEOpenGLContext);
    EXPECT_THROW(AEOpenGLContextManager::getCurrentRenderContext(), std::bad_alloc);
    EXPECT_EQ(tFailAllocationOfSize, 0u);

    // Another thread would block for good on a lock left taken.
    std::atomic<bool> otherGotOne(false);
    std::thread other([&] {
        otherGotOne = AEOpenGLContextManager::getCurrentRenderContext() != nullptr;
        EGLPlatform::makeCurrent(EGL_NO_CONTEXT);
    });
    other.join();
    EXPECT_TRUE(otherGotOne);

    AEOpenGLContext* retried = AEOpenGLContextManager::getCurrentRenderContext();
    ASSERT_NE(retried, nullptr);
    EXPECT_EQ(EGLPlatform::currentContext(), retried->context());
}

}  // namespace
