// MovieWriter driven directly with worlds, against clips FFmpeg makes; what comes out is asked of
// ffprobe and decoded by the ffmpeg program, never read back through our own code.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
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

// Frame `frame` of `decodedFrames` (ffmpeg's rgba, R,G,B,A) against the pattern: the peak signal
// to noise over R, G and B in the middle half of every bar (a 4:2:0 edge is blurred by design, by a
// filter a few pixels wide), and the mean difference of the alpha over all pixels.
struct Match {
    double psnr, alphaError;
};
Match match(const std::string& decodedFrames, size_t frame, int width, int height, bool alpha) {
    const std::unique_ptr<HostWorld> world = pattern(width, height, static_cast<int>(frame), alpha);
    const size_t size = 4u * width * height;
    if (decodedFrames.size() < (frame + 1) * size) return {0, 255};
    const uint8_t* got = reinterpret_cast<const uint8_t*>(decodedFrames.data()) + frame * size;
    double sum = 0, alphaSum = 0, counted = 0;
    for (int y = 0; y < height; ++y) {
        const uint8_t* p =
            static_cast<const uint8_t*>(world->def()->data) + static_cast<size_t>(y) * world->rowbytes();
        for (int x = 0; x < width; ++x, p += 4, got += 4) {
            if (x % 16 >= 4 && x % 16 < 12) {
                for (int c = 0; c < 3; ++c) sum += (double(got[c]) - p[1 + c]) * (double(got[c]) - p[1 + c]);
                counted += 3;
            }
            alphaSum += std::abs(double(got[3]) - p[0]);
        }
    }
    return {sum == 0 ? 99 : 10 * std::log10(255.0 * 255.0 / (sum / counted)), alphaSum / (double(width) * height)};
}

// Every frame of the first video stream decoded by ffmpeg (with `decoder`, if named) to rgba,
// through `filters` first, as stored (not turned by the rotation).
std::string decoded(const std::string& path, const std::string& filters = "",
                    const std::string& decoder = "") {
    return decode(path, "-vf '" + (filters.empty() ? "" : filters + ",") + "format=rgba'",
                  "-noautorotate " + decoder);
}

// What FFmpeg's zscale filter makes of stored YUV told the matrix and range outright, as fxhost
// converts it (the README's chain), for decoded().
std::string zscaleFrom(const std::string& matrix, const std::string& range) {
    return "zscale=filter=lanczos:matrixin=" + matrix + ":rangein=" + range + ",format=gbrap";
}

std::string field(const std::string& path, const std::string& entries, const std::string& select = "") {
    std::string text = probe(path, (select.empty() ? "" : "-select_streams " + select + " ") +
                                       "-show_entries " + entries + " -of default=nw=1:nk=1");
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

std::string frameTimes(const std::string& path) {
    return probe(path, "-select_streams v:0 -show_entries frame=best_effort_timestamp_time -of csv=p=0");
}

// The md5 of each packet of the first audio stream, in order.
std::vector<std::string> audioPackets(const std::string& path) {
    std::vector<std::string> hashes;
    for (const std::string& line :
         lines(runCommand("ffmpeg -nostdin -v error -i '" + path + "' -map 0:a:0 -c copy -f framemd5 -").out))
        if (line[0] != '#') hashes.push_back(line.substr(line.find_last_of(',') + 2));
    return hashes;
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
    void rewrite(const std::string& source, const std::string& output, int width, int height,
                 size_t first = 0, size_t count = SIZE_MAX) {
        std::vector<int64_t> pts;
        for (const std::string& line :
             lines(probe(source, "-select_streams v:0 -show_entries frame=pts -of csv=p=0")))
            pts.push_back(std::stoll(line));
        ASSERT_FALSE(pts.empty()) << source;
        MovieWriter writer(output, width, height, false, source, -1, {});
        for (size_t i = first; i < pts.size() && i - first < count; ++i)
            writer.write(*pattern(width, height, static_cast<int>(i), false), pts[i]);
        writer.finish();
    }

    std::string dir;
};

// An H.264 + AAC mp4 with all a camera or an edit leaves in it.
std::string cameraClip(const std::string& dir) {
    const std::string metadata = dir + "/chapters.txt";
    std::ofstream(metadata)
        << ";FFMETADATA1\ntitle=Reel One\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=0\nEND=1000\n"
           "title=Opening\n[CHAPTER]\nTIMEBASE=1/1000\nSTART=1000\nEND=2000\ntitle=Closing\n";
    const std::string encoded = dir + "/encoded.mp4";
    const std::string clip = dir + "/camera.mp4";
    std::string error = makeClip(
        encoded,
        "-f lavfi -i testsrc2=size=320x240:rate=25:duration=2 -f lavfi -i sine=frequency=440:duration=2 -i '" +
            metadata +
            "' -map 0:v -map 1:a -map_metadata 2 -c:v libx264 -pix_fmt yuv420p -colorspace bt709 "
            "-color_primaries bt709 -color_trc bt709 -color_range tv -c:a aac -timecode 01:00:00:00 "
            "-metadata:s:v:0 language=fra -metadata:s:a:0 language=eng");
    // The program sets a rotation only when it copies a stream.
    if (error.empty())
        error = makeClip(clip, "-i '" + encoded + "' -map 0:v -map 0:a -c copy -metadata:s:v:0 rotate=90");
    return error.empty() ? clip : error;
}

}  // namespace

