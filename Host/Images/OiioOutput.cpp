#include "OiioOutput.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

#include "ChannelDepth.h"
#include "OiioInput.h"

namespace fxhost {

namespace {

constexpr int kStripRows = 32;
constexpr int kPngNoFilter = 8;  // libpng's PNG_FILTER_NONE bit

// Fills one strip of the file's channels from rows of the world. Deep and grey files take the
// value through float, as 8-bit channels scaled to 0-1 (premultiplied for OpenEXR), so that
// the library's one conversion rounds them; channels after the fourth come from `extra`.
void fillStrip(const HostWorld& world, const float* extra, int y0, int y1, int channels, bool bytes,
               bool premultiply, void* strip) {
    const PF_LayerDef* def = world.def();
    const int w = world.width(), colour = std::min(channels, 4), extras = channels - colour;
    for (int y = y0; y < y1; ++y) {
        const uint8_t* p = static_cast<const uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
        const size_t first = static_cast<size_t>(y - y0) * w * channels;
        if (bytes) {
            uint8_t* d = static_cast<uint8_t*>(strip) + first;
            for (int x = 0; x < w; ++x, p += 4, d += channels) {
                d[0] = p[1];
                d[1] = p[2];
                d[2] = p[3];
                if (channels == 4) d[3] = p[0];
            }
            continue;
        }
        float* d = static_cast<float*>(strip) + first;
        const float* e = extra ? extra + static_cast<size_t>(y) * w * extras : nullptr;
        for (int x = 0; x < w; ++x, p += 4, d += channels) {
            using channel_depth::byteToFloat;
            const float s[4] = {byteToFloat(p[1]), byteToFloat(p[2]), byteToFloat(p[3]), byteToFloat(p[0])};
            const float a = premultiply ? s[3] : 1.0f;
            if (channels <= 2) {
                d[0] = (s[0] + s[1] + s[2]) / 3.0f * a;
                if (channels == 2) d[1] = s[3];
            } else {
                for (int c = 0; c < 3; ++c) d[c] = s[c] * a;
                if (channels >= 4) d[3] = s[3];
            }
            for (int c = 0; c < extras; ++c) d[4 + c] = *e++;
        }
    }
}

}  // namespace

OiioOutput::OiioOutput(const std::string& name, const ImageHeader& like, int width, int height,
                       size_t extraValues, const WriteOptions& options)
    : mOutput(OIIO::ImageOutput::create(name)) {
    if (!mOutput) throw std::runtime_error(OiioInput::firstLine(OIIO::geterror()));
    const auto* file = static_cast<const OiioFile*>(like.file.get());
    OIIO::ImageSpec& header = mSpec;
    header = file ? file->header : OIIO::ImageSpec(like.width, like.height, like.channels, OIIO::TypeDesc(like.type));
    if (file && file->subimages > 1) {
        if (mOutput->supports("multiimage"))
            mSource = file->path;
        else
            mDroppedImages = file->subimages - 1;
    }
    if (header.width != width || header.height != height) {
        header.width = header.full_width = width;
        header.height = header.full_height = height;
        header.full_x = header.x;
        header.full_y = header.y;
    }
    int n = header.nchannels;
    const size_t extrasInWorld = static_cast<size_t>(width) * height * std::max(0, n - 4);
    if (n > 4 && (!mOutput->supports("nchannels") || extraValues != extrasInWorld)) {
        mDropped = n - 4;
        n = 4;
        header.nchannels = 4;
        header.channelnames.resize(4);
        if (!header.channelformats.empty()) header.channelformats.resize(4);
    }
    if (n == 2 || n >= 4) header.alpha_channel = n == 2 ? 1 : 3;
    // Alpha goes out as the input held it where the format can say either (TIFF), associated
    // where the format knows no other (OpenEXR), straight elsewhere (PNG, JPEG).
    const std::string format = mOutput->format_name();
    const bool premultiply =
        format == "openexr" ||
        (format == "tiff" && header.get_int_attribute("oiio:UnassociatedAlpha", 0) == 0);
    mPremultiply = premultiply;
    header.attribute("oiio:UnassociatedAlpha", premultiply ? 0 : 1);
    header.attribute("png:compressionLevel", std::clamp(options.pngCompression, 0, 9));
    header.attribute("png:filter", kPngNoFilter);
    mBytes = header.format == OIIO::TypeDesc::UINT8 && header.channelformats.empty() && (n == 3 || n == 4);
}

void OiioOutput::open(const std::string& path) {
    const bool opened = mSource.empty() ? mOutput->open(path, mSpec) : openWithOtherImages(path);
    if (!opened) throw std::runtime_error(OiioInput::firstLine(mOutput->geterror()));
}

// OpenEXR writes the headers of all its parts first: the file is opened with every image's header.
bool OiioOutput::openWithOtherImages(const std::string& path) {
    // Alpha as stored, as the first image was read: a TIFF page's straight alpha stays straight.
    OIIO::ImageSpec config;
    config.attribute("oiio:UnassociatedAlpha", 1);
    mSourceInput = OIIO::ImageInput::open(mSource, &config);
    if (!mSourceInput)
        throw std::runtime_error("cannot read the other images of '" + mSource + "': " +
                                 OiioInput::firstLine(OIIO::geterror()));
    std::vector<OIIO::ImageSpec> headers{mSpec};
    // An OpenEXR's parts share one display window (a TIFF's pages each have their own): the pixels
    // of each keep their own data window inside the first's.
    const bool oneDisplayWindow = std::string(mOutput->format_name()) == "openexr";
    OIIO::ImageSpec next;
    for (int i = 1; mSourceInput->seek_subimage(i, 0, next); ++i) {
        headers.push_back(next);
        if (oneDisplayWindow) {
            headers.back().full_x = mSpec.full_x;
            headers.back().full_y = mSpec.full_y;
            headers.back().full_width = mSpec.full_width;
            headers.back().full_height = mSpec.full_height;
        }
    }
    mSourceInput->geterror();
    mOtherHeaders.assign(headers.begin() + 1, headers.end());
    mPath = path;
    return mOutput->open(path, static_cast<int>(headers.size()), headers.data());
}

// The images after the first, in their own type, size and channels, as the input holds them.
bool OiioOutput::copyOtherImages() {
    for (size_t i = 0; i < mOtherHeaders.size(); ++i) {
        if (!mSourceInput->seek_subimage(static_cast<int>(i) + 1, 0))
            throw std::runtime_error("cannot read image " + std::to_string(i + 2) + " of '" + mSource + "': " +
                                     OiioInput::firstLine(mSourceInput->geterror()));
        if (!mOutput->open(mPath, mOtherHeaders[i], OIIO::ImageOutput::AppendSubimage) ||
            !mOutput->copy_image(mSourceInput.get()))
            return false;
    }
    return true;
}

void OiioOutput::write(const HostWorld& world, const std::vector<float>& extra, double& convertSeconds) {
    const OIIO::ImageSpec& header = mSpec;
    const int n = header.nchannels;
    const bool bytes = mBytes;
    std::vector<uint8_t> strip(static_cast<size_t>(world.width()) * kStripRows * n * (bytes ? 1 : 4));
    bool ok = true;
    for (int y0 = 0; ok && y0 < world.height(); y0 += kStripRows) {
        const int y1 = std::min(world.height(), y0 + kStripRows);
        const auto start = std::chrono::steady_clock::now();
        fillStrip(world, n > 4 ? extra.data() : nullptr, y0, y1, n, bytes, mPremultiply, strip.data());
        convertSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        ok = mOutput->write_scanlines(header.y + y0, header.y + y1, 0,
                                      bytes ? OIIO::TypeDesc::UINT8 : OIIO::TypeDesc::FLOAT, strip.data());
    }
    ok = ok && (mOtherHeaders.empty() || copyOtherImages());
    ok = mOutput->close() && ok;
    if (!ok) throw std::runtime_error(OiioInput::firstLine(mOutput->geterror()));
}

}  // namespace fxhost
