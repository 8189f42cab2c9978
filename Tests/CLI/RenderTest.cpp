#include <gtest/gtest.h>

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "CommandRunner.h"
#include "ImageFile.h"

namespace {

const std::string kFxhost = OSTRIVANE_FXHOST_PATH;
const std::string kSample = std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png";

bool exists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

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

class FxhostRender : public ::testing::Test {
protected:
    void SetUp() override {
        dir = "/tmp/fxhost-cli-" + std::to_string(getpid()) + "-" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_EQ(std::system(("rm -rf " + dir + " && mkdir -p " + dir).c_str()), 0);
    }
    void TearDown() override { std::system(("rm -rf " + dir).c_str()); }

    // Only the finished files, never a temporary, are left in the folder.
    int filesInDir() { return std::stoi("0" + runCommand("ls -A " + dir + " | wc -l").out); }

    // The sample, converted to the given type and format, checked against the reference pixel by pixel.
    void renderAndCompare(const std::string& extension, OIIO::TypeDesc type, double tolerance) {
        const fxhost::ImageFile sample = fxhost::ImageFile::read(kSample);
        const std::string in = dir + "/in." + extension, out = dir + "/out." + extension;
        fxhost::ImageFile converted(sample.width(), sample.height(), sample.channels(), type);
        for (int y = 0; y < sample.height(); ++y) {
            for (int x = 0; x < sample.width(); ++x)
                std::copy(sample.rgba(x, y), sample.rgba(x, y) + 4, converted.rgba(x, y));
        }
        converted.write(in);

        const CommandResult r =
            runCommand(kFxhost + " render --set \"Hue Value=90\" --set \"Saturation=1.5\" " + in + " " + out);
        ASSERT_EQ(r.status, 0) << r.err;
        const fxhost::ImageFile input = fxhost::ImageFile::read(in), result = fxhost::ImageFile::read(out);
        EXPECT_EQ(result.width(), input.width());
        EXPECT_EQ(result.height(), input.height());
        EXPECT_EQ(result.channels(), input.channels());
        EXPECT_EQ(result.type(), type);
        int checked = 0;
        for (int y = 0; y < input.height(); y += 7) {
            for (int x = 0; x < input.width(); x += 5) {
                const float* px = input.rgba(x, y);
                const float* got = result.rgba(x, y);
                if (px[3] < 0.5f) continue;  // faint pixels: see the frame tests for their rounding
                double want[3];
                reference(90.0, 1.5, px, want);
                for (int c = 0; c < 3; ++c)
                    EXPECT_NEAR(got[c], want[c], tolerance) << x << "," << y << " channel " << c;
                EXPECT_NEAR(got[3], px[3], 1.0 / 255);
                ++checked;
            }
        }
        EXPECT_GT(checked, 300);
    }

    std::string dir;
};

}  // namespace

TEST_F(FxhostRender, TurnsHueOfPngsAndExrAsTheEffectsArithmeticSays) {
    // The host hands the effect 8-bit worlds, so every depth carries 8-bit rounding.
    renderAndCompare("png", OIIO::TypeDesc::UINT8, 2.5 / 255);
    renderAndCompare("png", OIIO::TypeDesc::UINT16, 2.5 / 255);
    renderAndCompare("exr", OIIO::TypeDesc::HALF, 2.5 / 255);
}

TEST_F(FxhostRender, BadInputIsRefusedWithItsReasonAndLeavesNoFile) {
    const std::string out = dir + "/out.png";
    struct Case {
        std::string args;
        int status;
        std::string message;
    } cases[] = {
        {"--set \"Hue Value=400\" " + kSample, 2,
         "400 is out of range for parameter \"Hue Value\" (0 to 360)"},
        {"--set saturation=abc " + kSample, 2, "\"abc\" is not a number; parameter \"Saturation\" (0 to 2)"},
        {"--set Brightness=1 " + kSample, 2,
         "unknown parameter \"Brightness\"; the effect has 1 \"Hue Value\" (0 to 360), 2 \"Saturation\" (0 to 2)"},
        {"--set 2=-1 " + kSample, 2, "-1 is out of range for parameter \"Saturation\" (0 to 2)"},
        {"--set Saturation " + kSample, 2, "\"Saturation\" is not NAME=VALUE"},
        {"--frames 5-2 " + kSample, 2, "--frames: \"5-2\" ends before it starts"},
        {"--frames 1-3 " + kSample, 2, "OUTPUT needs a frame number"},
        {dir + "/missing.png", 3, "cannot read image '" + dir + "/missing.png'"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.args);
        const CommandResult r = runCommand(kFxhost + " render " + c.args + " " + out);
        EXPECT_EQ(r.status, c.status);
        EXPECT_NE(r.err.find(c.message), std::string::npos) << r.err;
        EXPECT_EQ(filesInDir(), 0);
    }
}

// Frames are read ahead and written behind on other threads, yet a failure is the one a plain
// loop meets first, and nothing after it is written: here writing frame 2 (its name is taken by
// a directory) comes before reading frame 3, which is no image either.
TEST_F(FxhostRender, SequenceStopsAtTheFirstFailureInFrameOrder) {
    for (int frame : {1, 2, 4}) {
        char name[64];
        std::snprintf(name, sizeof name, "/in_%04d.png", frame);
        ASSERT_EQ(std::system(("cp " + kSample + " " + dir + name).c_str()), 0);
    }
    ASSERT_EQ(std::system(("echo 'not a picture' > " + dir + "/in_0003.png").c_str()), 0);
    ASSERT_EQ(mkdir((dir + "/out_0002.png").c_str(), 0755), 0);
    CommandResult r =
        runCommand(kFxhost + " render --frames 1-4 " + dir + "/in_%04d.png " + dir + "/out_%04d.png");
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("cannot write image '" + dir + "/out_0002.png'"), std::string::npos) << r.err;
    EXPECT_TRUE(exists(dir + "/out_0001.png"));
    EXPECT_FALSE(exists(dir + "/out_0003.png"));
    EXPECT_FALSE(exists(dir + "/out_0004.png"));

    ASSERT_EQ(rmdir((dir + "/out_0002.png").c_str()), 0);
    r = runCommand(kFxhost + " render --frames 1-4 " + dir + "/in_%04d.png " + dir + "/out_%04d.png");
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("cannot read image '" + dir + "/in_0003.png'"), std::string::npos) << r.err;
    EXPECT_TRUE(exists(dir + "/out_0002.png"));
    EXPECT_FALSE(exists(dir + "/out_0004.png"));
    EXPECT_EQ(r.err.find("Rendered"), std::string::npos) << r.err;
}

TEST_F(FxhostRender, SheetTilesOneRenderPerStep) {
    const CommandResult r =
        runCommand(kFxhost + " sheet --vary \"hue value=0:300:6\" " + kSample + " " + dir + "/sheet.png");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("tile 6 (row 2, column 3): Hue Value = 300"), std::string::npos) << r.err;
    const fxhost::ImageFile sheet = fxhost::ImageFile::read(dir + "/sheet.png");
    EXPECT_EQ(sheet.width(), 3 * 192 + 4 * 4);
    EXPECT_EQ(sheet.height(), 2 * 128 + 3 * 4);
}
