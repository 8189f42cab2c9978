// PNGs of every kind, written byte by byte here, through fxhost and the pass-through bundle: the
// output holds each file's pixels at its own depth, as this file's own plain decoder reads them,
// and every ancillary chunk the input held, an ICC profile that libpng refuses to write included.
#include <gtest/gtest.h>
#include <zlib.h>

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cctype>
#include <fstream>
#include <string>
#include <vector>

#include "CommandRunner.h"
#include "SequenceFiles.h"

using namespace std::string_literals;

namespace {

std::string be32(uint32_t v) {
    return {char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
}

std::string chunk(const std::string& type, const std::string& body) {
    const std::string typed = type + body;
    return be32(body.size()) + typed +
           be32(crc32(0, reinterpret_cast<const Bytef*>(typed.data()), typed.size()));
}

// zlib's stream of `data` (pack), or what such a stream holds.
std::string zlib(const std::string& data, bool pack) {
    uLongf size = pack ? compressBound(data.size()) : 1 << 16;
    std::string out(size, '\0');
    auto* to = reinterpret_cast<Bytef*>(&out[0]);
    const auto* from = reinterpret_cast<const Bytef*>(data.data());
    EXPECT_EQ(pack ? compress(to, &size, from, data.size()) : uncompress(to, &size, from, data.size()), Z_OK);
    return out.substr(0, size);
}

// What a PNG holds: its header, its pixel stream inflated, and its ancillary chunks (compressed
// text and profiles inflated) in a fixed order.
struct Png {
    std::string ihdr, pixels;
    std::vector<std::string> ancillary;
};

Png parse(const std::string& file) {
    Png png;
    std::string idat;
    EXPECT_EQ(file.substr(0, 8), "\x89PNG\r\n\x1a\n");
    for (size_t at = 8; at + 12 <= file.size();) {
        const auto* p = reinterpret_cast<const unsigned char*>(&file[at]);
        const size_t size = size_t(p[0]) << 24 | p[1] << 16 | p[2] << 8 | p[3],
                     name = file.find('\0', at + 8) - at - 8;
        const std::string type = file.substr(at + 4, 4), body = file.substr(at + 8, size);
        at += 12 + size;
        if (type == "IHDR") png.ihdr = body;
        if (type == "IDAT") idat += body;
        if (type == "zTXt" || type == "iCCP") {
            png.ancillary.push_back(type + body.substr(0, name) + ":" + zlib(body.substr(name + 2), false));
        } else if (std::islower(static_cast<unsigned char>(type[0])) &&
                   type != "tRNS") {  // tRNS becomes alpha
            png.ancillary.push_back(type + body);
        }
    }
    png.pixels = zlib(idat, false);
    std::sort(png.ancillary.begin(), png.ancillary.end());
    return png;
}

// A PNG of the given scanlines (each with its filter byte, in Adam7's pass order when interlaced).
std::string makePng(int w, int h, int depth, int type, int interlaced, const std::string& raw,
                    const std::string& chunks) {
    const std::string ihdr = be32(w) + be32(h) + char(depth) + char(type) + '\0' + '\0' + char(interlaced);
    return "\x89PNG\r\n\x1a\n" + chunk("IHDR", ihdr) + chunks + chunk("IDAT", zlib(raw, true)) +
           chunk("IEND", "");
}

// An ICC display profile whose PCS illuminant is D65, not D50, as wide-gamut P3 and BT.2020
// pictures carry it: a header, its white point and P3's primaries.
std::string wideGamutProfile() {
    const uint32_t xyz[4][3] = {
        {0xF352, 0x10000, 0x116C8}, {0x7C92, 0x3AA0, 0}, {0x4405, 0xB113, 0x0B8C}, {0x32BD, 0x144D, 0x10B3D}};
    std::string profile = be32(260) + "none" + be32(0x02100000) + "mntrRGB XYZ " + std::string(12, '\0') +
                          "acsp" + std::string(28, '\0') + be32(xyz[0][0]) + be32(xyz[0][1]) +
                          be32(xyz[0][2]) + std::string(48, '\0') + be32(4);
    for (int i = 0; i < 4; ++i)
        profile += std::string("wtptrXYZgXYZbXYZ", 4 * i, 4) + be32(180 + 20 * i) + be32(20);
    for (const auto& v : xyz) profile += "XYZ \0\0\0\0"s + be32(v[0]) + be32(v[1]) + be32(v[2]);
    return profile;
}

class FxhostPng : public WithFolder<> {};

}  // namespace

TEST_F(FxhostPng, EveryKindComesBackAtItsDepthWithItsChunks) {
    const std::string text = chunk("tEXt", "Title\0Sunrise"s) +
                             chunk("zTXt", "Comment\0\0"s + zlib("packed words", true)) +
                             chunk("iTXt", "Author\0\0\0de\0Autor\0J\xc3\xbcrgen"s);
    const std::string colour = chunk("gAMA", be32(45455)) + chunk("pHYs", be32(2835) + be32(5670) + '\1') +
                               chunk("cHRM", be32(31270) + be32(32900) + be32(68000) + be32(32000) +
                                                 be32(26500) + be32(69000) + be32(15000) + be32(6000)) +
                               chunk("iCCP", "P3 D65\0\0"s + zlib(wideGamutProfile(), true));
    const struct {
        std::string name;
        int w, h, depth, type, interlaced;
        std::string in, chunks;  // the scanlines, each with its filter byte; the chunks before them
        int outDepth, outType;
        std::string out;  // the output's scanlines, as `in`
    } cases[] = {
        {"grey 8", 4, 2, 8, 0, 0, "\0\x00\x01\x80\xff\0\x07\x08\x09\x0a"s, text, 8, 0,
         "\0\x00\x01\x80\xff\0\x07\x08\x09\x0a"s},
        {"grey+alpha 16", 2, 1, 16, 4, 0, "\0\x12\xa0\xff\xff\x80\x80\x00\x00"s, "", 16, 4,
         "\0\x13\x13\xff\xff\x80\x80\x00\x00"s},
        {"palette+tRNS", 2, 1, 8, 3, 0, "\0\x01\x00"s,
         chunk("sRGB", "\x01"s) + chunk("PLTE", "\x0a\x14\x1e\x28\x32\x3c"s) + chunk("tRNS", "\x80"s), 8, 6,
         "\0\x28\x32\x3c\xff\x0a\x14\x1e\x80"s},
        {"1-bit", 10, 1, 1, 0, 0, "\0\xb0\x40"s, "", 8, 0, "\0\xff\x00\xff\xff\x00\x00\x00\x00\x00\xff"s},
        // Pixel (x, y) holds 9y + 3x + 1 to 9y + 3x + 3; the passes hold (0,0), (2,0), (0,2) (2,2), (1,0), (1,2), row 1.
        {"interlaced RGB 8", 3, 3, 8, 2, 1,
         "\0\x01\x02\x03\0\x07\x08\x09\0\x13\x14\x15\x19\x1a\x1b\0\x04\x05\x06\0\x16\x17\x18"
         "\0\x0a\x0b\x0c\x0d\x0e\x0f\x10\x11\x12"s,
         "", 8, 2,
         "\0\x01\x02\x03\x04\x05\x06\x07\x08\x09\0\x0a\x0b\x0c\x0d\x0e\x0f\x10\x11\x12"
         "\0\x13\x14\x15\x16\x17\x18\x19\x1a\x1b"s},
        {"RGB 16, wide-gamut profile", 1, 1, 16, 2, 0, "\0\x01\xc0\x7f\x80\xff\xff"s, colour + text, 16, 2,
         "\0\x02\x02\x7f\x7f\xff\xff"s},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string in = dir + "/in.png", out = dir + "/out.png";
        const std::string file = makePng(c.w, c.h, c.depth, c.type, c.interlaced, c.in, c.chunks);
        ASSERT_TRUE(std::ofstream(in, std::ios::binary).write(file.data(), file.size()));
        const CommandResult r =
            runFxhost("-q render --plugin " OSTRIVANE_PASSTHROUGH_PATH " " + in + " " + out);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        const Png written = parse(readText(out));
        EXPECT_EQ(written.ihdr.substr(8), std::string({char(c.outDepth), char(c.outType), 0, 0, 0}));
        EXPECT_EQ(written.pixels, c.out);  // every row unfiltered
        EXPECT_EQ(written.ancillary, parse(file).ancillary);
    }
    // The last PNG into TIFF, through the image library: its profile comes along there too.
    ASSERT_EQ(runFxhost("-q render " + dir + "/in.png " + dir + "/out.tif").status, 0);
    const auto tif = OIIO::ImageInput::open(dir + "/out.tif");
    OIIO::ImageSpec header;
    ASSERT_TRUE(tif && tif->seek_subimage(0, 0, header));
    const OIIO::ParamValue* icc = header.find_attribute("ICCProfile");
    ASSERT_NE(icc, nullptr);
    EXPECT_EQ(std::string(static_cast<const char*>(icc->data()), icc->type().size()), wideGamutProfile());
    // Cut short after its pixels (no IEND): the picture renders, and the damage is said.
    const std::string whole = readText(dir + "/in.png");
    ASSERT_TRUE(std::ofstream(dir + "/in.png", std::ios::binary).write(whole.data(), whole.size() - 12));
    const CommandResult r = runFxhost("render " + dir + "/in.png " + dir + "/out.png");
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.err.find("in.png' is cut short or damaged after its pixels"), std::string::npos) << r.err;
}
