#include <cmath>
#include <new>

#include "AEOpenglMainFrameBuffer.h"
#include "GLFixture.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

// The next nothrow array allocation of exactly this many bytes gives null; 0 for none.
std::size_t gFailAllocationOfSize = 0;

}  // namespace

// Only this form is replaced; its memory comes from the ordinary operator new[], so that delete[]
// still matches it under the sanitizers.
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    if (gFailAllocationOfSize != 0 && size == gFailAllocationOfSize) {
        gFailAllocationOfSize = 0;
        return nullptr;
    }
    try {
        return ::operator new[](size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

namespace {

class RenderTextureTest : public GLFixture {
protected:
    // Float targets keep the clear colour unclamped.
    static void fill(float r, float g, float b, float a) {
        glClearColor(r, g, b, a);
        glClear(GL_COLOR_BUFFER_BIT);
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

    // A zero buffer that cannot be had throws 4 and leaves no texture.
    GLuint probe = 0;  // the names a leaked texture would take
    glGenTextures(1, &probe);
    glDeleteTextures(1, &probe);
    gFailAllocationOfSize = 37 * 3 * 4;
    int thrown = 0;
    try {
        mFrame->createRenderTexture(Vec2(37.0, 3.0), false);
    } catch (int code) {
        thrown = code;
    }
    gFailAllocationOfSize = 0;
    EXPECT_EQ(thrown, 4);
    for (GLuint name = probe; name < probe + 4; ++name) EXPECT_FALSE(glIsTexture(name)) << name;
    EXPECT_EQ(integer(GL_TEXTURE_BINDING_2D), 0);
}

// A normal context clears its texture and takes the draw, a float one keeping values above one,
// and its pop gives the level above which it was pushed its frame buffer and viewport back.
TEST_F(RenderTextureTest, ANormalContextAboveALevelTakesTheDrawAndHandsTheLevelBack) {
    mFrame->prepare(6, 4, true);
    mFrame->beginDrawing();
    fill(0.2f, 0.4f, 0.6f, 1.0f);
    const GLint level = integer(GL_DRAW_FRAMEBUFFER_BINDING);
    // A pop with no normal context bound leaves the level's frame buffer alone.
    mFrame->popNormalRenderContext();
    EXPECT_EQ(integer(GL_DRAW_FRAMEBUFFER_BINDING), level);

    const GLuint texture = mFrame->createFloatRenderTexture(Vec2(2.0, 2.0), false, false);
    glBindTexture(GL_TEXTURE_2D, texture);
    const std::vector<float> grey(2 * 2 * 4, 0.75f);
    glTexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, 2, 2, GL_RGBA, GL_FLOAT, grey.data());
    mFrame->pushNormalRenderContext(texture, Vec2(2.0, 2.0), 0);
    EXPECT_EQ(integer(GL_VIEWPORT, 2), 2);
    EXPECT_EQ(readPixels(2, 2), std::vector<float>(16, 0.0f));
    fill(2.5f, -1.0f, 0.25f, 300.0f);
    mFrame->popNormalRenderContext();
    EXPECT_EQ(integer(GL_DRAW_FRAMEBUFFER_BINDING), level);
    EXPECT_EQ(integer(GL_VIEWPORT, 2), 6);
    EXPECT_RGBA_NEAR(pixel(texels(texture, 4), 3), 2.5f, -1.0f, 0.25f, 300.0f, 0.0f);

    // The level kept its pixels; the frame ends in host order (A, R, G, B).
    mFrame->endDrawing(1.0f);
    EXPECT_RGBA_NEAR(pixel(readPixels(6, 4), 23), 1.0f, 0.2f, 0.4f, 0.6f, 0.01f);
    glDeleteTextures(1, &texture);
}

}  // namespace
