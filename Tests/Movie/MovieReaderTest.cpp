// MovieReader against FFmpeg's own decodes of clips made here: the colour conversion each
// stream's tags call for, frames found exactly wherever a read starts, and files cut short or not
// movies at all. Variable frame rates and alpha are read end to end in the CLI suite's movie tests.
#include <gtest/gtest.h>

#include <unistd.h>

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

// Every frame of CLIP as FFmpeg's zscale filter converts it with the matrix, range and chroma
// siting named outright, by the chain the README gives: 8-bit A, R, G, B, frame after frame.
std::string ffmpegYuv(const std::string& path, const std::string& matrix, const std::string& range,
                      const std::string& siting = "left") {
    return decode(path,
                  "-fps_mode passthrough -vf \"zscale=filter=lanczos:matrixin=" + matrix + ":rangein=" + range +
                      ":chromalin=" + siting + ",format=gbrap\" -pix_fmt argb",
                  "-filter_threads 1");
}

// How many bytes of frame FRAME (from 1) as the reader reads it differ from the same frame of
// `frames`; -1 when `frames` lacks it.
long mismatches(MovieReader& reader, const std::string& frames, int frame) {
    HostWorld world(reader.width(), reader.height(), fxhost::Depth::Eight);
    reader.read(frame, world);
    const std::vector<uint8_t> pixels = world.pixelBytes();
    const size_t size = pixels.size(), at = size * (frame - 1);
    if (frames.size() < at + size) return -1;
    long differ = 0;
    for (size_t i = 0; i < size; ++i) differ += pixels[i] != uint8_t(frames[at + i]);
    return differ;
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
const std::string kFfv1 = "-c:v ffv1 -pix_fmt ";
// Transparency that differs from pixel to pixel, over the usual picture.
const std::string kAlpha = "-f lavfi -i \"testsrc2=size=160x90:rate=25:duration=1,format=rgba,"
                           "geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='mod(X*7+Y*3,256)'\" ";

}  // namespace

// Each stream as its tags say, byte for byte as zscale converts it told the same matrix, range and
// chroma siting outright: 8 and 10 bits, 4:2:0, 4:2:2 and 4:4:4, with alpha and without.
TEST_F(MovieReaderTest, ConvertsWithTheStreamsOwnMatrixRangeAndSiting) {
    const struct {
        const char *name, *matrix, *range;
        std::string args;
        const char* siting;
    } cases[] = {
        {"bt709.mp4", "bt709", "tv",
         kSecond + "-f lavfi -i sine=duration=1 " + kX264 +
             "-colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv -c:a aac -timecode 01:00:00:00",
         "left"},
        {"bt601full.mkv", "smpte170m", "pc", kSecond + kX264 + "-colorspace smpte170m -color_range pc", "left"},
        {"bt2020.mkv", "bt2020nc", "tv", kSecond + kX264 + "-colorspace bt2020nc", "left"},
        // FFV1 decodes full range into yuv420p, where H.264 picks yuvj420p: only the tag says so.
        {"bt709full.mkv", "bt709", "pc",
         kSecond +
             "-c:v ffv1 -pix_fmt yuv420p -colorspace bt709 -color_range pc -chroma_sample_location left",
         "left"},
        {"untagged.mp4", "smpte170m", "tv", kSecond + kX264, "left"},  // FFmpeg's own choice for a stream without tags
        {"topleft.mkv", "bt709", "tv", kSecond + kFfv1 + "yuv420p -colorspace bt709 -chroma_sample_location topleft",
         "topleft"},
        {"center10.mkv", "bt709", "tv",
         kSecond + kFfv1 + "yuv420p10le -colorspace bt709 -chroma_sample_location center", "center"},
        {"bottom422.mkv", "bt709", "pc",
         kSecond + kFfv1 + "yuv422p10le -colorspace bt709 -color_range pc -chroma_sample_location bottomleft",
         "bottomleft"},
        {"alpha444.mkv", "bt709", "tv", kAlpha + kFfv1 + "yuva444p -colorspace bt709", "left"},
        {"alpha420.mkv", "smpte170m", "tv", kAlpha + kFfv1 + "yuva420p -colorspace smpte170m", "left"},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(makeClip(clip(c.name), c.args), "");
        MovieReader reader(clip(c.name));
        EXPECT_EQ(reader.frameCount(), 25) << c.name;
        EXPECT_EQ(reader.hasAlpha(), std::string(c.name).rfind("alpha", 0) == 0) << c.name;
        const std::string expected = ffmpegYuv(clip(c.name), c.matrix, c.range, c.siting);
        EXPECT_EQ(mismatches(reader, expected, 13), 0) << c.name;
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
        {"stream.ts", "smpte170m", 25, tsOrder, kNoisy + "-c:v mpeg2video -bf 2 -g 12 -t 1"},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(makeClip(clip(c.name), c.args), "");
        MovieReader reader(clip(c.name));
        ASSERT_EQ(reader.frameCount(), c.frames) << c.name;
        const std::string expected = ffmpegYuv(clip(c.name), c.matrix, "tv");
        for (int frame : c.order)
            EXPECT_EQ(mismatches(reader, expected, frame), 0) << c.name << " frame " << frame;
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
        EXPECT_NO_THROW(mismatches(reader, "", 10)) << name;  // frame 10 read (against no frames)
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
