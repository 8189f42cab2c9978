// Keys on the command line: a keyed render of a sequence matches, frame by frame, constant renders
// at the values worked out by hand (the effect reads its parameters through checkout_param at the
// frame's time); bad keys are refused before anything is written.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "CommandRunner.h"
#include "SequenceFiles.h"

namespace {

class Keyframes : public WithFolder<> {
protected:
    void SetUp() override {
        WithFolder::SetUp();
        std::filesystem::create_directories(dir + "/out");
        in = dir + "/in_%04d.png";
    }
    std::string in;
};

}  // namespace

// Hue keyed at 3 and 9, saturation at 6 and 10: frames 1-2 hold both first keys, 4-8 move the hue
// 40 degrees a frame, 7-9 move the saturation 0.25 a frame, 11 holds both last keys.
TEST_F(Keyframes, EveryFrameMatchesAConstantRenderAtTheInterpolatedValues) {
    makeFrames(in, 1, 11);
    CommandResult r = runFxhost("render --set \"Hue Value=270@9, 30@3\" --set \"Saturation=0.5@6,1.5@10\" " + in +
                                " " + dir + "/out/k_%04d.png");
    ASSERT_EQ(r.status, 0) << r.err;
    for (int frame = 1; frame <= 11; ++frame) {
        const double hue = frame <= 3 ? 30 : frame >= 9 ? 270 : 30 + 40 * (frame - 3);
        const double saturation = frame <= 6 ? 0.5 : frame >= 10 ? 1.5 : 0.5 + 0.25 * (frame - 6);
        r = runFxhost("render --frames " + std::to_string(frame) + " --set \"Hue Value=" + std::to_string(hue) +
                      "\" --set Saturation=" + std::to_string(saturation) + " " + in + " " + dir + "/c_%04d.png");
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(samePixels(frameName(dir + "/out/k_%04d.png", frame), frameName(dir + "/c_%04d.png", frame)), "")
            << "frame " << frame << ", hue " << hue << ", saturation " << saturation;
    }
}

// A bad key is refused by render and by farm submit alike, naming the key, before anything is
// written or submitted.
TEST_F(Keyframes, BadKeysExitTwoNamingTheKeyAndWriteNothing) {
    makeFrames(in, 1, 3);
    const struct {
        std::string set;
        std::string message;
    } cases[] = {
        {"Hue Value=0@1,90@", "key \"90@\": \"\" is not a frame number"},
        {"Hue Value=0@1,90@3@4", "key \"90@3@4\": a key is VALUE@FRAME"},
        {"Hue Value=0@1,90@-2", "key \"90@-2\": \"-2\" is not a frame number"},
        {"Hue Value=0@1,ninety@3", "key \"ninety@3\": \"ninety\" is not a number"},
        {"Hue Value=0@2,90@2", "key \"90@2\": frame 2 is keyed twice"},
        {"Saturation=1@1,2.5@3", "key \"2.5@3\": 2.5 is out of range for parameter \"Saturation\" (0 to 2)"},
        {"Shade=0@1,1@3", "unknown parameter \"Shade\""},
    };
    for (const auto& c : cases) {
        for (const std::string command : {"render --progress " + dir + "/out/progress", std::string("farm submit --dry-run --chunk 3")}) {
            SCOPED_TRACE(command + " " + c.set);
            const CommandResult r = runFxhost(command + " --set \"" + c.set + "\" " + in + " " + dir + "/out/o_%04d.png");
            EXPECT_EQ(r.status, 2);
            EXPECT_NE(r.err.find("--set \"" + c.set + "\": " + c.message), std::string::npos) << r.err;
            EXPECT_TRUE(std::filesystem::is_empty(dir + "/out"));
        }
    }
}

// A sheet takes the other parameters at its --frame; without one, at frame 0 (the first key, held).
// The stepped parameter's own keys give way.
TEST_F(Keyframes, SheetTakesTheOtherParametersAtItsFrame) {
    const auto sheet = [&](const std::string& args, const std::string& name) {
        const CommandResult r = runFxhost("sheet --tile-width 64 --vary Saturation=0.5:1.5:2 " + args + " " +
                                          OSTRIVANE_SOURCE_DIR "/samples/colours.png " + dir + "/" + name);
        EXPECT_EQ(r.status, 0) << r.err;
        return dir + "/" + name;
    };
    EXPECT_EQ(samePixels(sheet("--set \"Hue Value=60@0,160@10\" --frame 5", "k5.png"),
                         sheet("--set \"Hue Value=110\"", "c5.png")),
              "");
    EXPECT_EQ(samePixels(sheet("--set \"Hue Value=60@0,160@10\" --set \"Saturation=2@0\"", "k0.png"),
                         sheet("--set \"Hue Value=60\"", "c0.png")),
              "");
}
