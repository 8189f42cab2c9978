#pragma once

#include "PFTypes.h"

namespace Ostrivane {
namespace GaussianBlur {

/// The effect's pass on the CPU: the bytes the GL pass and its final copy store for an 8-bit ARGB
/// world with straight alpha, without a GL context. `render` reads `input` and writes `output`, each
/// with its own `rowbytes` (the two may be the same world); rows past the smaller of the two sizes
/// are left alone. Every row is independent of the others, so a band of rows renders exactly as
/// those rows of the whole frame. Large frames are split into bands over threads that have all
/// ended when `render` returns; nothing is thrown.
class HueAndSaturationCPURender {
public:
    void setHue(float hue) { mHue = hue; }
    void setSaturation(float saturation) { mSaturation = saturation; }
    /// The most threads one `render` uses, the calling thread included; 0 (the default) means one
    /// a core. Frames below a few hundred thousand pixels always render on the calling thread.
    void setMaxThreads(unsigned threads) { mMaxThreads = threads; }
    void render(const PF_LayerDef& input, PF_LayerDef& output) const;

private:
    float mHue = 0.0f;
    float mSaturation = 1.0f;
    unsigned mMaxThreads = 0;
};

}  // namespace GaussianBlur
}  // namespace Ostrivane
