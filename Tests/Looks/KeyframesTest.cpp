// Keys on the command line: a keyed render of a sequence matches, frame by frame, constant renders
// at the values worked out by hand; bad keys are refused before anything is written; the host
// answers the effect's parameter requests at the time asked for.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "CommandRunner.h"
#include "HostFixture.h"
#include "ParameterSettings.h"
#include "SequenceFiles.h"

namespace {

const std::string kFxhost = OSTRIVANE_FXHOST_PATH;

class Keyframes : public ::testing::Test {
protected:
    void SetUp() override {
        dir = "/tmp/fxhost-keys-" + std::to_string(getpid()) + "-" +
              ::testing::UnitTest::GetInstance()->current_test_info()->name();
        ASSERT_EQ(std::system(("rm -rf " + dir + " && mkdir -p " + dir + "/out " + dir + "/clean").c_str()),
                  0);
        in = dir + "/in_%04d.png";
    }
    void TearDown() override {
        if (!HasFailure()) std::filesystem::remove_all(dir);
    }
    std::string dir, in;
};

std::string number(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%g", value);
    return text;
}

}  // namespace

// Hue keyed at 3 and 9, saturation at 6 and 10: frames 1-2 hold both first keys, 4-8 move the hue
// 40 degrees a frame, 7-9 move the saturation 0.25 a frame, 11 holds both last keys.
TEST_F(Keyframes, EveryFrameMatchesAConstantRenderAtTheInterpolatedValues) {
    makeFrames(in, 1, 11);
    CommandResult r =
        runCommand(kFxhost + " render --set \"Hue Value=270@9, 30@3\" --set \"Saturation=0.5@6,1.5@10\" " +
                   in + " " + dir + "/out/k_%04d.png");
    ASSERT_EQ(r.status, 0) << r.err;
    for (int frame = 1; frame <= 11; ++frame) {
        const double hue = frame <= 3 ? 30 : frame >= 9 ? 270 : 30 + 40 * (frame - 3);
        const double saturation = frame <= 6 ? 0.5 : frame >= 10 ? 1.5 : 0.5 + 0.25 * (frame - 6);
        const std::string clean = dir + "/clean/c_%04d.png";
        r = runCommand(kFxhost + " render --frames " + std::to_string(frame) + " --set \"Hue Value=" +
                       number(hue) + "\" --set Saturation=" + number(saturation) + " " + in + " " + clean);
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(samePixels(frameName(dir + "/out/k_%04d.png", frame), frameName(clean, frame)), "")
            << "frame " << frame << ", hue " << hue << ", saturation " << saturation;
    }
}

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
        const CommandResult r = runCommand(kFxhost + " render --progress " + dir + "/out/progress --set \"" +
                                           c.set + "\" " + in + " " + dir + "/out/o_%04d.png");
        EXPECT_EQ(r.status, 2) << c.set;
        EXPECT_NE(r.err.find("--set \"" + c.set + "\": " + c.message), std::string::npos) << r.err;
        EXPECT_TRUE(std::filesystem::is_empty(dir + "/out")) << c.set;
    }
}

TEST_F(Keyframes, SheetTakesTheOtherParametersAtItsFrame) {
    const std::string input = OSTRIVANE_SOURCE_DIR "/samples/colours.png";
    const std::string sheet = kFxhost + " sheet --tile-width 64 --vary Saturation=0.5:1.5:2 ";
    CommandResult r =
        runCommand(sheet + "--set \"Hue Value=60@0,160@10\" --frame 5 " + input + " " + dir + "/k5.png");
    ASSERT_EQ(r.status, 0) << r.err;
    r = runCommand(sheet + "--set \"Hue Value=110\" " + input + " " + dir + "/c5.png");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(samePixels(dir + "/k5.png", dir + "/c5.png"), "");
    // Without --frame, frame 0: the first key, held. The stepped parameter's own keys give way.
    r = runCommand(sheet + "--set \"Hue Value=60@0,160@10\" --set \"Saturation=2@0\" " + input + " " + dir +
                   "/k0.png");
    ASSERT_EQ(r.status, 0) << r.err;
    r = runCommand(sheet + "--set \"Hue Value=60\" " + input + " " + dir + "/c0.png");
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(samePixels(dir + "/k0.png", dir + "/c0.png"), "");
}

class HostAnswers : public HostFixture {};

// What the effect gets from checkout_param at a time: the host's own time base (time_step a frame),
// and a time in the effect's own scale converted to the host's frames.
TEST_F(HostAnswers, CheckoutParamAnswersTheValueAtTheTimeAskedFor) {
    setUpEffect();
    host->setParamCurve(1, fxhost::ParameterCurve({{10, 100.0}, {20, 200.0}}));
    host->setTime(0);
    PF_InData& in = host->inData();
    auto askAt = [&](A_long time, A_u_long scale) {
        PF_ParamDef param = PF_ParamDef();
        EXPECT_EQ(in.inter.checkout_param(in.effect_ref, 1, time, in.time_step, scale, &param), PF_Err_NONE);
        EXPECT_EQ(in.inter.checkin_param(in.effect_ref, &param), PF_Err_NONE);
        return param.u.fs_d.value;
    };
    const A_long step = in.time_step;
    const A_u_long scale = in.time_scale;
    EXPECT_DOUBLE_EQ(askAt(5 * step, scale), 100.0);
    EXPECT_DOUBLE_EQ(askAt(15 * step, scale), 150.0);
    EXPECT_DOUBLE_EQ(askAt(25 * step, scale), 200.0);
    // Twice the scale: the same moment is twice the number.
    EXPECT_DOUBLE_EQ(askAt(2 * 12 * step, 2 * scale), 120.0);
    // A constant set afterwards replaces the curve at every time.
    host->setParamValue(1, 42.0);
    EXPECT_DOUBLE_EQ(askAt(15 * step, scale), 42.0);
}
