#pragma once

#include "FullFrameQuad.h"
#include "OpenglShader.h"

namespace Ostrivane {
namespace GaussianBlur {

/// The effect's pass: samples a texture in the host's channel order (A, R, G, B), turns the hue
/// by `setHue` degrees (a positive value turns the YIQ angle the negative way), mixes against the
/// luminance by `setSaturation` (unclamped), and writes premultiplied (R, G, B, A) over the whole
/// viewport of the bound frame buffer. The constructor makes no GL call; vertex arrays are made
/// per context.
class HueAndSaturationRender {
public:
    HueAndSaturationRender();
    ~HueAndSaturationRender();

    HueAndSaturationRender(const HueAndSaturationRender&) = delete;
    HueAndSaturationRender& operator=(const HueAndSaturationRender&) = delete;

    void setHue(float hue) { mHue = hue; }
    void setSaturation(float saturation) { mSaturation = saturation; }
    void draw(unsigned int texture, float multiplier16bit);

private:
    OpenglShader* mShader;
    FullFrameQuad mQuad;
    float mHue = 0.0f;
    float mSaturation = 1.0f;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