TEST_F(MovieWriterTest, KeepsEverythingOfACameraClipButThePictures) {
    const std::string source = cameraClip(dir);
    ASSERT_TRUE(exists(source)) << source;
    const std::string output = path("out.mp4");
    rewrite(source, output, 320, 240);

    // The colour tags as the source's: limited range, BT.709 matrix, transfer and primaries.
    const std::string kept =
        "stream=codec_name,profile,pix_fmt,color_space,color_transfer,color_primaries,"
        "color_range:stream_tags=timecode,language:stream_side_data=rotation:format_tags=title";
    EXPECT_EQ(field(output, kept, "v"),
              "h264\nHigh\nyuv420p\ntv\nbt709\nbt709\nbt709\nfra\n01:00:00:00\n90\nReel One");
    const std::string chapters = "chapter=start_time,end_time:chapter_tags=title";
    EXPECT_EQ(field(output, chapters), field(source, chapters));
    EXPECT_EQ(field(output, "stream_tags=language", "a"), "eng");
    // The sound, packet for packet.
    ASSERT_FALSE(audioPackets(source).empty());
    EXPECT_EQ(audioPackets(output), audioPackets(source));

    // Every frame, each at its time: the encoder's tail included.
    EXPECT_EQ(field(output, "stream=nb_read_frames", "v:0 -count_frames"), "50");
    EXPECT_EQ(frameTimes(output), frameTimes(source));

    // BT.709 limited range, as tagged: decoded so, the pictures come back close; a BT.601 matrix
    // or full range on the way in costs them 15 dB and more.
    const std::string frames = decoded(output, zscaleFrom("bt709", "limited"));
    for (size_t i : {size_t(0), size_t(25), size_t(49)})
        EXPECT_GT(match(frames, i, 320, 240, false).psnr, 40.0) << "frame " << i;

    // MXF holds neither H.264 from a camera nor AAC: the video becomes its usual DNxHR, and the
    // sound is named and left out.
    testing::internal::CaptureStderr();
    rewrite(source, path("camera.mxf"), 320, 240);
    const std::string warnings = testing::internal::GetCapturedStderr();
    EXPECT_NE(
        warnings.find("stream #1 of " + source + " (audio aac, eng) is left out: a mxf file cannot hold it"),
        std::string::npos)
        << warnings;
    EXPECT_EQ(field(path("camera.mxf"), "stream=codec_name,nb_read_frames", "v:0 -count_frames"),
              "dnxhd\n50");
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
        rewrite(source, output, 320, 240, 10, 20);  // frames 11 to 30: 0.4 s to 1.2 s

        const std::vector<std::string> times = lines(frameTimes(output));
        ASSERT_EQ(times.size(), 20u);
        EXPECT_NEAR(std::stod(times.front()), 0.0, 1e-6);
        EXPECT_NEAR(std::stod(times.back()), 0.76, 1e-6);
        // Ten frames left out at 25 a second.
        EXPECT_EQ(field(output, "stream_tags=timecode", "v"), "01:00:00:10");
        // The sound of the same 0.8 s, from the same moment: the source's packets from the first
        // that starts at 0.4 s (1024 samples at 44.1 kHz each), one after another.
        const std::vector<std::string> all = audioPackets(source), part = audioPackets(output);
        ASSERT_TRUE(part.size() == 34 || part.size() == 35) << part.size();
        const auto first = std::find(all.begin(), all.end(), part.front());
        ASSERT_NE(first, all.end());
        EXPECT_NEAR(first - all.begin(), 18, 1);
        EXPECT_TRUE(std::equal(part.begin(), part.end(), first));
        EXPECT_NEAR(std::stod(field(output, "stream=start_time", "a")), 0.0, 0.03);
        // The chapter that began before the span starts with it; the next is shifted as the frames.
        const std::vector<std::string> chapters = lines(field(output, "chapter=start_time"));
        ASSERT_EQ(chapters.size(), 2u);
        EXPECT_EQ(chapters[0], "0.000000");
        EXPECT_NEAR(std::stod(chapters[1]), 1.0 - std::stod(lines(frameTimes(source))[10]), 0.0015);
    }
}

