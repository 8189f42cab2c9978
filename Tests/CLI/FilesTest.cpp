// What fxhost does to files as a compositor expects: data it does not render is kept,
// what it cannot keep is said, errors name their cause, and the command line answers
// as documented.
#include <gtest/gtest.h>

#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <string>

#include "CommandRunner.h"
#include "ImageFile.h"
#include "MovieClips.h"
#include "SequenceFiles.h"

namespace {

const std::string kSample = std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png";
// Settings under which the effect gives back what it was given, within 8-bit rounding.
const std::string kNeutral = " --set \"Hue Value=0\" --set Saturation=1 ";

class FxhostFiles : public WithFolder<> {
protected:
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
};

std::vector<float> channel(const OIIO::ImageBuf& image, int c) {
    OIIO::ROI roi = image.roi();
    roi.chbegin = c;
    roi.chend = c + 1;
    std::vector<float> values(roi.npixels());
    image.get_pixels(roi, OIIO::TypeDesc::FLOAT, values.data());
    return values;
}

}  // namespace

// A half-float EXR (a depth channel, values above 1, a header of its own) and a 16-bit TIFF come
// back with every channel the effect does not render unchanged, their type and every header field
// kept, and colour through 8 bits (straight values clipped to 1, within a step); the host says,
// once, that the effect renders in 8 bits, and --strict-depth refuses before writing.
TEST_F(FxhostFiles, DeepFilesKeepTheirChannelsAndHeaderAndTheLossIsSaid) {
    OIIO::ImageSpec exr(40, 24, 5, OIIO::TypeDesc::HALF), tif(32, 16, 5, OIIO::TypeDesc::UINT16);
    exr.channelnames = {"R", "G", "B", "A", "Z"};
    exr.alpha_channel = tif.alpha_channel = 3;
    exr.z_channel = 4;
    exr.x = 7;
    exr.y = 5;
    exr.full_width = 64;
    exr.full_height = 48;
    exr.attribute("compression", "piz");
    exr.attribute("PixelAspectRatio", 2.0f);
    exr.attribute("studio:shot", "sq010_sh020");
    const struct {
        std::string extension;
        OIIO::ImageSpec header;
        float scale;
        std::string depth;
    } cases[] = {{"exr", exr, 4.0f, "half-float"}, {"tif", tif, 1.0f, "16-bit"}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.extension);
        const std::string in = make("in." + c.extension, c.header, c.scale), out = dir + "/out." + c.extension;
        CommandResult r = runFxhost("render --strict-depth" + kNeutral + in + " " + out);
        EXPECT_EQ(r.status, 3);
        EXPECT_NE(r.err.find(c.depth), std::string::npos) << r.err;
        EXPECT_FALSE(std::filesystem::exists(out));

        r = runFxhost("render" + kNeutral + in + " " + out);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.err.find("warning: the input is " + c.depth + ", but the effect renders in 8 bits"),
                  std::string::npos)
            << r.err;
        EXPECT_EQ(r.err.find("values outside 0 to 1") != std::string::npos, c.scale > 1) << r.err;
        EXPECT_EQ(r.out, "");
        OIIO::ImageBuf source(in), result(out);
        ASSERT_TRUE(result.read() && source.read()) << result.geterror();
        const OIIO::ImageSpec &got = result.nativespec(), &want = source.nativespec();
        EXPECT_EQ(got.format, c.header.format);
        EXPECT_EQ(got.channelnames, want.channelnames);
        EXPECT_EQ(std::vector<int>({got.x, got.y, got.full_width, got.full_height}),
                  std::vector<int>({want.x, want.y, want.full_width, want.full_height}));
        for (const OIIO::ParamValue& field : c.header.extra_attribs) {
            const OIIO::ParamValue* kept = got.find_attribute(field.name());
            ASSERT_NE(kept, nullptr) << field.name();
            EXPECT_EQ(OIIO::ImageSpec::metadata_val(*kept), OIIO::ImageSpec::metadata_val(field));
        }
        EXPECT_EQ(channel(result, 4), channel(source, 4));
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
}

