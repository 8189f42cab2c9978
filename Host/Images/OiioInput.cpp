#include "OiioInput.h"

#include <algorithm>
#include <chrono>
#include <cctype>
#include <cmath>
#include <cstdio>
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

// A keyword a PNG takes: 1 to 79 printable Latin-1 characters, no space at either end nor two in a row.
bool pngKeyword(const std::string& k) {
    if (k.empty() || k.size() > 79 || k.front() == ' ' || k.back() == ' ' ||
        k.find("  ") != std::string::npos)
        return false;
    return std::all_of(k.begin(), k.end(), [](char c) { return c >= 32 && c <= 126; });
}

// tEXt holds printable Latin-1 and newlines; anything else (UTF-8 beyond ASCII, tabs) goes in iTXt.
bool plainText(const std::string& t) {
    return std::all_of(t.begin(), t.end(), [](char c) { return (c >= 32 && c <= 126) || c == '\n'; });
}

template <typename T>
std::optional<uint32_t> scaled(T value, double factor) {
    const double v = std::round(static_cast<double>(value) * factor);
    if (!(v > 0 && v <= 2147483647.0)) return std::nullopt;
    return static_cast<uint32_t>(v);
}

void addTime(const std::string& dateTime, PngChunks& chunks) {
    int year, month, day, hour, minute, second;
    if (std::sscanf(dateTime.c_str(), "%d:%d:%d %d:%d:%d", &year, &month, &day, &hour, &minute, &second) != 6)
        return;
    if (year < 0 || year > 65535 || month < 1 || month > 12 || day < 1 || day > 31 || hour < 0 || hour > 23 ||
        minute < 0 || minute > 59 || second < 0 || second > 60)
        return;
    chunks.time =
        spng_time{static_cast<uint16_t>(year), static_cast<uint8_t>(month),  static_cast<uint8_t>(day),
                  static_cast<uint8_t>(hour),  static_cast<uint8_t>(minute), static_cast<uint8_t>(second)};
}

// Resolution in pixels a metre where the unit is a length, else the two as a ratio.
void addResolution(const OIIO::ImageSpec& header, PngChunks& chunks) {
    const float x = header.get_float_attribute("XResolution", 0),
                y = header.get_float_attribute("YResolution", 0);
    if (!(x > 0 && y > 0)) return;
    const std::string unit = header.get_string_attribute("ResolutionUnit", "none");
    const double perMetre = unit == "in" || unit == "inch" ? 1 / 0.0254 : unit == "cm" ? 100 : 0;
    const auto px = scaled(x, perMetre ? perMetre : 1), py = scaled(y, perMetre ? perMetre : 1);
    if (px && py) chunks.physical = spng_phys{*px, *py, static_cast<uint8_t>(perMetre ? 1 : 0)};
}

}  // namespace

std::shared_ptr<PngChunks> OiioInput::pngChunks(const OiioFile& file) {
    const OIIO::ImageSpec& header = file.header;
    auto chunks = std::make_shared<PngChunks>();
    chunks->source = file.path;
    if (const OIIO::ParamValue* icc = header.find_attribute("ICCProfile");
        icc && icc->type().basetype == OIIO::TypeDesc::UINT8 && icc->datasize() > 0) {
        chunks->iccName = "ICC Profile";
        chunks->iccProfile = std::string(static_cast<const char*>(icc->data()), icc->datasize());
    }
    // Text as a PNG writer names it. The picture's own attributes are capitalised (Artist, Exif:...);
    // the library's are not (oiio:, compression, planarconfig): they say how the file was stored.
    // ICCProfile:... is the library's reading of the profile, which goes whole; libspng refuses
    // the whole batch for one empty text.
    for (const OIIO::ParamValue& attribute : header.extra_attribs) {
        const std::string name = attribute.name().string();
        if (attribute.type() != OIIO::TypeDesc::STRING || name.empty() ||
            !std::isupper(static_cast<unsigned char>(name[0])) || name == "ResolutionUnit" ||
            name.rfind("ICCProfile:", 0) == 0)
            continue;
        const std::string value = attribute.get_string();
        if (value.empty()) continue;
        if (name == "DateTime") {
            addTime(value, *chunks);
            continue;
        }
        PngChunks::Text text;
        text.keyword = name == "ImageDescription" ? "Description"
                       : name == "Artist"         ? "Author"
                       : name == "DocumentName"   ? "Title"
                                                  : name;
        if (!pngKeyword(text.keyword)) continue;
        text.type = plainText(value) ? SPNG_TEXT : SPNG_ITXT;
        text.text = value;
        chunks->texts.push_back(std::move(text));
    }
    addResolution(header, *chunks);
    if (header.x || header.y) chunks->offset = spng_offs{header.x, header.y, 0};
    const float gamma = header.get_float_attribute("oiio:Gamma", 0);
    const std::string space = header.get_string_attribute("oiio:ColorSpace");
    if (gamma > 0)
        chunks->gamma = scaled(1.0f / gamma, 100000);
    else if (space == "Linear")
        chunks->gamma = 100000;
    if (const OIIO::ParamValue* c =
            header.find_attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8))) {
        // OpenEXR's order is red, green, blue, white; a PNG's white first.
        const float* v = static_cast<const float*>(c->data());
        std::optional<uint32_t> p[8];
        for (int i = 0; i < 8; ++i) p[i] = scaled(v[(i + 6) % 8], 100000);
        if (std::all_of(std::begin(p), std::end(p), [](const auto& q) { return q.has_value(); }))
            chunks->chromaticities = spng_chrm_int{*p[0], *p[1], *p[2], *p[3], *p[4], *p[5], *p[6], *p[7]};
    }
    return chunks;
}

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
