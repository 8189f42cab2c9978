// The module as FFmpeg, melt and gst-launch-1.0 load it from FREI0R_PATH, held byte for byte
// to `fxhost render` of the same RGBA frame at the same values (0.25 | 0.75 is Hue Value 90,
// Saturation 1.5). FFmpeg 5.1 gets widths that are multiples of 16 (it pads rows to 64 bytes);
// melt and GStreamer get odd widths.
#include <algorithm>
#include <filesystem>
#include <regex>

#include "Frei0rFiles.h"

namespace frei0rtest {

using HostPrograms = Frei0rFolder;

TEST_F(HostPrograms, FfmpegRendersWhatFxhostRenders) {
    const std::string in = makeFrame(64, 48, "in.png");
    const CommandResult r = runCommand("ffmpeg -nostdin -v error -i " + in + " -vf \"frei0r=" + kModuleName +
                                       ":0.25|0.75\" -f rawvideo -pix_fmt rgba -");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    EXPECT_TRUE(r.out == fxhostReference(in, "90", "1.5")) << "FFmpeg's frame differs from fxhost render's";
}

TEST_F(HostPrograms, TwoInstancesInOneGraphKeepTheirOwnSizesAndValues) {
    const std::string a = makeFrame(64, 48, "a.png");
    const std::string b = makeFrame(32, 16, "b.png");
    const CommandResult r = runCommand(
        "ffmpeg -nostdin -v error -i " + a + " -i " + b + " -filter_complex \"[0]frei0r=" + kModuleName +
        ":0.25|0.75[a];[1]frei0r=" + kModuleName + ":0.5|0.2[b]\" -map [a] -f rawvideo -pix_fmt rgba " +
        path("a.raw") + " -map [b] -f rawvideo -pix_fmt rgba " + path("b.raw"));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(readBytes(path("a.raw")) == fxhostReference(a, "90", "1.5"));
    EXPECT_TRUE(readBytes(path("b.raw")) == fxhostReference(b, "180", "0.4"));
}

TEST_F(HostPrograms, MeltWithTwoRenderThreadsAndSliceThreadsRendersEveryFrame) {
    SKIP_MELT_WHEN_SANITIZED();
    const std::string in = makeFrame(37, 21, "odd.png");
    const CommandResult r = runCommand("melt -silent -profile " + meltProfile(37, 21) + " " + in +
                                       " out=7 -filter frei0r." + kModuleName +
                                       " 0=0.25 1=0.75 threads=3 -consumer avformat:" + path("melt.mkv") +
                                       " vcodec=ffv1 pix_fmt=bgra an=1 real_time=-2");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string frames = rawRgba(path("melt.mkv"));
    EXPECT_EQ(frames.size(), 8u * 37 * 21 * 4);
    EXPECT_TRUE(frames == repeat(fxhostReference(in, "90", "1.5"), 8)) << "a frame from melt differs";
}

// melt's slice threads hand the module bands of rows. The CPU renderer makes each band exactly
// those rows of the whole frame; the GL pass samples at coordinates that move with the band's
// height, and may land a level or two off.
TEST_F(HostPrograms, MeltSlicesAreTheRowsOfTheWholeFrame) {
    SKIP_MELT_WHEN_SANITIZED();
    const std::string in = makeFrame(320, 181, "slices.png");
    const CommandResult r = runCommand("melt -silent -profile " + meltProfile(320, 181) + " " + in +
                                       " out=3 -filter frei0r." + kModuleName +
                                       " 0=0.557 1=0.685 threads=2 -consumer avformat:" + path("slices.mkv") +
                                       " vcodec=ffv1 pix_fmt=bgra an=1 real_time=-2");
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string frames = rawRgba(path("slices.mkv"));
    const std::string whole = repeat(fxhostReference(in, "200.52", "1.37"), 4);
    ASSERT_EQ(frames.size(), whole.size());
    int largest = 0;
    for (size_t i = 0; i < frames.size(); ++i)
        largest = std::max(largest, std::abs(static_cast<uint8_t>(frames[i]) - static_cast<uint8_t>(whole[i])));
    EXPECT_LE(largest, renderer() == "gl" ? 2 : 0) << "melt's banded frames differ from the whole frame";
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

TEST_F(HostPrograms, ValueOutOfRangeIsClampedWithOneWarning) {
    SKIP_MELT_WHEN_SANITIZED();
    const std::string in = makeFrame(37, 21, "odd.png");
    // melt sets the parameters again before every frame: still one warning.
    const CommandResult r = runCommand("melt -silent -profile " + meltProfile(37, 21) + " " + in +
                                       " out=2 -filter frei0r." + kModuleName + " 0=0.25 1=1.5 -consumer avformat:" +
                                       path("clamped.mkv") + " vcodec=ffv1 pix_fmt=bgra an=1 real_time=-1");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(rawRgba(path("clamped.mkv")) == repeat(fxhostReference(in, "90", "2"), 3));
    const std::regex warning(kModuleName + ": parameter \"Saturation\" = 1.5 is outside 0 to 1 \\(0 to 1 maps linearly onto 0 to 2");
    const auto found = std::distance(std::sregex_iterator(r.err.begin(), r.err.end(), warning), std::sregex_iterator());
    EXPECT_EQ(found, 1) << r.err;
}

TEST_F(HostPrograms, InstalledModuleFindsTheBundleBesideFxhost) {
    // PREFIX/lib/frei0r-1/NAME.so and PREFIX/lib/fxhost/BUNDLE, as the install rules lay them out.
    const std::string prefix = path("prefix");
    std::filesystem::create_directories(prefix + "/lib/frei0r-1");
    std::filesystem::create_directories(prefix + "/lib/fxhost");
    std::filesystem::copy_file(FREI0R_MODULE_PATH, prefix + "/lib/frei0r-1/" + kModuleName + ".so");
    std::filesystem::copy_file(OSTRIVANE_BUNDLE_PATH, prefix + "/lib/fxhost/HueAndSaturation.plugin");
    const std::string in = makeFrame(32, 8, "in.png");
    const CommandResult r = runCommand("FREI0R_PATH=" + prefix + "/lib/frei0r-1 ffmpeg -nostdin -v error -i " + in +
                                       " -vf \"frei0r=" + kModuleName + ":0.25|0.75\" -f rawvideo -pix_fmt rgba -");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(r.out == fxhostReference(in, "90", "1.5"));
}

TEST_F(HostPrograms, FramesTheEffectFailsOnPassThroughWithOneMessage) {
    // A bundle that writes a row past its output on every frame: the host's guard bytes catch it.
    const std::string prefix = path("prefix");
    std::filesystem::create_directories(prefix + "/lib/frei0r-1");
    std::filesystem::create_directories(prefix + "/lib/fxhost");
    std::filesystem::copy_file(FREI0R_MODULE_PATH, prefix + "/lib/frei0r-1/" + kModuleName + ".so");
    std::filesystem::copy_file(FREI0R_BROKEN_BUNDLE_PATH, prefix + "/lib/fxhost/HueAndSaturation.plugin");
    const std::string in = makeFrame(32, 8, "in.png");
    const CommandResult r = runCommand("FREI0R_PATH=" + prefix + "/lib/frei0r-1 ffmpeg -nostdin -v error -loop 1 -framerate 25 -i " +
                                       in + " -frames:v 3 -vf \"frei0r=" + kModuleName +
                                       ":0.25|0.75\" -f rawvideo -pix_fmt rgba -");
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
        const std::string prefix = path(cut ? "cut" : "lonely"), lonely = prefix + "/lib/frei0r-1";
        std::filesystem::create_directories(lonely);
        std::filesystem::copy_file(FREI0R_MODULE_PATH, lonely + "/" + kModuleName + ".so");
        const std::string bundle = prefix + "/lib/fxhost/HueAndSaturation.plugin";
        if (cut) {
            std::filesystem::create_directories(prefix + "/lib/fxhost");
            std::ofstream(bundle, std::ios::binary) << readBytes(OSTRIVANE_BUNDLE_PATH).substr(0, 5000);
        }
        const CommandResult r = runCommand("FREI0R_PATH=" + lonely + " ffmpeg -nostdin -v error -i " + in +
                                           " -vf frei0r=" + kModuleName + " -f rawvideo -pix_fmt rgba -");
        EXPECT_TRUE(r.status > 0 && r.status < 128) << "ffmpeg ended with " << r.status << " (128 and up: a signal)";
        EXPECT_NE(r.err.find("Impossible to load frei0r instance"), std::string::npos) << r.err;
        const std::string why =
            cut ? "cannot load effect bundle '" + lonely + "/../fxhost/HueAndSaturation.plugin': cut short: "
                : "no effect bundle at " + lonely + "/../fxhost/HueAndSaturation.plugin or " + lonely +
                      "/../../bin/HueAndSaturation.plugin";
        EXPECT_NE(r.err.find(kModuleName + ": cannot construct an instance: " + why), std::string::npos) << r.err;
    }
}

}  // namespace frei0rtest
