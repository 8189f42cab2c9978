#include <cmath>

#include "AEOpenglMainFrameBuffer.h"
#include "FailingAllocation.h"
#include "GLFixture.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

class RenderTextureTest : public GLFixture {
protected:
    // Float targets keep the clear colour unclamped.
    static void fill(float r, float g, float b, float a) {
        glClearColor(r, g, b, a);
        glClear(GL_COLOR_BUFFER_BIT);
    }

    static std::vector<float> texels(GLuint texture, int count) {
        std::vector<float> values(static_cast<size_t>(count * 4), -9.0f);
        glBindTexture(GL_TEXTURE_2D, texture);
        glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_FLOAT, values.data());
        return values;
    }

    static GLint get(GLenum name, int index = 0) {
        GLint value[4] = {-1, -1, -1, -1};
        glGetIntegerv(name, value);
        return value[index];
    }

    AEOpenglMainFrameBuffer* mFrame = AEOpenglMainFrameBuffer::mainFrameBuffer();
};

TEST_F(RenderTextureTest, FormatsSizesAndFiltersFollowTheTable) {
    mFrame->prepare(6, 4, true);
    struct Row {
        GLuint texture;
        GLenum channelType, minFilter, magFilter;
        GLint width;
    };
    const Vec2 size(3.9, 2.2);
    for (const Row& row :
         {Row{mFrame->createRenderTexture(size, false), GL_UNSIGNED_NORMALIZED, GL_LINEAR, GL_LINEAR, 3},
          Row{mFrame->createRenderTexture(size, true), GL_UNSIGNED_NORMALIZED, GL_LINEAR_MIPMAP_LINEAR,
              GL_LINEAR, 3},
          Row{mFrame->createFloatRenderTexture(size, true, true), GL_FLOAT, GL_LINEAR_MIPMAP_LINEAR,
              GL_LINEAR, 3},
          Row{mFrame->createFloatRenderTexture(size, false, false), GL_FLOAT, GL_NEAREST, GL_NEAREST, 3},
          Row{mFrame->createFloatRenderTexture(false, true), GL_FLOAT, GL_LINEAR_MIPMAP_NEAREST, GL_LINEAR,
              6}}) {
        GLint type = 0, width = 0, minFilter = 0, magFilter = 0;
        glBindTexture(GL_TEXTURE_2D, row.texture);
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_RED_TYPE, &type);
        glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &minFilter);
        glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &magFilter);
        EXPECT_EQ(type, static_cast<GLint>(row.channelType));
        EXPECT_EQ(width, row.width);
        EXPECT_EQ(minFilter, static_cast<GLint>(row.minFilter));
        EXPECT_EQ(magFilter, static_cast<GLint>(row.magFilter));
        glDeleteTextures(1, &row.texture);
    }
    // Sizes that no texture can take make none.
    EXPECT_EQ(mFrame->createRenderTexture(Vec2(-1.0, 4.0), false), 0u);
    EXPECT_EQ(mFrame->createFloatRenderTexture(Vec2(4.0, std::nan("")), false, false), 0u);
    EXPECT_EQ(mFrame->createFloatRenderTexture(Vec2(1e9, 1e9), true, false), 0u);
}

TEST_F(RenderTextureTest, AZeroBufferThatCannotBeHadThrows4AndLeavesNoTexture) {
    GLuint probe = 0;  // the names a leaked texture would take
    glGenTextures(1, &probe);
    glDeleteTextures(1, &probe);
    tFailAllocationOfSize = 37 * 3 * 4;
    int thrown = 0;
    try {
        mFrame->createRenderTexture(Vec2(37.0, 3.0), false);
    } catch (int code) {
        thrown = code;
    }
    tFailAllocationOfSize = 0;
    EXPECT_EQ(thrown, 4);
    for (GLuint name = probe; name < probe + 4; ++name) EXPECT_FALSE(glIsTexture(name)) << name;
    EXPECT_EQ(get(GL_TEXTURE_BINDING_2D), 0);
}

TEST_F(RenderTextureTest, ANormalContextClearsTheTextureAndTakesTheDraw) {
    mFrame->destory();
    const GLuint texture = mFrame->createRenderTexture(Vec2(4.0, 2.0), false);
    const std::vector<unsigned char> grey(4 * 2 * 4, 200);
    glBindTexture(GL_TEXTURE_2D, texture);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 4, 2, GL_RGBA, GL_UNSIGNED_BYTE, grey.data());
    mFrame->pushNormalRenderContext(texture);
    glViewport(0, 0, 4, 2);
    EXPECT_EQ(readPixels(4, 2), std::vector<float>(32, 0.0f));
    fill(0.2f, 0.4f, 0.6f, 0.8f);
    mFrame->popNormalRenderContext();
    EXPECT_EQ(get(GL_DRAW_FRAMEBUFFER_BINDING), 0);
    EXPECT_RGBA_NEAR(pixel(texels(texture, 8), 7), 0.2f, 0.4f, 0.6f, 0.8f, 0.5f / 255.0f);
    glDeleteTextures(1, &texture);
}

TEST_F(RenderTextureTest, AFloatTextureAboveALevelKeepsValuesAboveOne) {
    mFrame->prepare(6, 4, true);
    mFrame->beginDrawing();
    fill(0.2f, 0.4f, 0.6f, 1.0f);
    const GLint level = get(GL_DRAW_FRAMEBUFFER_BINDING);
    // A pop with no normal context bound leaves the level's frame buffer alone.
    mFrame->popNormalRenderContext();
    EXPECT_EQ(get(GL_DRAW_FRAMEBUFFER_BINDING), level);

    const GLuint texture = mFrame->createFloatRenderTexture(Vec2(2.0, 2.0), false, false);
    mFrame->pushNormalRenderContext(texture, Vec2(2.0, 2.0), 0);
    EXPECT_EQ(get(GL_VIEWPORT, 2), 2);
    fill(2.5f, -1.0f, 0.25f, 300.0f);
    mFrame->popNormalRenderContext();
    EXPECT_EQ(get(GL_DRAW_FRAMEBUFFER_BINDING), level);
    EXPECT_EQ(get(GL_VIEWPORT, 2), 6);
    EXPECT_RGBA_NEAR(pixel(texels(texture, 4), 3), 2.5f, -1.0f, 0.25f, 300.0f, 0.0f);

    // The level kept its pixels; the frame ends in host order (A, R, G, B).
    mFrame->endDrawing(1.0f);
    EXPECT_RGBA_NEAR(pixel(readPixels(6, 4), 23), 1.0f, 0.2f, 0.4f, 0.6f, 0.01f);
    glDeleteTextures(1, &texture);
}

}  // namespace
