#include "PngInput.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "Console.h"

namespace fxhost {

namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "pixels are swizzled as little-endian words");

// Far above any real profile, text or Exif block, far below what would take the machine down:
// a compressed chunk that inflates past them is refused, not followed.
constexpr size_t kChunkLimit = 64u << 20, kChunkCacheLimit = 256u << 20;

std::runtime_error failure(int error) {
    if (error == SPNG_IO_EOF || error == SPNG_EOF) {
        return std::runtime_error("the file ends before its image does");
    }
    if (error == SPNG_IO_ERROR || error == SPNG_EIO) return std::runtime_error(std::strerror(errno));
    return std::runtime_error(std::string("not a readable PNG: ") + spng_strerror(error));
}

void check(int error) {
    if (error) throw failure(error);
}

// 16 bits to 8, rounded: round(v × 255 / 65535) in whole numbers.
inline uint8_t toByte(uint16_t v) {
    return static_cast<uint8_t>((v + 128u) / 257u);
}

}  // namespace

bool PngInput::isPng(const unsigned char* head, size_t size) {
    static const unsigned char kSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
    return size >= sizeof kSignature && std::memcmp(head, kSignature, sizeof kSignature) == 0;
}

PngInput::PngInput(const std::string& path)
    : mFile(std::fopen(path.c_str(), "rbe"), &std::fclose),
      mContext(spng_ctx_new(0), &spng_ctx_free),
      mChunks(std::make_shared<PngChunks>()) {
    if (!mFile) throw std::runtime_error(std::strerror(errno));
    if (!mContext) throw std::bad_alloc();
    check(spng_set_chunk_limits(mContext.get(), kChunkLimit, kChunkCacheLimit));
    check(spng_set_png_file(mContext.get(), mFile.get()));
    check(spng_get_ihdr(mContext.get(), &mIhdr));
    mChunks->source = path;
    spng_trns trns{};
    const bool transparent = spng_get_trns(mContext.get(), &trns) == 0;
    const int type = mIhdr.color_type;
    const bool grey = type == SPNG_COLOR_TYPE_GRAYSCALE || type == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA;
    const bool alpha =
        transparent || type == SPNG_COLOR_TYPE_GRAYSCALE_ALPHA || type == SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
    mHeader.width = static_cast<int>(mIhdr.width);
    mHeader.height = static_cast<int>(mIhdr.height);
    if (mHeader.width <= 0 || mHeader.height <= 0) throw std::runtime_error("the image is too large");
    mHeader.channels = (grey ? 1 : 3) + (alpha ? 1 : 0);
    mHeader.alphaChannel = alpha ? mHeader.channels - 1 : -1;
    mHeader.type = mIhdr.bit_depth == 16 ? "uint16" : "uint8";
    mHeader.png = mChunks;
}

DepthLoss PngInput::read(HostWorld& world, std::vector<float>& extra, double& convertSeconds) {
    spng_ctx* ctx = mContext.get();
    const bool deep = mIhdr.bit_depth == 16;
    const int format = deep ? SPNG_FMT_RGBA16 : SPNG_FMT_RGBA8;
    const size_t w = mIhdr.width, h = mIhdr.height, rowSize = w * (deep ? 8 : 4);
    extra.clear();
    // Row by row where the rows come in order; an interlaced file's rows are complete only at its
    // last pass, so it is decoded whole.
    const bool interlaced = mIhdr.interlace_method != SPNG_INTERLACE_NONE;
    std::vector<unsigned char> pixels(interlaced ? rowSize * h : rowSize);
    PF_LayerDef* def = world.def();
    double seconds = 0;
    auto convert = [&](const unsigned char* row, size_t y) {
        const auto start = std::chrono::steady_clock::now();
        uint8_t* p = static_cast<uint8_t*>(def->data) + y * def->rowbytes;
        if (deep) {
            const uint16_t* s = reinterpret_cast<const uint16_t*>(row);
            for (size_t x = 0; x < w; ++x, p += 4, s += 4) {
                p[0] = toByte(s[3]);
                p[1] = toByte(s[0]);
                p[2] = toByte(s[1]);
                p[3] = toByte(s[2]);
            }
        } else {
            // R, G, B, A to A, R, G, B: a byte rotation of each little-endian word, which compilers vectorise.
            for (size_t x = 0; x < w; ++x, p += 4, row += 4) {
                uint32_t v;
                std::memcpy(&v, row, 4);
                v = v << 8 | v >> 24;
                std::memcpy(p, &v, 4);
            }
        }
        seconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    };
    if (interlaced) {
        check(spng_decode_image(ctx, pixels.data(), pixels.size(), format, SPNG_DECODE_TRNS));
        for (size_t y = 0; y < h; ++y) convert(&pixels[y * rowSize], y);
    } else {
        check(spng_decode_image(ctx, nullptr, 0, format, SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE));
        for (size_t y = 0; y < h; ++y) {
            const int error = spng_decode_row(ctx, pixels.data(), rowSize);
            if (error && !(error == SPNG_EOI && y + 1 == h)) throw failure(error);
            convert(pixels.data(), y);
        }
    }
    // The chunks after the pixels (text often is) come with the rest; a file damaged or cut short
    // after its last pixel still gives its picture, and what could not be read is said.
    if (spng_decode_chunks(ctx) != 0) {
        Console::warnOnce("'" + mChunks->source +
                          "' is cut short or damaged after its pixels: the picture is read whole, the chunks "
                          "after it may not be kept");
    }
    keepChunks();
    mContext.reset();
    mFile.reset();
    convertSeconds += seconds;
    DepthLoss loss;
    loss.deeper = deep;
    return loss;
}

void PngInput::keepChunks() {
    spng_ctx* ctx = mContext.get();
    PngChunks& kept = *mChunks;
    uint32_t count = 0;
    if (spng_get_text(ctx, nullptr, &count) == 0 && count) {
        std::vector<spng_text> texts(count);
        check(spng_get_text(ctx, texts.data(), &count));
        for (const spng_text& t : texts) {
            PngChunks::Text text;
            text.type = t.type;
            text.compressed = t.type == SPNG_ITXT ? t.compression_flag != 0 : t.type == SPNG_ZTXT;
            text.keyword = t.keyword;
            text.text.assign(t.text, t.length);
            if (t.language_tag) text.language = t.language_tag;
            if (t.translated_keyword) text.translatedKeyword = t.translated_keyword;
            kept.texts.push_back(std::move(text));
        }
    }
    spng_iccp iccp{};
    if (spng_get_iccp(ctx, &iccp) == 0) {
        kept.iccName = iccp.profile_name;
        kept.iccProfile = std::string(iccp.profile, iccp.profile_len);
    }
    uint32_t gamma = 0;
    if (spng_get_gama_int(ctx, &gamma) == 0) kept.gamma = gamma;
    spng_chrm_int chrm{};
    if (spng_get_chrm_int(ctx, &chrm) == 0) kept.chromaticities = chrm;
    uint8_t intent = 0;
    if (spng_get_srgb(ctx, &intent) == 0) kept.srgbIntent = intent;
    spng_phys phys{};
    if (spng_get_phys(ctx, &phys) == 0) kept.physical = phys;
    spng_offs offs{};
    if (spng_get_offs(ctx, &offs) == 0) kept.offset = offs;
    spng_time time{};
    if (spng_get_time(ctx, &time) == 0) kept.time = time;
    spng_exif exif{};
    if (spng_get_exif(ctx, &exif) == 0) kept.exif = std::string(exif.data, exif.length);
}

}  // namespace fxhost
