// fxhost render with the pass-through bundle: what a movie loses on its way through the host alone
// (YUV to the effect's ARGB and back, with the stream's own matrix and range), and the effect seeing
// a movie's frames exactly as it sees the same frames read from images.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <string>

#include "CommandRunner.h"
#include "MovieClips.h"
#include "SequenceFiles.h"

namespace {

const std::string kFxhost = OSTRIVANE_FXHOST_PATH;
const std::string kPassThrough = OSTRIVANE_PASSTHROUGH_PATH;

class PassThroughMovie : public ::testing::Test {
protected:
    void SetUp() override {
        dir = "/tmp/fxhost-passthrough-" + std::to_string(getpid()) + "-" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_EQ(std::system(("rm -rf " + dir + " && mkdir -p " + dir + "/out").c_str()), 0);
    }
    void TearDown() override { std::system(("rm -rf " + dir).c_str()); }

    std::string dir;
};

}  // namespace

// 4:2:0 through 8-bit RGB and back to lossless 4:2:0 costs chroma detail and rounding, but no more
// than the host lost before its conversions were made fast (the bounds: its worst frame then, to
// 0.1 dB below). A matrix or range other than the stream's, on either side, costs 8 dB or more.
// The movie comes back tagged as it went in.
TEST_F(PassThroughMovie, RoundTripLosesNoMoreThanBeforeWithTheStreamsMatrixAndRange) {
    const struct {
        const char *name, *matrix, *range;  // as the scale filter names them
        const char *tags, *probed;          // ffprobe's range and matrix
        double bound;
    } cases[] = {
        {"bt709.mkv", "bt709", "tv",
         "-colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv", "tv,bt709", 38.9},
        {"bt601full.mkv", "bt601", "pc", "-colorspace smpte170m -color_range pc", "pc,smpte170m", 37.6},
    };
    const size_t frameBytes = 320 * 180 * 3 / 2;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string source = dir + "/" + c.name, output = dir + "/out/" + c.name;
        ASSERT_EQ(makeClip(source, std::string("-f lavfi -i testsrc2=size=320x180:rate=25:duration=0.4 -vf "
                                               "\"scale=out_color_matrix=") +
                                       c.matrix + ":out_range=" + c.range + ",format=yuv420p\" -c:v ffv1 " +
                                       c.tags),
                  "");
        const CommandResult r = runCommand(kFxhost + " render -q --plugin " + kPassThrough +
                                           " --codec ffv1 --pix-fmt yuv420p " + source + " " + output);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(probe(output, "-show_entries stream=pix_fmt,color_range,color_space -of csv=p=0"),
                  std::string("yuv420p,") + c.probed + "\n");
        // The planes of every frame as stored (no conversion), frame against frame over all samples.
        const std::string a = decode(source, ""), b = decode(output, "");
        ASSERT_EQ(a.size(), 10 * frameBytes);
        ASSERT_EQ(b.size(), a.size());
        for (size_t at = 0; at < a.size(); at += frameBytes) {
            double sum = 0;
            for (size_t i = at; i < at + frameBytes; ++i)
                sum += std::pow(double(uint8_t(a[i])) - uint8_t(b[i]), 2);
            EXPECT_GE(10 * std::log10(255.0 * 255.0 * frameBytes / sum), c.bound)
                << "frame " << at / frameBytes + 1;
        }
    }
}

// The effect gets a movie's frame as it gets the same pixels from an image: the frames the host
// decodes, written out by the pass-through, rendered by the effect as a sequence, are the movie's
// frames rendered by the effect, pixel for pixel.
TEST_F(PassThroughMovie, TheEffectSeesAMoviesFramesAsItSeesTheSameImages) {
    const std::string clip = dir + "/clip.mp4", settings = " --set \"Hue Value=90\" --set Saturation=1.5 ";
    ASSERT_EQ(makeClip(clip,
                       "-f lavfi -i testsrc2=size=160x90:rate=25:duration=0.24 -c:v libx264 -pix_fmt yuv420p "
                       "-bf 2 -colorspace bt709 -color_primaries bt709 -color_trc bt709"),
              "");
    for (const std::string args : {" --plugin " + kPassThrough + " " + clip + " " + dir + "/decoded_%04d.png",
                                   settings + clip + " " + dir + "/out/movie_%04d.png",
                                   settings + dir + "/decoded_%04d.png " + dir + "/out/images_%04d.png"}) {
        const CommandResult r = runCommand(kFxhost + " render -q" + args);
        ASSERT_EQ(r.status, 0) << args << ": " << r.err;
    }
    ASSERT_EQ(filesIn(dir + "/out").size(), 12u);
    for (int frame = 1; frame <= 6; ++frame) {
        const std::string movie = frameName(dir + "/out/movie_%04d.png", frame);
        EXPECT_EQ(samePixels(movie, frameName(dir + "/out/images_%04d.png", frame)), "") << "frame " << frame;
        // Not a vacuous match: the effect changed the frame.
        EXPECT_NE(samePixels(movie, frameName(dir + "/decoded_%04d.png", frame)), "");
    }
}

// RGB movies whose rows the world pads past their last pixel (QuickTime Animation and GIF 700
// wide, FFV1 RGB 60 wide): through the host alone every frame comes out as FFmpeg decodes it, and
// nothing the host writes is blamed on the effect.
TEST_F(PassThroughMovie, PaddedRgbRowsComeThroughWhole) {
    const struct {
        const char *name, *args;
    } cases[] = {
        {"anim.mov", "-f lavfi -i testsrc2=size=700x16:rate=10:duration=0.3,format=rgba -c:v qtrle"},
        {"rgb.mkv", "-f lavfi -i testsrc2=size=60x16:rate=10:duration=0.3 -c:v ffv1 -pix_fmt rgb24"},
        {"anim.gif", "-f lavfi -i testsrc2=size=700x16:rate=10:duration=0.3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string source = dir + "/" + c.name, frames = dir + "/out/" + c.name + "_%04d.png";
        ASSERT_EQ(makeClip(source, c.args), "");
        const CommandResult r = runCommand(kFxhost + " render -q --plugin " + kPassThrough + " " + source + " " + frames);
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.err, "");
        const std::string expected = decode(source, "-pix_fmt rgba");
        ASSERT_FALSE(expected.empty());
        EXPECT_TRUE(decode(frames, "-pix_fmt rgba") == expected);
    }
}
