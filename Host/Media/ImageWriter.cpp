#include "ImageWriter.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include "ChannelDepth.h"
#include "Console.h"
#include "Interruption.h"
#include "PartialFile.h"

namespace fxhost {

namespace {

constexpr int kStripRows = 32;
constexpr int kPngNoFilter = 8;  // libpng's PNG_FILTER_NONE bit

std::runtime_error writeError(const std::string& path, const std::string& why) {
    return std::runtime_error("cannot write image '" + path + "': " + why);
}

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
            const float s[4] = {channel_depth::byteToFloat(p[1]), channel_depth::byteToFloat(p[2]),
                                channel_depth::byteToFloat(p[3]), channel_depth::byteToFloat(p[0])};
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

void ImageWriter::write(const std::string& path, const OIIO::ImageSpec& like, const HostWorld& world,
                        const std::vector<float>& extra, const WriteOptions& options) {
    encode(path, like, world, extra, options);
    commit(path);
}

void ImageWriter::encode(const std::string& path, const OIIO::ImageSpec& like, const HostWorld& world,
                         const std::vector<float>& extra, const WriteOptions& options,
                         double* convertSeconds) {
    auto out = OIIO::ImageOutput::create(path);
    if (!out) throw writeError(path, OIIO::geterror());
    OIIO::ImageSpec header = like;
    if (header.width != world.width() || header.height != world.height()) {
        header.width = header.full_width = world.width();
        header.height = header.full_height = world.height();
        header.full_x = header.x;
        header.full_y = header.y;
    }
    int n = header.nchannels;
    const size_t extrasInWorld = static_cast<size_t>(world.width()) * world.height() * std::max(0, n - 4);
    if (n > 4 && (!out->supports("nchannels") || extra.size() != extrasInWorld)) {
        Console::warnOnce(std::string(out->format_name()) +
                          " holds no channels beyond RGBA: " + std::to_string(n - 4) +
                          " channel(s) of the input are not written to '" + path + "'");
        n = 4;
        header.nchannels = 4;
        header.channelnames.resize(4);
        if (!header.channelformats.empty()) header.channelformats.resize(4);
    }
    if (n == 2 || n >= 4) header.alpha_channel = n == 2 ? 1 : 3;
    // Alpha goes out as the input held it where the format can say either (TIFF), associated
    // where the format knows no other (OpenEXR), straight elsewhere (PNG, JPEG).
    const std::string format = out->format_name();
    const bool premultiply =
        format == "openexr" || (format == "tiff" && like.get_int_attribute("oiio:UnassociatedAlpha", 0) == 0);
    header.attribute("oiio:UnassociatedAlpha", premultiply ? 0 : 1);
    header.attribute("png:compressionLevel", std::clamp(options.pngCompression, 0, 9));
    header.attribute("png:filter", kPngNoFilter);
    const bool bytes =
        header.format == OIIO::TypeDesc::UINT8 && header.channelformats.empty() && (n == 3 || n == 4);

    // Until commit or discard, an interruption removes the file.
    const std::string partial = PartialFile::nameFor(path);
    Interruption::addTemporary(partial);
    // The library reports a failed open with its own words and the temporary name; opening the
    // file first gives the system's reason, said of the name the user asked for.
    bool ok = false;
    {
        const Interruption::FileGuard creating;
        const int fd = ::open(partial.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
        if (fd < 0) {
            const int error = errno;
            Interruption::withdrawTemporary(partial);
            throw writeError(path, std::strerror(error));
        }
        ::close(fd);
        ok = out->open(partial, header);  // opens the name again, so the guard covers both
    }

    std::vector<uint8_t> strip(static_cast<size_t>(world.width()) * kStripRows * n * (bytes ? 1 : 4));
    for (int y0 = 0; ok && y0 < world.height(); y0 += kStripRows) {
        const int y1 = std::min(world.height(), y0 + kStripRows);
        const auto start = std::chrono::steady_clock::now();
        fillStrip(world, n > 4 ? extra.data() : nullptr, y0, y1, n, bytes, premultiply, strip.data());
        if (convertSeconds) {
            *convertSeconds +=
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        }
        ok = out->write_scanlines(header.y + y0, header.y + y1, 0,
                                  bytes ? OIIO::TypeDesc::UINT8 : OIIO::TypeDesc::FLOAT, strip.data());
    }
    ok = out->close() && ok;
    if (!ok) {
        const std::string why = out->geterror();
        discard(path);
        throw writeError(path, why.empty() ? "the image library could not write it" : why);
    }
}

void ImageWriter::commit(const std::string& path) {
    const std::string partial = PartialFile::nameFor(path);
    if (const int error = PartialFile::renameOnto(partial, path)) {
        discard(path);
        throw writeError(path, std::strerror(error));
    }
    Interruption::withdrawTemporary(partial);
}

void ImageWriter::discard(const std::string& path) {
    const std::string partial = PartialFile::nameFor(path);
    std::remove(partial.c_str());
    Interruption::withdrawTemporary(partial);
}

}  // namespace fxhost
