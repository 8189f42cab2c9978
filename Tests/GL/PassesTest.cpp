#include "BackgroundRender.h"
#include "GLFixture.h"
#include "ScreenRender.h"

using namespace gl;
using namespace Ostrivane::GaussianBlur;

namespace {

// Each pass draws one texel's worth of a 2 × 1 float texture into a 2 × 1 float target, so values
// outside 0..1 keep their sign.
class PassesTest : public GLFixture {
protected:
    template <typename Pass>
    std::vector<float> run(Pass& pass, const std::vector<float>& texels, float multiplier16bit = 1.0f) {
        const GLuint texture = makeTexture(2, 1, texels), target = makeTexture(2, 1, std::vector<float>(8));
        const GLuint framebuffer = bindFramebuffer(target);
        glViewport(0, 0, 2, 1);
        glDisable(GL_BLEND);
        pass.draw(texture, multiplier16bit);
        std::vector<float> pixels = readPixels(2, 1);
        deleteFramebuffer(framebuffer, target);
        glDeleteTextures(1, &texture);
        return pixels;
    }
};

TEST_F(PassesTest, ScreenRenderUnpremultipliesIntoHostOrder) {
    ScreenRender pass;
    // Premultiplied (0.25, 0.125, 0, 0.5), and a texel of alpha 0 with colour left in it.
    const std::vector<float> pixels = run(pass, {0.25f, 0.125f, 0.0f, 0.5f, 0.7f, 0.3f, 0.9f, 0.0f});
    EXPECT_RGBA_NEAR(pixel(pixels, 0), 0.5f, 0.5f, 0.25f, 0.0f, 1e-6f);
    EXPECT_RGBA_NEAR(pixel(pixels, 1), 0.0f, 0.0f, 0.0f, 0.0f, 0.0f);

    const std::vector<float> sixteenBit = run(pass, {0.25f, 0.125f, 0.0f, 0.5f, 0, 0, 0, 0}, 2.0f);
    EXPECT_RGBA_NEAR(pixel(sixteenBit, 0), 0.25f, 0.25f, 0.125f, 0.0f, 1e-6f);
}

TEST_F(PassesTest, BackgroundRenderPremultipliesFromHostOrderAndInvertsScreenRender) {
    BackgroundRender background;
    const std::vector<float> host = {0.5f, 0.5f, 0.25f, 0.0f, 0.75f, 0.2f, 0.4f, 0.8f};
    const std::vector<float> drawn = run(background, host);
    EXPECT_RGBA_NEAR(pixel(drawn, 0), 0.25f, 0.125f, 0.0f, 0.5f, 1e-6f);
    EXPECT_RGBA_NEAR(pixel(drawn, 1), 0.15f, 0.3f, 0.6f, 0.75f, 1e-6f);

    // A second draw uses the objects of the first.
    ScreenRender screen;
    const std::vector<float> back = run(screen, run(background, host));
    for (size_t i = 0; i < host.size(); ++i) EXPECT_NEAR(back[i], host[i], 1e-6f) << i;

    const std::vector<float> sixteenBit = run(background, {0.5f, 0.25f, 0.125f, 0.0f, 0, 0, 0, 0}, 2.0f);
    EXPECT_RGBA_NEAR(pixel(sixteenBit, 0), 0.5f, 0.25f, 0.0f, 1.0f, 1e-6f);
}

}  // namespace
