// What fxhost does to files as a compositor expects: data it does not render is kept,
// what it cannot keep is said, errors name their cause, and the command line answers
// as documented.
#include <gtest/gtest.h>

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <cstdlib>
#include <string>

#include "CommandRunner.h"
#include "MovieClips.h"

namespace {

const std::string kFxhost = OSTRIVANE_FXHOST_PATH;
const std::string kSample = std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png";
// Settings under which the effect gives back what it was given, within 8-bit rounding.
const std::string kNeutral = " --set \"Hue Value=0\" --set Saturation=1 ";

class FxhostFiles : public ::testing::Test {
protected:
    void SetUp() override {
        dir = "/tmp/fxhost-files-" + std::to_string(getpid()) + "-" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_EQ(std::system(("rm -rf " + dir + " && mkdir -p " + dir).c_str()), 0);
    }
    void TearDown() override { std::system(("rm -rf " + dir).c_str()); }

    CommandResult fxhost(const std::string& args) { return runCommand(kFxhost + " " + args); }
    int filesInDir() { return std::stoi("0" + runCommand("ls -A " + dir + " | wc -l").out); }

    // A gradient image with the given channels and type, written with OpenImageIO.
    std::string make(const std::string& name, OIIO::ImageSpec header, float scale = 1.0f) {
        OIIO::ImageBuf image(header);
        std::vector<float> corner(header.nchannels);
        for (int c = 0; c < header.nchannels; ++c) corner[c] = scale * (c + 1) / (header.nchannels + 1);
        OIIO::ImageBufAlgo::fill(image, corner, std::vector<float>(header.nchannels, 0.25f));
        const std::string path = dir + "/" + name;
        EXPECT_TRUE(image.write(path)) << image.geterror();
        return path;
    }

    std::string dir;
};

std::vector<float> channel(const OIIO::ImageBuf& image, int c) {
    std::vector<float> values(static_cast<size_t>(image.nativespec().width) * image.nativespec().height);
    image.get_pixels(OIIO::ROI(image.xbegin(), image.xend(), image.ybegin(), image.yend(), 0, 1, c, c + 1),
                     OIIO::TypeDesc::FLOAT, values.data());
    return values;
}

}  // namespace

// An EXR with a depth channel, values above 1 and a header of its own comes back with every
// channel the effect does not render unchanged and every header field kept; the host says,
// once, that the effect renders in 8 bits, and --strict-depth refuses before writing.
TEST_F(FxhostFiles, DeepFilesKeepTheirChannelsAndHeaderAndTheLossIsSaid) {
    OIIO::ImageSpec header(40, 24, 5, OIIO::TypeDesc::HALF);
    header.channelnames = {"R", "G", "B", "A", "Z"};
    header.alpha_channel = 3;
    header.z_channel = 4;
    header.x = 7;
    header.y = 5;
    header.full_x = 0;
    header.full_y = 0;
    header.full_width = 64;
    header.full_height = 48;
    header.attribute("compression", "piz");
    header.attribute("PixelAspectRatio", 2.0f);
    header.attribute("studio:shot", "sq010_sh020");
    const std::string in = make("in.exr", header, 4.0f), out = dir + "/out.exr";

    CommandResult r = fxhost("render --strict-depth" + kNeutral + in + " " + out);
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("half-float"), std::string::npos) << r.err;
    EXPECT_EQ(filesInDir(), 1);

    r = fxhost("render" + kNeutral + in + " " + out);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("warning: the input is half-float, but the effect renders in 8 bits"),
              std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find("values outside 0 to 1"), std::string::npos) << r.err;
    EXPECT_EQ(r.out, "");

    OIIO::ImageBuf source(in), result(out);
    ASSERT_TRUE(result.read()) << result.geterror();
    ASSERT_TRUE(source.read());
    const OIIO::ImageSpec& got = result.nativespec();
    EXPECT_EQ(got.nchannels, 5);
    EXPECT_EQ(got.channelnames[4], "Z");
    EXPECT_EQ(got.format, OIIO::TypeDesc::HALF);
    EXPECT_EQ(got.x, 7);
    EXPECT_EQ(got.y, 5);
    EXPECT_EQ(got.full_width, 64);
    EXPECT_EQ(got.full_height, 48);
    EXPECT_EQ(got.get_string_attribute("compression"), "piz");
    EXPECT_EQ(got.get_float_attribute("PixelAspectRatio"), 2.0f);
    EXPECT_EQ(got.get_string_attribute("studio:shot"), "sq010_sh020");
    EXPECT_EQ(channel(result, 4), channel(source, 4));
    // Colour comes back through 8 bits: straight values clipped to 1, within a step below.
    const std::vector<float> red = channel(source, 0), alpha = channel(source, 3);
    const std::vector<float> redOut = channel(result, 0), alphaOut = channel(result, 3);
    int checked = 0;
    for (size_t i = 0; i < red.size(); ++i) {
        if (alpha[i] < 0.2f || alpha[i] > 1.0f) continue;
        EXPECT_NEAR(redOut[i] / alphaOut[i], std::min(1.0f, red[i] / alpha[i]), 2.0f / 255) << i;
        ++checked;
    }
    EXPECT_GT(checked, 50);
}

