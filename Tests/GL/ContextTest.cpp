#include <algorithm>
#include <string>
#include <utility>

#include "GLFixture.h"
#include "SaveRestoreGLContextEGL.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

class ContextTest : public GLFixture {};

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

TEST_F(ContextTest, ContextsOfOneGroupShareTexturesButNotVertexArrays) {
    const std::vector<float> texel = {0.25f, 0.5f, 0.75f, 1.0f};
    const GLuint texture = makeTexture(1, 1, texel);
    GLuint vertexArray = 0;
    glGenVertexArrays(1, &vertexArray);
    glBindVertexArray(vertexArray);

    testing::internal::CaptureStdout();
    AEOpenGLContext second(GLFixture::context());
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(glIsTexture(texture), GL_TRUE);
    EXPECT_EQ(glIsVertexArray(vertexArray), GL_FALSE);
    std::vector<float> read(4, 0.0f);
    glBindTexture(GL_TEXTURE_2D, texture);
    glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, read.data());
    EXPECT_EQ(read, texel);

    GLFixture::context()->makeContextCurrent();
    EXPECT_EQ(EGLPlatform::currentContext(), GLFixture::context()->context());
    EXPECT_EQ(glIsVertexArray(vertexArray), GL_TRUE);
    glBindVertexArray(0);
    glDeleteVertexArrays(1, &vertexArray);
    glDeleteTextures(1, &texture);
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

TEST_F(SavedContextTest, RestorePutsTheHostContextBackOnceAndOnlyOnce) {
    EGLPlatform::makeCurrent(mHost);
    SaveRestoreGLContextEGL saved;
    GLFixture::context()->makeContextCurrent();
    EXPECT_EQ(EGLPlatform::currentContext(), GLFixture::context()->context());

    saved.restore();
    EXPECT_TRUE(saved.restored());
    EXPECT_EQ(EGLPlatform::currentContext(), mHost);

    // A second restore changes nothing, even with another context current in between.
    GLFixture::context()->makeContextCurrent();
    saved.restore();
    EXPECT_EQ(EGLPlatform::currentContext(), GLFixture::context()->context());
}

TEST_F(SavedContextTest, AnExceptionStillHandsTheHostItsContextBack) {
    EGLPlatform::makeCurrent(mHost);
    try {
        SaveRestoreGLContextEGL saved;
        GLFixture::context()->makeContextCurrent();
        throw 516;
    } catch (int) {
    }
    EXPECT_EQ(EGLPlatform::currentContext(), mHost);
}

TEST_F(ContextTest, ARefusedContextIsReportedAndThrownAsAnInt) {
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
