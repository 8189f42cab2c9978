// MovieReader against FFmpeg's own decodes of clips made here: the colour conversion each
// stream's tags call for, frames found exactly wherever a read starts, and files cut short or not
// movies at all. Variable frame rates and alpha are read end to end in the CLI suite's movie tests.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "JobError.h"
#include "MovieClips.h"
#include "MovieReader.h"

using fxhost::HostWorld;
using fxhost::JobError;
using fxhost::MovieReader;

namespace {

std::string gDir;

std::string clip(const std::string& name) {
    return gDir + "/" + name;
}

// Every frame of CLIP as FFmpeg decodes it with a matrix and range named outright, chroma sited as
// H.264 sites it: 8-bit A, R, G, B, frame after frame.
std::string ffmpegYuv(const std::string& path, const std::string& matrix, const std::string& range) {
    return decode(
        path,
        "-fps_mode passthrough -vf \"scale=in_color_matrix=" + matrix + ":in_range=" + range +
            ":in_h_chr_pos=0:in_v_chr_pos=128:flags=bicubic+accurate_rnd+full_chroma_int,format=argb\"");
}

// PSNR of R, G and B (alpha left out) of frame FRAME (from 1) as the reader reads it against the
// same frame of `frames`.
double psnr(MovieReader& reader, const std::string& frames, int frame) {
    HostWorld world(reader.width(), reader.height(), fxhost::Depth::Eight);
    reader.read(frame, world);
    const std::vector<uint8_t> pixels = world.pixelBytes();
    const size_t size = pixels.size(), at = size * (frame - 1);
    if (frames.size() < at + size) return -1;
    double sum = 0;
    for (size_t i = 0; i < size; ++i) {
        const double d = double(pixels[i]) - double(uint8_t(frames[at + i]));
        if (i % 4 != 0) sum += d * d;
    }
    const double mse = sum / (size / 4 * 3);
    return mse == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mse);
}

class MovieReaderTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        av_log_set_level(AV_LOG_QUIET);
        gDir = "/tmp/fxhost-movie-reader-" + std::to_string(getpid());
        std::system(("rm -rf " + gDir + " && mkdir -p " + gDir).c_str());
    }
    static void TearDownTestSuite() { std::system(("rm -rf " + gDir).c_str()); }
};

const std::string kSecond = "-f lavfi -i testsrc2=size=160x90:rate=25:duration=1 ";
const std::string kNoisy = "-f lavfi -i testsrc2=size=160x90:rate=25:duration=2,noise=alls=30:allf=t ";
const std::string kX264 = "-c:v libx264 -pix_fmt yuv420p ";

}  // namespace

// Each stream as its tags say: a wrong matrix or range costs 6 to 15 dB against these.
TEST_F(MovieReaderTest, ConvertsWithTheStreamsOwnMatrixAndRange) {
    const struct {
        const char *name, *matrix, *range;
        std::string args;
    } cases[] = {
        {"bt709.mp4", "bt709", "tv",
         kSecond + "-f lavfi -i sine=duration=1 " + kX264 +
             "-colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv -c:a aac -timecode 01:00:00:00"},
        {"bt601full.mkv", "bt601", "pc", kSecond + kX264 + "-colorspace smpte170m -color_range pc"},
        {"bt2020.mkv", "bt2020", "tv", kSecond + kX264 + "-colorspace bt2020nc"},
        // FFV1 decodes full range into yuv420p, where H.264 picks yuvj420p: only the tag says so.
        {"bt709full.mkv", "bt709", "pc",
         kSecond +
             "-c:v ffv1 -pix_fmt yuv420p -colorspace bt709 -color_range pc -chroma_sample_location left"},
        {"untagged.mp4", "bt601", "tv", kSecond + kX264},  // FFmpeg's own choice for a stream without tags
    };
    for (const auto& c : cases) {
        ASSERT_EQ(makeClip(clip(c.name), c.args), "");
        MovieReader reader(clip(c.name));
        EXPECT_EQ(reader.frameCount(), 25) << c.name;
        EXPECT_FALSE(reader.hasAlpha()) << c.name;
        EXPECT_GE(psnr(reader, ffmpegYuv(clip(c.name), c.matrix, c.range), 13), 45) << c.name;
    }
}

// Long GOPs, B-frames and an open GOP: every frame is the one FFmpeg numbers so, read in any
// order, the last included (the decoder holds it back until it is drained). MPEG-TS starts late
// and its demuxer seeks past the frame asked for.
TEST_F(MovieReaderTest, FindsEveryFrameExactlyInAnyOrder) {
    const std::vector<int> anyOrder = {30, 5, 6, 48, 1, 21, 20, 40, 47, 2}, tsOrder = {20, 1, 14};
    const struct {
        const char *name, *matrix;
        int frames;
        const std::vector<int>& order;
        std::string args;
    } cases[] = {
        {"gop.mp4", "bt709", 48, anyOrder,
         kNoisy + kX264 + "-colorspace bt709 -bf 3 -x264-params keyint=20:open_gop=1 -t 1.92"},
        {"stream.ts", "bt601", 25, tsOrder, kNoisy + "-c:v mpeg2video -bf 2 -g 12 -t 1"},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(makeClip(clip(c.name), c.args), "");
        MovieReader reader(clip(c.name));
        ASSERT_EQ(reader.frameCount(), c.frames) << c.name;
        const std::string expected = ffmpegYuv(clip(c.name), c.matrix, "tv");
        for (int frame : c.order)
            EXPECT_GE(psnr(reader, expected, frame), 45) << c.name << " frame " << frame;
    }
}

// A file cut in half is refused naming the first frame it lacks, before any is decoded; what
// it holds before that still reads. Garbage is named as no movie.
TEST_F(MovieReaderTest, RefusesCutAndDamagedFilesNamingTheFrame) {
    for (const std::string name : {"cut.mkv", "cut.mp4"}) {
        const std::string whole = clip("whole" + name.substr(3)), cut = clip(name);
        const std::string faststart = name == "cut.mp4" ? " -movflags +faststart" : "";
        ASSERT_EQ(makeClip(whole, kNoisy + kX264 + "-bf 3" + faststart), "");
        ASSERT_TRUE(halve(whole, cut));
        MovieReader reader(clip(name));
        EXPECT_EQ(reader.frameCount(), 50) << name << ": the length its header announces";
        try {
            reader.checkIntact(50);
            ADD_FAILURE() << name << " was not refused";
        } catch (const JobError& e) {
            EXPECT_EQ(e.status(), JobError::kImage);
            EXPECT_NE(std::string(e.what()).find(clip(name) + "' cannot be decoded at frame 2"),
                      std::string::npos)
                << e.what();
        }
        EXPECT_NO_THROW(reader.checkIntact(10));
        EXPECT_NO_THROW(psnr(reader, "", 10)) << name;  // frame 10 read (against no frames)
    }
    ASSERT_EQ(std::system(("head -c 20000 /dev/urandom > " + clip("garbage.mp4")).c_str()), 0);
    try {
        MovieReader reader(clip("garbage.mp4"));
        ADD_FAILURE() << "garbage was read as a movie";
    } catch (const JobError& e) {
        EXPECT_EQ(e.status(), JobError::kImage);
        EXPECT_NE(std::string(e.what()).find("'" + clip("garbage.mp4") + "'"), std::string::npos) << e.what();
    }
}
