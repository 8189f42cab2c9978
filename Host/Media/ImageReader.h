// Reads one image file into the host's 8-bit ARGB world, in one pass per strip of
// rows: 8-bit files as bytes, deeper files through a strip of floats, rounded once.
// Grey files fill R, G and B; files without alpha read as opaque; associated
// (premultiplied) alpha, as OpenEXR and most TIFFs hold it, is divided out, since
// host worlds hold straight alpha. Channels
// after the fourth are kept apart, unchanged, to be written back. Failures throw
// std::runtime_error naming the file and the reason.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include <OpenImageIO/imageio.h>

#include "HostWorld.h"

namespace fxhost {

// What reading found that the 8-bit world cannot hold.
struct DepthLoss {
    bool deeper = false;      // the file stores more than 8 bits a channel
    bool outOfRange = false;  // a colour or alpha value lay outside 0 to 1 (or was not a number)
};

class ImageReader {
public:
    // Opens the file and reads its header.
    explicit ImageReader(const std::string& path);
    ~ImageReader();

    const OIIO::ImageSpec& header() const { return mHeader; }
    int width() const { return mHeader.width; }
    int height() const { return mHeader.height; }
    // The format's name as OpenImageIO calls it ("png", "openexr", ...).
    std::string formatName() const;

    // Decodes every pixel into `world`, which must have the image's size, and the channels
    // after the fourth into `extra` as floats, pixel after pixel. Closes the file.
    DepthLoss read(HostWorld& world, std::vector<float>& extra);
    // Seconds read() spent converting pixels into the world, apart from decoding them.
    double convertSeconds() const { return mConvertSeconds; }

private:
    std::string mPath;
    std::unique_ptr<OIIO::ImageInput> mInput;
    OIIO::ImageSpec mHeader;
    double mConvertSeconds = 0.0;
};

}  // namespace fxhost