// Full range kept: the tag, and the pixels written at that range (limited pixels tagged full
// lose their contrast, 15 dB and more). Interlaced anamorphic video, as from a PAL camera, keeps
// its field order and pixel aspect.
TEST_F(MovieWriterTest, KeepsTheSourcesRangeFieldOrderAndPixelAspect) {
    const std::string source = path("full.mkv"), output = path("full-out.mkv");
    ASSERT_EQ(makeClip(source,
                       "-f lavfi -i testsrc2=size=160x96:rate=25:duration=0.2 -vf setsar=64/45,setfield=bff "
                       "-flags +ildct+ilme -c:v ffv1 -pix_fmt yuv420p -colorspace bt709 -color_range pc"),
              "");
    rewrite(source, output, 160, 96);
    EXPECT_EQ(field(output, "stream=codec_name,pix_fmt,color_range,field_order,sample_aspect_ratio", "v"),
              "ffv1\n64:45\nyuv420p\npc\nbt");  // bt: bottom field first, as FFmpeg names it for FFV1
    const std::string frames = decoded(output, zscaleFrom("bt709", "full"));
    for (size_t i : {size_t(0), size_t(4)})
        EXPECT_GT(match(frames, i, 160, 96, false).psnr, 40.0) << "frame " << i;
}

