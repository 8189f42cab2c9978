#include <thread>

#include "AEOpenGLContextManager.h"
#include "GLFixture.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

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

TEST_F(ContextManagerTest, EachThreadKeepsItsOwnContextInTheShareGroupUntilTheRelease) {
    GLuint shared = makeTexture(1, 1, {0, 0, 0, 0});
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

    // After a release and a new set-up, this thread keeps its id and gets a new context in the new group.
    ASSERT_NE(AEOpenGLContextManager::getCurrentRenderContext(), nullptr);
    const int id = AEOpenGLContextManager::currentThreadId();
    AEOpenGLContextManager::getSharedDataContext()->makeContextCurrent();
    AEOpenGLContextManager::releaseContextManager();
    EXPECT_EQ(AEOpenGLContextManager::getSharedDataContext(), nullptr);
    AEOpenGLContextManager::setupContextManager();
    shared = makeTexture(1, 1, {0, 0, 0, 0});
    AEOpenGLContext* again = AEOpenGLContextManager::getCurrentRenderContext();
    ASSERT_NE(again, nullptr);
    EXPECT_EQ(AEOpenGLContextManager::currentThreadId(), id);
    EXPECT_EQ(EGLPlatform::currentContext(), again->context());
    EXPECT_EQ(glIsTexture(shared), GL_TRUE);
    EXPECT_EQ(AEOpenGLContextManager::getCurrentRenderContext(), again);
    glDeleteTextures(1, &shared);
}

}  // namespace
