#include "BackgroundRender.h"
#include "GLFixture.h"
#include "HueAndSaturationRender.h"
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
        const GLuint texture = makeTexture(2, 1, texels);
        FloatTarget target = makeFloatTarget(2, 1);
        pass.draw(texture, multiplier16bit);
        std::vector<float> pixels = readPixels(2, 1);
        deleteFloatTarget(target);
        glDeleteTextures(1, &texture);
        return pixels;
    }

    // Host order (A, R, G, B) as it lies in the texture.
    std::vector<float> hue(float hueValue, float saturation, const std::vector<float>& texels) {
        HueAndSaturationRender pass;
        pass.setHue(hueValue);
        pass.setSaturation(saturation);
        return run(pass, texels);
    }
};

const std::vector<float> kOpaqueRed = {1, 1, 0, 0, 1, 1, 0, 0};

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

// Expected figures worked by hand from the YIQ weights: red has Y 0.299, I 0.595716, Q 0.211456.
TEST_F(PassesTest, HueTurnsTheNegativeWayInYIQ) {
    // 180 degrees: I and Q change sign.
    EXPECT_RGBA_NEAR(pixel(hue(180.0f, 1.0f, kOpaqueRed), 0), -0.401997f, 0.597991f, 0.598010f, 1.0f, 1e-4f);
    // 90 degrees: I takes Q, and Q takes -I.
    EXPECT_RGBA_NEAR(pixel(hue(90.0f, 1.0f, kOpaqueRed), 0), 0.131275f, 0.627129f, -0.950540f, 1.0f, 1e-4f);
    // 0 and 360: red again, up to the rounding of the two matrices.
    EXPECT_RGBA_NEAR(pixel(hue(0.0f, 1.0f, kOpaqueRed), 0), 0.999997f, 0.000009f, -0.000010f, 1.0f, 1e-4f);
    EXPECT_RGBA_NEAR(pixel(hue(360.0f, 1.0f, kOpaqueRed), 0), 0.999997f, 0.000009f, -0.000010f, 1.0f, 1e-4f);
}

TEST_F(PassesTest, SaturationMixesAgainstLuminanceWithoutClamping) {
    // Grey of 0.2125 R + 0.7154 G + 0.0721 B of the rebuilt red.
    EXPECT_RGBA_NEAR(pixel(hue(0.0f, 0.0f, kOpaqueRed), 0), 0.2125f, 0.2125f, 0.2125f, 1.0f, 1e-4f);
    // Twice as far from grey: 2 × rgb − grey.
    EXPECT_RGBA_NEAR(pixel(hue(0.0f, 2.0f, kOpaqueRed), 0), 1.787494f, -0.212482f, -0.212520f, 1.0f, 1e-4f);
}

TEST_F(PassesTest, HueOutputIsPremultipliedAndAlphaZeroGivesZeros) {
    // Half-transparent red, and a transparent texel that still holds colour.
    const std::vector<float> pixels = hue(0.0f, 1.0f, {0.5f, 1, 0, 0, 0.0f, 0.8f, 0.4f, 0.2f});
    EXPECT_RGBA_NEAR(pixel(pixels, 0), 0.5f, 0.0f, 0.0f, 0.5f, 1e-4f);
    EXPECT_RGBA_NEAR(pixel(pixels, 1), 0.0f, 0.0f, 0.0f, 0.0f, 0.0f);
}

}  // namespace
