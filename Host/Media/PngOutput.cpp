#include "PngOutput.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "Console.h"

namespace fxhost {

namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "pixels are swizzled as little-endian words");

std::runtime_error failure(int error) {
    // libspng reports a failed fwrite as an I/O error; errno still holds the system's reason.
    if ((error == SPNG_IO_ERROR || error == SPNG_EIO) && errno)
        return std::runtime_error(std::strerror(errno));
    return std::runtime_error(std::string("PNG encoder: ") + spng_strerror(error));
}

void check(int error) {
    if (error) throw failure(error);
}

// The grey an RGB pixel is written as: the mean, rounded, in the file's steps.
inline uint8_t greyByte(const uint8_t* p) {
    return static_cast<uint8_t>((p[1] + p[2] + p[3] + 1) / 3);
}
inline uint16_t greyWord(const uint8_t* p) {
    return static_cast<uint16_t>(((p[1] + p[2] + p[3]) * 257u + 1) / 3);
}

}  // namespace

bool PngOutput::isPngName(const std::string& name) {
    const size_t dot = name.rfind('.');
    if (dot == std::string::npos || name.find('/', dot) != std::string::npos) return false;
    std::string extension = name.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return extension == "png";
}

PngOutput::PngOutput(const std::string& name, const ImageHeader& like, int width, int height,
                     const WriteOptions& options, int droppedImages)
    : mName(name),
      mChunks(like.png),
      mOptions(options),
      mFile(nullptr, &std::fclose),
      mContext(nullptr, &spng_ctx_free) {
    mChannels = std::clamp(like.channels, 1, 4);
    mDropped = std::max(0, like.channels - 4);
    mDroppedImages = droppedImages;
    static const uint8_t kColourTypes[4] = {SPNG_COLOR_TYPE_GRAYSCALE, SPNG_COLOR_TYPE_GRAYSCALE_ALPHA,
                                            SPNG_COLOR_TYPE_TRUECOLOR, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA};
    mIhdr.width = static_cast<uint32_t>(width);
    mIhdr.height = static_cast<uint32_t>(height);
    mIhdr.bit_depth = like.type == "uint16" ? 16 : 8;
    mIhdr.color_type = kColourTypes[mChannels - 1];
}

void PngOutput::open(const std::string& path) {
    mFile.reset(std::fopen(path.c_str(), "wbe"));
    if (!mFile) throw std::runtime_error(std::strerror(errno));
    mContext.reset(spng_ctx_new(SPNG_CTX_ENCODER));
    if (!mContext) throw std::bad_alloc();
    spng_ctx* ctx = mContext.get();
    check(spng_set_png_file(ctx, mFile.get()));
    check(spng_set_ihdr(ctx, &mIhdr));
    // As FFmpeg writes PNG by default: no prediction filter, so zlib's default strategy.
    check(spng_set_option(ctx, SPNG_FILTER_CHOICE, SPNG_DISABLE_FILTERING));
    check(spng_set_option(ctx, SPNG_IMG_COMPRESSION_LEVEL, std::clamp(mOptions.pngCompression, 0, 9)));
    check(spng_set_option(ctx, SPNG_IMG_COMPRESSION_STRATEGY, Z_DEFAULT_STRATEGY));
    if (mChunks) setChunks();
    check(spng_encode_image(ctx, nullptr, 0, SPNG_FMT_PNG, SPNG_ENCODE_PROGRESSIVE | SPNG_ENCODE_FINALIZE));
}

