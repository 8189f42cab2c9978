// An image file written through OpenImageIO, shaped like a header (see ImageWriter for what is
// kept), one strip of rows at a time: 8-bit RGB(A) files as bytes, everything else through floats.
// The input's images after the first (OpenEXR parts, TIFF pages) follow it, copied unchanged from
// the input file, where the format holds several; elsewhere droppedImages() counts them.
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
    int droppedImages() const override { return mDroppedImages; }
    void open(const std::string& path) override;
    void write(const HostWorld& world, const std::vector<float>& extra, double& convertSeconds) override;

private:
    bool openWithOtherImages(const std::string& path);
    bool copyOtherImages();

    std::unique_ptr<OIIO::ImageOutput> mOutput;
    OIIO::ImageSpec mSpec;
    std::string mSource;  // the input file, when its images after the first are copied
    std::unique_ptr<OIIO::ImageInput> mSourceInput;
    std::vector<OIIO::ImageSpec> mOtherHeaders;
    std::string mPath;
    int mDropped = 0;
    int mDroppedImages = 0;
    bool mPremultiply = false;
    bool mBytes = false;
};

}  // namespace fxhost
