// Pixels to an image file in memory, for the preview's answers. PNG is bare: no gamma, chromaticity,
// sRGB or ICC chunk, so a browser shows the stored values as they are. JPEG is for proxies while a
// slider moves: fast, not exact. Failures throw std::runtime_error with libav's reason.
#pragma once

#include <string>

#include "PreviewRenderer.h"

namespace fxhost {

class ImageEncoder {
public:
    // zlib's fastest level with the Sub row filter: at 1080p a fraction of the default's time.
    static std::string png(const Pixels& pixels);
    // Full-range 4:2:0 at a high quality; alpha is dropped.
    static std::string jpeg(const Pixels& pixels);
};

}  // namespace fxhost
