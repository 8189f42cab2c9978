#include "ImageFile.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>

#include <OpenImageIO/imageio.h>

#include "ChannelDepth.h"
#include "Interruption.h"
#include "PartialFile.h"

namespace fxhost {

namespace {

std::runtime_error fileError(const std::string& what, const std::string& path, const std::string& why) {
    return std::runtime_error("cannot " + what + " '" + path + "'" + (why.empty() ? "" : ": " + why));
}

}  // namespace

ImageFile::ImageFile(int width, int height, int channels, OIIO::TypeDesc type)
    : mWidth(width),
      mHeight(height),
      mChannels(channels),
      mType(type),
      mPixels(static_cast<size_t>(width) * height * 4, 0.0f) {
    for (size_t i = 3; i < mPixels.size(); i += 4) mPixels[i] = 1.0f;
}

ImageFile ImageFile::read(const std::string& path) {
    // Ask for alpha as stored where the format keeps it straight (PNG, TIFF); EXR keeps it
    // associated, and that is divided out below, since host worlds hold straight alpha.
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    auto in = OIIO::ImageInput::open(path, &config);
    if (!in) {
        throw fileError("read image", path, OIIO::geterror());
    }
    const OIIO::ImageSpec header = in->spec_dimensions(0);
    if (header.width <= 0 || header.height <= 0 || header.nchannels < 1 || header.depth > 1) {
        throw fileError("read image", path, "not a 2-D image with channels");
    }
    const int n = header.nchannels;
    std::vector<float> raw(static_cast<size_t>(header.width) * header.height * n);
    if (!in->read_image(0, 0, 0, n, OIIO::TypeDesc::FLOAT, raw.data())) {
        throw fileError("read image", path, in->geterror());
    }
    const bool hasAlpha = n == 2 || n >= 4;
    const bool associated = hasAlpha && std::string(in->format_name()) == "openexr";
    ImageFile image(header.width, header.height, std::min(n, 4), header.format);
    for (size_t p = 0; p < static_cast<size_t>(header.width) * header.height; ++p) {
        const float* s = &raw[p * n];
        float* d = &image.mPixels[p * 4];
        if (n <= 2) {
            d[0] = d[1] = d[2] = s[0];
            d[3] = n == 2 ? s[1] : 1.0f;
        } else {
            d[0] = s[0];
            d[1] = s[1];
            d[2] = s[2];
            d[3] = n >= 4 ? s[3] : 1.0f;
        }
        if (associated && d[3] > 0.0f) {
            for (int c = 0; c < 3; ++c) d[c] /= d[3];
        }
    }
    return image;
}

void ImageFile::write(const std::string& path) const {
    auto out = OIIO::ImageOutput::create(path);
    if (!out) {
        throw fileError("write image", path, OIIO::geterror());
    }
    const bool premultiply = std::string(out->format_name()) == "openexr";
    OIIO::ImageSpec header(mWidth, mHeight, mChannels, mType);
    if (mChannels == 2 || mChannels == 4) header.alpha_channel = mChannels - 1;
    header.attribute("oiio:UnassociatedAlpha", premultiply ? 0 : 1);
    std::vector<float> raw(static_cast<size_t>(mWidth) * mHeight * mChannels);
    for (size_t p = 0; p < static_cast<size_t>(mWidth) * mHeight; ++p) {
        const float* s = &mPixels[p * 4];
        float* d = &raw[p * mChannels];
        const float a = premultiply ? s[3] : 1.0f;
        if (mChannels <= 2) {
            d[0] = (s[0] + s[1] + s[2]) / 3.0f * a;
            if (mChannels == 2) d[1] = s[3];
        } else {
            for (int c = 0; c < 3; ++c) d[c] = s[c] * a;
            if (mChannels == 4) d[3] = s[3];
        }
    }
    const PartialFile partial(path);  // removed on failure, and by Interruption on SIGINT or SIGTERM
    const std::string& temporary = partial.path();
    bool opened = false;
    {
        const Interruption::FileGuard creating;
        opened = out->open(temporary, header);
    }
    if (!opened || !out->write_image(OIIO::TypeDesc::FLOAT, raw.data()) || !out->close()) {
        const std::string why = out->geterror();
        std::remove(temporary.c_str());
        throw fileError("write image", path, why);
    }
    if (PartialFile::renameOnto(temporary, path) != 0) {
        std::remove(temporary.c_str());
        throw fileError("write image", path, "rename failed");
    }
}

void ImageFile::toWorld(HostWorld& world) const {
    const int height = std::min(mHeight, world.height()), width = std::min(mWidth, world.width());
    if (world.depth() == Depth::Eight) {
        // The host's own depth, written in place: the same rounding as setPixel, without a call a channel.
        PF_LayerDef* def = world.def();
        for (int y = 0; y < height; ++y) {
            uint8_t* p = static_cast<uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
            for (int x = 0; x < width; ++x, p += 4) {
                const float* s = rgba(x, y);
                p[0] = channel_depth::floatToByte(s[3]);
                p[1] = channel_depth::floatToByte(s[0]);
                p[2] = channel_depth::floatToByte(s[1]);
                p[3] = channel_depth::floatToByte(s[2]);
            }
        }
        return;
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const float* s = rgba(x, y);
            const float argb[4] = {static_cast<float>(channel_depth::floatToByte(s[3])),
                                   static_cast<float>(channel_depth::floatToByte(s[0])),
                                   static_cast<float>(channel_depth::floatToByte(s[1])),
                                   static_cast<float>(channel_depth::floatToByte(s[2]))};
            world.setPixel(x, y, argb);
        }
    }
}

void ImageFile::fromWorld(const HostWorld& world) {
    const int height = std::min(mHeight, world.height()), width = std::min(mWidth, world.width());
    if (world.depth() == Depth::Eight) {
        const PF_LayerDef* def = world.def();
        for (int y = 0; y < height; ++y) {
            const uint8_t* p =
                static_cast<const uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
            for (int x = 0; x < width; ++x, p += 4) {
                float* d = rgba(x, y);
                d[0] = channel_depth::byteToFloat(p[1]);
                d[1] = channel_depth::byteToFloat(p[2]);
                d[2] = channel_depth::byteToFloat(p[3]);
                d[3] = channel_depth::byteToFloat(p[0]);
            }
        }
        return;
    }
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            float argb[4];
            world.getPixel(x, y, argb);
            float* d = rgba(x, y);
            d[0] = argb[1] / 255.0f;
            d[1] = argb[2] / 255.0f;
            d[2] = argb[3] / 255.0f;
            d[3] = argb[0] / 255.0f;
        }
    }
}

}  // namespace fxhost
