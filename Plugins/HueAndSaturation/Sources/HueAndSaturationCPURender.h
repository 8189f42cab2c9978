#pragma once

#include "PFTypes.h"

namespace Ostrivane {
namespace GaussianBlur {

/// The effect's pass on the CPU: the bytes the GL pass and its final copy store for an 8-bit ARGB
/// world with straight alpha, without a GL context. `render` reads `input` and writes `output` of the
/// same width and height, each with its own `rowbytes`; every row is independent of the others, so
/// a band of rows renders exactly as those rows of the whole frame. Rows are split over threads.
class HueAndSaturationCPURender {
public:
    void setHue(float hue) { mHue = hue; }
    void setSaturation(float saturation) { mSaturation = saturation; }
    void render(const PF_LayerDef& input, PF_LayerDef& output) const;

private:
    float mHue = 0.0f;
    float mSaturation = 1.0f;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
