// A PNG read through libspng, without the image library: every colour type and bit depth, palette
// and transparency (tRNS) as alpha, interlaced or not. The world gets 8 bits a channel, grey in R,
// G and B, opaque without alpha; 16-bit channels are rounded once (v × 255 / 65535). The header
// says what an output is shaped like: grey, grey+alpha, RGB or RGBA at 8 or 16 bits (palette and
// 1 to 4-bit files at 8), with the file's ancillary chunks (PngChunks). Failures throw
// std::runtime_error, the reason alone.
#pragma once

#include <cstdio>
#include <memory>

#include "ImageCodec.h"
#include "PngChunks.h"

namespace fxhost {

class PngInput : public ImageInputFile {
public:
    // Whether the file's first bytes are a PNG's signature.
    static bool isPng(const unsigned char* head, size_t size);

    // Opens the file and reads its header (IHDR and the chunks before the pixels).
    explicit PngInput(const std::string& path);

    const ImageHeader& header() const override { return mHeader; }
    std::string formatName() const override { return "png"; }
    DepthLoss read(HostWorld& world, std::vector<float>& extra, double& convertSeconds) override;

private:
    void keepChunks();

    std::unique_ptr<FILE, int (*)(FILE*)> mFile;
    std::unique_ptr<spng_ctx, void (*)(spng_ctx*)> mContext;
    spng_ihdr mIhdr{};
    std::shared_ptr<PngChunks> mChunks;
    ImageHeader mHeader;
};

}  // namespace fxhost
