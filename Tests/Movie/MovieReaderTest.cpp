// MovieReader against FFmpeg's own decodes of clips made here: the colour conversion each
// stream's tags call for, frames found exactly wherever a read starts, variable frame rates,
// alpha, and files cut short or not movies at all.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <sstream>
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

std::string clip(const std::string& name) { return gDir + "/" + name; }

// Every frame of CLIP as FFmpeg decodes it through FILTERS, 8-bit A, R, G, B, frame after frame.
std::string ffmpegFrames(const std::string& path, const std::string& filters, const std::string& before = "") {
    return runCommand("ffmpeg -nostdin -v error " + before + " -i '" + path + "' -fps_mode passthrough -vf \"" +
                      filters + ",format=argb\" -f rawvideo -")
        .out;
}

// FFmpeg's conversion with a matrix and range named outright, chroma sited as H.264 sites it.
std::string ffmpegYuv(const std::string& path, const std::string& matrix, const std::string& range) {
    return ffmpegFrames(path, "scale=in_color_matrix=" + matrix + ":in_range=" + range +
                                  ":in_h_chr_pos=0:in_v_chr_pos=128:flags=bicubic+accurate_rnd+full_chroma_int");
}

std::vector<uint8_t> readFrame(MovieReader& reader, int frame) {
    HostWorld world(reader.width(), reader.height(), fxhost::Depth::Eight);
    reader.read(frame, world);
    return world.pixelBytes();
}

// PSNR of R, G and B (alpha left out) of frame N of `frames` against `pixels`.
double psnr(const std::vector<uint8_t>& pixels, const std::string& frames, int frame) {
    const size_t size = pixels.size(), at = size * (frame - 1);
    if (frames.size() < at + size) return -1;
    double sum = 0;
    for (size_t i = 0; i < size; ++i) {
        if (i % 4 == 0) continue;
        const double d = double(pixels[i]) - double(uint8_t(frames[at + i]));
        sum += d * d;
    }
    const double mse = sum / (size / 4 * 3);
    return mse == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / mse);
}

std::string frameOf(const std::string& frames, size_t size, int frame) {
    return frames.substr(size * (frame - 1), size);
}

class MovieReaderTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        av_log_set_level(AV_LOG_QUIET);
        gDir = "/tmp/fxhost-movie-reader-" + std::to_string(getpid());
        std::system(("rm -rf " + gDir + " && mkdir -p " + gDir).c_str());
        const std::string noisy = "-f lavfi -i testsrc2=size=160x90:rate=25:duration=2,noise=alls=30:allf=t ";
        const std::string x264 = "-c:v libx264 -pix_fmt yuv420p ";
        const struct {
            const char* name;
            std::string args;
        } clips[] = {
            {"bt709.mp4", "-f lavfi -i testsrc2=size=160x90:rate=25:duration=1 -f lavfi -i sine=duration=1 " + x264 +
                              "-colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv "
                              "-c:a aac -timecode 01:00:00:00"},
            {"bt601full.mkv", "-f lavfi -i testsrc2=size=160x90:rate=25:duration=1 " + x264 +
                                  "-colorspace smpte170m -color_range pc"},
            {"bt2020.mkv", "-f lavfi -i testsrc2=size=160x90:rate=25:duration=1 " + x264 + "-colorspace bt2020nc"},
            // FFV1 decodes full range into yuv420p, where H.264 picks yuvj420p: only the tag says so.
            {"bt709full.mkv", "-f lavfi -i testsrc2=size=160x90:rate=25:duration=1 -c:v ffv1 -pix_fmt yuv420p "
                              "-colorspace bt709 -color_range pc -chroma_sample_location left"},
            {"untagged.mp4", "-f lavfi -i testsrc2=size=160x90:rate=25:duration=1 " + x264},
            {"gop.mp4", noisy + x264 + "-colorspace bt709 -bf 3 -x264-params keyint=20:open_gop=1 -t 1.92"},
            {"vfr.mkv", "-f lavfi -i testsrc2=size=67x37:rate=25:duration=1 -vf \"select='not(eq(mod(n,4),1))'\" "
                        "-fps_mode vfr -c:v ffv1 -pix_fmt bgr0"},
            {"alpha.mov", "-f lavfi -i testsrc2=size=64x36:rate=25:duration=0.4 -vf "
                          "\"format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='4*X'\" -c:v qtrle -pix_fmt argb"},
            {"alpha.webm", "-f lavfi -i testsrc2=size=64x36:rate=25:duration=0.4 -vf "
                           "\"format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='4*X'\" -c:v libvpx-vp9 "
                           "-pix_fmt yuva420p -deadline realtime"},
            {"stream.ts", noisy + "-c:v mpeg2video -bf 2 -g 12 -t 1"},
            {"whole.mkv", noisy + x264 + "-bf 3"},
            {"whole.mp4", noisy + x264 + "-bf 3 -movflags +faststart"},
        };
        for (const auto& c : clips) {
            const std::string failure = makeClip(clip(c.name), c.args);
            ASSERT_EQ(failure, "");
        }
        for (const char* name : {"whole.mkv", "whole.mp4"}) {
            const std::string whole = clip(name), cut = clip(std::string("cut") + (name + 5));
            ASSERT_EQ(std::system(("head -c $(( $(stat -c %s " + whole + ") / 2 )) " + whole + " > " + cut).c_str()),
                      0);
        }
        ASSERT_EQ(std::system(("head -c 20000 /dev/urandom > " + clip("garbage.mp4")).c_str()), 0);
    }
    static void TearDownTestSuite() { std::system(("rm -rf " + gDir).c_str()); }
};

