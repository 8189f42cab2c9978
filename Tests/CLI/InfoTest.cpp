#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "CommandRunner.h"

TEST(FxhostInfo, PrintsAboutVersionFlagsAndParameters) {
    const CommandResult r = runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " info");
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.out.find("Ostrivane Hue And Saturation v1.0\nOstrivane Hue And Saturation\n"),
              std::string::npos)
        << r.out;
    EXPECT_NE(r.out.find("Version:    1.0.0 (develop, build 1)"), std::string::npos);
    EXPECT_NE(r.out.find("out_flags:  none"), std::string::npos);
    EXPECT_NE(r.out.find("out_flags2: PF_OutFlag2_SUPPORTS_SMART_RENDER\n"), std::string::npos);
    EXPECT_NE(
        r.out.find("1  Hue Value    float slider  valid 0 to 360  slider 0 to 360  default 0  precision 1"),
        std::string::npos);
    EXPECT_NE(r.out.find("2  Saturation   float slider  valid 0 to 2  slider 0 to 2  default 1  precision 2"),
              std::string::npos);
}

TEST(FxhostInfo, BundleThatIsNotAnEffectIsAClearError) {
    const CommandResult r =
        runCommand(std::string(OSTRIVANE_FXHOST_PATH) + " info --plugin /lib/x86_64-linux-gnu/libm.so.6");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("does not export EntryPointFunc"), std::string::npos) << r.err;
}

// A bundle that is missing, or cut short (which the dynamic loader would map and fault on), is
// bundle trouble in every command: exit 1, one line naming the file and why, nothing written.
TEST(FxhostInfo, MissingOrCutShortBundleExitsOneInEveryCommand) {
    char name[] = "/tmp/fxhost-bundle-XXXXXX";
    ASSERT_NE(mkdtemp(name), nullptr);
    const std::string dir = name, sample = std::string(OSTRIVANE_SOURCE_DIR) + "/samples/colours.png";
    ASSERT_EQ(std::system(("cp " + sample + " " + dir + "/in_0001.png && head -c 5000 " +
                           OSTRIVANE_BUNDLE_PATH + " > " + dir + "/cut.plugin")
                              .c_str()),
              0);
    const std::string fxhost = OSTRIVANE_FXHOST_PATH;
    const std::string commands[] = {
        fxhost + " info --plugin BUNDLE",
        fxhost + " render --plugin BUNDLE " + sample + " " + dir + "/out.png",
        fxhost + " sheet --plugin BUNDLE --vary 'Hue Value=0:300:2' " + sample + " " + dir + "/sheet.png",
        "timeout 60 " + fxhost + " preview --plugin BUNDLE " + sample,
        fxhost + " validate --plugin BUNDLE",
        fxhost + " farm submit --dry-run --chunk 1 --plugin BUNDLE " + dir + "/in_%04d.png " + dir +
            "/out_%04d.png",
    };
    for (const std::string& bundle : {dir + "/missing.plugin", dir + "/cut.plugin"}) {
        for (std::string command : commands) {
            command.replace(command.find("BUNDLE"), 6, bundle);
            const CommandResult r = runCommand(command);
            EXPECT_EQ(r.status, 1) << command << "\n" << r.err;
            EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << command << "\n" << r.err;
            EXPECT_NE(r.err.find("'" + bundle + "'"), std::string::npos) << command << "\n" << r.err;
            if (bundle.find("cut") != std::string::npos) {
                EXPECT_NE(r.err.find("cut short"), std::string::npos) << command << "\n" << r.err;
            }
        }
    }
    EXPECT_EQ(runCommand("ls -A " + dir).out, "cut.plugin\nin_0001.png\n") << "something was written";
    std::system(("rm -rf " + dir).c_str());
}