// The stored planes are what zscale makes of the same ARGB frames told the source's matrix, range
// and chroma siting (the README's chain), byte for byte: 4:2:0 sited top-left, 10-bit 4:2:2 at full
// range, 4:4:4 with alpha.
TEST_F(MovieWriterTest, WritesWhatZscaleWritesFromTheSamePixels) {
    const struct {
        const char* format;
        std::string tags, zscale;
        bool alpha;
    } cases[] = {
        {"yuv420p", "-colorspace bt709 -chroma_sample_location topleft", "matrix=bt709:range=limited:chromal=topleft",
         false},
        {"yuv422p10le", "-colorspace bt2020nc -color_range pc", "matrix=bt2020nc:range=full", false},
        {"yuva444p", "-colorspace smpte170m", "matrix=smpte170m:range=limited", true},
    };
    const int width = 96, height = 48, frames = 3;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.format);
        const std::string source = path(std::string("source-") + c.format + ".mkv");
        const std::string output = path(std::string("out-") + c.format + ".mkv"), raw = path("argb.raw");
        ASSERT_EQ(makeClip(source, "-f lavfi -i testsrc2=size=96x48:rate=25:duration=0.12 -c:v ffv1 -pix_fmt " +
                                       std::string(c.format) + " " + c.tags),
                  "");
        std::vector<std::string> alphas;  // each frame's alpha, as a plane
        {
            MovieWriter writer(output, width, height, c.alpha, source, -1, {});
            std::ofstream pixels(raw, std::ios::binary);
            for (int i = 0; i < frames; ++i) {
                const std::unique_ptr<HostWorld> world = pattern(width, height, i, c.alpha);
                writer.write(*world, i);
                const std::vector<uint8_t> bytes = world->pixelBytes();
                alphas.emplace_back();
                for (size_t at = 0; at < bytes.size(); at += 4) alphas.back() += static_cast<char>(bytes[at]);
                pixels.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
            }
            writer.finish();
        }
        EXPECT_EQ(field(output, "stream=pix_fmt", "v"), c.format);
        const std::string expected = runCommand("ffmpeg -nostdin -v error -filter_threads 1 -f rawvideo -pix_fmt argb "
                                                "-s 96x48 -i '" + raw + "' -vf 'zscale=filter=lanczos:" + c.zscale +
                                                ",format=" + c.format + "' -f rawvideo -")
                                         .out;
        ASSERT_FALSE(expected.empty());
        // zscale carries alpha through a graph of its own that moves some levels by one: the alpha
        // planes expected are the worlds' alpha instead, which 8 bits keep as it is.
        std::string wanted = expected;
        const size_t plane = static_cast<size_t>(width) * height;
        for (size_t frame = 0; c.alpha && frame < alphas.size(); ++frame)
            wanted.replace((4 * frame + 3) * plane, plane, alphas[frame]);
        EXPECT_TRUE(decode(output, "") == wanted);
    }
}