int ffprobeCount(const std::string& path) {
    return std::atoi(
        probe(path, "-count_frames -select_streams v:0 -show_entries stream=nb_read_frames -of csv=p=0").c_str());
}

}  // namespace

// Each stream as its tags say: a wrong matrix or range costs 6 to 15 dB against these.
TEST_F(MovieReaderTest, ConvertsWithTheStreamsOwnMatrixAndRange) {
    const struct {
        const char* name;
        const char* matrix;
        const char* range;
    } cases[] = {{"bt709.mp4", "bt709", "tv"},
                 {"bt601full.mkv", "bt601", "pc"},
                 {"bt2020.mkv", "bt2020", "tv"},
                 {"bt709full.mkv", "bt709", "pc"},
                 {"untagged.mp4", "bt601", "tv"}};  // FFmpeg's own choice for a stream without tags
    for (const auto& c : cases) {
        MovieReader reader(clip(c.name));
        EXPECT_EQ(reader.frameCount(), 25) << c.name;
        EXPECT_FALSE(reader.hasAlpha()) << c.name;
        const std::string expected = ffmpegYuv(clip(c.name), c.matrix, c.range);
        EXPECT_GE(psnr(readFrame(reader, 13), expected, 13), 45) << c.name;
    }
}

// Long GOPs, B-frames and an open GOP: every frame is the one FFmpeg numbers so, read in any
// order, the last included (the decoder holds it back until it is drained).
TEST_F(MovieReaderTest, FindsEveryFrameExactlyInAnyOrder) {
    const std::string path = clip("gop.mp4");
    MovieReader reader(path);
    ASSERT_EQ(reader.frameCount(), ffprobeCount(path));
    ASSERT_EQ(reader.frameCount(), 48);
    const std::string expected = ffmpegYuv(path, "bt709", "tv");
    for (int frame : {30, 5, 6, 48, 1, 21, 20, 40, 47, 2}) {
        EXPECT_GE(psnr(readFrame(reader, frame), expected, frame), 45) << "frame " << frame;
    }
    // MPEG-TS starts late and its demuxer seeks past the frame asked for.
    MovieReader transport(clip("stream.ts"));
    ASSERT_EQ(transport.frameCount(), 25);
    const std::string transportFrames = ffmpegYuv(clip("stream.ts"), "bt601", "tv");
    for (int frame : {20, 1, 14}) {
        EXPECT_GE(psnr(readFrame(transport, frame), transportFrames, frame), 45) << "frame " << frame;
    }
}

