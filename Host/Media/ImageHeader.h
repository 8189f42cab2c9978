// What an image's header says that the host acts on, and the whole header as the image library
// holds it, so that an output can be written shaped like its input. Frames from a movie have a
// header of their size and channels at 8 bits, with no file part.
#pragma once

#include <memory>
#include <string>

namespace fxhost {

struct PngChunks;

struct ImageHeader {
    int width = 0;
    int height = 0;
    int channels = 3;
    int alphaChannel = -1;       // the alpha channel's index, -1 without one
    std::string type = "uint8";  // the data type as the image library names it: uint8, uint16, half, float
    // The image library's own header (Host/Images reads it), null for frames not from a file and
    // for PNGs, which the media layer reads itself (PngInput) and keeps the chunks of in `png`.
    std::shared_ptr<const void> file;
    std::shared_ptr<const PngChunks> png;

    bool eightBit() const { return type == "uint8"; }
};

// What reading found that the 8-bit world cannot hold.
struct DepthLoss {
    bool deeper = false;      // the file stores more than 8 bits a channel
    bool outOfRange = false;  // a colour or alpha value lay outside 0 to 1 (or was not a number)
};

}  // namespace fxhost