// 8-bit files lose nothing, so nothing is said; -q leaves errors only.
TEST_F(FxhostFiles, EightBitFilesAreQuietAndQuietMeansErrorsOnly) {
    CommandResult r = runFxhost("render " + kSample + " " + dir + "/out.png");
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(r.err.find("warning"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("Rendered 1 frame"), std::string::npos) << r.err;
    r = runFxhost("-q render " + kSample + " " + dir + "/out2.png");
    ASSERT_EQ(r.status, 0);
    EXPECT_EQ(r.err + r.out, "");
    r = runFxhost("render -q " + dir + "/missing.png " + dir + "/out3.png");
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("missing.png"), std::string::npos);
}

// Refused before any file is read or written (the inputs need not be there): exit 2, naming the
// argument.
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
        {"sheet --vary Saturation=0:2:2 clip.mov out.png", "sheet takes one image, not a movie ('clip.mov')"},
        {"sheet --vary Saturation=0:2:2 in_%04d.png out.png", "sheet takes one image, not a sequence"},
        {"sheet --vary Saturation=0:3:5 IN out.png", "--vary Saturation=0:3:5: 3 is out of range for parameter"},
        {"render --set 'Hue Value=10' --set 'hue value=20' IN out.png",
         "--set \"hue value=20\": parameter \"Hue Value\" (0 to 360) is already set by --set \"Hue Value=10\""},
        {"render --set 'Hue Value=400' IN out.png", "400 is out of range for parameter \"Hue Value\" (0 to 360)"},
        {"render --set saturation=abc IN out.png", "\"abc\" is not a number; parameter \"Saturation\" (0 to 2)"},
        {"render --set Brightness=1 IN out.png",
         "unknown parameter \"Brightness\"; the effect has 1 \"Hue Value\" (0 to 360), 2 \"Saturation\" (0 to 2)"},
        {"render --set 2=-1 IN out.png", "-1 is out of range for parameter \"Saturation\" (0 to 2)"},
        {"render --set Saturation IN out.png", "\"Saturation\" is not NAME=VALUE"},
        {"render --frames 1-3 IN out.png", "OUTPUT needs a frame number"},
        {"render --crf 18 IN out.png", "--crf is for a movie OUTPUT, and 'out.png' is an image"},
        {"render --fps 24 IN out_%04d.png", "--fps is for a movie OUTPUT"},
        {"render --codec-opt tune=film IN out.exr", "--codec-opt is for a movie OUTPUT"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        std::string args = c.args;
        if (args.find(" IN ") != std::string::npos) args.replace(args.find(" IN "), 4, " " + kSample + " ");
        const CommandResult r = runCommand("cd " + dir + " && " OSTRIVANE_FXHOST_PATH " " + args);
        EXPECT_EQ(r.status, 2);
        EXPECT_NE(r.err.find(c.named), std::string::npos) << r.err;
        EXPECT_EQ(r.out, "");
        EXPECT_TRUE(filesIn(dir).empty());
    }
    const CommandResult r = runFxhost("--version");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("fxhost ", 0), 0u) << r.out;
}

