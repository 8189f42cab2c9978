#pragma once

#include "PFTypes.h"

namespace Ostrivane {
namespace GaussianBlur {

/// The effect's pass on the CPU for an 8-bit ARGB world with straight alpha, without a GL context:
/// the pass's hue turn and saturation mix as one 3x3 matrix on each pixel's levels, rounded as the
/// GL road rounds (for alpha below 255: premultiplied, stored in 8 bits, divided by the alpha).
/// Its bytes stay within one level of the GL road's at alpha 255 and within what one premultiplied
/// level becomes after the division below that. `render` reads `input` and writes `output`, each
/// with its own `rowbytes` (the two may be the same world); rows past the smaller of the two sizes
/// are left alone. Every row is independent of the others, so a band of rows renders exactly as
/// those rows of the whole frame. Large frames are shared out in runs of rows between the calling
/// thread and helper threads that live as long as the library; when `render` returns no helper
/// touches the frame any more. Renders on several threads at once are safe; nothing is thrown.
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
