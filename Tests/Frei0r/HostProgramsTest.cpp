// The module as FFmpeg, melt and gst-launch-1.0 load it from FREI0R_PATH, held byte for byte
// to `fxhost render` of the same RGBA frame at the same values (0.25 | 0.75 is Hue Value 90,
// Saturation 1.5). FFmpeg 5.1 gets widths that are multiples of 16 (it pads rows to 64 bytes);
// melt and GStreamer get odd widths.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "CommandRunner.h"

namespace {

const std::string kModuleName = "ostrivane-hue-and-saturation";
#if defined(__SANITIZE_ADDRESS__)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif

std::string repeat(const std::string& frame, int count) {
    std::string all;
    for (int i = 0; i < count; ++i) all += frame;
    return all;
}

// The renderer both the module and fxhost are asked for: FXHOST_RENDERER, which ctest sets for
// each run of this suite, else auto.
std::string renderer() {
    const char* word = getenv("FXHOST_RENDERER");
    return word && *word ? word : "auto";
}

// A temporary folder removed afterwards, RGBA test frames with partial alpha, raw RGBA bytes of any
// image or movie (decoded by ffmpeg), and the reference every host is held to: what `fxhost render`
// writes for the same frame and values.
class HostPrograms : public ::testing::Test {
protected:
    void SetUp() override {
        char name[] = "/tmp/fxhost-frei0r-XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        dir = name;
        // Every host finds the module in the build tree, and GStreamer keeps its scan here.
        setenv("FREI0R_PATH", std::filesystem::path(FREI0R_MODULE_PATH).parent_path().c_str(), 1);
        setenv("GST_REGISTRY", (dir + "/gst-registry.bin").c_str(), 1);
#if defined(__SANITIZE_ADDRESS__)
        // A sanitized module needs the sanitizers' runtimes first in the applications, which are not
        // built with them; the applications' own leaks are not ours to report.
        std::string preload;
        for (const char* symbol : {"__asan_init", "__ubsan_handle_type_mismatch_v1"}) {
            Dl_info info;
            void* address = dlsym(RTLD_DEFAULT, symbol);
            if (address && dladdr(address, &info) && info.dli_fname) preload += std::string(info.dli_fname) + ":";
        }
        setenv("LD_PRELOAD", preload.c_str(), 1);
        const char* options = getenv("ASAN_OPTIONS");
        setenv("ASAN_OPTIONS", (std::string(options ? options : "") + ":detect_leaks=0").c_str(), 1);
#endif
    }
    void TearDown() override { std::filesystem::remove_all(dir); }

    std::string path(const std::string& name) const { return dir + "/" + name; }

    // A WxH RGBA PNG: the test pattern in colour, alpha running through every value.
    std::string makeFrame(int width, int height, const std::string& name) {
        const std::string file = path(name);
        const CommandResult r = runCommand(
            "ffmpeg -nostdin -v error -y -f lavfi -i \"testsrc2=size=" + std::to_string(width) + "x" +
            std::to_string(height) + ":rate=1,format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='mod(X*7+Y*3,256)'\"" +
            " -frames:v 1 " + file);
        EXPECT_EQ(r.status, 0) << r.err;
        return file;
    }

    // Every frame of `media` as raw RGBA bytes, rows of width × 4.
    std::string rawRgba(const std::string& media) {
        const CommandResult r = runCommand("ffmpeg -nostdin -v error -i " + media + " -f rawvideo -pix_fmt rgba -");
        EXPECT_EQ(r.status, 0) << r.err;
        return r.out;
    }

    std::string fxhostReference(const std::string& input, const std::string& hue, const std::string& saturation) {
        const std::string out = path("ref-" + hue + "-" + saturation + "-" + std::filesystem::path(input).filename().string());
        const CommandResult r = runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " -q render --renderer " + renderer() +
                                           " --set \"Hue Value=" + hue + "\" --set Saturation=" + saturation + " " +
                                           input + " " + out);
        EXPECT_EQ(r.status, 0) << r.err;
        return rawRgba(out);
    }

