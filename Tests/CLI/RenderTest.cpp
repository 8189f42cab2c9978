#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "CommandRunner.h"
#include "ImageFile.h"
#include "SequenceFiles.h"

namespace {

const std::string kSample = std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png";

// The effect's colour arithmetic worked in double precision from its published constants:
// RGB to YIQ, the angle turned the negative way, back to RGB, mixed against luminance.
void reference(double hueDegrees, double saturation, const float in[3], double out[3]) {
    const double y = 0.299 * in[0] + 0.587 * in[1] + 0.114 * in[2];
    double i = 0.595716 * in[0] - 0.274453 * in[1] - 0.321263 * in[2];
    double q = 0.211456 * in[0] - 0.522591 * in[1] + 0.31135 * in[2];
    const double angle = std::atan2(q, i) - hueDegrees * 0.017453292519943;
    const double chroma = std::hypot(i, q);
    i = chroma * std::cos(angle);
    q = chroma * std::sin(angle);
    const double rgb[3] = {y + 0.9563 * i + 0.6210 * q, y - 0.2721 * i - 0.6474 * q,
                           y - 1.1070 * i + 1.7046 * q};
    const double grey = 0.2125 * rgb[0] + 0.7154 * rgb[1] + 0.0721 * rgb[2];
    for (int c = 0; c < 3; ++c) out[c] = std::min(1.0, std::max(0.0, grey + (rgb[c] - grey) * saturation));
}

class FxhostRender : public WithFolder<> {};

}  // namespace

// The sample as 8-bit and 16-bit PNG and half-float EXR, checked against the reference pixel by
// pixel: the host hands the effect 8-bit worlds, so every depth carries 8-bit rounding.
TEST_F(FxhostRender, TurnsHueOfPngsAndExrAsTheEffectsArithmeticSays) {
    const fxhost::ImageFile sample = fxhost::ImageFile::read(kSample);
    for (const auto& [extension, type] : {std::pair<std::string, OIIO::TypeDesc>{"png", OIIO::TypeDesc::UINT8},
                                          {"png", OIIO::TypeDesc::UINT16}, {"exr", OIIO::TypeDesc::HALF}}) {
        SCOPED_TRACE(std::string(type.c_str()) + " " + extension);
        const std::string in = dir + "/in." + extension, out = dir + "/out." + extension;
        fxhost::ImageFile converted(sample.width(), sample.height(), sample.channels(), type);
        for (int y = 0; y < sample.height(); ++y) {
            for (int x = 0; x < sample.width(); ++x)
                std::copy(sample.rgba(x, y), sample.rgba(x, y) + 4, converted.rgba(x, y));
        }
        converted.write(in);
        const CommandResult r = runFxhost("render --set \"Hue Value=90\" --set \"Saturation=1.5\" " + in + " " + out);
        ASSERT_EQ(r.status, 0) << r.err;
        const fxhost::ImageFile input = fxhost::ImageFile::read(in), result = fxhost::ImageFile::read(out);
        EXPECT_EQ(std::vector<int>({result.width(), result.height(), result.channels()}),
                  std::vector<int>({input.width(), input.height(), input.channels()}));
        EXPECT_EQ(result.type(), type);
        int checked = 0;
        for (int y = 0; y < input.height(); y += 7) {
            for (int x = 0; x < input.width(); x += 5) {
                const float *px = input.rgba(x, y), *got = result.rgba(x, y);
                if (px[3] < 0.5f) continue;  // faint pixels: see the frame tests for their rounding
                double want[3];
                reference(90.0, 1.5, px, want);
                for (int c = 0; c < 3; ++c) EXPECT_NEAR(got[c], want[c], 2.5 / 255) << x << "," << y << " channel " << c;
                EXPECT_NEAR(got[3], px[3], 1.0 / 255);
                ++checked;
            }
        }
        EXPECT_GT(checked, 300);
    }
}

// Frames are read ahead and written behind on other threads, yet a failure is the one a plain
// loop meets first, and nothing after it is written: here writing frame 2 (its name is taken by
// a directory) comes before reading frame 3, which is no image either.
TEST_F(FxhostRender, SequenceStopsAtTheFirstFailureInFrameOrder) {
    const std::string render = "render --frames 1-4 " + dir + "/in_%04d.png " + dir + "/out_%04d.png";
    makeFrames(dir + "/in_%04d.png", 1, 4);
    std::ofstream(dir + "/in_0003.png") << "not a picture";
    ASSERT_TRUE(std::filesystem::create_directory(dir + "/out_0002.png"));
    CommandResult r = runFxhost(render);
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("cannot write image '" + dir + "/out_0002.png'"), std::string::npos) << r.err;
    EXPECT_TRUE(std::filesystem::exists(dir + "/out_0001.png"));
    EXPECT_FALSE(std::filesystem::exists(dir + "/out_0003.png"));
    EXPECT_FALSE(std::filesystem::exists(dir + "/out_0004.png"));

    ASSERT_TRUE(std::filesystem::remove(dir + "/out_0002.png"));
    r = runFxhost(render);
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("cannot read image '" + dir + "/in_0003.png'"), std::string::npos) << r.err;
    EXPECT_TRUE(std::filesystem::exists(dir + "/out_0002.png"));
    EXPECT_FALSE(std::filesystem::exists(dir + "/out_0004.png"));
    EXPECT_EQ(r.err.find("Rendered"), std::string::npos) << r.err;
}
