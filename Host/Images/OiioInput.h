// An image file read through OpenImageIO, one strip of rows at a time: 8-bit files as bytes,
// deeper files through floats (see ImageReader for what the world gets). A PNG is read with
// libpng's own complaints held back (HeldStderr): the error says it once, in the host's words.
#pragma once

#include <memory>

#include <OpenImageIO/imageio.h>

#include "ImageCodec.h"
#include "PngChunks.h"

namespace fxhost {

// What an input's ImageHeader::file holds: the first image's header as the library read it, and
// where to find the images after it (an OpenEXR's parts, a TIFF's pages) to copy them unchanged.
struct OiioFile {
    OIIO::ImageSpec header;
    std::string path;
    int subimages = 1;
};

class OiioInput : public ImageInputFile {
public:
    explicit OiioInput(const std::string& path);
    ~OiioInput() override;

    const ImageHeader& header() const override { return mHeader; }
    std::string formatName() const override { return mInput->format_name(); }
    DepthLoss read(HostWorld& world, std::vector<float>& extra, double& convertSeconds) override;

    // What of `file`'s header a PNG holds, in the chunks a PNG writer would put it in; attributes
    // that a PNG has no place for, or that would not fit one, are left out.
    static std::shared_ptr<PngChunks> pngChunks(const OiioFile& file);

    // OpenImageIO's errors, several lines for one failure (the reader's, then the format's own
    // report of it): the first, which says what happened.
    static std::string firstLine(const std::string& errors);

private:
    bool quiet() const;

    std::unique_ptr<OIIO::ImageInput> mInput;
    std::shared_ptr<OiioFile> mFile;
    ImageHeader mHeader;
};

}  // namespace fxhost
