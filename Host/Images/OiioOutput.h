// An image file written through OpenImageIO, shaped like a header (see ImageWriter for what is
// kept), one strip of rows at a time: 8-bit RGB(A) files as bytes, everything else through floats.
#pragma once

#include <memory>

#include <OpenImageIO/imageio.h>

#include "ImageCodec.h"

namespace fxhost {

class OiioOutput : public ImageOutputFile {
public:
    OiioOutput(const std::string& name, const ImageHeader& like, int width, int height, size_t extraValues,
               const WriteOptions& options);

    std::string formatName() const override { return mOutput->format_name(); }
    int droppedChannels() const override { return mDropped; }
    void open(const std::string& path) override;
    void write(const HostWorld& world, const std::vector<float>& extra, double& convertSeconds) override;

private:
    std::unique_ptr<OIIO::ImageOutput> mOutput;
    OIIO::ImageSpec mSpec;
    int mDropped = 0;
    bool mPremultiply = false;
    bool mBytes = false;
};

}  // namespace fxhost