TEST_F(FxhostFiles, SixteenBitTiffKeepsItsExtraChannelAndIsWarnedAbout) {
    OIIO::ImageSpec header(32, 16, 5, OIIO::TypeDesc::UINT16);
    header.channelnames = {"R", "G", "B", "A", "matte"};
    header.alpha_channel = 3;
    const std::string in = make("in.tif", header), out = dir + "/out.tif";
    const CommandResult r = fxhost("render" + kNeutral + in + " " + out);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("the input is 16-bit"), std::string::npos) << r.err;
    EXPECT_EQ(r.err.find("outside 0 to 1"), std::string::npos) << r.err;
    OIIO::ImageBuf source(in), result(out);
    ASSERT_TRUE(result.read());
    EXPECT_EQ(result.nativespec().format, OIIO::TypeDesc::UINT16);
    EXPECT_EQ(result.nativespec().nchannels, 5);
    EXPECT_EQ(channel(result, 4), channel(source, 4));
}

// 8-bit files lose nothing, so nothing is said; -q leaves errors only.
TEST_F(FxhostFiles, EightBitFilesAreQuietAndQuietMeansErrorsOnly) {
    CommandResult r = fxhost("render " + kSample + " " + dir + "/out.png");
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(r.err.find("warning"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("Rendered 1 frame"), std::string::npos) << r.err;
    r = fxhost("-q render " + kSample + " " + dir + "/out2.png");
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(r.err + r.out, "");
    r = fxhost("render -q " + dir + "/missing.png " + dir + "/out3.png");
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("missing.png"), std::string::npos);
}

TEST_F(FxhostFiles, ArgumentErrorsExitTwoNamingTheArgument) {
    const struct {
        std::string args;
        std::string named;
    } cases[] = {
        {"bogus", "unknown command \"bogus\""},
        {"-v bogus in.png", "unknown command \"bogus\""},
        {"render --bogus in.png out.png", "--bogus"},
        {"render --png-compression 12 in.png out.png", "--png-compression"},
        {"render --threads 0 in.png out.png", "--threads"},
        {"sheet --vary Saturation=0:2:2 --tile-width 2 in.png out.png", "--tile-width"},
        {"render in.png", "OUTPUT"},
        {"-q -v info", "--quiet and --verbose"},
        // Refused before any file is read: the input need not be there.
        {"sheet --vary Saturation=0:2:2 clip.mov out.png", "sheet takes one image, not a movie ('clip.mov')"},
        {"sheet --vary Saturation=0:2:2 in_%04d.png out.png", "sheet takes one image, not a sequence"},
        {"render --set 'Hue Value=10' --set 'hue value=20' IN out.png",
         "--set \"hue value=20\": parameter \"Hue Value\" (0 to 360) is already set by --set \"Hue Value=10\""},
        {"render --crf 18 IN out.png", "--crf is for a movie OUTPUT, and 'out.png' is an image"},
        {"render --fps 24 IN out_%04d.png", "--fps is for a movie OUTPUT"},
        {"render --codec-opt tune=film IN out.exr", "--codec-opt is for a movie OUTPUT"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        std::string args = c.args;
        if (args.find(" IN ") != std::string::npos)
            args.replace(args.find(" IN "), 4,
                         " " + std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png ");
        const CommandResult r = fxhost(args);
        EXPECT_EQ(r.status, 2);
        EXPECT_NE(r.err.find(c.named), std::string::npos) << r.err;
        EXPECT_EQ(r.out, "");
    }
    const CommandResult r = fxhost("--version");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("fxhost ", 0), 0u) << r.out;
}

// info's table is all of its standard output; the effect's driver report goes to standard
// error, only when asked for, and once.
TEST_F(FxhostFiles, StandardOutputCarriesOnlyWhatTheCommandPrints) {
    CommandResult r = fxhost("info");
    ASSERT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("Hue Value"), std::string::npos);
    EXPECT_EQ((r.out + r.err).find("OpenGL"), std::string::npos);
    r = fxhost("-v info --renderer gl");
    EXPECT_EQ(r.out.find("OpenGL"), std::string::npos);
    EXPECT_NE(r.err.find("OpenGL Renderer"), std::string::npos);
    // A render makes a context of its own beside the effect's shared one: the report is still said once.
    r = fxhost("-v render --renderer gl " + std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png " + dir +
               "/out.png");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "");
    size_t reports = 0;
    for (size_t at = r.err.find("OpenGL Renderer"); at != std::string::npos;
         at = r.err.find("OpenGL Renderer", at + 1))
        ++reports;
    EXPECT_EQ(reports, 1u) << r.err;
}