void PngOutput::setChunks() {
    spng_ctx* ctx = mContext.get();
    const PngChunks& chunks = *mChunks;
    auto keep = [&](const char* what, int error) {
        if (error) {
            Console::warnOnce("the input's PNG " + std::string(what) + " is not written to '" + mName +
                              "': " + spng_strerror(error));
        }
    };
    // libspng keeps pointers to what it is given until the file is written: they point into
    // mChunks, which outlives the context.
    std::vector<spng_text> texts;
    for (const PngChunks::Text& t : chunks.texts) {
        spng_text text{};
        std::strncpy(text.keyword, t.keyword.c_str(), sizeof text.keyword - 1);
        text.type = t.type;
        text.length = t.text.size();
        text.text = const_cast<char*>(t.text.c_str());
        text.compression_flag = t.compressed ? 1 : 0;
        text.language_tag = const_cast<char*>(t.language.c_str());
        text.translated_keyword = const_cast<char*>(t.translatedKeyword.c_str());
        texts.push_back(text);
    }
    if (!texts.empty()) keep("text", spng_set_text(ctx, texts.data(), static_cast<uint32_t>(texts.size())));
    if (chunks.iccProfile) {
        spng_iccp iccp{};
        std::strncpy(iccp.profile_name, chunks.iccName->c_str(), sizeof iccp.profile_name - 1);
        iccp.profile_len = chunks.iccProfile->size();
        iccp.profile = const_cast<char*>(chunks.iccProfile->data());
        keep("ICC profile", spng_set_iccp(ctx, &iccp));
    }
    if (chunks.gamma) keep("gamma", spng_set_gama_int(ctx, *chunks.gamma));
    if (chunks.chromaticities) {
        spng_chrm_int chrm = *chunks.chromaticities;
        keep("chromaticities", spng_set_chrm_int(ctx, &chrm));
    }
    if (chunks.srgbIntent) keep("sRGB intent", spng_set_srgb(ctx, *chunks.srgbIntent));
    if (chunks.physical) {
        spng_phys phys = *chunks.physical;
        keep("physical size", spng_set_phys(ctx, &phys));
    }
    if (chunks.offset) {
        spng_offs offs = *chunks.offset;
        keep("offset", spng_set_offs(ctx, &offs));
    }
    if (chunks.time) {
        spng_time time = *chunks.time;
        keep("time", spng_set_time(ctx, &time));
    }
    if (chunks.exif) {
        spng_exif exif{chunks.exif->size(), const_cast<char*>(chunks.exif->data())};
        keep("Exif", spng_set_exif(ctx, &exif));
    }
}

void PngOutput::write(const HostWorld& world, const std::vector<float>&, double& convertSeconds) {
    spng_ctx* ctx = mContext.get();
    const int w = world.width(), h = world.height(), n = mChannels;
    const bool deep = mIhdr.bit_depth == 16;
    std::vector<uint8_t> row(static_cast<size_t>(w) * n * (deep ? 2 : 1));
    const PF_LayerDef* def = world.def();
    double seconds = 0;
    for (int y = 0; y < h; ++y) {
        const auto start = std::chrono::steady_clock::now();
        const uint8_t* p = static_cast<const uint8_t*>(def->data) + static_cast<size_t>(y) * def->rowbytes;
        if (deep) {
            uint16_t* d = reinterpret_cast<uint16_t*>(row.data());  // host order: libspng swaps
            for (int x = 0; x < w; ++x, p += 4, d += n) {
                if (n <= 2) {
                    d[0] = greyWord(p);
                } else {
                    d[0] = p[1] * 257;
                    d[1] = p[2] * 257;
                    d[2] = p[3] * 257;
                }
                if (n == 2 || n == 4) d[n - 1] = p[0] * 257;
            }
        } else if (n == 4) {
            // A, R, G, B to R, G, B, A: the byte rotation PngInput undoes.
            for (int x = 0; x < w; ++x, p += 4) {
                uint32_t v;
                std::memcpy(&v, p, 4);
                v = v >> 8 | v << 24;
                std::memcpy(&row[4 * static_cast<size_t>(x)], &v, 4);
            }
        } else if (n == 3) {
            for (int x = 0; x < w; ++x, p += 4) {
                uint8_t* d = &row[3 * static_cast<size_t>(x)];
                d[0] = p[1];
                d[1] = p[2];
                d[2] = p[3];
            }
        } else {
            uint8_t* d = row.data();
            for (int x = 0; x < w; ++x, p += 4, d += n) {
                if (n <= 2) {
                    d[0] = greyByte(p);
                } else {
                    d[0] = p[1];
                    d[1] = p[2];
                    d[2] = p[3];
                }
                if (n == 2 || n == 4) d[n - 1] = p[0];
            }
        }
        seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        errno = 0;
        const int error = spng_encode_row(ctx, row.data(), row.size());
        if (error && !(error == SPNG_EOI && y + 1 == h)) throw failure(error);
    }
    convertSeconds += seconds;
    mContext.reset();
    FILE* file = mFile.release();
    errno = 0;
    const bool failed = std::ferror(file) != 0;
    if (std::fclose(file) != 0 || failed) throw std::runtime_error(std::strerror(errno ? errno : EIO));
}

}  // namespace fxhost
