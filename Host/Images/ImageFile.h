// An image file in memory, for the tests and benchmarks (fxhost itself reads and writes images
// through ImageReader and ImageWriter): straight (unassociated) RGBA floats, 0 to 1 for
// integer files, with the file's own size, channel count and data type kept so
// that writing gives back a file of the same shape. Read and write fail with
// std::runtime_error naming the file; writing goes to a temporary name beside
// the target and is renamed into place, so a failure leaves no partial file.
#pragma once

#include <string>
#include <vector>

#include <OpenImageIO/typedesc.h>

#include "HostWorld.h"

namespace fxhost {

class ImageFile {
public:
    ImageFile() = default;
    ImageFile(int width, int height, int channels, OIIO::TypeDesc type);

    static ImageFile read(const std::string& path);
    void write(const std::string& path) const;

    int width() const { return mWidth; }
    int height() const { return mHeight; }
    int channels() const { return mChannels; }
    OIIO::TypeDesc type() const { return mType; }

    // Straight RGBA of one pixel; files without alpha read as opaque.
    float* rgba(int x, int y) { return &mPixels[(static_cast<size_t>(y) * mWidth + x) * 4]; }
    const float* rgba(int x, int y) const { return &mPixels[(static_cast<size_t>(y) * mWidth + x) * 4]; }

    // The host hands this effect 8-bit worlds (it declares no deep colour): the file's
    // pixels are rounded to 8 bits on the way in, and taken back at the file's depth.
    void toWorld(HostWorld& world) const;
    void fromWorld(const HostWorld& world);

private:
    int mWidth = 0;
    int mHeight = 0;
    int mChannels = 4;
    OIIO::TypeDesc mType = OIIO::TypeDesc::UINT8;
    std::vector<float> mPixels;
};

}  // namespace fxhost