// A failed read or write is one line that says why, of the name asked for, and leaves nothing
// behind; an image beyond the GL implementation's textures is refused by name with the limit.
TEST_F(FxhostFiles, ErrorsNameTheirCause) {
    const std::string longName = dir + "/" + std::string(252, 'n') + ".png";
    ASSERT_EQ(std::system(("mkdir " + dir + "/folder.png").c_str()), 0);
    // A PNG cut short inside its pixels.
    ASSERT_EQ(std::system(("head -c 2000 " + kSample + " > " + dir + "/cut.png").c_str()), 0);
    const struct {
        std::string in, out, why;  // a read error of the input unless it is the sample
    } cases[] = {
        {kSample, dir + "/no/such/dir/out.png",
         "no folder '" + dir + "/no/such/dir' to write it in (none is made: mkdir -p " + dir + "/no/such/dir)"},
        {kSample, longName, "File name too long"},
        {kSample, dir + "/folder.png", "it is a directory"},
        {dir + "/missing.png", dir + "/out.png", "No such file or directory"},
        {dir + "/folder.png", dir + "/out.png", "it is a directory"},
        {kSample + "/x.png", dir + "/out.png", "Not a directory"},
        {dir + "/cut.png", dir + "/out.png", "the file ends before its image does"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.in + " -> " + c.out);
        const CommandResult r = runFxhost("render " + c.in + " " + c.out);
        EXPECT_EQ(r.status, 3);
        EXPECT_EQ(r.err, "fxhost: cannot " + (c.in == kSample ? "write image '" + c.out : "read image '" + c.in) +
                             "': " + c.why + "\n");
        EXPECT_EQ(filesIn(dir).size(), 2u);
    }
    const std::string wide = make("wide.png", OIIO::ImageSpec(20000, 1, 3, OIIO::TypeDesc::UINT8));
    const CommandResult r = runFxhost("render --renderer gl " + wide + " " + dir + "/out.png");
    EXPECT_EQ(r.status, 3);
    EXPECT_NE(r.err.find("20000x1, too large for this GL implementation: its largest texture is"),
              std::string::npos)
        << r.err;
    EXPECT_EQ(filesIn(dir).size(), 3u);
}

// Only what reads or writes an image other than PNG loads the image library and OpenImageIO under
// it, as the dynamic loader tells (LD_DEBUG): a movie through the effect, info, --version, a PNG
// into a PNG and a movie into PNGs do without.
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
        {"render" + passThrough + clip + " " + dir + "/frame_%04d.png", false},
        {"render" + passThrough + kSample + " " + dir + "/out.png", false},
        {"render" + passThrough + kSample + " " + dir + "/out.tif", true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args);
        const CommandResult r = runCommand("LD_DEBUG=libs " OSTRIVANE_FXHOST_PATH " " + c.args);
        ASSERT_EQ(r.status, 0) << r.err.substr(r.err.size() - std::min<size_t>(r.err.size(), 2000));
        EXPECT_NE(r.err.find("calling init: "), std::string::npos);  // the loader did speak
        EXPECT_EQ(r.err.find("libfxhost_images.so") != std::string::npos, c.loads);
        EXPECT_EQ(r.err.find("libOpenImageIO") != std::string::npos, c.loads);
    }
}

// A sheet lays one render a step on a grid, rows first, and says which tile is which; a tile is
// the render at its step, but for its label at the bottom left.
TEST_F(FxhostFiles, SheetTilesAreTheRendersOfTheirStepsUnderTheirLabels) {
    const CommandResult r = runFxhost("sheet --vary \"hue value=0:300:6\" " + kSample + " " + dir + "/sheet.png");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("tile 6 (row 2, column 3): Hue Value = 300"), std::string::npos) << r.err;
    ASSERT_EQ(runFxhost("render --set \"Hue Value=300\" " + kSample + " " + dir + "/plain.png").status, 0);
    const fxhost::ImageFile plain = fxhost::ImageFile::read(dir + "/plain.png");
    const fxhost::ImageFile sheet = fxhost::ImageFile::read(dir + "/sheet.png");
    const int w = plain.width(), h = plain.height();
    EXPECT_EQ(sheet.width(), 3 * w + 4 * 4);
    EXPECT_EQ(sheet.height(), 2 * h + 3 * 4);
    int changed = 0;
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            const float *a = plain.rgba(x, y), *b = sheet.rgba(4 + 2 * (w + 4) + x, 4 + (h + 4) + y);
            if (std::equal(a, a + 4, b)) continue;
            ++changed;
            EXPECT_TRUE(x < 3 * w / 4 && y > h / 2) << "changed outside the label: " << x << "," << y;
        }
    }
    EXPECT_GT(changed, 50);
}
