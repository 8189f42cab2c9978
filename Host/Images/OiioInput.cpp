#include "OiioInput.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstring>
#include <optional>
#include <stdexcept>

#include "ChannelDepth.h"
#include "HeldStderr.h"

namespace fxhost {

namespace {

// Rows decoded at a time: enough to amortise the library's per-call work, small beside a frame.
constexpr int kStripRows = 32;

using channel_depth::floatToByte;

bool outside01(float v) {
    return !(v >= 0.0f && v <= 1.0f);
}

}  // namespace

std::string OiioInput::firstLine(const std::string& errors) {
    return errors.substr(0, errors.find('\n'));
}

OiioInput::OiioInput(const std::string& path) : mFile(std::make_shared<OiioFile>()) {
    // Alpha as stored where the format keeps it straight (PNG, TIFF); OpenEXR keeps it
    // associated whatever is asked, and that is divided out below.
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    mInput = OIIO::ImageInput::create(path, false, &config);
    if (!mInput) throw std::runtime_error(firstLine(OIIO::geterror()));
    {
        std::optional<HeldStderr> held;
        if (quiet()) held.emplace();
        if (!mInput->open(path, mFile->header, config)) throw std::runtime_error(firstLine(mInput->geterror()));
        // The writer copies the images after the first from the file itself; here they are only counted.
        while (mInput->seek_subimage(mFile->subimages, 0)) ++mFile->subimages;
        mInput->geterror();
        if (mFile->subimages > 1 && !mInput->seek_subimage(0, 0))
            throw std::runtime_error(firstLine(mInput->geterror()));
    }
    mFile->path = path;
    const OIIO::ImageSpec& layout = mFile->header;
    if (layout.width <= 0 || layout.height <= 0 || layout.nchannels < 1 || layout.depth > 1) {
        throw std::runtime_error("not a 2-D image with channels");
    }
    mHeader.width = layout.width;
    mHeader.height = layout.height;
    mHeader.channels = layout.nchannels;
    mHeader.alphaChannel = layout.alpha_channel;
    mHeader.type = layout.format.c_str();
    mHeader.file = mFile;
}

OiioInput::~OiioInput() = default;

// libpng prints its errors itself as well as handing them to the library.
bool OiioInput::quiet() const {
    return std::strcmp(mInput->format_name(), "png") == 0;
}

DepthLoss OiioInput::read(HostWorld& world, std::vector<float>& extra, double& convertSeconds) {
    const OIIO::ImageSpec& layout = mFile->header;
    const int n = layout.nchannels, colour = std::min(n, 4), w = layout.width, h = layout.height;
    const bool grey = n <= 2, hasAlpha = n == 2 || n >= 4;
    // The library leaves alpha as the file stores it (asked to above) and says which it is.
    const bool associated = hasAlpha && layout.get_int_attribute("oiio:UnassociatedAlpha", 0) == 0;
    const bool bytes = layout.format == OIIO::TypeDesc::UINT8 && layout.channelformats.empty();
    DepthLoss loss;
    loss.deeper = !bytes;

    std::optional<HeldStderr> held;
    if (quiet()) held.emplace();
    std::vector<uint8_t> byteStrip(bytes ? static_cast<size_t>(w) * kStripRows * colour : 0);
    std::vector<float> floatStrip(bytes ? 0 : static_cast<size_t>(w) * kStripRows * colour);
    extra.resize(static_cast<size_t>(w) * h * std::max(0, n - 4));
    PF_LayerDef* def = world.def();
    for (int y0 = 0; y0 < h; y0 += kStripRows) {
        const int y1 = std::min(h, y0 + kStripRows);
        const int fileY0 = layout.y + y0, fileY1 = layout.y + y1;
        void* strip = bytes ? static_cast<void*>(byteStrip.data()) : floatStrip.data();
        // 8-bit files are read as stored: the converting read stages a buffer far larger than the strip.
        const bool read =
            bytes ? mInput->read_native_scanlines(0, 0, fileY0, fileY1, 0, 0, colour, strip)
                  : mInput->read_scanlines(0, 0, fileY0, fileY1, 0, 0, colour, OIIO::TypeDesc::FLOAT, strip);
        if (!read || (n > 4 && !mInput->read_scanlines(0, 0, fileY0, fileY1, 0, 4, n, OIIO::TypeDesc::FLOAT,
                                                       &extra[static_cast<size_t>(y0) * w * (n - 4)]))) {
            throw std::runtime_error(firstLine(mInput->geterror()));
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
                p[0] = floatToByte(rgba[3]);
                p[1] = floatToByte(rgba[0]);
                p[2] = floatToByte(rgba[1]);
                p[3] = floatToByte(rgba[2]);
            }
        }
        convertSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    }
    mInput->close();
    return loss;
}

}  // namespace fxhost
