#include "AEOpenglMainFrameBuffer.h"
#include "BackgroundRender.h"
#include "GLFixture.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

// The result renderbuffer is 8 bits a channel, and the level holds premultiplied values.
const float kEightBit = 0.01f;

// Host texels (A, R, G, B), straight alpha, 3 × 2, with different alphas.
std::vector<float> hostFrame(float shade) {
    return {0.8f, shade, 0.2f, 0.4f, 1.0f, 0.1f, shade, 0.3f, 0.6f, 0.5f,  0.5f,  shade,
            1.0f, shade, 1.0f, 0.0f, 0.9f, 0.0f, 0.0f,  0.0f, 0.7f, 0.25f, shade, 0.75f};
}

class MainFrameBufferTest : public GLFixture {
protected:
    void SetUp() override {
        GLFixture::SetUp();
        mFrame = AEOpenglMainFrameBuffer::mainFrameBuffer();
    }

    // One frame through the whole stage: host texels in, the result renderbuffer read back.
    std::vector<float> renderFrame(long width, long height, bool multisample,
                                   const std::vector<float>& host) {
        const GLuint texture = makeTexture(static_cast<int>(width), static_cast<int>(height), host);
        mFrame->prepare(width, height, multisample);
        mFrame->beginDrawing();
        mBackground.draw(texture, 1.0f);
        mFrame->endDrawing(1.0f);
        glDeleteTextures(1, &texture);
        return readPixels(static_cast<int>(width), static_cast<int>(height));
    }

    static void expectFrame(const std::vector<float>& actual, const std::vector<float>& expected) {
        ASSERT_EQ(actual.size(), expected.size());
        for (size_t i = 0; i < actual.size(); ++i)
            EXPECT_NEAR(actual[i], expected[i], kEightBit) << "channel " << i;
    }

    static GLint colourAttachment() {
        GLint value = -1;
        glGetFramebufferAttachmentParameteriv(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0,
                                              GL_FRAMEBUFFER_ATTACHMENT_OBJECT_NAME, &value);
        return value;
    }

    static GLint colourRenderbufferParameter(GLenum parameter) {
        glBindRenderbuffer(GL_RENDERBUFFER, static_cast<GLuint>(colourAttachment()));
        GLint value = -1;
        glGetRenderbufferParameteriv(GL_RENDERBUFFER, parameter, &value);
        return value;
    }

    AEOpenglMainFrameBuffer* mFrame = nullptr;
    BackgroundRender mBackground;
};

TEST_F(MainFrameBufferTest, APopResolvesTheUpperLevelAndTheLowerOneKeepsItsPixels) {
    for (bool multisample : {true, false}) {
        SCOPED_TRACE(multisample ? "multisampled" : "plain");
        mFrame->destory();
        mFrame->prepare(3, 2, multisample);
        mFrame->beginDrawing();
        glClearColor(0.4f, 0.2f, 0.0f, 0.8f);  // premultiplied (0.5, 0.25, 0) at alpha 0.8
        glClear(GL_COLOR_BUFFER_BIT);
        mFrame->pushRenderContext(false, false);
        glClearColor(0.0f, 0.5f, 0.0f, 0.5f);
        glClear(GL_COLOR_BUFFER_BIT);

        const GLuint upper = mFrame->popRenderContext();
        ASSERT_NE(upper, 0u);
        const std::vector<float> texels = GLFixture::texels(upper, 6);
        glDeleteTextures(1, &upper);
        for (size_t i = 0; i < 6; ++i) EXPECT_RGBA_NEAR(pixel(texels, i), 0.0f, 0.5f, 0.0f, 0.5f, kEightBit);

        mFrame->endDrawing(1.0f);
        const std::vector<float> lower = readPixels(3, 2);
        for (size_t i = 0; i < 6; ++i) EXPECT_RGBA_NEAR(pixel(lower, i), 0.8f, 0.5f, 0.25f, 0.0f, kEightBit);

        // The stack is empty now: a pop gives 0 and another end changes nothing.
        EXPECT_EQ(mFrame->popRenderContext(), 0u);
        mFrame->endDrawing(1.0f);
        EXPECT_EQ(readPixels(3, 2), lower);
    }
}

TEST_F(MainFrameBufferTest, PrepareRebuildsOnlyForANewSize) {
    mFrame->destory();
    renderFrame(3, 2, true, hostFrame(0.1f));
    const GLint framebuffer = integer(GL_DRAW_FRAMEBUFFER_BINDING), result = colourAttachment();

    // The same size, even with another mode asked for, keeps every object and the mode.
    expectFrame(renderFrame(3, 2, false, hostFrame(0.9f)), hostFrame(0.9f));
    EXPECT_EQ(integer(GL_DRAW_FRAMEBUFFER_BINDING), framebuffer);
    EXPECT_EQ(colourAttachment(), result);
    mFrame->prepare(3, 2, false);
    mFrame->beginDrawing();
    EXPECT_GT(colourRenderbufferParameter(GL_RENDERBUFFER_SAMPLES), 0);
    mFrame->clearStack();

    // A new size: a result renderbuffer of that size, and a right frame.
    std::vector<float> wide = hostFrame(0.5f);
    const std::vector<float> more = hostFrame(0.7f);
    wide.insert(wide.end(), more.begin(), more.end());
    expectFrame(renderFrame(4, 3, true, wide), wide);
    EXPECT_EQ(colourRenderbufferParameter(GL_RENDERBUFFER_WIDTH), 4);
    EXPECT_EQ(colourRenderbufferParameter(GL_RENDERBUFFER_HEIGHT), 3);
}

}  // namespace
