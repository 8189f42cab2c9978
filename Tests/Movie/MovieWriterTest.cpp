// MovieWriter driven directly with worlds, against clips FFmpeg makes; what comes out is asked of
// ffprobe and decoded by the ffmpeg program, never read back through our own code.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

extern "C" {
#include <libavutil/log.h>
}

#include "CommandRunner.h"
#include "HostWorld.h"
#include "JobError.h"
#include "MovieClips.h"
#include "MovieWriter.h"

using fxhost::HostWorld;
using fxhost::JobError;
using fxhost::MovieOptions;
using fxhost::MovieWriter;

namespace {

bool exists(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0;
}

std::vector<std::string> lines(const std::string& text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        if (!line.empty()) result.push_back(line);
    return result;
}

// A frame to tell apart from its neighbours: 75% colour bars 16 pixels wide (so a wrong matrix
// or range shows in every bar), a grey block whose level follows the frame number, and, for
// alpha, a ramp of transparency down the picture.
std::unique_ptr<HostWorld> pattern(int width, int height, int frame, bool alpha) {
    static const uint8_t bars[8][3] = {{191, 191, 191}, {191, 191, 0}, {0, 191, 191}, {0, 191, 0},
                                       {191, 0, 191},   {191, 0, 0},   {0, 0, 191},   {16, 16, 16}};
    auto world = std::make_unique<HostWorld>(width, height, fxhost::Depth::Eight);
    uint8_t* base = static_cast<uint8_t*>(world->def()->data);
    for (int y = 0; y < height; ++y) {
        uint8_t* row = base + static_cast<size_t>(y) * world->rowbytes();
        for (int x = 0; x < width; ++x) {
            uint8_t* pixel = row + 4 * x;
            const bool block = x < 32 && y < 32;
            const uint8_t grey = static_cast<uint8_t>(40 + 7 * (frame % 30));
            pixel[0] = alpha ? static_cast<uint8_t>(255 - (y * 255) / std::max(1, height - 1)) : 255;
            for (int c = 0; c < 3; ++c) pixel[1 + c] = block ? grey : bars[(x / 16) % 8][c];
        }
    }
    return world;
}

// The world's pixels as bytes R,G,B,A, as ffmpeg's rgba raw output lays them.
std::vector<uint8_t> rgba(const HostWorld& world) {
    std::vector<uint8_t> out;
    const uint8_t* base = static_cast<const uint8_t*>(world.def()->data);
    for (int y = 0; y < world.height(); ++y)
        for (int x = 0; x < world.width(); ++x) {
            const uint8_t* p = base + static_cast<size_t>(y) * world.rowbytes() + 4 * x;
            out.insert(out.end(), {p[1], p[2], p[3], p[0]});
        }
    return out;
}

// Every frame of the first video stream decoded by ffmpeg to rgba, through `filters` first, as
// stored (not turned by the rotation).
std::string decoded(const std::string& path, const std::string& filters = "") {
    return runCommand("ffmpeg -nostdin -v error -noautorotate -i '" + path + "' -map 0:v:0 -vf '" + (filters.empty() ? "" : filters + ",") +
                      "format=rgba' -f rawvideo -")
        .out;
}

// Peak signal to noise over R, G and B of one frame of `decodedFrames` against a world.
double psnr(const std::string& decodedFrames, size_t frame, const HostWorld& world) {
    const std::vector<uint8_t> expected = rgba(world);
    if (decodedFrames.size() < (frame + 1) * expected.size()) return 0;
    const uint8_t* got = reinterpret_cast<const uint8_t*>(decodedFrames.data()) + frame * expected.size();
    double sum = 0;
    size_t count = 0;
    for (size_t i = 0; i < expected.size(); ++i) {
        if (i % 4 == 3) continue;
        const double d = double(got[i]) - double(expected[i]);
        sum += d * d;
        ++count;
    }
    return sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / (sum / count));
}

