#include "ImageReader.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "ChannelDepth.h"

namespace fxhost {

namespace {

// Rows decoded at a time: enough to amortise the library's per-call work, small beside a frame.
constexpr int kStripRows = 32;

std::runtime_error readError(const std::string& path, const std::string& why) {
    return std::runtime_error("cannot read image '" + path + "'" + (why.empty() ? "" : ": " + why));
}

bool outside01(float v) {
    return !(v >= 0.0f && v <= 1.0f);
}

}  // namespace

ImageReader::ImageReader(const std::string& path) : mPath(path) {
    // Alpha as stored where the format keeps it straight (PNG, TIFF); OpenEXR keeps it
    // associated whatever is asked, and that is divided out below.
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    mInput = OIIO::ImageInput::create(path, false, &config);
    if (!mInput) throw readError(path, OIIO::geterror());
    if (!mInput->open(path, mHeader, config)) throw readError(path, mInput->geterror());
    if (mHeader.width <= 0 || mHeader.height <= 0 || mHeader.nchannels < 1 || mHeader.depth > 1) {
        throw readError(path, "not a 2-D image with channels");
    }
}

ImageReader::~ImageReader() = default;

std::string ImageReader::formatName() const {
    return mInput ? mInput->format_name() : "";
}

DepthLoss ImageReader::read(HostWorld& world, std::vector<float>& extra) {
    if (!mInput) throw readError(mPath, "already read");
    if (world.width() != width() || world.height() != height() || world.depth() != Depth::Eight) {
        throw std::logic_error("ImageReader::read: the world is not the image's size");
    }
    const int n = mHeader.nchannels, colour = std::min(n, 4), w = width();
    const bool grey = n <= 2, hasAlpha = n == 2 || n >= 4;
    // The library leaves alpha as the file stores it (asked to above) and says which it is.
    const bool associated = hasAlpha && mHeader.get_int_attribute("oiio:UnassociatedAlpha", 0) == 0;
    const bool bytes = mHeader.format == OIIO::TypeDesc::UINT8 && mHeader.channelformats.empty();
    DepthLoss loss;
    loss.deeper = !bytes;

    std::vector<uint8_t> byteStrip(bytes ? static_cast<size_t>(w) * kStripRows * colour : 0);
    std::vector<float> floatStrip(bytes ? 0 : static_cast<size_t>(w) * kStripRows * colour);
    extra.resize(static_cast<size_t>(w) * height() * std::max(0, n - 4));
    PF_LayerDef* def = world.def();
    for (int y0 = 0; y0 < height(); y0 += kStripRows) {
        const int y1 = std::min(height(), y0 + kStripRows);
        const int fileY0 = mHeader.y + y0, fileY1 = mHeader.y + y1;
        void* strip = bytes ? static_cast<void*>(byteStrip.data()) : floatStrip.data();
        // 8-bit files are read as stored: the converting read stages a buffer far larger than the strip.
        const bool read =
            bytes ? mInput->read_native_scanlines(0, 0, fileY0, fileY1, 0, 0, colour, strip)
                  : mInput->read_scanlines(0, 0, fileY0, fileY1, 0, 0, colour, OIIO::TypeDesc::FLOAT, strip);
        if (!read || (n > 4 && !mInput->read_scanlines(0, 0, fileY0, fileY1, 0, 4, n, OIIO::TypeDesc::FLOAT,
                                                       &extra[static_cast<size_t>(y0) * w * (n - 4)]))) {
            throw readError(mPath, mInput->geterror());
        }
        const auto start = std::chrono::steady_clock::now();
        for (int y = y0; y < y1; ++y) {
            uint8_t* p = static_cast<uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
            const size_t first = static_cast<size_t>(y - y0) * w * colour;
            if (bytes) {
                const uint8_t* s = &byteStrip[first];
                for (int x = 0; x < w; ++x, p += 4, s += colour) {
                    p[0] = hasAlpha ? s[colour - 1] : 255;
                    p[1] = s[0];
                    p[2] = grey ? s[0] : s[1];
                    p[3] = grey ? s[0] : s[2];
                }
                continue;
            }
            const float* s = &floatStrip[first];
            for (int x = 0; x < w; ++x, p += 4, s += colour) {
                float rgba[4] = {s[0], grey ? s[0] : s[1], grey ? s[0] : s[2],
                                 hasAlpha ? s[colour - 1] : 1.0f};
                if (associated && rgba[3] > 0.0f) {
                    for (int c = 0; c < 3; ++c) rgba[c] /= rgba[3];
                }
                loss.outOfRange = loss.outOfRange || outside01(rgba[0]) || outside01(rgba[1]) ||
                                  outside01(rgba[2]) || outside01(rgba[3]);
                p[0] = channel_depth::floatToByte(rgba[3]);
                p[1] = channel_depth::floatToByte(rgba[0]);
                p[2] = channel_depth::floatToByte(rgba[1]);
                p[3] = channel_depth::floatToByte(rgba[2]);
            }
        }
        mConvertSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    mInput->close();
    mInput.reset();
    return loss;
}

}  // namespace fxhost
