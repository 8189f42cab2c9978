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

TEST_F(ContextTest, ConstructionPrintsTheDriverReportAndLeavesTheContextCurrent) {
    testing::internal::CaptureStdout();
    AEOpenGLContext context(GLFixture::context());
    const std::string report = testing::internal::GetCapturedStdout();

    EXPECT_EQ(EGLPlatform::currentContext(), context.context());
    // Six lines: empty, four labelled 17 characters wide, empty.
    const std::string renderer = reinterpret_cast<const char*>(glGetString(GL_RENDERER));
    GLint major = 0;
    GLint minor = 0;
    glGetIntegerv(GL_MAJOR_VERSION, &major);
    glGetIntegerv(GL_MINOR_VERSION, &minor);
    EXPECT_GE(major * 10 + minor, 33);
    const std::string version = std::to_string(major) + "." + std::to_string(minor);
    EXPECT_EQ(report.rfind("\nOpenGL Version:  " + version + "\n", 0), 0u) << report;
    EXPECT_NE(report.find("\nOpenGL Vendor:   "), std::string::npos);
    EXPECT_NE(report.find("\nOpenGL Renderer: " + renderer + "\n"), std::string::npos);
    EXPECT_EQ(report.substr(report.size() - 11), " (gl.xml)\n\n");
    EXPECT_EQ(std::count(report.begin(), report.end(), '\n'), 6);
    EXPECT_FALSE(context.extensions().empty());
    GLFixture::context()->makeContextCurrent();
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
