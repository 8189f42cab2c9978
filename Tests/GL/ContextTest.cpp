#include <string>
#include <utility>

#include "GLFixture.h"
#include "SaveRestoreGLContextEGL.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

// The int that `call` throws (0 for none) and what it prints.
template <typename Call>
std::pair<int, std::string> refusal(Call call) {
    testing::internal::CaptureStdout();
    int thrown = 0;
    try {
        call();
    } catch (int code) {
        thrown = code;
    }
    return {thrown, testing::internal::GetCapturedStdout()};
}

// The host's context stands in as a plain EGL context of another share group.
class SavedContextTest : public GLFixture {
protected:
    void SetUp() override {
        GLFixture::SetUp();
        mHost = EGLPlatform::createContext(EGL_NO_CONTEXT);
    }
    void TearDown() override {
        GLFixture::context()->makeContextCurrent();
        EGLPlatform::destroyContext(mHost);
    }
    EGLContext mHost = EGL_NO_CONTEXT;
};

TEST_F(SavedContextTest, TheHostsContextComesBackOnTheWayOutOrOnceOnRestore) {
    EGLPlatform::makeCurrent(mHost);
    try {
        SaveRestoreGLContextEGL saved;
        GLFixture::context()->makeContextCurrent();
        throw 516;
    } catch (int) {
    }
    EXPECT_EQ(EGLPlatform::currentContext(), mHost);

    SaveRestoreGLContextEGL saved;
    GLFixture::context()->makeContextCurrent();
    saved.restore();
    EXPECT_TRUE(saved.restored());
    EXPECT_EQ(EGLPlatform::currentContext(), mHost);
    // A second restore changes nothing, even with another context current in between.
    GLFixture::context()->makeContextCurrent();
    saved.restore();
    EXPECT_EQ(EGLPlatform::currentContext(), GLFixture::context()->context());
}

// A host with no context current still has a client API bound, and that choice is its own: after
// our context was current (which binds desktop GL), the host's OpenGL ES comes back.
TEST_F(SavedContextTest, AHostWithoutAContextGetsItsBoundApiBack) {
    eglMakeCurrent(EGLPlatform::display(), EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    ASSERT_EQ(eglBindAPI(EGL_OPENGL_ES_API), static_cast<EGLBoolean>(EGL_TRUE));
    {
        SaveRestoreGLContextEGL saved;
        GLFixture::context()->makeContextCurrent();
        ASSERT_EQ(eglQueryAPI(), static_cast<EGLenum>(EGL_OPENGL_API));
    }
    EXPECT_EQ(eglQueryAPI(), static_cast<EGLenum>(EGL_OPENGL_ES_API));
}

TEST_F(SavedContextTest, ARefusedContextIsReportedAndThrownAsAnInt) {
    int notAContext = 0;
    const auto create = refusal([&] { EGLPlatform::createContext(&notAContext); });
    EXPECT_EQ(create.first, 512);
    EXPECT_EQ(create.second.rfind("EGL error: eglCreateContext refused", 0), 0u) << create.second;
    const auto current = refusal([&] { EGLPlatform::makeCurrent(&notAContext); });
    EXPECT_EQ(current.first, 512);
    EXPECT_EQ(current.second.rfind("EGL error: eglMakeCurrent refused", 0), 0u) << current.second;
    EXPECT_EQ(EGLPlatform::currentContext(), GLFixture::context()->context());
}

}  // namespace
