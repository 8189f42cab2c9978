// What the image library (libfxhost_images, Host/Images, over OpenImageIO) does for the host,
// through interfaces that carry none of OpenImageIO's types, so that only the commands that read
// or write an image load it (ImageLibrary). Every failure throws std::runtime_error whose message
// is the reason alone, one line; the callers (ImageReader, ImageWriter) name the file.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "HostWorld.h"
#include "ImageHeader.h"

namespace fxhost {

struct PngChunks;

struct WriteOptions {
    // zlib's level for PNG, 0 (store) to 9; PNG rows are written without a prediction filter.
    int pngCompression = 6;
};

// An image file opened for reading, its header read.
class ImageInputFile {
public:
    virtual ~ImageInputFile() = default;
    virtual const ImageHeader& header() const = 0;
    virtual std::string formatName() const = 0;  // as OpenImageIO calls it: "png", "openexr", ...
    // Every pixel into `world` (8 bits, the image's size), the channels after the fourth into
    // `extra`; adds the seconds spent converting to `convertSeconds`. Closes the file.
    virtual DepthLoss read(HostWorld& world, std::vector<float>& extra, double& convertSeconds) = 0;
};

// An image file about to be written, shaped like a header.
class ImageOutputFile {
public:
    virtual ~ImageOutputFile() = default;
    virtual std::string formatName() const = 0;
    // Channels after the fourth that the format cannot hold and that are left out.
    virtual int droppedChannels() const = 0;
    // Images after the first (OpenEXR parts, TIFF pages) that the format cannot hold and that are
    // left out; where it holds them they are copied from the input file unchanged. An output
    // that never gets such an input (PNG through libspng) keeps the default.
    virtual int droppedImages() const { return 0; }
    // Creates the file at `path` (the caller's temporary name), then writes it whole and closes it.
    virtual void open(const std::string& path) = 0;
    virtual void write(const HostWorld& world, const std::vector<float>& extra, double& convertSeconds) = 0;
};

class ImageCodec {
public:
    // The interface's version: the library refuses a host built against another.
    static constexpr int kVersion = 3;

    virtual std::unique_ptr<ImageInputFile> openInput(const std::string& path) = 0;
    // `name` picks the format by its extension; the size is `width` by `height`, and `extraValues`
    // the count of values the caller holds for the channels after the fourth.
    virtual std::unique_ptr<ImageOutputFile> createOutput(const std::string& name, const ImageHeader& like,
                                                          int width, int height, size_t extraValues,
                                                          const WriteOptions& options) = 0;
    // What of `like`'s header (one this library read) a PNG can hold, as PngChunks: the ICC profile,
    // text attributes, resolution, time, origin, gamma and chromaticities. `otherImages` gets the
    // count of images after the first (OpenEXR parts, TIFF pages), which a PNG cannot hold.
    virtual std::shared_ptr<const PngChunks> pngChunks(const ImageHeader& like, int& otherImages) = 0;
    // `tile` scaled into the rectangle (x, y, width, height) of `sheet` (copied when the sizes
    // match), with `label` drawn at its bottom left; returns why the label is missing, or "".
    virtual std::string pasteTile(HostWorld& sheet, int x, int y, int width, int height, const HostWorld& tile,
                                  const std::string& label, int fontSize) = 0;

protected:
    ~ImageCodec() = default;
};

}  // namespace fxhost

// The library's one exported function: its codec, or null when `version` is not its own.
using FxhostImageCodecEntry = fxhost::ImageCodec* (*)(int version);
#define FXHOST_IMAGE_CODEC_ENTRY "fxhost_image_codec"
