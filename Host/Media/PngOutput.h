// A PNG written through libspng, without the image library, shaped like a header: grey,
// grey+alpha, RGB or RGBA as the header has channels (more than four: the first four), 16 bits
// for a uint16 header, 8 otherwise; straight alpha; rows without a prediction filter, zlib at
// the level asked. A header read from a PNG gives its ancillary chunks back as they were
// (PngChunks), the ICC profile byte for byte; so does one the image library read, with what of it
// a PNG can hold. A chunk that libspng refuses is left out with a warning.
// Failures throw std::runtime_error, the reason alone.
#pragma once

#include <cstdio>
#include <memory>

#include "ImageCodec.h"
#include "PngChunks.h"

namespace fxhost {

class PngOutput : public ImageOutputFile {
public:
    // Whether `name` is one this class writes: it ends in .png, in any case.
    static bool isPngName(const std::string& name);

    PngOutput(const std::string& name, const ImageHeader& like, int width, int height,
              const WriteOptions& options, int droppedImages = 0);

    std::string formatName() const override { return "png"; }
    int droppedChannels() const override { return mDropped; }
    int droppedImages() const override { return mDroppedImages; }
    void open(const std::string& path) override;
    void write(const HostWorld& world, const std::vector<float>& extra, double& convertSeconds) override;

private:
    void setChunks();

    std::string mName;
    std::shared_ptr<const PngChunks> mChunks;
    WriteOptions mOptions;
    spng_ihdr mIhdr{};
    int mChannels = 3;
    int mDropped = 0;
    int mDroppedImages = 0;
    std::unique_ptr<FILE, int (*)(FILE*)> mFile;
    std::unique_ptr<spng_ctx, void (*)(spng_ctx*)> mContext;
};

}  // namespace fxhost