// A failed read or write is one line that says why, of the name asked for, and leaves nothing
// behind; an image beyond the GL implementation's textures is refused by name with the limit.
TEST_F(FxhostFiles, ErrorsNameTheirCause) {
    const std::string longName = dir + "/" + std::string(252, 'n') + ".png";
    ASSERT_EQ(std::system(("mkdir " + dir + "/folder.png").c_str()), 0);
    // A PNG cut short inside its pixels: libpng says so too, on its own, unless held back.
    ASSERT_EQ(std::system(("head -c 2000 " + kSample + " > " + dir + "/cut.png").c_str()), 0);
    const struct {
        std::string in;
        std::string out;
        std::string message;
    } cases[] = {
        {kSample, dir + "/no/such/dir/out.png",
         "cannot write image '" + dir + "/no/such/dir/out.png': No such file or directory"},
        {kSample, longName, "cannot write image '" + longName + "': File name too long"},
        {kSample, dir + "/folder.png", "cannot write image '" + dir + "/folder.png': it is a directory"},
        {dir + "/missing.png", dir + "/out.png",
         "cannot read image '" + dir + "/missing.png': No such file or directory"},
        {dir + "/folder.png", dir + "/out.png", "cannot read image '" + dir + "/folder.png': it is a directory"},
        {kSample + "/x.png", dir + "/out.png", "cannot read image '" + kSample + "/x.png': Not a directory"},
        {dir + "/cut.png", dir + "/out.png", "cannot read image '" + dir + "/cut.png': Read error: hit end of file"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.in + " -> " + c.out);
        const CommandResult r = fxhost("render " + c.in + " " + c.out);
        EXPECT_EQ(r.status, 3);
        EXPECT_EQ(r.err, "fxhost: " + c.message + "\n");
        EXPECT_EQ(filesInDir(), 2);
    }
    const std::string wide = make("wide.png", OIIO::ImageSpec(20000, 1, 3, OIIO::TypeDesc::UINT8));
    const CommandResult r = fxhost("render --renderer gl " + wide + " " + dir + "/out.png");
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("20000x1, too large for this GL implementation: its largest texture is"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(filesInDir(), 3);
}

// Only what reads or writes an image loads the image library and OpenImageIO under it, as the
// dynamic loader tells (LD_DEBUG): a movie through the effect, info and --version do without.
TEST_F(FxhostFiles, OnlyCommandsWithImagesLoadOpenImageIO) {
    const std::string clip = dir + "/clip.mkv";
    ASSERT_EQ(makeClip(clip, "-f lavfi -i testsrc=size=64x36:rate=10:duration=0.3 -c:v ffv1"), "");
    const std::string passThrough = std::string(" --plugin ") + OSTRIVANE_PASSTHROUGH_PATH + " ";
    const struct {
        std::string args;
        bool loads;
    } cases[] = {
        {"--version", false},
        {"info", false},
        {"render" + passThrough + clip + " " + dir + "/out.mkv", false},
        {"render" + passThrough + clip + " " + dir + "/frame_%04d.png", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        const CommandResult r = runCommand("LD_DEBUG=libs " + kFxhost + " " + c.args);
        ASSERT_EQ(r.status, 0) << r.err.substr(r.err.size() - std::min<size_t>(r.err.size(), 2000));
        EXPECT_NE(r.err.find("calling init: "), std::string::npos);  // the loader did speak
        EXPECT_EQ(r.err.find("libfxhost_images.so") != std::string::npos, c.loads);
        EXPECT_EQ(r.err.find("libOpenImageIO") != std::string::npos, c.loads);
    }
}

// Frames of two sizes in one sequence, through one and several encoder threads and two PNG
// levels, give the pixels each frame gives alone; the higher level gives the smaller file.
TEST_F(FxhostFiles, SequencesGiveTheSingleFramePixelsWhateverThreadsAndLevel) {
    const std::string small = make("a.png", OIIO::ImageSpec(48, 20, 4, OIIO::TypeDesc::UINT8));
    ASSERT_EQ(std::system(("cp " + small + " " + dir + "/in_0001.png && cp " + kSample + " " + dir +
                           "/in_0002.png && cp " + small + " " + dir + "/in_0003.png")
                              .c_str()),
              0);
    const std::string set = " --set \"Hue Value=200\" --set Saturation=1.7 ";
    for (int f = 1; f <= 3; ++f) {
        const std::string n = "_000" + std::to_string(f) + ".png";
        ASSERT_EQ(fxhost("render" + set + dir + "/in" + n + " " + dir + "/alone" + n).status, 0);
    }
    for (const std::string options : {"--threads 1 --png-compression 0", "--threads 3 --png-compression 9"}) {
        SCOPED_TRACE(options);
        const std::string prefix = options.back() == '0' ? "/fast" : "/small";
        const CommandResult r = fxhost("render --frames 1-3 " + options + set + dir + "/in_%04d.png " + dir +
                                       prefix + "_%04d.png");
        ASSERT_EQ(r.status, 0) << r.err;
        for (int f = 1; f <= 3; ++f) {
            const std::string n = "_000" + std::to_string(f) + ".png";
            OIIO::ImageBuf alone(dir + "/alone" + n), seq(dir + prefix + n);
            EXPECT_TRUE(OIIO::ImageBufAlgo::compare(alone, seq, 0.0f, 0.0f).nfail == 0 &&
                        alone.nativespec().width == seq.nativespec().width)
                << n;
        }
    }
    EXPECT_LT(std::stoi(runCommand("stat -c %s " + dir + "/small_0002.png").out),
              std::stoi(runCommand("stat -c %s " + dir + "/fast_0002.png").out));
}

// A sheet tile at the rendered size is that render, but for its label at the bottom left.
TEST_F(FxhostFiles, SheetTilesCarryTheirLabelAndNothingElse) {
    ASSERT_EQ(fxhost("render --set \"Hue Value=120\" " + kSample + " " + dir + "/plain.png").status, 0);
    const CommandResult r =
        fxhost("sheet --vary \"Hue Value=120:120:1\" " + kSample + " " + dir + "/sheet.png");
    ASSERT_EQ(r.status, 0) << r.err;
    OIIO::ImageBuf plain(dir + "/plain.png"), sheet(dir + "/sheet.png");
    ASSERT_TRUE(sheet.read());
    const int w = plain.nativespec().width, h = plain.nativespec().height;
    ASSERT_EQ(sheet.nativespec().width, w + 8);
    int changed = 0;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            float a[4], b[4];
            plain.getpixel(x, y, a, 4);
            sheet.getpixel(x + 4, y + 4, b, 4);
            if (std::equal(a, a + 4, b)) continue;
            ++changed;
            EXPECT_TRUE(x < 3 * w / 4 && y > h / 2) << "changed outside the label: " << x << "," << y;
        }
    }
    EXPECT_GT(changed, 50);
}