// Each container's usual codec, with alpha where it has some, the alpha kept: from images, and
// from a source whose codec the container cannot hold (ProRes into mp4), which gets the usual
// format too. Images are written at the rate asked for, tagged BT.709 limited range, and so.
TEST_F(MovieWriterTest, ImagesBecomeTheContainersUsualCodecTaggedBt709) {
    const std::string prores = path("prores.mov");
    ASSERT_EQ(makeClip(prores, "-f lavfi -i testsrc2=size=256x128:rate=25:duration=0.2 -c:v prores_ks"), "");
    MovieOptions ntsc, none;
    ntsc.fps = {30000, 1001};
    const struct {
        std::string name, source;
        bool alpha;
        MovieOptions options;
        std::string encoder, probed;
    } cases[] = {
        {"a.mp4", "", false, ntsc, "libx264 yuv420p", "h264,High,yuv420p,tv,bt709,30000/1001,3"},
        {"b.webm", "", true, none, "libvpx-vp9 yuva420p", "vp9,Profile 0,yuv420p,tv,bt709,25/1,3"},
        {"c.mkv", "", true, none, "ffv1 bgra", "ffv1,unknown,bgra,unknown,gbr,25/1,3"},
        {"d.mxf", "", false, none, "dnxhd yuv422p", "dnxhd,DNXHR HQ,yuv422p,tv,bt709,25/1,3"},
        {"e.mp4", prores, false, none, "libx264 yuv420p", "h264,High,yuv420p,unknown,unknown,25/1,3"},
        {"f.mov", "", true, none, "prores_ks yuva444p10le", "prores,4444,yuva444p12le,tv,bt709,25/1,3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string output = path(c.name);
        {
            MovieWriter writer(output, 256, 128, c.alpha, c.source, -1, c.options);
            EXPECT_EQ(writer.encoderDescription(), c.encoder);
            for (int i = 0; i < 3; ++i)
                writer.write(*pattern(256, 128, i, c.alpha), i * (c.source.empty() ? 1 : 512));
            writer.finish();
        }
        EXPECT_EQ(probe(output,
                        "-count_frames -select_streams v:0 -show_entries stream=codec_name,profile,pix_fmt,"
                        "color_range,color_space,r_frame_rate,nb_read_frames -of csv=p=0"),
                  c.probed + "\n");
        // VP9 keeps its alpha beside the picture, where only the libvpx decoder reads it.
        const std::string decoder = c.name == "b.webm" ? "-c:v libvpx-vp9" : "";
        const std::string frames =
            decoded(output, c.source.empty() ? zscaleFrom("bt709", "limited") : "", decoder);
        const Match last = match(frames, 2, 256, 128, c.alpha);
        EXPECT_GT(last.psnr, 40.0);
        EXPECT_LT(last.alphaError, 3.0);
    }
}

// Argument faults are refused in the constructor, before a file or a temporary file exists; an
// output the system cannot create is named with its reason.
TEST_F(MovieWriterTest, RefusesWhatCannotBeWrittenBeforeWritingAnything) {
    const std::string odd = path("odd.mov");
    ASSERT_EQ(makeClip(odd, "-f lavfi -i testsrc2=size=161x121:rate=25:duration=0.2,format=rgb24 -c:v qtrle"),
              "");
    MovieOptions unknownOption, unknownCodec, wrongFormat, badPreset, none;
    unknownOption.codecOptions = {"crf=20", "frobnicate=1"};
    unknownCodec.codec = "nosuchcodec";
    wrongFormat.codec = "libx264";
    wrongFormat.pixFmt = "bgra";
    badPreset.preset = "warp";
    const struct {
        std::string output, source;
        MovieOptions options;
        int status;
        std::string says;
    } cases[] = {
        {path("a.mp4"), "", unknownOption, JobError::kUsage, "frobnicate"},
        {path("b.mp4"), "", unknownCodec, JobError::kUsage, "nosuchcodec"},
        {path("c.mp4"), "", wrongFormat, JobError::kUsage, "yuv420p"},
        {path("d.mp4"), "", badPreset, JobError::kUsage, "libx264"},
        {path("e.xyz"), "", none, JobError::kUsage, "not a movie container"},
        // DNxHR's smallest frame named, and a codec that takes this one.
        {path("g.mxf"), "", none, JobError::kUsage, "at least 256x120, and 64x48 is smaller"},
        // Odd-size RGB into an mp4: H.264 4:2:0 cannot take it; 4:4:4 can.
        {path("f.mp4"), odd, none, JobError::kUsage, "--pix-fmt yuv444p"},
        {odd, odd, none, JobError::kUsage, "source movie itself"},
        {path("missing/clip.mkv"), "", none, JobError::kImage,
         "missing/clip.mkv: cannot write: No such file or directory"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.output + " " + c.says);
        try {
            MovieWriter writer(c.output, c.source.empty() ? 64 : 161, c.source.empty() ? 48 : 121, false,
                               c.source, -1, c.options);
            ADD_FAILURE() << "accepted";
        } catch (const JobError& e) {
            EXPECT_EQ(e.status(), c.status);
            EXPECT_NE(std::string(e.what()).find(c.says), std::string::npos) << e.what();
        }
        EXPECT_TRUE(c.output == odd || !exists(c.output));
        EXPECT_EQ(runCommand("ls -A '" + dir + "' | grep -c partial").out, "0\n");
    }
    // The same odd movie is kept as it is where its codec can go.
    rewrite(odd, path("odd-out.mov"), 161, 121);
    EXPECT_EQ(field(path("odd-out.mov"), "stream=codec_name,width,height", "v"), "qtrle\n161\n121");
}

// The movie is written under a temporary name and renamed into place by finish(); a writer
// destroyed unfinished leaves neither.
TEST_F(MovieWriterTest, WritesUnderATemporaryNameAndLeavesNothingWhenUnfinished) {
    const std::string output = path("clip.mkv"), temporary = path(".clip.mkv.fxhost-partial");
    for (const bool finished : {false, true}) {
        {
            MovieWriter writer(output, 64, 48, false, "", -1, {});
            EXPECT_EQ(writer.temporaryPath(), temporary);
            writer.write(*pattern(64, 48, 0, false), 0);
            EXPECT_TRUE(exists(temporary) && !exists(output));
            if (finished) writer.finish();
        }
        EXPECT_FALSE(exists(temporary));
        EXPECT_EQ(exists(output), finished);
    }
}
