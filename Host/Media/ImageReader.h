// Reads one image file into the host's 8-bit ARGB world: a PNG (known by its signature) through
// libspng (PngInput), any other through the image library (ImageLibrary, loaded on first use):
// 8-bit files as bytes, deeper files rounded once. Grey files fill R, G and B; files without alpha read as opaque; associated
// (premultiplied) alpha, as OpenEXR and most TIFFs hold it, is divided out, since host worlds
// hold straight alpha. Channels after the fourth are kept apart, unchanged, to be written back.
// Failures throw std::runtime_error, one line naming the file and the reason (the system's, for
// a file that cannot be opened or is a directory).
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "HostWorld.h"
#include "ImageCodec.h"

namespace fxhost {

class ImageReader {
public:
    // Opens the file and reads its header.
    explicit ImageReader(const std::string& path);
    ~ImageReader();

    const ImageHeader& header() const { return mInput->header(); }
    int width() const { return header().width; }
    int height() const { return header().height; }
    // The format's name as OpenImageIO calls it ("png", "openexr", ...).
    std::string formatName() const { return mInput->formatName(); }

    // Decodes every pixel into `world`, which must have the image's size, and the channels
    // after the fourth into `extra` as floats, pixel after pixel. Once only.
    DepthLoss read(HostWorld& world, std::vector<float>& extra);
    // Seconds read() spent converting pixels into the world, apart from decoding them.
    double convertSeconds() const { return mConvertSeconds; }

private:
    std::string mPath;
    std::unique_ptr<ImageInputFile> mInput;
    bool mRead = false;
    double mConvertSeconds = 0.0;
};

}  // namespace fxhost