    // The module laid out as installed, PREFIX/lib/frei0r-1/NAME.so, with these bytes (if any) as
    // PREFIX/lib/fxhost/BUNDLE; ffmpeg run with FREI0R_PATH there on `frames` frames of `in`.
    CommandResult ffmpegInstalled(const std::string& prefix, const std::string& bundle, const std::string& in,
                                  int frames, const std::string& values) {
        const std::string modules = path(prefix) + "/lib/frei0r-1";
        std::filesystem::create_directories(modules);
        std::filesystem::copy_file(FREI0R_MODULE_PATH, modules + "/" + kModuleName + ".so");
        if (!bundle.empty()) {
            std::filesystem::create_directories(path(prefix) + "/lib/fxhost");
            std::ofstream(path(prefix) + "/lib/fxhost/HueAndSaturation.plugin", std::ios::binary) << bundle;
        }
        return runCommand("FREI0R_PATH=" + modules + " ffmpeg -nostdin -v error -loop 1 -framerate 25 -i " + in +
                          " -frames:v " + std::to_string(frames) + " -vf 'frei0r=" + kModuleName + values +
                          "' -f rawvideo -pix_fmt rgba -");
    }

    std::string dir;
};

TEST_F(HostPrograms, TwoInstancesInOneFfmpegGraphKeepTheirOwnSizesAndValues) {
    const std::string a = makeFrame(64, 48, "a.png");
    const std::string b = makeFrame(32, 16, "b.png");
    const CommandResult r = runCommand(
        "ffmpeg -nostdin -v error -i " + a + " -i " + b + " -filter_complex \"[0]frei0r=" + kModuleName +
        ":0.25|0.75[a];[1]frei0r=" + kModuleName + ":0.5|0.2[b]\" -map [a] -f rawvideo -pix_fmt rgba " +
        path("a.raw") + " -map [b] -f rawvideo -pix_fmt rgba " + path("b.raw"));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_TRUE(readText(path("a.raw")) == fxhostReference(a, "90", "1.5")) << "FFmpeg's frame differs";
    EXPECT_TRUE(readText(path("b.raw")) == fxhostReference(b, "180", "0.4")) << "FFmpeg's frame differs";
}

// An H.264 movie into the module through the README's zscale chain: the effect gets the bytes
// fxhost reads from the movie, so FFmpeg's frames are fxhost's.
TEST_F(HostPrograms, FfmpegThroughTheReadmesChainRendersAMovieAsFxhostDoes) {
    const std::string clip = path("clip.mp4"), frames = path("fx_%04d.png");
    ASSERT_EQ(runCommand("ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=160x90:rate=25:duration=0.12 "
                         "-c:v libx264 -pix_fmt yuv420p " + clip)
                  .status,
              0);
    const CommandResult r = runCommand("ffmpeg -nostdin -v error -i " + clip +
                                       " -vf 'zscale=filter=lanczos:matrixin=170m,format=gbrp,format=rgba,frei0r=" +
                                       kModuleName + ":0.25|0.75' -f rawvideo -pix_fmt rgba -");
    ASSERT_EQ(r.status, 0) << r.err;
    const CommandResult f = runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " -q render --renderer " + renderer() +
                                       " --set \"Hue Value=90\" --set Saturation=1.5 " + clip + " " + frames);
    ASSERT_EQ(f.status, 0) << f.err;
    EXPECT_TRUE(r.out == rawRgba(frames)) << "FFmpeg's frames differ";
}

// melt's slice threads hand the module bands of rows (threads=N); melt runs frames on two render
// threads (real_time=-2) and sets the parameters again before every frame. A value out of range is
// clamped with one warning, however often it is set. The CPU renderer makes each band exactly
// those rows of the whole frame; the GL pass samples at coordinates that move with the band's
// height, and may land a level or two off.
TEST_F(HostPrograms, MeltRendersEveryFrameOfEverySliceAndClampsWithOneWarning) {
    if (kSanitized) GTEST_SKIP() << "melt does not run with the sanitizers' runtimes preloaded";
    struct Case {
        int width, height, threads, frames;
        std::string values, hue, saturation;
        int warnings, tolerance;
    };
    for (const Case& c : {Case{37, 21, 3, 8, "0=0.25 1=1.5", "90", "2", 1, 0},
                          Case{320, 181, 2, 4, "0=0.557 1=0.685", "200.52", "1.37", 0, renderer() == "gl" ? 2 : 0}}) {
        SCOPED_TRACE(std::to_string(c.width) + "x" + std::to_string(c.height));
        const std::string size = std::to_string(c.width) + "x" + std::to_string(c.height);
        const std::string in = makeFrame(c.width, c.height, size + ".png"), profile = path(size + ".profile");
        // A melt profile of exactly the frame's size, square pixels, 25 frames a second.
        std::ofstream(profile) << "description=test\nwidth=" << c.width << "\nheight=" << c.height
                               << "\nprogressive=1\nsample_aspect_num=1\nsample_aspect_den=1\ndisplay_aspect_num="
                               << c.width << "\ndisplay_aspect_den=" << c.height
                               << "\nframe_rate_num=25\nframe_rate_den=1\ncolorspace=601\n";
        const CommandResult r = runCommand("melt -silent -profile " + profile + " " + in + " out=" +
                                           std::to_string(c.frames - 1) + " -filter frei0r." + kModuleName + " " +
                                           c.values + " threads=" + std::to_string(c.threads) +
                                           " -consumer avformat:" + path(size + ".mkv") +
                                           " vcodec=ffv1 pix_fmt=bgra an=1 real_time=-2");
        ASSERT_EQ(r.status, 0) << r.err;
        const std::string frames = rawRgba(path(size + ".mkv"));
        const std::string whole = repeat(fxhostReference(in, c.hue, c.saturation), c.frames);
        ASSERT_EQ(frames.size(), whole.size());
        int largest = 0;
        for (size_t i = 0; i < frames.size(); ++i)
            largest = std::max(largest, std::abs(static_cast<uint8_t>(frames[i]) - static_cast<uint8_t>(whole[i])));
        EXPECT_LE(largest, c.tolerance) << "melt's frames differ from fxhost render's";
        const std::regex warning(kModuleName + ": parameter \"Saturation\" = 1.5 is outside 0 to 1 \\(0 to 1 maps linearly onto 0 to 2");
        EXPECT_EQ(std::distance(std::sregex_iterator(r.err.begin(), r.err.end(), warning), std::sregex_iterator()),
                  c.warnings)
            << r.err;
    }
}

