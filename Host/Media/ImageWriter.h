// Writes the host's 8-bit ARGB world back as an image file shaped like the one it
// came from: every .png through libspng (PngOutput, which keeps a PNG's chunks, and of another
// format's header what a PNG holds: ICC profile, text, resolution), anything else through the
// image library (ImageLibrary, loaded on first use):
// its channels (those after the fourth copied unchanged), data type and header (attributes,
// compression, pixel aspect, colour space, data and display windows), and the input's images
// after the first (OpenEXR parts, TIFF pages) copied unchanged where the format holds them, with
// one warning where it does not. The file is written under a
// temporary name beside the target (PartialFile) and renamed into place, so a
// failure leaves no partial file; failures throw std::runtime_error, one line naming the
// target and the reason.
#pragma once

#include <string>
#include <vector>

#include "HostWorld.h"
#include "ImageCodec.h"

namespace fxhost {

class ImageWriter {
public:
    // `like` is the input's header; the size is the world's (a world of another size keeps the
    // data window's origin and gets a display window of its own). `extra` holds the channels
    // after the fourth as floats, pixel after pixel, or nothing; a format that cannot hold them
    // (PNG, JPEG) is written without them, with a warning.
    static void write(const std::string& path, const ImageHeader& like, const HostWorld& world,
                      const std::vector<float>& extra, const WriteOptions& options);

    // write() in two steps, for callers that must put files in place in an order of their own:
    // encode() leaves the file under its temporary name (and adds the seconds spent converting
    // pixels to `convertSeconds`), commit() renames it into place, discard() removes it.
    static void encode(const std::string& path, const ImageHeader& like, const HostWorld& world,
                       const std::vector<float>& extra, const WriteOptions& options,
                       double* convertSeconds = nullptr);
    static void commit(const std::string& path);
    static void discard(const std::string& path);
};

}  // namespace fxhost