std::string field(const std::string& path, const std::string& entries, const std::string& select = "") {
    std::string text = probe(path, (select.empty() ? "" : "-select_streams " + select + " ") + "-show_entries " +
                                       entries + " -of default=nw=1:nk=1");
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

std::vector<int64_t> videoPts(const std::string& path) {
    std::vector<int64_t> pts;
    for (const std::string& line : lines(probe(path, "-select_streams v:0 -show_entries frame=pts -of csv=p=0")))
        pts.push_back(std::stoll(line));
    return pts;
}

std::string audioHash(const std::string& path) {
    return runCommand("ffmpeg -nostdin -v error -i '" + path + "' -map 0:a:0 -c copy -f streamhash -hash md5 -").out;
}

class MovieWriterTest : public ::testing::Test {
protected:
    void SetUp() override {
        av_log_set_level(AV_LOG_ERROR);
        char name[] = "/tmp/fxhost-moviewriter-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        dir = name;
    }
    void TearDown() override { runCommand("rm -rf '" + dir + "'"); }

    std::string path(const std::string& name) const { return dir + "/" + name; }

    // Renders every frame of `source` as the pattern, at the source's own pts.
    void rewrite(const std::string& source, const std::string& output, int width, int height, bool alpha,
                 const MovieOptions& options = {}, size_t first = 0, size_t count = SIZE_MAX) {
        const std::vector<int64_t> pts = videoPts(source);
        ASSERT_FALSE(pts.empty()) << source;
        MovieWriter writer(output, width, height, alpha, source, -1, options);
        for (size_t i = first; i < pts.size() && i - first < count; ++i)
            writer.write(*pattern(width, height, static_cast<int>(i), alpha), pts[i]);
        writer.finish();
    }

    std::string dir;
};

// An H.264 + AAC mp4 with all a camera or an edit leaves in it.
std::string cameraClip(const std::string& dir) {
    const std::string metadata = dir + "/chapters.txt";
    FILE* file = std::fopen(metadata.c_str(), "w");
    std::fputs(";FFMETADATA1\ntitle=Reel One\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1000\ntitle=Opening\n"
               "[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=2000\ntitle=Closing\n",
               file);
    std::fclose(file);
    const std::string encoded = dir + "/encoded.mp4";
    const std::string clip = dir + "/camera.mp4";
    std::string error = makeClip(
        encoded, "-f lavfi -i testsrc2=size=320x240:rate=25:duration=2 -f lavfi -i sine=frequency=440:duration=2 -i '" +
                     metadata + "' -map 0:v -map 1:a -map_metadata 2 -c:v libx264 -pix_fmt yuv420p -colorspace bt709 "
                                "-color_primaries bt709 -color_trc bt709 -color_range tv -c:a aac -timecode 01:00:00:00 "
                                "-metadata:s:v:0 language=fra -metadata:s:a:0 language=eng");
    // The program sets a rotation only when it copies a stream.
    if (error.empty())
        error = makeClip(clip, "-i '" + encoded + "' -map 0:v -map 0:a -c copy -metadata:s:v:0 rotate=90");
    return error.empty() ? clip : error;
}

TEST_F(MovieWriterTest, KeepsEverythingOfACameraClipButThePictures) {
    const std::string source = cameraClip(dir);
    ASSERT_TRUE(exists(source)) << source;
    const std::string output = path("out.mp4");
    rewrite(source, output, 320, 240, false);

    EXPECT_EQ(field(output, "stream=codec_name,profile,pix_fmt", "v"), "h264\nHigh\nyuv420p");
    EXPECT_EQ(field(output, "stream=color_space,color_transfer,color_primaries,color_range", "v"),
              field(source, "stream=color_space,color_transfer,color_primaries,color_range", "v"));
    EXPECT_EQ(field(output, "stream_tags=timecode,language", "v"), "fra\n01:00:00:00");
    EXPECT_EQ(field(output, "stream_side_data=rotation", "v"), "90");
    EXPECT_EQ(field(output, "format_tags=title"), "Reel One");
    EXPECT_EQ(field(output, "chapter=start_time,end_time:chapter_tags=title"),
              field(source, "chapter=start_time,end_time:chapter_tags=title"));
    EXPECT_EQ(field(output, "stream_tags=language", "a"), "eng");

    // The sound, packet for packet.
    const std::string hash = audioHash(source);
    ASSERT_FALSE(hash.empty());
    EXPECT_EQ(audioHash(output), hash);

    // Every frame, each at its time: the encoder's tail included.
    EXPECT_EQ(field(output, "stream=nb_read_frames", "v:0 -count_frames"), "50");
    EXPECT_EQ(probe(output, "-select_streams v:0 -show_entries frame=best_effort_timestamp_time -of csv=p=0"),
              probe(source, "-select_streams v:0 -show_entries frame=best_effort_timestamp_time -of csv=p=0"));

    // BT.709 limited range, as tagged: decoded so, the pictures come back close; a BT.601 matrix
    // or full range on the way in costs them 15 dB and more.
    const std::string frames = decoded(output, "scale=in_color_matrix=bt709:in_range=tv");
    for (size_t i : {size_t(0), size_t(25), size_t(49)})
        EXPECT_GT(psnr(frames, i, *pattern(320, 240, static_cast<int>(i), false)), 40.0) << "frame " << i;
}

// The md5 of each packet of the first audio stream, in order.
std::vector<std::string> audioPackets(const std::string& path) {
    std::vector<std::string> hashes;
    for (const std::string& line :
         lines(runCommand("ffmpeg -nostdin -v error -i '" + path + "' -map 0:a:0 -c copy -f framemd5 -").out))
        if (line[0] != '#') hashes.push_back(line.substr(line.find_last_of(',') + 2));
    return hashes;
}

TEST_F(MovieWriterTest, APartCopiesTheOtherStreamsForItsSpanAndShiftsEverythingTogether) {
    const std::string camera = cameraClip(dir);
    ASSERT_TRUE(exists(camera)) << camera;
    // Matroska seeks to the video's keyframe, before the span, and QuickTime to each stream's own time.
    const std::string matroska = path("camera.mkv");
    ASSERT_EQ(makeClip(matroska, "-i '" + camera + "' -map 0:v -map 0:a -c copy"), "");
    for (const auto& [source, output] : {std::pair<std::string, std::string>{camera, path("part.mov")},
                                         std::pair<std::string, std::string>{matroska, path("part.mkv")}}) {
        SCOPED_TRACE(output);
        rewrite(source, output, 320, 240, false, {}, 10, 20);  // frames 11 to 30: 0.4 s to 1.2 s

        EXPECT_EQ(field(output, "stream=nb_read_frames", "v:0 -count_frames"), "20");
        const std::vector<std::string> times =
            lines(probe(output, "-select_streams v:0 -show_entries frame=best_effort_timestamp_time -of csv=p=0"));
        ASSERT_EQ(times.size(), 20u);
        EXPECT_NEAR(std::stod(times.front()), 0.0, 1e-6);
        EXPECT_NEAR(std::stod(times.back()), 0.76, 1e-6);
        // Ten frames left out at 25 a second.
        EXPECT_EQ(field(output, "stream_tags=timecode", "v"), "01:00:00:10");
        // The sound of the same 0.8 s, from the same moment: the source's packets from the first
        // that starts at 0.4 s (1024 samples at 44.1 kHz each), one after another.
        const std::vector<std::string> all = audioPackets(source);
        const std::vector<std::string> part = audioPackets(output);
        ASSERT_GE(all.size(), 40u);
        ASSERT_GE(part.size(), 34u);
        EXPECT_LE(part.size(), 35u);
        const auto first = std::find(all.begin(), all.end(), part.front());
        ASSERT_NE(first, all.end());
        EXPECT_NEAR(first - all.begin(), 18, 1);
        EXPECT_TRUE(std::equal(part.begin(), part.end(), first));
        EXPECT_NEAR(std::stod(field(output, "stream=start_time", "a")), 0.0, 0.03);
        // The chapter that began before the span starts with it; the next is shifted as the frames.
        const double firstFrame = std::stod(lines(probe(
            source, "-select_streams v:0 -show_entries frame=best_effort_timestamp_time -of csv=p=0"))[10]);
        const std::vector<std::string> chapters = lines(field(output, "chapter=start_time"));
        ASSERT_EQ(chapters.size(), 2u);
        EXPECT_EQ(chapters[0], "0.000000");
        EXPECT_NEAR(std::stod(chapters[1]), 1.0 - firstFrame, 0.0015);
    }
}

TEST_F(MovieWriterTest, VariableFrameRateStaysVariable) {
    const std::string source = path("vfr.mkv");
    ASSERT_EQ(makeClip(source, "-f lavfi -i testsrc2=size=192x128:rate=25:duration=2 -vf "
                               "\"setpts='(N+floor(N/4)*3)/25/TB'\" -vsync vfr -c:v libx264 -pix_fmt yuv420p"),
              "");
    const std::string output = path("vfr-out.mkv");
    rewrite(source, output, 192, 128, false);
    const std::string sourceTimes =
        probe(source, "-select_streams v:0 -show_entries frame=best_effort_timestamp_time -of csv=p=0");
    ASSERT_EQ(lines(sourceTimes).size(), 50u);
    EXPECT_EQ(probe(output, "-select_streams v:0 -show_entries frame=best_effort_timestamp_time -of csv=p=0"),
              sourceTimes);
    EXPECT_EQ(field(output, "stream=codec_name", "v"), "h264");
}

// Full range kept: the tag, and the pixels written at that range (limited pixels tagged full
// lose their contrast, 15 dB and more).
TEST_F(MovieWriterTest, AFullRangeStreamIsWrittenAtFullRange) {
    const std::string source = path("full.mkv");
    ASSERT_EQ(makeClip(source, "-f lavfi -i testsrc2=size=160x96:rate=25:duration=0.2 -c:v ffv1 -pix_fmt yuv420p "
                               "-colorspace bt709 -color_range pc"),
              "");
    const std::string output = path("full-out.mkv");
    rewrite(source, output, 160, 96, false);
    EXPECT_EQ(field(output, "stream=codec_name,pix_fmt,color_range", "v"), "ffv1\nyuv420p\npc");
    const std::string frames = decoded(output, "scale=in_color_matrix=bt709:in_range=pc");
    for (size_t i : {size_t(0), size_t(4)})
        EXPECT_GT(psnr(frames, i, *pattern(160, 96, static_cast<int>(i), false)), 40.0) << "frame " << i;
}

// Interlaced anamorphic video, as from a PAL camera.
TEST_F(MovieWriterTest, InterlacedVideoKeepsItsFieldOrderAndPixelAspect) {
    for (const std::string order : {"tff", "bff"}) {
        const std::string source = path(order + ".mov");
        ASSERT_EQ(makeClip(source, "-f lavfi -i testsrc2=size=320x240:rate=25:duration=0.4 -vf setsar=64/45,setfield=" +
                                       order + " -flags +ildct+ilme -c:v libx264 -pix_fmt yuv420p" +
                                       (order == "bff" ? " -x264opts bff=1" : "")),
                  "");
        const std::string output = path(order + "-out.mov");
        rewrite(source, output, 320, 240, false);
        EXPECT_EQ(field(output, "stream=field_order", "v"), order == "tff" ? "tt" : "bb");
        EXPECT_EQ(field(output, "stream=sample_aspect_ratio", "v"), "64:45");
    }
}

TEST_F(MovieWriterTest, LosslessRgbWithAlphaComesBackBitExact) {
    struct Case {
        std::string name;
        std::string sourceArgs;  // "" for frames from images
        std::string codec;       // what the output's video must be
        std::string pixFmt;
    };
    const std::vector<Case> cases = {
        {"anim.mov", "-c:v qtrle -pix_fmt argb", "qtrle", "argb"},
        {"png.mov", "-c:v png -pix_fmt rgba", "png", "rgba"},
        {"images.mkv", "", "ffv1", "bgra"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        std::string source;
        if (!c.sourceArgs.empty()) {
            source = path("source-" + c.name);
            ASSERT_EQ(makeClip(source, "-f lavfi -i testsrc2=size=64x48:rate=25:duration=0.2,format=rgba " + c.sourceArgs),
                      "");
        }
        const std::string output = path(c.name);
        {
            MovieWriter writer(output, 64, 48, true, source, -1, {});
            const std::vector<int64_t> pts = source.empty() ? std::vector<int64_t>{0, 1, 2, 3, 4} : videoPts(source);
            for (size_t i = 0; i < pts.size(); ++i) writer.write(*pattern(64, 48, static_cast<int>(i), true), pts[i]);
            writer.finish();
        }
        EXPECT_EQ(field(output, "stream=codec_name,pix_fmt", "v"), c.codec + "\n" + c.pixFmt);
        const std::string frames = decoded(output);
        std::string expected;
        for (int i = 0; i < 5; ++i) {
            const std::vector<uint8_t> bytes = rgba(*pattern(64, 48, i, true));
            expected.append(bytes.begin(), bytes.end());
        }
        EXPECT_TRUE(frames == expected) << "decoded " << frames.size() << " bytes, expected " << expected.size();
    }
}

TEST_F(MovieWriterTest, ImagesBecomeTheContainersUsualCodecTaggedBt709) {
    MovieOptions options;
    options.fps = {30000, 1001};
    const std::string output = path("images.mp4");
    {
        MovieWriter writer(output, 320, 240, false, "", -1, options);
        EXPECT_EQ(writer.encoderDescription(), "libx264 yuv420p");
        EXPECT_EQ(writer.timeBase().num, 1001);
        EXPECT_EQ(writer.timeBase().den, 30000);
        for (int i = 0; i < 12; ++i) writer.write(*pattern(320, 240, i, false), i);
        writer.finish();
    }
    EXPECT_EQ(field(output, "stream=codec_name,profile,pix_fmt,r_frame_rate", "v"), "h264\nHigh\nyuv420p\n30000/1001");
    EXPECT_EQ(field(output, "stream=color_space,color_range", "v"), "tv\nbt709");
    EXPECT_EQ(field(output, "stream=nb_read_frames", "v:0 -count_frames"), "12");
    const std::string frames = decoded(output, "scale=in_color_matrix=bt709:in_range=tv");
    EXPECT_GT(psnr(frames, 11, *pattern(320, 240, 11, false)), 40.0);

    // Each container's usual codec, with alpha where it has some: from images, and from a source
    // whose codec the container cannot hold (ProRes into mp4), which gets the usual format too.
    const std::string prores = path("prores.mov");
    ASSERT_EQ(makeClip(prores, "-f lavfi -i testsrc2=size=256x128:rate=25:duration=0.2 -c:v prores_ks"), "");
    const struct {
        std::string name, source;
        bool alpha;
        std::string encoder;
    } usual[] = {{"a.webm", "", true, "libvpx-vp9 yuva420p"},
                 {"b.mkv", "", false, "ffv1 bgr0"},
                 {"c.mxf", "", false, "dnxhd yuv422p"},
                 {"d.mp4", prores, false, "libx264 yuv420p"}};
    for (const auto& u : usual) {
        MovieWriter writer(path(u.name), 256, 128, u.alpha, u.source, -1, {});
        EXPECT_EQ(writer.encoderDescription(), u.encoder) << u.name;
        writer.write(*pattern(256, 128, 0, u.alpha), 0);
        writer.finish();
        EXPECT_EQ(field(path(u.name), "stream=nb_read_frames", "v:0 -count_frames"), "1") << u.name;
    }
    EXPECT_EQ(field(path("c.mxf"), "stream=profile", "v"), "DNXHR HQ");

    // ProRes 4444 where there is alpha, and it keeps the alpha.
    const std::string mov = path("images.mov");
    MovieWriter writer(mov, 64, 48, true, "", -1, {});
    EXPECT_EQ(writer.encoderDescription(), "prores_ks yuva444p10le");
    writer.write(*pattern(64, 48, 0, true), 0);
    writer.finish();
    EXPECT_EQ(field(mov, "stream=codec_name,profile,pix_fmt", "v"), "prores\n4444\nyuva444p12le");  // as the decoder says
    const std::string alpha = decoded(mov, "alphaextract");
    ASSERT_EQ(alpha.size(), 64u * 48u * 4u);
    EXPECT_NEAR(static_cast<uint8_t>(alpha[4 * 0]), 255, 2);
    EXPECT_NEAR(static_cast<uint8_t>(alpha[4 * 64 * 47]), 0, 2);
}

// Argument faults are refused in the constructor, before a file or a temporary file exists.
TEST_F(MovieWriterTest, RefusesWhatCannotBeWrittenBeforeWritingAnything) {
    const std::string odd = path("odd.mov");
    ASSERT_EQ(makeClip(odd, "-f lavfi -i testsrc2=size=161x121:rate=25:duration=0.2,format=rgb24 -c:v qtrle"), "");
    struct Case {
        std::string output;
        std::string source;
        MovieOptions options;
        std::string says;
    };
    MovieOptions unknownOption, unknownCodec, wrongFormat, badPreset, oddX264;
    unknownOption.codecOptions = {"crf=20", "frobnicate=1"};
    unknownCodec.codec = "nosuchcodec";
    wrongFormat.codec = "libx264";
    wrongFormat.pixFmt = "bgra";
    badPreset.preset = "warp";
    const std::vector<Case> cases = {
        {path("a.mp4"), "", unknownOption, "frobnicate"},
        {path("b.mp4"), "", unknownCodec, "nosuchcodec"},
        {path("c.mp4"), "", wrongFormat, "yuv420p"},
        {path("d.mp4"), "", badPreset, "libx264"},
        {path("e.xyz"), "", {}, "not a movie container"},
        // Odd-size RGB into an mp4: H.264 4:2:0 cannot take it; 4:4:4 can.
        {path("f.mp4"), odd, {}, "--pix-fmt yuv444p"},
        {odd, odd, {}, "source movie itself"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.output + " " + c.says);
        try {
            MovieWriter writer(c.output, c.source.empty() ? 64 : 161, c.source.empty() ? 48 : 121, false, c.source, -1,
                               c.options);
            ADD_FAILURE() << "accepted";
        } catch (const JobError& e) {
            EXPECT_EQ(e.status(), JobError::kUsage);
            EXPECT_NE(std::string(e.what()).find(c.says), std::string::npos) << e.what();
        }
        if (c.output != odd) {
            EXPECT_FALSE(exists(c.output));
        }
        EXPECT_EQ(runCommand("ls -A '" + dir + "' | grep -c partial").out, "0\n");
    }
    // The same odd movie is kept as it is where its codec can go.
    rewrite(odd, path("odd-out.mov"), 161, 121, false);
    EXPECT_EQ(field(path("odd-out.mov"), "stream=codec_name,width,height", "v"), "qtrle\n161\n121");
}

TEST_F(MovieWriterTest, WritesUnderATemporaryNameAndLeavesNothingWhenUnfinished) {
    const std::string output = path("clip.mkv");
    std::string temporary;
    {
        MovieWriter writer(output, 64, 48, false, "", -1, {});
        temporary = writer.temporaryPath();
        EXPECT_EQ(temporary, path(".clip.mkv.fxhost-partial"));
        writer.write(*pattern(64, 48, 0, false), 0);
        EXPECT_TRUE(exists(temporary));
        EXPECT_FALSE(exists(output));
    }
    EXPECT_FALSE(exists(temporary));
    EXPECT_FALSE(exists(output));

    MovieWriter writer(output, 64, 48, false, "", -1, {});
    writer.write(*pattern(64, 48, 0, false), 0);
    writer.finish();
    EXPECT_TRUE(exists(output));
    EXPECT_FALSE(exists(temporary));

    try {
        MovieWriter nowhere(path("missing/clip.mkv"), 64, 48, false, "", -1, {});
        ADD_FAILURE() << "accepted";
    } catch (const JobError& e) {
        EXPECT_EQ(e.status(), JobError::kImage);
        EXPECT_NE(std::string(e.what()).find("missing/clip.mkv: cannot write: No such file or directory"),
                  std::string::npos)
            << e.what();
    }
}

TEST_F(MovieWriterTest, AStreamTheContainerCannotHoldIsNamedAndLeftOut) {
    const std::string subtitles = path("subs.srt");
    FILE* file = std::fopen(subtitles.c_str(), "w");
    std::fputs("1\n00:00:00,000 --> 00:00:00,500\nHello\n", file);
    std::fclose(file);
    const std::string source = path("subs.mkv");
    ASSERT_EQ(makeClip(source, "-f lavfi -i testsrc2=size=64x48:rate=25:duration=1 -f lavfi -i sine=duration=1 -i '" +
                                   subtitles + "' -map 0 -map 1 -map 2 -c:v libx264 -c:a aac -c:s srt"),
              "");
    const std::string output = path("subs.mp4");
    testing::internal::CaptureStderr();
    rewrite(source, output, 64, 48, false);
    const std::string warnings = testing::internal::GetCapturedStderr();
    EXPECT_NE(warnings.find("stream #2 of " + source + " (subtitle subrip) is left out: a mp4 file cannot hold it"),
              std::string::npos)
        << warnings;
    EXPECT_EQ(field(output, "stream=codec_type"), "video\naudio");
    EXPECT_EQ(audioHash(output), audioHash(source));

    // MXF holds neither H.264 from a camera nor AAC: the video becomes its usual DNxHR, at its
    // frame rate, and the sound is named and left out.
    const std::string camera = cameraClip(dir);
    ASSERT_TRUE(exists(camera)) << camera;
    testing::internal::CaptureStderr();
    rewrite(camera, path("camera.mxf"), 320, 240, false);
    const std::string mxfWarnings = testing::internal::GetCapturedStderr();
    EXPECT_NE(mxfWarnings.find("(audio aac, eng) is left out: a mxf file cannot hold it"), std::string::npos)
        << mxfWarnings;
    EXPECT_EQ(field(path("camera.mxf"), "stream=codec_name,nb_read_frames", "v:0 -count_frames"), "dnxhd\n50");
}

}  // namespace