TEST_F(HostPrograms, GStreamerRendersWhatFxhostRenders) {
    const std::string in = makeFrame(321, 240, "odd.png");
    // Frames leave through a queue: standard output is written on another thread while the
    // next frame renders, and none of it may be lost.
    const CommandResult r = runCommand(
        "gst-launch-1.0 -q filesrc location=" + in + " ! pngdec ! imagefreeze num-buffers=10 ! videoconvert ! " +
        "video/x-raw,format=RGBA ! frei0r-filter-" + kModuleName +
        " hue-value=0.25 saturation=0.75 ! videoconvert ! video/x-raw,format=RGBA ! queue ! fdsink");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(r.out == repeat(fxhostReference(in, "90", "1.5"), 10)) << "GStreamer's frames differ from fxhost render's";
}

// Installed, the module finds the bundle beside fxhost; frames the bundle fails on (it writes a row
// past its output, which the host's guard bytes catch) pass through unchanged with one message.
TEST_F(HostPrograms, InstalledModuleRendersWithTheBundleBesideItAndPassesFailedFramesThrough) {
    const std::string in = makeFrame(32, 8, "in.png");
    CommandResult r = ffmpegInstalled("prefix", readText(OSTRIVANE_BUNDLE_PATH), in, 1, ":0.25|0.75");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_TRUE(r.out == fxhostReference(in, "90", "1.5")) << "FFmpeg's frame differs from fxhost render's";

    r = ffmpegInstalled("broken", readText(FREI0R_BROKEN_BUNDLE_PATH), in, 3, ":0.25|0.75");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(r.out == repeat(rawRgba(in), 3)) << "the frames did not pass through unchanged";
    const std::regex message(kModuleName + ": the frame at time 0 passes through unchanged: .*bytes outside the output world were written");
    EXPECT_TRUE(std::regex_search(r.err, message)) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
}

// Without its bundle, or with one cut short (which the dynamic loader would map and fault on,
// taking FFmpeg down), the module refuses the instance in one line and FFmpeg ends on its own.
TEST_F(HostPrograms, ModuleWithoutAWholeBundleFailsInOneClearLine) {
    const std::string in = makeFrame(16, 16, "in.png");
    for (const bool cut : {false, true}) {
        const std::string prefix = cut ? "cut" : "lonely", lonely = path(prefix) + "/lib/frei0r-1";
        const CommandResult r =
            ffmpegInstalled(prefix, cut ? readText(OSTRIVANE_BUNDLE_PATH).substr(0, 5000) : "", in, 1, "");
        EXPECT_TRUE(r.status > 0 && r.status < 128) << "ffmpeg ended with " << r.status << " (128 and up: a signal)";
        EXPECT_NE(r.err.find("Impossible to load frei0r instance"), std::string::npos) << r.err;
        const std::string why =
            cut ? "cannot load effect bundle '" + lonely + "/../fxhost/HueAndSaturation.plugin': cut short: "
                : "no effect bundle at " + lonely + "/../fxhost/HueAndSaturation.plugin or " + lonely +
                      "/../../bin/HueAndSaturation.plugin";
        EXPECT_NE(r.err.find(kModuleName + ": cannot construct an instance: " + why), std::string::npos) << r.err;
    }
}

}  // namespace