// A variable frame rate keeps each frame's own time; an odd-size RGB stream comes out bit-exact.
TEST_F(MovieReaderTest, KeepsVariableTimesAndLosslessRgbExactly) {
    const std::string path = clip("vfr.mkv");
    MovieReader reader(path);
    std::istringstream times(
        probe(path, "-select_streams v:0 -show_entries frame=best_effort_timestamp_time -of csv=p=0"));
    std::vector<double> expected;
    for (double t; times >> t;) expected.push_back(t);
    ASSERT_EQ(reader.frameCount(), static_cast<int>(expected.size()));
    ASSERT_EQ(reader.frameCount(), 19);
    const std::string frames = ffmpegFrames(path, "null");
    for (int frame = 1; frame <= reader.frameCount(); ++frame) {
        EXPECT_NEAR(reader.pts(frame) * av_q2d(reader.timeBase()), expected[frame - 1], 1e-6) << frame;
    }
    for (int frame : {7, 2, 19}) {
        const std::vector<uint8_t> pixels = readFrame(reader, frame);
        EXPECT_EQ(std::string(pixels.begin(), pixels.end()), frameOf(frames, pixels.size(), frame)) << frame;
    }
}

// Alpha comes in: QuickTime Animation bit-exact; VP9 through libvpx, whose decoder keeps it.
TEST_F(MovieReaderTest, BringsAlphaIn) {
    MovieReader qtrle(clip("alpha.mov"));
    EXPECT_TRUE(qtrle.hasAlpha());
    const std::string frames = ffmpegFrames(clip("alpha.mov"), "null");
    std::vector<uint8_t> pixels = readFrame(qtrle, 3);
    EXPECT_EQ(std::string(pixels.begin(), pixels.end()), frameOf(frames, pixels.size(), 3));

    MovieReader vp9(clip("alpha.webm"));
    EXPECT_TRUE(vp9.hasAlpha());
    const std::string expected = ffmpegFrames(clip("alpha.webm"), "null", "-c:v libvpx-vp9");
    pixels = readFrame(vp9, 4);
    const std::string reference = frameOf(expected, pixels.size(), 4);
    ASSERT_EQ(reference.size(), pixels.size());
    int differ = 0;
    for (size_t i = 0; i < pixels.size(); i += 4) differ += pixels[i] != uint8_t(reference[i]);
    EXPECT_EQ(differ, 0) << "alpha bytes that differ from libvpx's decode";
    EXPECT_EQ(pixels[0], uint8_t(reference[0]));
    EXPECT_LT(pixels[0], 16);  // the left edge is nearly transparent
}

// A file cut in half is refused naming the first frame it lacks, before any is decoded; what
// it holds before that still reads. Garbage is named as no movie.
TEST_F(MovieReaderTest, RefusesCutAndDamagedFilesNamingTheFrame) {
    for (const char* name : {"cut.mkv", "cut.mp4"}) {
        MovieReader reader(clip(name));
        EXPECT_EQ(reader.frameCount(), 50) << name << ": the length its header announces";
        try {
            reader.checkIntact(50);
            ADD_FAILURE() << name << " was not refused";
        } catch (const JobError& e) {
            EXPECT_EQ(e.status(), JobError::kImage);
            EXPECT_NE(std::string(e.what()).find(clip(name)), std::string::npos) << e.what();
            EXPECT_NE(std::string(e.what()).find("at frame 2"), std::string::npos) << e.what();
        }
        EXPECT_NO_THROW(reader.checkIntact(10));
        EXPECT_NO_THROW(readFrame(reader, 10)) << name;
    }
    try {
        MovieReader reader(clip("garbage.mp4"));
        ADD_FAILURE() << "garbage was read as a movie";
    } catch (const JobError& e) {
        EXPECT_EQ(e.status(), JobError::kImage);
        EXPECT_NE(std::string(e.what()).find("'" + clip("garbage.mp4") + "'"), std::string::npos) << e.what();
    }
}
